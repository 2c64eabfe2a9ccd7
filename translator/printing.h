// Values and cells as text: for people (display), and in the notation of the source (listing), from which a value can
// be read back. One routine does both.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>

#include "data/dataelement.h"
#include "translator/symbols.h"

namespace ondrel {

// Writes `prefix`, then the element, and flushes a standard stream, as it does after every hundred items. `indent` is
// the nesting level, 0 outside; what stands inside another value is always written as in a listing.
//
// Printing simplifies numbers: a whole real becomes an integer, a hypercomplex number that has no higher components a
// lower kind. The new item stands in the value's block, for all its holders; the record gets the kinds that fit.
// Raises 27; an interrupt leaves in between.
//
// `tables` are the names in force where a listing is to be read: a verb that one of them is spelled like is told apart.
void disass(std::FILE* stream, const char* prefix, int indent, bool listing, DataElement& element,
            const Chain* tables = &variables);

// The same as a text in memory, without the prefix. Raises nothing but bad_alloc.
std::string text_of(DataElement& element, bool listing, const Chain* tables = &variables);

// The element as people see it.
void dump(std::FILE* stream, const char* prefix, DataElement& element);

// A word behind a blank, so that it is read as the system's own also where one of these names is spelled like it.
std::string system_word(std::string_view word, const Chain* tables);

// The address of a name of any bytes, behind a blank.
std::string quoted_address(std::string_view name, const Chain* tables);

// True if the bracket that the cell begins with would be read as the shape of the literal before it.
bool would_be_shape(const DataElement& cell, const DataElement& before);

}  // namespace ondrel
