#include "translator/definitions.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "data/blocks.h"
#include "translator/bytes.h"
#include "translator/emission.h"
#include "translator/source.h"

namespace ondrel {
namespace {

struct HeaderWord {
    std::string_view word;
    int arguments;  // below 0: no frame of its own
};
constexpr int neadic = -1;
constexpr auto closing_words =
    std::to_array<HeaderWord>({{"NEADIC", neadic}, {"NILADIC", 0}, {"MONADIC", 1}, {"DYADIC", 2}, {"TRIADIC", 3}});

constexpr std::string_view arguments_word = "ARGS", locals_word = "VARS";
constexpr std::size_t number_at = arguments_word.size() + 1;  // where the first number is looked for

std::size_t skip_blanks(std::size_t at) {
    while (peek(at) == ' ' || peek(at) == '\t' || peek(at) == '\n' || peek(at) == '\r') ++at;
    return at;
}

// Behind the word that stands at `at`, or 0.
std::size_t skip_word(std::size_t at, std::string_view word) {
    for (const char letter : word)
        if (peek(at++) != letter) return 0;
    return at;
}

// Behind the number at `at` and the blanks on both sides, or 0.
std::size_t skip_number(std::size_t at) {
    at = skip_blanks(at);
    if (peek(at) == '-' || peek(at) == 0xAF) ++at;
    if (!is_digit(peek(at))) return 0;
    while (is_digit(peek(at))) ++at;
    return skip_blanks(at);
}

// Behind the last word of a header, which needs a word end, or 0.
std::size_t skip_last_word(std::size_t at, std::string_view word) {
    const std::size_t end = skip_word(at, word);
    return end != 0 && peek(end) >= 0 && !is_word(peek(end)) ? end : 0;
}

// Behind `word` and its number at `at`, or 0.
std::size_t skip_count(std::size_t at, std::string_view word) {
    const std::size_t number = skip_word(at, word);
    return number == 0 ? 0 : skip_number(number);
}

int number_in(const std::string& text, std::size_t at) {
    if (at >= text.size()) return 0;
    return static_cast<int>(std::clamp(std::strtol(text.c_str() + at, nullptr, 10), -1L, 65535L));
}

void open(std::string_view text, int arguments, int locals) {
    Owner header;
    header.record.rank = kind::FUNCTION;
    header.record.type = ISFUNCTION;
    header.record.depth = static_cast<std::int16_t>(std::min<int>(arguments, INT16_MAX));
    header.record.locals = static_cast<std::uint16_t>(std::max(locals, 0));
    header.record.text = stringdup(text);
    open_level_for(header.record);
    if (!dropping) header.take();  // the level has it now
}

}  // namespace

std::size_t numbered_header_length() {
    if (const std::size_t arguments = skip_count(0, arguments_word)) {
        if (const std::size_t end = skip_last_word(arguments, "FUNCTION")) return end;
        const std::size_t locals = skip_count(arguments, locals_word);
        return locals == 0 ? 0 : skip_last_word(locals, "FUNCTION");
    }
    const std::size_t locals = skip_count(0, locals_word);
    if (locals == 0) return 0;
    for (const HeaderWord& closing : closing_words)
        if (const std::size_t end = skip_last_word(locals, closing.word)) return end;
    const std::size_t arguments = skip_count(locals, arguments_word);
    return arguments == 0 ? 0 : skip_last_word(arguments, "FUNCTION");
}

void open_definition(std::string_view header, int arguments) { open(header, arguments, 0); }

// The numbers are read at fixed places: one byte behind the word.
void open_numbered_definition(std::string_view header) {
    std::string text(header);
    std::ranges::replace(text, '\xAF', '-');
    const bool arguments_first = header.starts_with(arguments_word);
    const int first = number_in(text, number_at);
    const std::size_t second_word = text.find(arguments_first ? locals_word[0] : arguments_word[0], number_at);
    if (arguments_first) {
        const int locals = second_word == std::string::npos ? 0 : number_in(text, second_word + number_at);
        return open(header, first, first < 0 ? 0 : locals);
    }
    if (text.ends_with("FUNCTION")) {
        const int arguments = number_in(text, second_word + number_at);
        return open(header, arguments, arguments < 0 ? 0 : first);
    }
    const auto closing = std::ranges::find_if(
        closing_words, [&text](const HeaderWord& candidate) { return text.ends_with(candidate.word); });
    if (closing->arguments == neadic) {
        std::fflush(stdout);
        std::fputs("Warning, a NEADIC can not have local VARS!", stderr);
    }
    open(header, closing->arguments, closing->arguments == neadic ? 0 : first);
}

void close_pending(std::string_view closing_text) {
    while (inside_function()) {
        std::fflush(stdout);
        std::fputs("\nFUNCTION definition pending, the FUNCTION is forcibly finished.\n", stderr);
        close_level_with(stringdup(closing_text));
    }
}

}  // namespace ondrel
