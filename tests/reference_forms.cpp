#include "tests/reference_forms.h"

#include <cmath>
#include <numbers>

namespace ondrel::oracle {
namespace {

constexpr double pi = std::numbers::pi;

double without_dust(double value) { return std::fabs(value) < 1e-15 ? 0.0 : value; }
double cs(double angle) { return without_dust(std::cos(angle)); }
double sn(double angle) { return without_dust(std::sin(angle)); }

// The angle of a number that lies on the real axis.
double axis_angle(double x) { return x < 0 ? pi : 0.0; }
double angle(double y, double x) { return y == 0 ? axis_angle(x) : std::atan2(y, x); }

}  // namespace

double length(const std::vector<double>& parts) {
    double squares = 0;
    long double wide = 0;
    for (const double part : parts) {
        squares += part * part;
        wide += static_cast<long double>(part) * part;
    }
    return std::fpclassify(squares) == FP_NORMAL ? std::sqrt(squares) : static_cast<double>(std::sqrt(wide));
}

namespace {

Parts polar_quaternion(double w, double x, double y, double z) {
    Parts result{};
    result[1] = angle(x, w);
    if (z == 0) {
        result[0] = length({y, x, w});
        result[2] = std::atan2(y, std::sqrt(1 - y * y));
    } else {
        result[0] = length({w, x, y, z});
        const double rest = length({y, x});
        result[2] = rest == 0 ? axis_angle(w) : std::atan2(rest, w);
        result[3] = std::atan2(z, std::sqrt(1 - z * z));
    }
    return result;
}

Parts polar_octonion(const Parts& c) {
    Parts result{};
    result[0] = length({c.begin(), c.end()});
    std::size_t highest = 4;
    for (std::size_t i = 5; i < 8; ++i)
        if (c[i] != 0) highest = i;
    for (std::size_t k = 1; k < highest; ++k) {
        const double tail = length({c.begin() + static_cast<std::ptrdiff_t>(k), c.end()});
        result[k] = tail == 0 ? axis_angle(c[k - 1]) : std::atan2(tail, c[k - 1]);
    }
    result[highest] = highest == 4 && c[4] == 0 ? axis_angle(c[3]) : std::atan2(c[highest], c[highest - 1]);
    return result;
}

Parts cartesian_quaternion(double r, double a, double b, double c) {
    const double last = c == 0 ? 1.0 : cs(c);
    return {r * cs(a) * cs(b) * last, r * sn(a) * cs(b) * last, r * sn(b) * last, c == 0 ? 0.0 : r * sn(c)};
}

Parts cartesian_octonion(const Parts& p) {
    // The last angle that counts: 7, or less when those from the top are 0, but never below 4.
    const std::size_t last = p[7] != 0 ? 7 : p[6] != 0 ? 6 : p[5] != 0 ? 5 : 4;
    Parts result{};
    double running = p[0];
    for (std::size_t k = 1; k <= last; ++k) {
        result[k - 1] = running * cs(p[k]);
        running *= sn(p[k]);
    }
    result[last] = running;
    return result;
}

}  // namespace

Parts polar(std::size_t components, const Parts& c) {
    if (components == 2) return {length({c[0], c[1]}), angle(c[1], c[0])};
    return components == 4 ? polar_quaternion(c[0], c[1], c[2], c[3]) : polar_octonion(c);
}

Parts cartesian(std::size_t components, const Parts& p) {
    if (components == 2) return {p[0] * cs(p[1]), p[0] * sn(p[1])};
    return components == 4 ? cartesian_quaternion(p[0], p[1], p[2], p[3]) : cartesian_octonion(p);
}

double sign(std::size_t components, const Parts& parts) {
    for (std::size_t i = 0; i < components; ++i) {
        if (parts[i] > 0) return 1;
        if (parts[i] < 0) return -1;
    }
    return 0;
}

}  // namespace ondrel::oracle
