// Where the scanner's bytes come from. They are taken one at a time and only as far as somebody looks; what has been
// looked at and not consumed waits here, and is lost when the next sentence begins.
#pragma once

#include <cstddef>
#include <cstdio>
#include <string_view>

namespace ondrel {

// Begins to read `stream`, or the text at `text` if it is null; by lines, where the end of a line may end a sentence.
void open_source(std::FILE* stream, const char* text, bool by_lines = false);

// The next byte of a stream, or EOF. While it is waited for, an interrupt is heeded at once.
int next_byte(std::FILE* stream);

// The bytes that have been looked at and not consumed, and the way to one behind them.
extern std::string_view waiting;
int peek_further(std::size_t at, bool behind_digits);

// The byte `at` positions ahead, or -1 at the end of the input: a NUL, the end of the stream, and in memory also \xFF.
inline int peek(std::size_t at) {
    return at < waiting.size() ? static_cast<unsigned char>(waiting[at]) : peek_further(at, false);
}

// The same within a word of several parts: where lines are read, there is nothing behind the end of one, which somebody
// may have to type first.
extern bool reads_lines;
inline int peek_in_line(std::size_t at) { return reads_lines && at > 0 && waiting[at - 1] == '\n' ? -1 : peek(at); }

// As `peek`, at the start of a token and within a number: what looks at a digit there looks behind all of them in any
// case, so that they can be read at once.
inline int peek_number(std::size_t at) {
    return at < waiting.size() ? static_cast<unsigned char>(waiting[at]) : peek_further(at, true);
}

// The next `length` bytes, all of which have been looked at, and their consumption.
inline std::string_view ahead(std::size_t length) { return waiting.substr(0, length); }
inline void consume(std::size_t length) { waiting.remove_prefix(length); }

// Bytes that have been looked at, consumed at the end of the scope, also where an error leaves it.
struct Taken {
    std::size_t length;
    ~Taken() { consume(length); }
};

// Behind the last byte taken from the text in memory.
const char* text_position();

// Gives back the memory that a long token took.
void close_source();

}  // namespace ondrel
