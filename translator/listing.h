// The state of a session as sentences that bring it back: names and stack; and the names of a chain as values for a
// program to look at.
#pragma once

#include <cstdio>

#include "translator/symbols.h"

namespace ondrel {

// Writes every name that can be seen from the chain, from the innermost table outward, as sentences that set it when
// they are read. A name of any bytes reads back as the name that it is. Names that have no value are left out, and with
// a message those that hold an open file. What RESULT remembers goes along where it takes less than 1 KB.
void remember(std::FILE* stream, const Chain* tables);

// Writes the stack from `bottom` to `top` as sentences that put the same values there; of one that holds an open file,
// an empty one, with a message. `tables` are the names in force.
void dumpstack(std::FILE* stream, DataElement* bottom, DataElement* top, const Chain* tables);

// A vector of the names of the chain whose value is a function, or of those whose value is none: one text for each,
// innermost table first, a shadowed name once. A name with no value is left out, and what RESULT remembers. Raises 27.
DataElement list_symbols(const Chain* tables, bool functions);

}  // namespace ondrel
