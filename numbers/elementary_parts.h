// What the fast elementary functions are made of. Each takes its argument apart into a point of a table and a small
// rest, so that a short polynomial of the rest is enough, and adds up the terms that matter most as unrounded sums of
// two doubles. About 65 bits come out right before the one rounding at the end; the general library, in extended
// precision, is only asked for the arguments that this does not reach: zeros, infinities, subnormal numbers, overflow,
// huge angles.
//
// An array goes in blocks: a first loop finds every item's place in the table, a second one computes. Both have no
// branch and become vector code; the places go through memory, from where their entries are fetched much faster than
// out of a vector. Fused operations are written as such, so that all processors round alike.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "numbers/words.h"

namespace ondrel::elementary {

constexpr Word fraction_bits = (Word{1} << 52) - 1, word_of_one = word_of(1);
constexpr Word low_bits(unsigned n) { return (Word{1} << n) - 1; }

// A double of this size has a unit in its last place, and adding it rounds a smaller number to a multiple of that unit,
// which is then in the low bits. Half as much again keeps numbers below zero in the same binade.
constexpr double rounding_to(double unit) { return 0x1.8p52 * unit; }

// ---- tables, computed by the compiler

// Numbers from 0 up in units of 2^-112.
using Fixed = unsigned __int128;
constexpr unsigned fixed_bits = 112;
constexpr Fixed one = Fixed{1} << fixed_bits;

constexpr Fixed product(Fixed a, Fixed b) {  // of numbers below 256
    a <<= 8, b <<= 8;
    const Fixed a_high = a >> 64, a_low = static_cast<Word>(a), b_high = b >> 64, b_low = static_cast<Word>(b);
    const Fixed middle = a_high * b_low, other = a_low * b_high;
    const Fixed carry = (a_low * b_low >> 64) + static_cast<Word>(middle) + static_cast<Word>(other);
    return a_high * b_high + (middle >> 64) + (other >> 64) + (carry >> 64);
}

constexpr Word first_64_bits(Fixed fraction) { return static_cast<Word>(fraction >> (fixed_bits - 64)); }
constexpr double to_double(Fixed value) { return static_cast<double>(value) / static_cast<double>(one); }
constexpr double rounded_difference(Fixed a, Fixed b) { return a >= b ? to_double(a - b) : -to_double(b - a); }

// ---- sums of two doubles

// The sum, not rounded; `low` is far below `high`.
struct Sum {
    double high, low;
};

// a + b, where a is zero or not the smaller one.
inline Sum sum(double a, double b) {
    const double high = a + b;
    return {high, (a - high) + b};
}

// 1 and the given fraction of 2^64, the first n bits of it in `high`.
template <unsigned n>
inline Sum one_and(Word fraction) {
    constexpr double base = 0x1p-12;  // the unit in its last place is 2^-64
    return {double_of(word_of_one | (fraction >> 12 & ~low_bits(52 - n))),
            double_of(word_of(base) | (fraction & low_bits(64 - n))) - base};
}

inline double quotient(Sum a, Sum b) {
    const double inverse = 1 / b.high, q = a.high * inverse;
    return std::fma(std::fma(-q, b.low, std::fma(-q, b.high, a.high) + a.low), inverse, q);
}

inline double rounded(long double value) { return static_cast<double>(value); }
inline long double extended(double value) { return value; }

// ---- one value, and arrays
//
// A Rule has, for one argument: outside, a word with the sign bit where it is not ordinary; place, in the table; plain,
// the value for an ordinary argument and its place; rare, the value for another one. A rule that has `far` as well
// takes that for what is not ordinary, unless its far_outside has the sign bit.

template <class Rule>
constexpr bool goes_far = requires {
    Rule::far_outside(1.0);
};

template <class Rule>
Word beyond_reach(double x) {
    if constexpr (goes_far<Rule>)
        return Rule::far_outside(x);
    else
        return Rule::outside(x);
}

template <class Rule>
double value_of(double x) {
    if (!has_sign(Rule::outside(x))) return Rule::plain(x, Rule::place(x));
    if constexpr (goes_far<Rule>)
        if (!has_sign(Rule::far_outside(x))) return Rule::far(x, Rule::place(x));
    return Rule::rare(x);
}

// Values that are taken together: few enough to stay in the nearest cache.
constexpr std::size_t block = 256;

template <class Rule>
void values_of(const double* x, double* results, std::size_t n) {
    for (std::size_t at = 0; at < n; at += block, x += block, results += block) {
        const std::size_t m = std::min(block, n - at);
        Word places_of[block], outside = 0;
        for (std::size_t i = 0; i < m; ++i) {
            outside |= Rule::outside(x[i]);
            places_of[i] = Rule::place(x[i]);
        }
        double kept[block];
        if (has_sign(outside)) std::copy_n(x, m, kept);
#pragma GCC ivdep
        for (std::size_t i = 0; i < m; ++i) results[i] = Rule::plain(x[i], places_of[i]);
        if (!has_sign(outside)) continue;
        if constexpr (goes_far<Rule>) {
            outside = 0;
#pragma GCC ivdep
            for (std::size_t i = 0; i < m; ++i) {
                const double far = Rule::far(kept[i], places_of[i]);
                results[i] = has_sign(Rule::outside(kept[i])) ? far : results[i];
                outside |= Rule::far_outside(kept[i]);
            }
            if (!has_sign(outside)) continue;
        }
        for (std::size_t i = 0; i < m; ++i)
            if (has_sign(beyond_reach<Rule>(kept[i]))) results[i] = Rule::rare(kept[i]);
    }
}

}  // namespace ondrel::elementary
