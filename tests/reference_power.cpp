// The reference of POWER, LOGARITHM, BINOMIAL and CIRCULAR. Formulas of complex numbers are written with the parts of
// their operands, in double and in extended precision alike.
#include "tests/reference_gamma.h"
#include "tests/reference_outcomes.h"

namespace ondrel::oracle {
namespace {

constexpr double third = 0.3333333333333333;

template <class F>
using PartsOf = std::array<F, 8>;

template <class F>
struct Pair {
    F x, y;
    friend Pair operator+(Pair l, Pair r) { return {l.x + r.x, l.y + r.y}; }
    friend Pair operator-(Pair l, Pair r) { return {l.x - r.x, l.y - r.y}; }
    friend Pair operator*(Pair l, Pair r) { return {l.x * r.x - l.y * r.y, l.x * r.y + l.y * r.x}; }
    friend Pair operator/(Pair l, Pair r) {
        const F d = r.x * r.x + r.y * r.y;
        return {(l.x * r.x + l.y * r.y) / d, (l.y * r.x - l.x * r.y) / d};
    }
    PartsOf<F> parts() const { return {x, y}; }
};

template <class F>
F half_log(Pair<F> z) {
    return std::log(z.x * z.x + z.y * z.y) / 2;
}
template <class F>
F angle(Pair<F> z) {
    return oracle::angle(z.x, z.y);
}
template <class F>
Pair<F> log(Pair<F> z) {
    return {half_log(z), angle(z)};
}
// The number of this magnitude's logarithm and angle.
template <class F>
Pair<F> from_log(F l, F t) {
    return {std::exp(l) * cs(t), std::exp(l) * sn(t)};
}

// Both operands in one array of components: the left one's two, then the right one's.
Parts together(const Parts& left, const Parts& right) { return {left[0], left[1], right[0], right[1]}; }

template <class F>
Pair<F> left_of(const PartsOf<F>& both) {
    return {both[0], both[1]};
}
template <class F>
Pair<F> right_of(const PartsOf<F>& both) {
    return {both[2], both[3]};
}

// ---- powers

Outcomes real_power(const Item& left, const Item& right) {
    const double x = plain(left), y = plain(right);
    const Parts both = together({x}, {y});
    const bool whole = std::floor(y) == y, by_real = right.tag == tag::real;
    const Item like = number(tag::real, {}, form::number, left.marks & 0x3eff);
    const auto usual = [&](auto at) { return first(std::pow(at[0], at[2])); };
    if (by_real && x < 0 && !std::isfinite(y)) {  // whether such an exponent is whole is not said
        Outcomes outcomes = either(gives(like), gives(number(tag::complex, {})));
        for (Outcome& outcome : outcomes) outcome.any_parts = true;
        return with_free_marks(outcomes, 0x3fff);
    }
    if (by_real && y == third) return {estimated(like, both, [](auto at) { return first(std::cbrt(at[0])); })};
    if (by_real && x < 0 && !whole) {
        const Outcome turned = estimated(number(tag::complex, {}), both, [](auto at) {
            using F = std::remove_cvref_t<decltype(at[0])>;
            return from_log(at[2] * std::log(-at[0]), std::numbers::pi_v<F> * at[2]).parts();
        });
        return with_free_marks({open_where_lost(turned)}, 0x3fff);
    }
    if (by_real && y == 0.5) return {estimated(like, both, [](auto at) { return first(std::sqrt(at[0])); })};
    return {estimated(like, both, usual)};
}

Outcomes complex_power(const Item& left, const Item& right, const Parts& l, const Parts& r) {
    const Item like = number(tag::complex, {});
    const Parts both = together(l, r);
    if (right.tag != tag::complex)
        return {open_where_lost(estimated(like, both, [](auto at) {
            const auto z = left_of(at);
            return from_log(at[2] * half_log(z), at[2] * angle(z)).parts();
        }))};
    if (left.tag != tag::complex)
        return {open_where_lost(estimated(like, both, [](auto at) {
            const auto x = std::log(at[0]);
            return from_log(at[2] * x, at[3] * x).parts();
        }))};
    return {open_where_lost(estimated(like, both, [](auto at) {
        const auto z = left_of(at);
        const auto size = half_log(z), turn = angle(z);
        return from_log(at[2] * size - at[3] * turn, at[2] * turn + at[3] * size).parts();
    }))};
}

Outcomes logarithm(const Item& left, const Item& right) {
    const Parts both = together(parts_of(left), parts_of(right));
    if (left.tag != tag::complex && right.tag != tag::complex)
        return {estimated(real(0), both, [](auto at) { return first(std::log(at[0]) / std::log(at[2])); })};
    const Item like = number(tag::complex, {});
    if (right.tag != tag::complex)
        return {estimated(like, both, [](auto at) {
            auto z = log(left_of(at));
            const auto base = std::log(at[2]);
            z.x /= base;
            z.y /= base;
            return z.parts();
        })};
    const bool plain_left = left.tag != tag::complex;
    return {estimated(like, both, [plain_left](auto at) {
        auto z = log(left_of(at));
        if (plain_left) z = {std::log(at[0]), 0};
        return (z / log(right_of(at))).parts();
    })};
}

Outcomes binomial(const Item& left, const Item& right, const Parts& l, const Parts& r, double tolerance) {
    const auto outcome = [](std::uint32_t tag, const Wide& value, long double doubt, bool open) -> Outcomes {
        const Parts parts{static_cast<double>(value.real()), static_cast<double>(value.imag())};
        Outcome result{.item = number(tag, parts)};
        const auto off = static_cast<double>(doubt * std::abs(value));
        result.any_parts = open || (tag == tag::complex && !std::isfinite(off));
        result.tolerance[0] = result.tolerance[1] = std::isfinite(off) ? off + smallest : 0;
        return {result};
    };
    if (left.tag != tag::complex && right.tag != tag::complex) {
        const Factorial<long double> ways = choose(l[0], r[0]);
        return outcome(tag::real, ways.value, ways.doubt, ways.open);
    }
    const Factorial<Wide> ways = choose(tolerance, {l[0], l[1]}, {r[0], r[1]});
    return outcome(tag::complex, ways.value, ways.doubt, ways.open);
}

// ---- circular functions

template <class F>
F of_real(std::int64_t selector, F x) {
    switch (selector) {
        case 0: return std::sqrt(1 - x * x);
        case 1: return without_dust(std::sin(x));
        case 2: return without_dust(std::cos(x));
        case 3: return std::tan(x);
        case 4: return std::sqrt(1 + x * x);
        case 5: return std::sinh(x);
        case 6: return std::cosh(x);
        case 7: return std::tanh(x);
        case -1: return std::atan2(x, std::sqrt(1 - x * x));
        case -2: return std::atan2(std::sqrt(1 - x * x), x);
        case -3: return std::atan(x);
        case -4: return std::sqrt(x * x - 1);
        case -5: return std::asinh(x);
        case -6: return std::acosh(x);
        default: return std::atanh(x);
    }
}

template <class F>
Pair<F> root(Pair<F> z) {
    if (z.y == 0) return z.x >= 0 ? Pair<F>{std::sqrt(z.x), 0} : Pair<F>{0, std::sqrt(-z.x)};
    if (z.x == 0) {
        const F half = std::sqrt(std::fabs(z.y) / 2);
        return {half, z.y > 0 ? half : -half};
    }
    const F r = std::sqrt(std::sqrt(z.x * z.x + z.y * z.y)), t = std::atan2(z.y, z.x) / 2;
    return {r * cs(t), r * sn(t)};
}

template <class F>
Pair<F> of_complex(std::int64_t selector, Pair<F> z) {
    const F x = z.x, y = z.y;
    const Pair<F> one{1, 0}, turned{-y, x};
    Pair<F> square = y == 0 ? Pair<F>{x * x, 0} : z * z;
    for (F* const part : {&square.x, &square.y})
        if (std::isnan(*part)) *part = std::numeric_limits<F>::infinity();
    const Pair<F> sine{std::sin(x) * std::cosh(y), std::cos(x) * std::sinh(y)};
    const Pair<F> cosine{std::cos(x) * std::cosh(y), -std::sin(x) * std::sinh(y)};
    const Pair<F> hyperbolic_sine{std::sinh(x) * std::cos(y), std::cosh(x) * std::sin(y)};
    const Pair<F> hyperbolic_cosine{std::cosh(x) * std::cos(y), std::sinh(x) * std::sin(y)};
    switch (selector) {
        case 0: return root(one - square);
        case 1: return sine;
        case 2: return cosine;
        case 3: return sine / cosine;
        case 4: return root(one + square);
        case 5: return hyperbolic_sine;
        case 6: return hyperbolic_cosine;
        case 7: return hyperbolic_sine / hyperbolic_cosine;
        case -1: {
            const Pair<F> w = turned + root(one - square);
            return {angle(w), -half_log(w)};
        }
        case -2: {
            const Pair<F> w = z + root(square - one);
            const F l = half_log(w);
            if (w.y == 0 && w.x < 0) return {std::numbers::pi_v<F>, -l};
            const F t = w.y == 0 ? F(0) : std::atan2(w.y, w.x);
            return t > 0 ? Pair<F>{t, -l} : t < 0 ? Pair<F>{-t, l} : Pair<F>{0, std::fabs(l)};
        }
        case -3: {
            const Pair<F> w = root((one + turned) / (one - turned));
            return {angle(w), -half_log(w)};
        }
        case -4: return x == -1 && y == 0 ? Pair<F>{0, 0} : (z + one) * root((z - one) / (z + one));
        case -5: return log(z + root(square + one));
        case -6: {
            const Pair<F> w = log(z + root(square - one));
            if (w.x < 0) return {-w.x, -w.y};
            return {w.x, w.x == 0 ? std::fabs(w.y) : w.y};
        }
        default: {
            const Pair<F> difference = log(one + z) - log(one - z);
            return {difference.x / 2, difference.y / 2};
        }
    }
}

Outcomes circular(const Item& left, const Item& right) {
    if (right.tag != tag::integer || right.integer < -7 || right.integer > 7) return fails(85);
    const std::int64_t selector = right.integer;
    Item like = left;
    like.marks &= 0xbfff;
    like.name.clear();
    like.integer = 0;
    if (!is_hypercomplex(left)) {
        like.tag = tag::real;
        const auto formula = [selector](auto at) { return first(of_real(selector, at[0])); };
        return with_free_marks({estimated(like, parts_of(left), formula)}, mark::hidden);
    }
    const auto formula = [selector](auto at) {
        const auto [x, y] = of_complex(selector, left_of(at));
        at[0] = x;
        at[1] = y;
        return at;
    };
    const Parts at = cartesian_parts(left);
    Outcome outcome = open_where_lost(estimated(like, at, formula));
    const bool lost = std::isnan(at[0]) || !std::isfinite(at[1]);
    for (std::size_t i = 0; i < 8; ++i)
        if (i < 2)
            outcome.tolerance[i] = lost ? infinity : outcome.tolerance[i] + (selector < 0 ? 4 * epsilon : 0);
        else if (!is_polar(left))
            outcome.tolerance[i] = 0;
    Outcomes outcomes = with_free_marks({outcome}, mark::hidden);
    // A magnitude of 1 within rounding: its logarithm may have either sign.
    if (selector == -6 && std::fabs(outcome.item.parts[0]) < 1e-14) {
        outcomes.push_back(outcomes[0]);
        outcomes[1].item.parts[1] = -outcome.item.parts[1];
    }
    if (is_polar(left))
        for (Outcome& back : outcomes) {
            back.any_parts = !(std::fabs(at[0]) + std::fabs(at[1]) < 1e6);
            back = brought_back(back);
        }
    return outcomes;
}

}  // namespace

Outcomes powers(Verb verb, const Item& left, const Item& right, double tolerance) {
    if (is_character(left) || is_character(right)) return fails(17);
    if (verb == Verb::circular) return circular(left, right);
    if (std::max(left.tag, right.tag) > tag::complex) return fails(994);
    if (verb == Verb::logarithm) return logarithm(left, right);
    const Parts l = cartesian_parts(left), r = cartesian_parts(right);
    if (verb == Verb::binomial) return binomial(left, right, l, r, tolerance);
    const bool complex = left.tag == tag::complex || right.tag == tag::complex;
    return complex ? complex_power(left, right, l, r) : real_power(left, right);
}

}  // namespace ondrel::oracle
