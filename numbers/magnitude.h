// Numbers of any kind seen as their components: the size of a number, its sign, and the one real that orders it among
// all others.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <limits>

#include "numbers/kinds.h"
#include "numbers/polar.h"
#include "numbers/words.h"

namespace ondrel {

template <class Value>
struct RealIn {
    using type = Value;
};
template <template <class> class Kind, class Real>
struct RealIn<Kind<Real>> {
    using type = Real;
};
template <class Value>
using Components = std::array<typename RealIn<Value>::type, sizeof(Value) / sizeof(typename RealIn<Value>::type)>;

template <class Value>
Components<Value> components_of(const Value& value) {
    return std::bit_cast<Components<Value>>(value);
}

// The number of what the function gives for each component, and the sum of all that. Written out for few components,
// so that loops over arrays are vector code.
template <class Real, class Function>
ComplexOf<Real> map_components(const ComplexOf<Real>& z, const Function& function) {
    return {function(z.re), function(z.im)};
}
template <class Real, class Function>
QuaternionOf<Real> map_components(const QuaternionOf<Real>& q, const Function& function) {
    return {function(q.w), function(q.x), function(q.y), function(q.z)};
}
template <class Real, class Function>
OctonionOf<Real> map_components(const OctonionOf<Real>& o, const Function& function) {
    OctonionOf<Real> mapped;
    for (int k = 0; k < 8; ++k) mapped.c[k] = function(o.c[k]);
    return mapped;
}
template <class Real, class Function>
Real sum_components(const ComplexOf<Real>& z, const Function& function) {
    return function(z.re) + function(z.im);
}
template <class Real, class Function>
Real sum_components(const QuaternionOf<Real>& q, const Function& function) {
    return function(q.w) + function(q.x) + function(q.y) + function(q.z);
}
template <class Real, class Function>
Real sum_components(const OctonionOf<Real>& o, const Function& function) {
    Real sum = function(o.c[0]);
    for (int k = 1; k < 8; ++k) sum += function(o.c[k]);
    return sum;
}

template <class Value>
auto squared_magnitude(const Value& value) {
    return sum_components(value, [](auto component) { return component * component; });
}

// ---- beyond the range of doubles
//
// Squares and products of components leave the range of doubles where the number itself does not. A formula over them
// is computed again in extended precision then, whose range holds them all.
static_assert(std::numeric_limits<long double>::max_exponent > 5 * std::numeric_limits<double>::max_exponent);

inline long double extended(double value) { return value; }
inline double rounded(long double value) { return static_cast<double>(value); }
template <template <class> class Kind>
Kind<long double> extended(const Kind<double>& value) {
    Components<Kind<long double>> components;
    std::ranges::copy(components_of(value), components.begin());
    return std::bit_cast<Kind<long double>>(components);
}
template <template <class> class Kind>
Kind<double> rounded(const Kind<long double>& value) {
    Components<Kind<double>> components;
    std::ranges::transform(components_of(value), components.begin(), [](long double c) { return rounded(c); });
    return std::bit_cast<Kind<double>>(components);
}

// The sum of the components' magnitudes.
template <class Value>
double size_of_components(const Value& value) {
    return sum_components(value, [](double component) { return std::fabs(component); });
}

inline bool is_finite(double value) { return std::isfinite(value); }
template <class Value>
bool is_finite(const Value& value) {
    return std::ranges::all_of(components_of(value), [](double c) { return std::isfinite(c); });
}

// Has the sign bit where a sum of squares or products of the number's components, none of them below zero, is no normal
// double: it has lost digits, or is infinite or no number. That of zero is zero.
inline Word strays(double sum, double value) { return beyond_normal(sum) & -(word_of(value) & ~sign_bit); }
template <class Value>
Word strays(double sum, const Value& value) {
    Word bits = 0;
    for (const double component : components_of(value)) bits |= word_of(component);
    return beyond_normal(sum) & -(bits & ~sign_bit);
}

// The root of the squared magnitude. With `strayed`, as the formula gives it in doubles, which takes the sign bit where
// that left their range.
template <class Value>
double magnitude_of(const Value& value, Word& strayed) {
    const double squares = squared_magnitude(value);
    strayed = strays(squares, value);
    return std::sqrt(squares);
}
template <class Value>
[[gnu::noinline, gnu::cold]] long double extended_magnitude(const Value& value) {
    return std::sqrt(squared_magnitude(extended(value)));
}
template <class Value>
double magnitude_of(const Value& value) {
    Word strayed;
    const double magnitude = magnitude_of(value, strayed);
    return has_sign(strayed) ? rounded(extended_magnitude(value)) : magnitude;
}

// ---- order

inline double csgn(const Complex& z) { return csgncomplex(z.re, z.im); }
inline double csgn(const Quaternion& q) { return csgnquat(q.w, q.x, q.y, q.z); }
inline double csgn(const Octonion& o) { return csgnocto(o.c); }

// The magnitude with the sign of the first component that is not zero; a plain number is its own.
inline double signed_magnitude(std::int64_t value) { return static_cast<double>(value); }
inline double signed_magnitude(double value) { return value; }
template <class Value>
double signed_magnitude(const Value& value) {
    return magnitude_of(value) * csgn(value);
}

}  // namespace ondrel
