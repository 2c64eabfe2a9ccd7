// Values and cells as text: for people (display), and in the notation of the source (listing). One routine does both;
// what is to be read back is written by sentences.h.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>

#include "data/dataelement.h"
#include "data/long_text.h"
#include "translator/text_output.h"

namespace ondrel {

// Writes `prefix`, then the element, and flushes a standard stream, as it does after every hundred items. `indent` is
// the nesting level, 0 outside; what stands inside another value is always written as in a listing.
//
// Printing simplifies numbers: a whole real becomes an integer, a hypercomplex number that has no higher components a
// lower kind. The new item stands in the value's block, for all its holders, and their records stay as they are. An
// array of quaternions gets another block for it, here and in every name that holds it.
// Raises 27; an interrupt leaves in between.
void disass(std::FILE* stream, const char* prefix, int indent, bool listing, DataElement& element);

// What is displayed as a text in memory. Raises nothing but bad_alloc.
LongText text_of(DataElement& element);

// A function, a name or an instruction; in a listing a verb that one of the names in force is spelled like is told
// apart.
void put_cell(TextOutput& out, DataElement& cell);

// The element as people see it.
void dump(std::FILE* stream, const char* prefix, DataElement& element);

// A word behind a blank, so that it is read as the system's own also where one of these names is spelled like it.
std::string system_word(std::string_view word, const Chain* tables);

// The address of a name of any bytes, behind a blank.
std::string quoted_address(std::string_view name, const Chain* tables);

}  // namespace ondrel
