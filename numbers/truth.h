// Degrees of truth: a number from 0 to 1, or several of them in the components of a hypercomplex number.
#pragma once

#include <span>

namespace ondrel {

// How far the truth values agree: 1 when all are 0 or all are 1, 0 when they split evenly. Components outside the range
// count as its nearest end. The last component of a quaternion, and the last three of an octonion, are absent when they
// are NaN.
double contradict_c(std::span<const double, 2> components);
double contradict_q(std::span<const double, 4> components);
double contradict_o(std::span<const double, 8> components);

}  // namespace ondrel
