// The forms in which names are written, and the scopes that they stand for:
//
//   name   the outermost table; the entry is made when it is read
//   _name  searched when it is reached; made in the outermost table
//   $name  searched when it is reached; made in the innermost table
//   .name  the innermost table; the entry is made when it is read
//   %name  a label: its value is the place of the cell behind it
//   &n     a slot of the function's frame, counted from 1
//
// Each can stand behind @, for its address. Between \x02 and \x03 a name is whatever stands there.
#pragma once

#include <cstddef>
#include <string_view>

#include "data/dataelement.h"

namespace ondrel {

// How far the name with a prefix reaches that begins at the next byte of the source, prefix included; 0 if there is
// none. Any other byte that begins no token begins a plain name.
std::size_t prefixed_name_length();

// Takes a name and writes its cell. Inside a function it leaves the marks of what it may do.
void read_name();
// The same behind @.
void read_address();

// The prefix that the scope of a name cell is written with.
std::string_view scope_prefix(const DataElement& cell);

// Whether the bytes written as they are would be read as this plain name, behind @ or not; and whether they can stand
// behind a prefix.
bool reads_as_name(std::string_view name, bool address);
bool is_identifier(std::string_view name);
// The first in all cases, whatever stands around: a name that begins like a number, or like a header that a number
// would follow, or is a word of a token of several, is not read as it is; one whose first byte tells no scope is.
bool spells_itself(std::string_view name, bool address);

}  // namespace ondrel
