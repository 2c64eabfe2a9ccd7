// The state of a session as sentences that bring it back: names and stack; and the names of a chain as values for a
// program to look at.
#pragma once

#include <cstdio>

#include "translator/symbols.h"

namespace ondrel {

// Writes every name of the chain, from the innermost table outward, as sentences that set it when they are read. A name
// of any bytes reads back as the name that it is. Names that have no value, or hold an open file, are left out.
void remember(std::FILE* stream, const Chain* tables);

// Writes the stack from `bottom` to `top` as sentences that put the same values there; of one that holds an open file,
// an empty one. `tables` are the names in force.
void dumpstack(std::FILE* stream, DataElement* bottom, DataElement* top, const Chain* tables);

// A vector of the names of the chain whose value is a function, or of those whose value is none: one text for each,
// innermost table first, a shadowed name once. A name with no value is left out. Raises 27.
DataElement list_symbols(const Chain* tables, bool functions);

}  // namespace ondrel
