// Text on its way out, and the small pieces that all notations share.
#pragma once

#include <charconv>
#include <cstdint>
#include <cstdio>
#include <string_view>

#include "data/dataelement.h"
#include "data/long_text.h"
#include "translator/symbols.h"

namespace ondrel {

// For whom a value is written: for people; in the notation of the source; or in that notation and such that the same
// value comes back.
enum class Manner { display, listing, readable };

// Text that is written in large pieces; without a stream it stays. What somebody may watch shows while it is being
// written; a file is whole when it is closed.
struct TextOutput {
    std::FILE* stream;
    Manner manner;
    const Chain* tables;  // where the text is to be read
    LongText text{};
    std::uint32_t items = 0;  // since the last flush

    bool is_listing() const { return manner != Manner::display; }

    void put(std::string_view piece) { text.append(piece); }
    void put(char byte) { text.push_back(byte); }

    // Items that may still come before the next flush.
    std::uint32_t room() const { return items_per_flush - items; }

    void flush() {
        if (stream == nullptr) return;
        std::fwrite(std::string_view(text).data(), 1, text.size(), stream);
        if (stream == stdout || stream == stderr) std::fflush(stream);
        text.clear();
    }
    // Lets an interrupt leave.
    void count_items(std::uint32_t n);

private:
    static constexpr std::uint32_t items_per_flush = 100;
};

template <class Number, class... Format>
void put_number(TextOutput& out, Number number, Format... format) {
    char digits[32];
    out.put({digits, std::to_chars(digits, digits + sizeof digits, number, format...).ptr});
}

// "0#" and so many binary digits.
void put_binary(TextOutput& out, std::uint64_t bits, int digits);

// The dimensions in their brackets.
void put_shape(TextOutput& out, const DataElement& value);

}  // namespace ondrel
