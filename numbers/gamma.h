// The factorial and the binomial coefficient, over the reals and over the complex numbers. A factorial is the gamma
// function one further on: x! is gamma(x + 1), so it has its poles at the negative integers.
//
// Everything is computed in the platform's extended precision and rounded once, at the end. None of the functions
// raises: each sets `aplerr` to 0, and to an error number where it has no value to give. NaN gives NaN.
#pragma once

#include <array>
#include <cstdint>

#include "numbers/kinds.h"

namespace ondrel {

// 0! to 20!, all that an integer can hold.
inline constexpr auto factorials = [] {
    std::array<std::int64_t, 21> table{1};
    for (std::size_t n = 1; n < table.size(); ++n) table[n] = table[n - 1] * static_cast<std::int64_t>(n);
    return table;
}();

// The Stirling series of the logarithm of gamma: its terms in 1/z, 1/z^3, 1/z^5 and on, the highest first.
inline constexpr std::array<double, 7> coef = {1.0 / 156,  -691.0 / 360360, 1.0 / 1188, -1.0 / 1680,
                                               1.0 / 1260, -1.0 / 360,      1.0 / 12};

// What the calling thread's last use of these functions came to: 0, or the number of the error.
extern thread_local int aplerr;

inline constexpr int factorial_of_negative_integer = 36, unsupported_in_binom = 40, near_pole_of_gamma = 130;

// x!, within 0.7 units in the last place, and for whole numbers the nearest double; but from one half up to 1 it is
// good for nine digits only. A negative integer sets 36 and gives -0.0; from minus 2 to the 53 on, where every double
// is one, the value is 0 without an error.
double factor(double x);

// The binomial coefficient with b on top and a below, within a unit in the last place; of whole numbers it is exact up
// to 2 to the 53. A negative integer on top of a fraction sets 40 and gives 0. One that comes up below in the quotient
// b! / (a! (b - a)!) of fractions sets 36 and gives an infinity. From some 1750 on that quotient is lost in overflow.
double binom(double a, double b);

// The factorial of a complex number, within about a unit in the last place of its magnitude as long as z log z has no
// more than three digits before the point; beyond, the error grows with them. One whose i part is below the tolerance
// counts as real. At a pole, (0, 0): 36 on the real axis and 130 beside it.
Complex gammax(double tolerance, Complex z);

// The binomial coefficient b! / (a! (b - a)!) of complex numbers, where each factorial is as in gammax; 0 where the
// divisor is 0 or at a pole.
Complex binomC(double tolerance, Complex a, Complex b);

}  // namespace ondrel
