// POWER and LOGARITHM, over the reals and the complex numbers; roots, squares and the powers of 2, e and 10 are POWER
// with a constant.
//
// A real base below 0 with an exponent that is not whole gives a complex number, but for the exponent that stands for
// the cube root. A real logarithm below 0 is no number.
#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <numbers>

#include "numbers/complex_functions.h"
#include "numbers/elementary.h"
#include "verbs/scalar/dyadic.h"

namespace ondrel {
namespace {

template <class A>
constexpr bool plain_number = std::is_same_v<A, std::int64_t> || std::is_same_v<A, double>;

// ---- POWER

using RealOrComplex = Either<double, Complex>;
constexpr double third = 0.3333333333333333, half = 0.5;  // stand for the cube root and the square root

// A negative base: the power of its magnitude, turned by y half turns. Whole turns are left out first, so that no digit
// of a large exponent is lost, and then quarter turns, so that none of a small component is.
Complex turned_power(double x, double y) {
    constexpr std::array<std::complex<long double>, 4> quarter_turns = {{{1, 0}, {0, 1}, {-1, 0}, {0, -1}}};
    const double half_turns = std::remainder(y, 2.0), quarters = std::nearbyint(2 * half_turns);
    const long double angle = std::numbers::pi_v<long double> * (half_turns - quarters / 2);
    const std::complex<long double> direction =
        std::complex(std::cos(angle), std::sin(angle)) * quarter_turns[static_cast<std::size_t>(quarters + 4) % 4];
    const long double size = std::pow(-static_cast<long double>(x), static_cast<long double>(y));
    const auto part = [size](long double value) {
        return angle_zero(value) == 0 ? 0.0 : static_cast<double>(size * value);
    };
    return {part(direction.real()), part(direction.imag())};
}

struct ToPower : UpToComplex {
    static std::uint64_t head(std::uint64_t left, std::uint64_t, std::uint32_t tag) {
        return make_head(tag, form::number, tag == tag::real ? unprefixed_marks(left) : std::uint16_t{0});
    }

    template <class A>
    requires plain_number<A>
    static double exactly(A x, std::same_as<std::int64_t> auto n) {
        return Power::of(static_cast<double>(x), static_cast<double>(n));
    }
    static RealOrComplex apply(double x, double y) {
        if (y == third) return {true, cube_root(x), {}};
        if (x < 0 && is_fraction(y)) return {false, 0, turned_power(x, y)};
        if (y == half) return {true, std::sqrt(x), {}};
        return {true, Power::of(x, y), {}};
    }
    static Complex apply(Complex z, double n) { return power_of(z, n); }
    static Complex apply(double x, Complex w) { return power_of(x, w); }
    static Complex apply(Complex z, Complex w) { return power_of(z, w); }

    static bool is_fraction(double y) { return (y == y) & (y != std::floor(y)); }

    // Whether the n pairs are all roots, or all powers that nothing else is to be looked at for.
    template <Extent extent>
    VECTOR_CLONES static bool all_powers(const double* x, const double* y, std::size_t n) {
        std::uint64_t others = 0;
        for (std::size_t i = 0; i < n; ++i) {
            const double base = x[extent == left_single ? 0 : i], exponent = y[extent == right_single ? 0 : i];
            const bool turned = (base < 0) & is_fraction(exponent);
            others |= static_cast<std::uint64_t>(turned | (exponent == third) | (exponent == half));
        }
        return others == 0;
    }
    VECTOR_CLONES static bool all_rooted(const double* x, double* roots, std::size_t n) {
        if (!none_of(x, n, [](double value) { return value < 0; })) return false;
        for (std::size_t i = 0; i < n; ++i) roots[i] = std::sqrt(x[i]);
        return true;
    }

    // Plain numbers, with short ways for a whole stretch of roots or powers. The results are written where no operand
    // lies.
    template <class A, class B, Extent extent>
    requires(plain_number<A>&& plain_number<B>)  //
        static std::size_t loop(const void* left, const void* right, void* result, std::size_t n, const Setting&) {
        auto* const c = static_cast<double*>(result);
        std::array<double, look_ahead> bases, exponents;
        for (std::size_t at = 0; at < n;) {
            const std::size_t k = std::min(look_ahead, n - at);
            const double* const x = extent == left_single ? as_reals(static_cast<const A*>(left), bases.data(), 1)
                                                          : as_reals(static_cast<const A*>(left) + at, bases.data(), k);
            const double* const y = extent == right_single
                                        ? as_reals(static_cast<const B*>(right), exponents.data(), 1)
                                        : as_reals(static_cast<const B*>(right) + at, exponents.data(), k);
            if (extent == right_single && y[0] == half) {
                if (all_rooted(x, c + at, k)) {
                    at += k;
                    continue;
                }
            } else if (all_powers<extent>(x, y, k)) {
                Power::of({x, extent == left_single}, {y, extent == right_single}, c + at, k);
                at += k;
                continue;
            }
            for (std::size_t i = 0; i < k; ++i, ++at) {
                const RealOrComplex value = apply(x[extent == left_single ? 0 : i], y[extent == right_single ? 0 : i]);
                if (!value.usual) return at;
                c[at] = value.value;
            }
        }
        return n;
    }
};

// ---- LOGARITHM

// The words of a polar number are taken as they stand.
struct ToBase : UpToComplex {
    static constexpr bool as_stored = true;
    static std::uint64_t head(std::uint64_t, std::uint64_t, std::uint32_t tag) { return make_head(tag, form::number); }

    static double apply(std::int64_t x, std::int64_t base) {
        return apply(static_cast<double>(x), static_cast<double>(base));
    }
    static double apply(double x, double base) { return Logarithm::of(x, base); }
    static Complex apply(Complex z, double base) { return logarithm_of(z, base); }
    static Complex apply(double x, Complex base) { return logarithm_of(x, base); }
    static Complex apply(Complex z, Complex base) { return logarithm_of(z, base); }
};

}  // namespace

void power(DataElement*& sp, DataElement* cell) { arithmetic<ToPower>(sp, cell); }
void logarithm(DataElement*& sp, DataElement* cell) { dyadic<ToBase>(sp, cell); }

const DyadicVerb& power_verb = dyadic_verb<ToPower>;
const DyadicVerb& logarithm_verb = dyadic_verb<ToBase>;

}  // namespace ondrel
