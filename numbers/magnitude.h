// Numbers of any kind seen as their components: the size of a number, its sign, and the one real that orders it among
// all others.
#pragma once

#include <array>
#include <bit>
#include <cmath>

#include "numbers/kinds.h"
#include "numbers/polar.h"

namespace ondrel {

template <class Value>
using Components = std::array<double, sizeof(Value) / sizeof(double)>;

template <class Value>
Components<Value> components_of(const Value& value) {
    return std::bit_cast<Components<Value>>(value);
}

// The number of what the function gives for each component.
template <class Value, class Function>
Value map_components(const Value& value, const Function& function) {
    auto components = components_of(value);
    for (double& component : components) component = function(component);
    return std::bit_cast<Value>(components);
}

template <class Value>
double squared_magnitude(const Value& value) {
    double sum = 0;
    for (const double component : components_of(value)) sum += component * component;
    return sum;
}

inline double csgn(const Complex& z) { return csgncomplex(z.re, z.im); }
inline double csgn(const Quaternion& q) { return csgnquat(q.w, q.x, q.y, q.z); }
inline double csgn(const Octonion& o) { return csgnocto(o.c); }

// The magnitude with the sign of the first component that is not zero; a plain number is its own.
inline double signed_magnitude(std::int64_t value) { return static_cast<double>(value); }
inline double signed_magnitude(double value) { return value; }
template <class Value>
double signed_magnitude(const Value& value) {
    return std::sqrt(squared_magnitude(value)) * csgn(value);
}

}  // namespace ondrel
