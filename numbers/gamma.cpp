#include "numbers/gamma.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <limits>
#include <numbers>

namespace ondrel {

thread_local int aplerr = 0;

namespace {

using Wide = long double;
using WideComplex = std::complex<long double>;

constexpr Wide pi = std::numbers::pi_v<Wide>, two_pi = 2 * pi;
constexpr Wide log_two_pi = 1.837877066409345483560659472811235279L;
constexpr Wide infinity = std::numeric_limits<Wide>::infinity();
constexpr double two_to_53 = 2 * two_to_52;

bool whole(Wide x) { return std::floor(x) == x; }
bool odd(Wide x) { return std::fabs(std::fmod(x, 2.0L)) == 1; }

// The polynomial with these coefficients, the highest first.
template <class Coefficients, class Number>
Number polynomial(const Coefficients& coefficients, Number x) {
    Number sum{};
    for (const Wide coefficient : coefficients) sum = sum * x + coefficient;
    return sum;
}

// Gamma at 1 + d, for d from 0 to 1 with a relative error below 2 to the -55. Below 0 digits are lost, slowly at first:
// nine are left at -0.5, and there is a pole short of -1.
Wide G(Wide d) {
    static constexpr Wide numerator[] = {-0.7567002385928L,  11.2029121505218L,  5.2381653641874L,   -62.7275543027149L,
                                         1089.094443338165L, 3132.869061049572L, 232.6453044878145L, 0.0L};
    static constexpr Wide denominator[] = {1.0L,
                                           -10.3125739380508L,
                                           14.3853048828456L,
                                           201.4965441739693L,
                                           -629.3447351061687L,
                                           -1421.6453534644902L,
                                           4597.142440656356L,
                                           7194.088849193596L};
    const Wide t = d - 0.5L;
    return polynomial(numerator, t) / polynomial(denominator, t) + 0.886226925452758L;
}

// x!, by steps of 1 to or from the range of G. Steps end early where the product is infinite, so that none takes more
// than some two thousand.
Wide factorial(Wide x) {
    if (x == 0 || x == 1) return 1;
    if (x > 0) {
        if (x < 1) return G(x);
        Wide product = x, v = x;
        while (v > 2 && product < infinity) product *= v -= 1;
        return v >= 2 ? product : product * G(v - 1);
    }
    if (x <= -two_to_53) return 0;
    if (whole(x)) {
        aplerr = factorial_of_negative_integer;
        return -0.0L;
    }
    Wide product = 1, v = x;
    do product *= v += 1;
    while (v < 0 && std::fabs(product) < infinity);
    return v < 0 ? 1 / product : G(v) / product;
}

// The number of ways of choosing k, or the m others, from k + m. With a result below 2 to the 53 every product and
// quotient on the way is exact. The ways at least double with each step, so that some thousand steps are beyond a
// double.
Wide choose(Wide k, Wide m) {
    const Wide few = std::min(k, m), many = std::max(k, m);
    Wide ways = 1;
    for (Wide j = 1; j <= few && ways <= std::numeric_limits<double>::max(); ++j) ways = ways * (many + j) / j;
    return ways;
}

Wide signed_by(bool negative, Wide magnitude) { return negative ? -magnitude : magnitude; }

// The coefficient of whole numbers; a negative one on top or below is brought to two that are not.
Wide binom_of_whole(Wide a, Wide b) {
    if (a == b || a == 0) return 1;
    if (b >= 0) return a < 0 || b < a ? 0 : choose(a, b - a);
    if (a < b) return signed_by(odd(b - a), choose(-b - 1, b - a));
    return a < 0 ? 0 : signed_by(odd(a), choose(a, -b - 1));
}

// Gamma as the exponential of a logarithm, over a divisor that is zero only at a pole.
struct Gamma {
    WideComplex logarithm, divisor;
};

// Gamma at z, whose real part is not negative: by Stirling's series, at a number that is larger by whole steps. There
// the first term left out is below 3e-20, the rounding error of the extended precision.
Gamma gamma(WideComplex z) {
    constexpr Wide radius = 16;
    WideComplex divisor = 1;
    for (; std::norm(z) < radius * radius; z += 1) divisor *= z;
    const WideComplex w = 1.0L / z, series = w * polynomial(coef, w * w);
    return {series + log_two_pi / 2 - z + (z - 0.5L) * std::log(z), divisor};
}

// z!, left of -1 by way of z! (-z - 1)! = -pi / sin(pi z). The sine is scaled by 2 e^(-pi y), so that it stays finite,
// and measured from the nearest zero, so that it keeps its digits beside one. A pole counts as met where an error of
// the tolerance in z could lead to it.
WideComplex factorial(Wide tolerance, WideComplex z) {
    const Wide x = z.real(), y = z.imag();
    if (std::fabs(y) < tolerance) return factorial(x);
    if (std::signbit(y)) return std::conj(factorial(tolerance, std::conj(z)));
    tolerance = std::fmax(tolerance, 0.0L);
    if (x >= -1) {
        const Gamma found = gamma(z + 1.0L);
        if (!(x + 1 + y <= tolerance)) return std::exp(found.logarithm) / found.divisor;
    } else {
        const Wide nearest = std::round(x), angle = pi * (x - nearest), e = std::exp(-two_pi * y);
        const WideComplex sine = {std::sin(angle) * (1 + e), -std::cos(angle) * std::expm1(-two_pi * y)};
        const Gamma found = gamma(-z);
        if (!(std::fabs(sine.real()) + std::fabs(sine.imag()) <= two_pi * e * tolerance)) {
            const WideComplex size = std::exp(log_two_pi - pi * y - found.logarithm) * found.divisor / sine;
            return odd(nearest) ? size : -size;
        }
    }
    aplerr = near_pole_of_gamma;
    return 0;
}

Complex rounded(WideComplex z) { return {static_cast<double>(z.real()), static_cast<double>(z.imag())}; }

}  // namespace

double factor(double x) {
    aplerr = 0;
    // By its definition the function takes G below 0 here, which is good for nine digits: 0.8862269267 at one half.
    if (x >= 0.5 && x < 1) return static_cast<double>(x * G(x - 1.0L));
    return static_cast<double>(factorial(x));
}

double binom(double a, double b) {
    aplerr = 0;
    if (std::isnan(a) || std::isnan(b)) return a + b;
    if (whole(a) && whole(b)) return static_cast<double>(binom_of_whole(a, b));
    if (whole(b) && b < 0) {
        aplerr = unsupported_in_binom;
        return 0;
    }
    return static_cast<double>(factorial(b) / (factorial(a) * factorial(Wide{b} - a)));
}

Complex gammax(double tolerance, Complex z) {
    if (std::fabs(z.im) < tolerance) return {factor(z.re), 0};
    aplerr = 0;
    return rounded(factorial(tolerance, {z.re, z.im}));
}

Complex binomC(double tolerance, Complex a, Complex b) {
    aplerr = 0;
    const WideComplex below{a.re, a.im}, top{b.re, b.im};
    const WideComplex divisor = factorial(tolerance, top - below) * factorial(tolerance, below);
    const WideComplex dividend = factorial(tolerance, top);
    return divisor == WideComplex{} ? Complex{0, 0} : rounded(dividend / divisor);
}

}  // namespace ondrel
