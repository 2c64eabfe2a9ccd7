#include "numbers/complex_functions.h"

#include <cmath>
#include <complex>
#include <limits>
#include <numbers>

#include "numbers/polar.h"

namespace ondrel {
namespace {

using Extended = std::complex<long double>;

Extended extended(Complex z) { return {z.re, z.im}; }
Complex rounded(const Extended& z) { return {static_cast<double>(z.real()), static_cast<double>(z.imag())}; }

// ---- by magnitude and angle

Extended from_logarithm(long double log_magnitude, long double angle) {
    const long double magnitude = std::exp(log_magnitude);
    const auto part = [magnitude](long double value) { return value == 0 ? 0.0L : magnitude * value; };
    return {part(angle_zero(std::cos(angle))), part(angle_zero(std::sin(angle)))};
}

// The library's logarithm keeps its digits next to the unit circle too.
Extended natural_log(Complex z) {
    const long double angle = z.im == 0 ? (z.re < 0 ? std::numbers::pi_v<long double> : 0.0L) : std::arg(extended(z));
    return {std::log(extended(z)).real(), angle};
}

Extended quotient(const Extended& a, const Extended& b) {
    const long double squared = b.real() * b.real() + b.imag() * b.imag();
    return {(a.real() * b.real() + a.imag() * b.imag()) / squared,
            (a.imag() * b.real() - a.real() * b.imag()) / squared};
}

long double real_log(double x) { return std::log(static_cast<long double>(x)); }

// ---- circular functions

// The root whose real part is not below 0; of a negative real number the one above the axis.
Extended root(long double re, long double im) {
    if (im != 0) return std::sqrt(Extended(re, im));
    return re >= 0 ? Extended(std::sqrt(re), 0) : re < 0 ? Extended(0, std::sqrt(-re)) : Extended(re, 0);
}

// sqrt(1 + sign * z^2), with no digits lost where that is near 0. What has no value in the square of an infinite number
// counts as a positive infinity.
Extended root_of_one_and_square(int sign, const Extended& z) {
    if (const long double x = z.real(); z.imag() == 0) return root(sign < 0 ? (1 - x) * (1 + x) : 1 + x * x, 0);
    const Extended w = sign < 0 ? z : Extended(-z.imag(), z.real());  // the sum is 1 - w^2
    const long double x = w.real(), y = w.imag(), infinite = std::numeric_limits<long double>::infinity();
    const auto settled = [&](long double part, long double instead) {
        return std::isnan(part) && !std::isnan(x) && !std::isnan(y) ? instead : part;
    };
    return root(settled((1 - x) * (1 + x) + y * y, infinite), settled(-2 * x * y, sign * infinite));
}

// (z + 1) sqrt((z - 1) / (z + 1)), the root of z^2 - 1 that lies on the same side of the real axis as z.
Extended root_of_square_minus_one(const Extended& z) {
    const long double x = z.real(), y = z.imag();
    if (y != 0) {
        const Extended found = root_of_one_and_square(-1, z);
        return y > 0 ? Extended(0 - found.imag(), found.real()) : Extended(found.imag(), -found.real());
    }
    const Extended found = root((x - 1) * (x + 1), 0);
    return x < -1 ? -found : found;
}

// The components of a root that is seen as a magnitude and an angle.
Extended with_angle_zero(const Extended& z) {
    const long double least = least_of_angle * std::abs(z);
    const auto part = [least](long double value) { return std::fabs(value) < least ? 0.0L : value; };
    return {part(z.real()), part(z.imag())};
}

// The number moved to the side of a cut that counts: the zero of its i part, or of its real part, takes this sign.
Extended with_im_zero(const Extended& z, long double sign) {
    return z.imag() == 0 ? Extended(z.real(), std::copysign(0.0L, sign)) : z;
}
Extended with_re_zero(const Extended& z, long double sign) {
    return z.real() == 0 ? Extended(std::copysign(0.0L, sign), z.imag()) : z;
}

// A true zero takes an infinity away.
long double product(long double a, long double b) {
    const long double found = a * b;
    return (a == 0 || b == 0) && std::isnan(found) ? 0 : found;
}

Extended sine(const Extended& z) {
    return {product(std::sin(z.real()), std::cosh(z.imag())), product(std::cos(z.real()), std::sinh(z.imag()))};
}
Extended cosine(const Extended& z) {
    return {product(std::cos(z.real()), std::cosh(z.imag())), -product(std::sin(z.real()), std::sinh(z.imag()))};
}

Extended by_selector(int selector, const Extended& z) {
    switch (selector) {
        case 1: return sine(z);
        case 2: return cosine(z);
        case 3: return std::tan(z);
        case 4: return with_angle_zero(root_of_one_and_square(1, z));
        case 5: {
            const Extended turned = sine({-z.imag(), z.real()});  // sinh z = -i sin iz
            return {turned.imag(), -turned.real()};
        }
        case 6: return cosine({-z.imag(), z.real()});
        case 7: return std::tanh(z);
        case -1: return std::asin(with_im_zero(z, -z.real()));
        case -2: return std::acos(with_im_zero(z, -1));
        case -3: return std::atan(with_re_zero(z, 1));
        case -4: return root_of_square_minus_one(z);
        case -5: return std::asinh(with_re_zero(z, z.imag()));
        case -6: return std::acosh(with_im_zero(z, z.real() < -1 ? -1 : 1));
        case -7: return std::atanh(with_im_zero(z, -z.real()));
        default: return with_angle_zero(root_of_one_and_square(-1, z));
    }
}

}  // namespace

Complex exponential_of(Complex z) { return rounded(from_logarithm(z.re, z.im)); }
Complex logarithm_of(Complex z) { return rounded(natural_log(z)); }

Complex power_of(Complex z, double w) {
    if (w == 0) return {1, 0};
    const Extended log = natural_log(z);
    return rounded(from_logarithm(w * log.real(), w * log.imag()));
}
Complex power_of(double x, Complex w) {
    const long double log = real_log(x);
    return rounded(from_logarithm(w.re * log, w.im * log));
}
Complex power_of(Complex z, Complex w) {
    if (w.im == 0) return power_of(z, w.re);
    const Extended log = natural_log(z);
    return rounded(from_logarithm(w.re * log.real() - w.im * log.imag(), w.re * log.imag() + w.im * log.real()));
}

Complex logarithm_of(Complex z, double base) { return rounded(natural_log(z) / real_log(base)); }
Complex logarithm_of(double x, Complex base) { return rounded(quotient({real_log(x), 0}, natural_log(base))); }
Complex logarithm_of(Complex z, Complex base) { return rounded(quotient(natural_log(z), natural_log(base))); }

Complex circular_of(int selector, Complex z) { return rounded(by_selector(selector, extended(z))); }

}  // namespace ondrel
