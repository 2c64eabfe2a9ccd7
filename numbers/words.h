// Doubles as the words that hold them: tests of ranges that are vector code. A test gives a word, in which the sign bit
// stands for yes, so that those of many doubles are taken together by OR.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace ondrel {

using Word = std::uint64_t;

constexpr Word word_of(double x) { return std::bit_cast<Word>(x); }
constexpr double double_of(Word word) { return std::bit_cast<double>(word); }

constexpr Word sign_bit = Word{1} << 63;
constexpr bool has_sign(Word word) { return (word & sign_bit) != 0; }

// Whether the magnitude is above the limit, or no number.
constexpr Word beyond(double limit, double x) { return word_of(limit) - (word_of(x) & ~sign_bit); }

// Whether it is no normal number above zero.
constexpr Word beyond_normal(double x) {
    return (word_of(x) - word_of(std::numeric_limits<double>::min())) |
           (word_of(std::numeric_limits<double>::max()) - word_of(x));
}

// Whether all n doubles are zero or so far from the ends of the range that neither squares nor products of two leave
// it, and no sums of some. Without zeros one pass is enough, which has three operations for each.
[[gnu::always_inline]] inline bool all_tame(const double* values, std::size_t n) {
    constexpr Word least = word_of(0x1p-255), most = word_of(0x1p257);
    static_assert(most - least == Word{1} << 61);
    Word far = 0;
    for (std::size_t i = 0; i < n; ++i) far |= 2 * word_of(values[i]) - 2 * least;
    if (far >> 62 == 0) return true;
    far = 0;
    for (std::size_t i = 0; i < n; ++i) {
        const Word magnitude = word_of(values[i]) & ~sign_bit;
        far |= ((magnitude - least) & -magnitude) | (most - magnitude);
    }
    return !has_sign(far);
}

}  // namespace ondrel
