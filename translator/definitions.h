// Function definitions: the headers that open one. The body is translated as a level of its own (emission.h).
#pragma once

#include <cstddef>
#include <string_view>

namespace ondrel {

// How far a header with numbers reaches that begins at the next byte of the source: ARGS n FUNCTION, VARS v before any
// of the words, or both. 0 if there is none.
std::size_t numbered_header_length();

// Opens a definition whose header is this text, of a word alone with its count of arguments, or with numbers.
void open_definition(std::string_view header, int arguments);
void open_numbered_definition(std::string_view header);

// Closes what a sentence end finds open, the innermost first, each with its message.
void close_pending(std::string_view closing_text);

}  // namespace ondrel
