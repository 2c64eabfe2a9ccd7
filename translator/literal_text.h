// Values as literals that read back as what they are: in kind, shape and depth, in the bits of every component but for
// the sign of a NaN, and in the forms that a print tells. Not every value has such a literal; for most that have none,
// the way of an item says how a sentence makes it.
#pragma once

#include <cstdint>

#include "translator/text_output.h"

namespace ondrel {

// How an item is written so that it comes back.
enum class Way : std::uint8_t {
    list,     // among others between parentheses
    text,     // a character between quotes
    alone,    // as a literal of its own: a polar number, a constant that lists do not know
    logical,  // in a list, with the verb behind it that gives it its form
    boolean,
    binary,
    degrees,
    wide,  // an integer that no double holds: as its bits
};

// Items that hold other values have none.
Way way_of(const DataElement& item);
// Whether the item can be written in this way, too.
bool can_go(Way way, const DataElement& item);

// Whether the value has a literal. Of a vector on its own a depth of 0, which COLLECT makes, counts as 1; within
// another value it does not.
bool has_literal(const DataElement& value, bool within_another);

// Whether the value is the empty vector of no kind.
bool is_nil(const DataElement& value);

// Any value that is none of names, functions and instructions; the literal is that of the value if it has one.
void put_literal(TextOutput& out, const DataElement& value);

// The item as a scalar, without the verb of its way; and a stretch of the value's items as a vector, in parentheses or
// as a text.
void put_scalar(TextOutput& out, const DataElement& item);
void put_list(TextOutput& out, const DataElement& value, std::uint32_t from, std::uint32_t n);
void put_text(TextOutput& out, const DataElement& value, std::uint32_t from, std::uint32_t n);

}  // namespace ondrel
