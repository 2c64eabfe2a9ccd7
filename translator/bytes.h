// Classes of source bytes; the end of the input, -1, is in none.
#pragma once

namespace ondrel {

constexpr bool is_digit(int c) { return c >= '0' && c <= '9'; }
constexpr bool is_letter(int c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_'; }
// What a token that needs a word end must not be followed by.
constexpr bool is_word(int c) { return is_letter(c) || is_digit(c); }

}  // namespace ondrel
