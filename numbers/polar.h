// Polar and cartesian forms of the hypercomplex kinds. A polar number is a magnitude, then one angle in radians for
// each further component. Every function takes its destination and source as arrays of doubles (2, 4 or 8), which may
// be the same array. None fails: coordinates outside a function's range come out as NaN.
//
// Sines and cosines of a magnitude below 1e-15 count as zero, so that right angles give true zeros.
#pragma once

#include <cmath>

namespace ondrel {

inline constexpr long double least_of_angle = 1e-15L;
template <class Real>
Real angle_zero(Real value) {
    return std::fabs(value) < static_cast<Real>(least_of_angle) ? Real{0} : value;
}

inline constexpr double radians_per_degree = 0.017453292519943295, degrees_per_radian = 57.29577951308232;

void polarcomplex(double* dst, const double* src);
void cartesiancomplex(double* dst, const double* src);
void polarquat(double* dst, const double* src);
void cartesianquat(double* dst, const double* src);
void polarocto(double* dst, const double* src);
void cartesianocto(double* dst, const double* src);

// The sign of the first component that is not zero: -1.0, 0.0 or 1.0.
double csgncomplex(double re, double im);
double csgnquat(double w, double x, double y, double z);
double csgnocto(const double* components);

}  // namespace ondrel
