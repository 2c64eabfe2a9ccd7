#include "tests/reference_gamma.h"

#include <cmath>
#include <limits>
#include <numbers>

namespace ondrel::oracle {
namespace {

constexpr double two_53 = 9007199254740992.0;
constexpr long double pi = std::numbers::pi_v<long double>;
constexpr long double out_of_range = 1e300L, part_in_doubt = 1e-12L;

bool is_whole(double x) { return std::floor(x) == x; }
bool is_large(double x) { return !(std::fabs(x) < two_53); }  // a NaN too

// What the approximation of the system may be off by: it is good to nine digits only below 1.
long double doubt_of(double x) { return x > 0 && x < 1 ? 4e-6L : 1e-12L; }

// The gamma function: Stirling's series far to the right, and steps of 1 from there.
Wide gamma(Wide z) {
    // The Bernoulli numbers of even index over (2k)(2k - 1).
    const long double terms[] = {1.0L / 12, -1.0L / 360, 1.0L / 1260, -1.0L / 1680, 1.0L / 1188, -691.0L / 360360};
    Wide steps = 1;
    while (z.real() < 60) {
        steps *= z;
        z += 1;
    }
    Wide series = 0, power = 1.0L / z;
    for (const long double term : terms) {
        series += term * power;
        power /= z * z;
    }
    return std::exp((z - 0.5L) * std::log(z) - z + 0.5L * std::log(2 * pi) + series) / steps;
}

// Whether a complex number counts as a pole: left of the axis by how far sin(pi z) is from zero, and otherwise only
// close to zero itself.
bool is_pole(double tolerance, double x, double y) {
    if (x >= 0) return std::trunc(6 - 0.6 * y - x) > 0 && x + y - tolerance <= 0;
    const long double q = -2 * pi * y, e = q <= -39.15L ? 0 : std::exp(q);
    const long double f = x - std::trunc(x - 0.5), sine = std::sin(pi * f);
    const long double a = e * std::sin(2 * pi * f), b = 2 * e * sine * sine - std::expm1(q);
    return std::fabs(a) - e * tolerance * 2 * pi + b <= 0;
}

}  // namespace

Factorial<long double> factorial_of(double x) {
    if (std::isnan(x)) return {.open = true};
    if (x <= -two_53) return {.value = 0};
    if (x < 0 && is_whole(x)) return {.value = -0.0L, .error = 36};
    if (x > 2000) return {.value = std::numeric_limits<long double>::infinity()};
    if (x < -2000) return {.value = 0};
    return {.value = std::tgamma(static_cast<long double>(x) + 1), .doubt = is_whole(x) && x <= 20 ? 0 : doubt_of(x)};
}

Factorial<Wide> factorial_of(double tolerance, std::complex<double> z) {
    const double x = z.real(), y = std::fabs(z.imag());
    if (y < tolerance) {
        const Factorial<long double> real = factorial_of(x);
        return {.value = real.error ? 0 : real.value, .error = real.error, .open = real.open, .doubt = real.doubt};
    }
    if (!(std::fabs(x) < 1000) || !(y < 1000)) return {.error = 130, .open = true};
    if (is_pole(tolerance, x + 1, y)) return {.value = 0, .error = 130};
    const Wide value = gamma(Wide(x, z.imag()) + 1.0L);
    // Beside a pole, what an argument is rounded by tells.
    const long double beside = std::abs(Wide(x - std::round(x), y));
    return {.value = value,
            .open = !(std::abs(value) < out_of_range),
            .doubt = 1e-12L * (20 + std::fabs(x) + y) + 4e-15L / beside};
}

Factorial<long double> choose(double a, double b) {
    if (is_large(a) || is_large(b)) return {.open = true};
    if (is_whole(a) && is_whole(b)) {
        if (a == b || a == 0) return {.value = 1};
        if (b < 0 && a < b) {
            Factorial<long double> mirrored = choose(-(b + 1), -(a + 1));
            if (std::fmod(b - a, 2) != 0) mirrored.value = -mirrored.value;
            return mirrored;
        }
        if (b < 0 ? a < 0 : b < a || a < 0) return {.value = 0};
        // Where the products leave the range of doubles, the quotient may be one of infinities.
        double top = 1, bottom = 1;
        for (double i = 0; i < a && !std::isinf(top) && !std::isinf(bottom); ++i) {
            top *= b - i;
            bottom *= i + 1;
        }
        const bool infinite = std::isinf(top) || std::isinf(bottom);
        return {.value = static_cast<long double>(top) / static_cast<long double>(bottom),
                .open = infinite,
                .doubt = part_in_doubt};
    }
    if (!is_whole(a) && is_whole(b) && b < 0) return {.value = 0};
    const long double top = factorial_of(b).value, bottom = factorial_of(a).value, rest = factorial_of(b - a).value;
    const auto strained = [](long double x) {
        return !(std::fabs(x) < out_of_range) || (x != 0 && std::fabs(x) < 1 / out_of_range);
    };
    // A pole below counts as a zero; but a difference may only come to be a whole number where it is rounded.
    const bool vanishes = top == 0 || bottom == 0 || rest == 0;
    const bool rounded = static_cast<long double>(b) - a != b - a;
    return {.value = top / (bottom * rest),
            .open = strained(top) || strained(bottom) || strained(rest) ||
                    (vanishes && (rounded || a < -2000 || b < -2000 || b - a < -2000)),
            .doubt = doubt_of(a) + doubt_of(b) + doubt_of(b - a) + (rounded ? 1e-9L : 0)};
}

Factorial<Wide> choose(double tolerance, std::complex<double> a, std::complex<double> b) {
    const Factorial<Wide> rest = factorial_of(tolerance, b - a), bottom = factorial_of(tolerance, a),
                          top = factorial_of(tolerance, b);
    const Wide below = rest.value * bottom.value;
    return {.value = below == 0.0L ? 0 : top.value / below,
            .open = rest.open || bottom.open || top.open || !(std::abs(below) < out_of_range),
            .doubt = rest.doubt + bottom.doubt + top.doubt};
}

}  // namespace ondrel::oracle
