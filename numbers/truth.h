// Degrees of truth: a number from 0 to 1, or several of them in the components of a hypercomplex number.
#pragma once

#include <cstdint>
#include <span>

namespace ondrel {

// The degree that a real stands for: itself, or the nearer end of the range. What is no number stays so: absent.
inline double truth_degree(double value) { return value > 1 ? 1.0 : value < 0 ? 0.0 : value; }

// 1 for what is true: integers above 0, characters above the blank; else 0.
inline std::int64_t is_true(std::int64_t value) { return value > 0; }
inline std::int64_t is_true(std::uint8_t character) { return character > ' '; }

// How far the truth values agree: 1 when all are 0 or all are 1, 0 when they split evenly. Components outside the range
// count as its nearest end, unless all are said to be in it. The last component of a quaternion, and the last three of
// an octonion, are absent when they are NaN.
double contradict_c(std::span<const double, 2> components, bool in_range = false);
double contradict_q(std::span<const double, 4> components, bool in_range = false);
double contradict_o(std::span<const double, 8> components, bool in_range = false);

}  // namespace ondrel
