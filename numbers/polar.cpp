#include "numbers/polar.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <span>

#include "numbers/magnitude.h"

namespace ondrel {
namespace {

double cs(double angle) { return angle_zero(std::cos(angle)); }
double sn(double angle) { return angle_zero(std::sin(angle)); }

// The angle of a number on the real axis.
double sign_test(double x) { return x < 0 ? std::numbers::pi : 0.0; }

// The angle whose sine has this numerator; the axis where it is zero.
double angle_of(double y, double x) { return y == 0 ? sign_test(x) : std::atan2(y, x); }

double sign_of_first(std::span<const double> components) {
    const auto first = std::ranges::find_if(components, [](double c) { return c != 0; });
    if (first == components.end()) return 0.0;
    return *first < 0 ? -1.0 : 1.0;
}

}  // namespace

void polarcomplex(double* dst, const double* src) {
    const double x = src[0], y = src[1];
    dst[0] = magnitude_of(Complex{x, y});
    dst[1] = angle_of(y, x);
}

void cartesiancomplex(double* dst, const double* src) {
    const double r = src[0], t = src[1];
    dst[0] = r * cs(t);
    dst[1] = r * sn(t);
}

void polarquat(double* dst, const double* src) {
    const double w = src[0], x = src[1], y = src[2], z = src[3];
    const double a = angle_of(x, w);
    if (z == 0) {
        dst[0] = magnitude_of(Quaternion{y, x, w, 0});
        dst[2] = std::atan2(y, std::sqrt(1 - y * y));
        dst[3] = 0;
    } else {
        dst[0] = magnitude_of(Quaternion{w, x, y, z});
        dst[2] = angle_of(magnitude_of(Complex{y, x}), w);
        dst[3] = std::atan2(z, std::sqrt(1 - z * z));
    }
    dst[1] = a;
}

void cartesianquat(double* dst, const double* src) {
    const double r = src[0], a = src[1], b = src[2], c = src[3];
    const double outer = c == 0 ? r : r * cs(c);
    dst[0] = outer * cs(a) * cs(b);
    dst[1] = outer * sn(a) * cs(b);
    dst[2] = outer * sn(b);
    dst[3] = c == 0 ? 0 : r * sn(c);
}

// Angle k has the length of the components from k up as its sine's numerator; only the last angle that counts carries
// the sign of its component.
void polarocto(double* dst, const double* src) {
    double c[8];
    std::copy_n(src, 8, c);
    int last = 7;
    while (last > 4 && c[last] == 0) --last;
    double tail = c[last] * c[last];
    const auto length_from = [&](int k) {
        tail += c[k] * c[k];
        if (!has_sign(beyond_normal(tail))) return std::sqrt(tail);
        Octonion rest{};
        std::copy(c + k, c + 8, rest.c);
        return magnitude_of(rest);
    };
    std::fill(dst, dst + 8, 0.0);
    dst[last] = last == 4 ? angle_of(c[4], c[3]) : std::atan2(c[last], c[last - 1]);
    for (int k = last - 1; k >= 1; --k) dst[k] = angle_of(length_from(k), c[k - 1]);
    dst[0] = length_from(0);
}

// Angles beyond the fourth that are zero end the number early: the component before takes the whole sine.
void cartesianocto(double* dst, const double* src) {
    double a[8];
    std::copy_n(src, 8, a);
    int last = 7;
    while (last > 4 && a[last] == 0) --last;
    double product = a[0];
    for (int k = 1; k <= last; ++k) {
        dst[k - 1] = product * cs(a[k]);
        product *= sn(a[k]);
    }
    dst[last] = product;
    std::fill(dst + last + 1, dst + 8, 0.0);
}

double csgncomplex(double re, double im) { return sign_of_first({{re, im}}); }

double csgnquat(double w, double x, double y, double z) {
    const double components[] = {w, x, y, z};
    return sign_of_first(components);
}

double csgnocto(const double* components) { return sign_of_first({components, 8}); }

}  // namespace ondrel
