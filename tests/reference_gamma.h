// Factorials and binomial coefficients of reals and complex numbers, for the reference.
#pragma once

#include <complex>

namespace ondrel::oracle {

using Wide = std::complex<long double>;

// A factorial or a coefficient; or the error number of the place where there is none.
template <class Number>
struct Factorial {
    Number value{};
    int error = 0;
    bool open = false;      // too large or too close to a pole to say more
    long double doubt = 0;  // how far a double's value may lie from it, as a part of it
};

Factorial<long double> factorial_of(double x);
Factorial<Wide> factorial_of(double tolerance, std::complex<double> z);

// The ways to choose a from b.
Factorial<long double> choose(double a, double b);
Factorial<Wide> choose(double tolerance, std::complex<double> a, std::complex<double> b);

}  // namespace ondrel::oracle
