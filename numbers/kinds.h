// The numeric tower above integer as plain records of doubles, and the way up: integer, real, complex, quaternion,
// octonion. A lower number is widened by zeros in the components that it lacks. Nothing is ever narrowed here.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

namespace ondrel {

template <class Real>
struct ComplexOf {
    Real re, im;
};
template <class Real>
struct QuaternionOf {
    Real w, x, y, z;  // components 1, i, j, k
};
template <class Real>
struct OctonionOf {
    Real c[8];  // components 1, i, j, k, l, m, n, o
};
using Complex = ComplexOf<double>;
using Quaternion = QuaternionOf<double>;
using Octonion = OctonionOf<double>;

// 2 to the 63: the least magnitude that no integer above zero reaches, and 2 to the 52, from which on a double has no
// fraction.
inline constexpr double two_to_63 = 9223372036854775808.0, two_to_52 = 4503599627370496.0;

// Whether the double, truncated, is an i64.
constexpr bool fits_integer(double value) { return value >= -two_to_63 && value < two_to_63; }

// The integer that a whole double below 2 to the 51 in magnitude is, as vector code on every processor: with 1.5 times
// 2 to the 52 added its low bits show it.
inline constexpr double two_to_51 = two_to_52 / 2;
[[gnu::always_inline]] inline std::int64_t integer_of_whole(double value) {
    constexpr double shows_integer = 3 * two_to_51;
    return std::bit_cast<std::int64_t>(value + shows_integer) - std::bit_cast<std::int64_t>(shows_integer);
}

// The components that a kind has are the first ones of every higher kind.
template <class Higher, class Lower>
Higher widen(const Lower& lower) {
    static_assert(sizeof(Lower) < sizeof(Higher));
    Higher higher{};
    std::memcpy(&higher, &lower, sizeof lower);
    return higher;
}

// The place of a kind in the tower.
template <class Kind>
inline constexpr int level_of = -1;
template <>
inline constexpr int level_of<std::int64_t> = 0;
template <>
inline constexpr int level_of<double> = 1;
template <>
inline constexpr int level_of<Complex> = 2;
template <>
inline constexpr int level_of<Quaternion> = 3;
template <>
inline constexpr int level_of<Octonion> = 4;

}  // namespace ondrel
