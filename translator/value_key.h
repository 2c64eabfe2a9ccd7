// A compact text that stands for a value as a name does: equal values have equal keys, different ones different keys.
// Numbers are equal if they print alike, of whatever kind and form; so truth values, binary and polar numbers and those
// with a prefix are others. The key of a flat text is the text itself, so that a text names what its plain spelling
// names.
#pragma once

#include <string>
#include <string_view>

#include "data/dataelement.h"
#include "data/long_text.h"

namespace ondrel {

// `frame_base` is the slot that local addresses count from. No key has a NUL in it. Raises nothing but bad_alloc.
LongText value_key(const DataElement& value, const DataElement* frame_base);

// The text that has this key.
std::string text_of_key(std::string_view key);

// The key of a value among others, which tells where it ends.
void add_key(LongText& key, const DataElement& value, const DataElement* frame_base);

}  // namespace ondrel
