// Values that are written as a whole: texts, parenthesised items, nests of both, and the shapes behind them. The
// scanner says what it reads; here the records grow. One literal is under construction at a time, as a pile of open
// levels: the outermost first.
#pragma once

#include <cstdint>
#include <span>

#include "data/blocks.h"
#include "data/errors.h"

namespace ondrel {

// A scalar of an ordinary number of this tag, whose payload is 0.
DataElement constant(std::uint32_t tag);

// Opens a level: a parenthesised one, the enclosing one around a parenthesised one, or a text. False if there would be
// more than 256; the caller reports that, and closes as many as it was refused.
bool open_vector();
bool open_enclosed();
bool open_text();
bool inside_another();  // the innermost level stands in another one

// Adds to the innermost level. An item's references are taken over, or dropped where there is no memory.
void add_item(const DataElement& item);
void add_integer(std::int64_t value);
void add_character(std::uint8_t character, bool binary);

// Gives the innermost level the shape of these dimensions. Reports what RESHAPE reports; the value then keeps the
// shape that it had.
void close_shape(std::span<const std::int64_t> dimensions, Site site);

// Closes the innermost level and makes it an item of the one around. True when the literal is finished; it is then
// moved to `finished`.
bool close_level(DataElement& finished);

// Gives back all open levels: the text has ended inside a literal.
void abandon_literal();

// Defined above this folder, in verbs/array/reshape: gives `data` the shape that `shape` tells and drops `shape`.
// Returns 0, or 1 after reporting an error; both are then as they were.
int reshape(DataElement& data, DataElement& shape, Site site);

}  // namespace ondrel
