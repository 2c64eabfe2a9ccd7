// Where the scanner's bytes come from. They are taken one at a time and only as far as somebody looks; what has been
// looked at and not consumed waits here, and is lost when the next sentence begins.
#pragma once

#include <cstddef>
#include <cstdio>
#include <string_view>

namespace ondrel {

// Begins to read `stream`, or the text at `text` if it is null.
void open_source(std::FILE* stream, const char* text);

// The byte `at` positions ahead, or -1 at the end of the input: a NUL, the end of the stream, and in memory also \xFF.
int peek(std::size_t at);

// The bytes ahead that have been looked at, up to `length` of them, and their consumption.
std::string_view ahead(std::size_t length);
void consume(std::size_t length);

// Behind the last byte taken from the text in memory.
const char* text_position();

// Gives back the memory that a long token took.
void close_source();

}  // namespace ondrel
