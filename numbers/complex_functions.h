// Elementary functions of complex numbers, computed in the platform's extended precision and rounded once. None fails:
// infinities and NaN come out where a function has no value.
//
// Sines and cosines of a magnitude below 1e-15 count as zero where a number is made from a magnitude and an angle, so
// that right angles give true zeros. On a branch cut each function has one value, whatever the sign of a zero.
#pragma once

#include "numbers/kinds.h"

namespace ondrel {

Complex exponential_of(Complex z);

// The natural logarithm; the angle of a real number is 0 or pi.
Complex logarithm_of(Complex z);

// z to the power w. A real in place of either is a complex number with no i part, but that a real base below 0 has no
// logarithm here and gives NaN.
Complex power_of(Complex z, double w);
Complex power_of(double x, Complex w);
Complex power_of(Complex z, Complex w);

// The logarithm of z to the base w. A real operand below 0 gives NaN.
Complex logarithm_of(Complex z, double base);
Complex logarithm_of(double x, Complex base);
Complex logarithm_of(Complex z, Complex base);

// The circular and hyperbolic functions by their selectors, from -7 to 7: sine, cosine, tangent, sqrt(1 + z^2) and the
// hyperbolic ones from 1 on, their inverses below 0, with sqrt(z^2 - 1) at -4, and sqrt(1 - z^2) at 0.
Complex circular_of(int selector, Complex z);

}  // namespace ondrel
