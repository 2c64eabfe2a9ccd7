// Characters as values, and back.
#pragma once

#include <string>
#include <string_view>

#include "data/dataelement.h"
#include "data/errors.h"

namespace ondrel {

// Whether the value is characters and nothing else.
inline bool is_text(const DataElement& value) {
    return value.rank >= 0 && (value.type & (HASASCII | PER_ITEM)) == HASASCII;
}

// A character vector, of any length but 0. Raises 27, and 146 for more than a value can hold.
DataElement make_characters(std::string_view text, Site site = {});
// A text as it is read: of no characters it is the empty text, of one a scalar. Raises 27 and 146.
DataElement make_text(std::string_view text, Site site = {});

// The characters of a text.
std::string characters_of(const DataElement& text, std::string_view behind = {});

}  // namespace ondrel
