// The exponential, the logarithms and the powers of reals, and the functions that the general library is good enough
// for.
#include "numbers/elementary.h"

#include <array>

#include "numbers/elementary_parts.h"
#include "verbs/scalar/clones.h"

namespace ondrel {
namespace {

using namespace elementary;

// ---- the tables, computed by the compiler

// ln((n + 1) / (n - 1)).
constexpr Fixed logarithm_of_step(unsigned n) {
    Fixed power = 2 * one / n, sum = 0;
    for (unsigned k = 1; power != 0; k += 2, power /= n * n) sum += power / k;
    return sum;
}

// 2^(j / size) is 1 and this fraction of 2^64.
constexpr auto powers_of_two = [] {
    std::array<Word, 2048> table{};
    const Fixed logarithm = logarithm_of_step(3) / table.size();
    Fixed step = 0, term = one;
    for (unsigned k = 1; term != 0; term = product(term, logarithm) / k++) step += term;
    Fixed power = one;
    for (Word& entry : table) {
        entry = first_64_bits(power - one);
        power = product(power, step);
    }
    return table;
}();

// Entry j is for the numbers around m that have the same leading bits: a `factor` c of 11 bits near 1 / m, and -ln c.
// `high`, which is -ln c + 1/2 in units of 2^-42, is in the bits of c that are zero.
constexpr unsigned bits_of_high = 42;
constexpr Word least_mantissa = word_of(0x1.6a2p-1);  // about the root of 1/2, halfway between two m
struct LogarithmEntry {
    Word factor_and_high;
    double low;
};
constexpr auto logarithms = [] {
    std::array<Fixed, 2900> magnitude{};  // of ln(i / 2048)
    for (unsigned i = 2049; i < magnitude.size(); ++i) magnitude[i] = magnitude[i - 1] + logarithm_of_step(2 * i - 1);
    for (unsigned i = 2047; i > 1400; --i) magnitude[i] = magnitude[i + 1] + logarithm_of_step(2 * i + 1);
    std::array<LogarithmEntry, 1024> table{};
    for (Word j = 0; j < table.size(); ++j) {
        const double m = double_of(least_mantissa + (Word{1} << 41) + (j << 42));
        const unsigned units = m < 1 ? 2 : 1;  // above 1 as below, c has 11 bits
        const unsigned i = static_cast<unsigned>(2048 / m / units + 0.499) * units;
        const Fixed shifted = i < 2048 ? one / 2 + magnitude[i] : one / 2 - magnitude[i];
        const Word high = static_cast<Word>((shifted >> (fixed_bits - bits_of_high - 1)) + 1) >> 1;
        table[j] = {word_of(i / 2048.0) | high,
                    rounded_difference(shifted, Fixed{high} << (fixed_bits - bits_of_high))};
    }
    return table;
}();

// ---- the functions, for ordinary arguments: the place in the table, and the value

struct ExponentialRule {
    static constexpr Word size = powers_of_two.size();
    static constexpr double high = 0x1.62e42fefa39efp-12, low = 0x1.abc9e3b39803fp-67;  // ln 2 / size
    static constexpr double steps = 0x1.71547652b82fep+11, rounding = rounding_to(1);

    static Word outside(double x) { return beyond(708, x); }
    static double scaled(double x) { return std::fma(x, steps, rounding); }
    static Word place(double x) { return word_of(scaled(x)) & (size - 1); }
    static double plain(double x, Word place) { return plain<false>({x, 0}, place); }

    // With `twice_rounded` the result is rounded to 64 bits first, as one in extended precision is: a result that is
    // truly halfway between two doubles is then taken as such.
    template <bool twice_rounded>
    static double plain(Sum x, Word place) {
        const double step = scaled(x.high), k = step - rounding;
        double r = std::fma(-k, low, std::fma(-k, high, x.high));  // below 2^-12.5, the inner difference exact
        if constexpr (twice_rounded) r += x.low;
        const double growth = std::fma(r * r, std::fma(r, std::fma(r, 1.0 / 24, 1.0 / 6), 0.5), r);  // e^r - 1
        const Sum power = one_and<52>(powers_of_two[place]);
        double rest = std::fma(power.high, growth, power.low);
        if constexpr (twice_rounded) rest = (rest + rounding_to(0x1p-63)) - rounding_to(0x1p-63);
        return double_of(word_of(power.high + rest) + (word_of(step) / size << 52));
    }
    static double rare(double x) { return rounded(std::exp(extended(x))); }
};

struct NaturalLogarithmRule {
    // x is m * 2^e, and c * m is 1 + z: ln x is e * ln 2 - ln c + ln(1 + z).
    struct Parts {
        Sum start;  // e * ln 2 - ln c, the high part in units of 2^-42
        double z;   // below 2^-10, exact
    };
    static constexpr Word shift = word_of_one - least_mantissa;

    static Word outside(double x) { return beyond_normal(x); }
    static Word place(double x) { return (word_of(x) + shift) >> 42 & (logarithms.size() - 1); }

    static Parts parts(double x, Word place) {
        const Word shifted = word_of(x) + shift;
        const double e = double_of(shifted >> 52 | word_of(0x1p52)) - (0x1p52 + 1023);
        const double m = double_of((shifted & fraction_bits) + least_mantissa);
        constexpr double base = 0x1p10;  // the unit in its last place is 2^-42
        const LogarithmEntry& entry = logarithms[place];
        const double c = double_of(entry.factor_and_high & ~low_bits(bits_of_high));
        const double high = double_of((entry.factor_and_high & low_bits(bits_of_high)) | word_of(base)) - (base + 0.5);
        return {{std::fma(e, 0x1.62e42fefa38p-1, high), std::fma(e, 0x1.ef35793c7673p-45, entry.low)},
                std::fma(m, c, -1.0)};
    }

    static double plain(double x, Word place) {
        const auto [start, z] = parts(x, place);
        const Sum linear = sum(start.high, z);
        const double square = z * z;
        const double series = std::fma(square, std::fma(square, -1.0 / 6, std::fma(z, 1.0 / 5, -1.0 / 4)),
                                       std::fma(z, 1.0 / 3, -1.0 / 2));
        return linear.high + (linear.low + std::fma(square, series, start.low));
    }

    // To about 74 bits: an error here counts up to 709 times in a power.
    static Sum precise(double x, Word place) {
        const auto [start, z] = parts(x, place);
        const Sum linear = sum(start.high, z);
        const double square = z * z, square_low = std::fma(z, z, -square);
        const double high = std::fma(-0.5, square, linear.high), lost = std::fma(-0.5, square, linear.high - high);
        const double series =
            std::fma(square, std::fma(square, 1.0 / 7, std::fma(z, -1.0 / 6, 1.0 / 5)), std::fma(z, -1.0 / 4, 1.0 / 3));
        return {high, (linear.low + lost) + std::fma(z * square, series, std::fma(-0.5, square_low, start.low))};
    }
    static double rare(double x) { return rounded(std::log(extended(x))); }
};

// ---- functions of two values

bool is_integer(double x) { return std::trunc(x) == x; }

struct PowerRule {
    static Word place(double base) { return NaturalLogarithmRule::place(std::fabs(base)); }
    static Word outside(double base) { return beyond_normal(std::fabs(base)); }

    // The natural logarithm of the power of the base's magnitude.
    static Sum logarithm(double base, double exponent, Word place) {
        const Sum ln = NaturalLogarithmRule::precise(std::fabs(base), place);
        const double high = exponent * ln.high;
        return {high, std::fma(exponent, ln.low, std::fma(exponent, ln.high, -high))};
    }
    static double plain(double base, double exponent, Sum logarithm, Word place) {
        const double power = ExponentialRule::plain<true>(logarithm, place), square = base * base;
        return exponent == 2 ? square : power;
    }

    // What is left to do where the base or the logarithm was not ordinary or the base was below zero.
    static double settled(double base, double exponent, Word outside, double power) {
        if (exponent == 2) return base * base;
        if (has_sign(outside) || (base < 0 && !is_integer(exponent)))
            return rounded(std::pow(extended(base), extended(exponent)));
        return base < 0 && !is_integer(exponent / 2) ? -power : power;
    }
};

double power_of(double base, double exponent) {
    const Sum logarithm = PowerRule::logarithm(base, exponent, PowerRule::place(base));
    const Word outside = PowerRule::outside(base) | ExponentialRule::outside(logarithm.high);
    const double power = PowerRule::plain(base, exponent, logarithm, ExponentialRule::place(logarithm.high));
    return has_sign(outside | word_of(base)) ? PowerRule::settled(base, exponent, outside, power) : power;
}

// The values of an operand block by block, a single one repeated.
class Blocks {
public:
    Blocks(Reals values, std::size_t n) : operand(values) {
        if (operand.single) std::fill_n(repeated, std::min(block, n), *operand.values);
    }
    const double* at(std::size_t i) const { return operand.single ? repeated : operand.values + i; }

private:
    Reals operand;
    double repeated[block];
};

void powers_of(Reals base, Reals exponent, double* results, std::size_t n) {
    const Blocks bases(base, n), exponents(exponent, n);
    for (std::size_t at = 0; at < n; at += block, results += block) {
        const std::size_t m = std::min(block, n - at);
        const double *const x = bases.at(at), *const y = exponents.at(at);
        Word places_of[block], outside = 0;
        double high[block], low[block];
        for (std::size_t i = 0; i < m; ++i) {
            outside |= PowerRule::outside(x[i]) | word_of(x[i]);
            places_of[i] = PowerRule::place(x[i]);
        }
        for (std::size_t i = 0; i < m; ++i) {
            const Sum logarithm = PowerRule::logarithm(x[i], y[i], places_of[i]);
            high[i] = logarithm.high;
            low[i] = logarithm.low;
            outside |= ExponentialRule::outside(logarithm.high);
            places_of[i] = ExponentialRule::place(logarithm.high);
        }
        double kept[2][block];
        if (has_sign(outside)) {
            std::copy_n(x, m, kept[0]);
            std::copy_n(y, m, kept[1]);
        }
#pragma GCC ivdep
        for (std::size_t i = 0; i < m; ++i) results[i] = PowerRule::plain(x[i], y[i], {high[i], low[i]}, places_of[i]);
        if (has_sign(outside))
            for (std::size_t i = 0; i < m; ++i)
                results[i] =
                    PowerRule::settled(kept[0][i], kept[1][i],
                                       PowerRule::outside(kept[0][i]) | ExponentialRule::outside(high[i]), results[i]);
    }
}

struct LogarithmRule {
    static Word outside(double x, double base) {
        const Word base_is_one = (word_of(base) ^ word_of_one) - 1;  // has the sign for no other normal number
        return beyond_normal(x) | beyond_normal(base) | base_is_one;
    }
    static double rare(double x, double base) { return rounded(std::log(extended(x)) / std::log(extended(base))); }
};

double logarithm_of(double x, double base) {
    using Natural = NaturalLogarithmRule;
    if (has_sign(LogarithmRule::outside(x, base))) return LogarithmRule::rare(x, base);
    return quotient(Natural::precise(x, Natural::place(x)), Natural::precise(base, Natural::place(base)));
}

void logarithms_of(Reals x, Reals base, double* results, std::size_t n) {
    using Natural = NaturalLogarithmRule;
    const Blocks values(x, n), bases(base, n);
    for (std::size_t at = 0; at < n; at += block, results += block) {
        const std::size_t m = std::min(block, n - at);
        const double *const a = values.at(at), *const b = bases.at(at);
        Word a_places[block], b_places[block], outside = 0;
        double high[block], low[block];
        for (std::size_t i = 0; i < m; ++i) {
            outside |= LogarithmRule::outside(a[i], b[i]);
            a_places[i] = Natural::place(a[i]);
            b_places[i] = Natural::place(b[i]);
        }
        for (std::size_t i = 0; i < m; ++i) {
            const Sum ln = Natural::precise(a[i], a_places[i]);
            high[i] = ln.high;
            low[i] = ln.low;
        }
        double kept[2][block];
        if (has_sign(outside)) {
            std::copy_n(a, m, kept[0]);
            std::copy_n(b, m, kept[1]);
        }
#pragma GCC ivdep
        for (std::size_t i = 0; i < m; ++i)
            results[i] = quotient({high[i], low[i]}, Natural::precise(b[i], b_places[i]));
        if (has_sign(outside))
            for (std::size_t i = 0; i < m; ++i)
                if (has_sign(LogarithmRule::outside(kept[0][i], kept[1][i])))
                    results[i] = LogarithmRule::rare(kept[0][i], kept[1][i]);
    }
}

}  // namespace

[[gnu::flatten]] VECTOR_CLONES double Exponential::of(double x) { return value_of<ExponentialRule>(x); }
[[gnu::flatten]] VECTOR_CLONES void Exponential::of(const double* x, double* results, std::size_t n) {
    values_of<ExponentialRule>(x, results, n);
}

[[gnu::flatten]] VECTOR_CLONES double NaturalLogarithm::of(double x) { return value_of<NaturalLogarithmRule>(x); }
[[gnu::flatten]] VECTOR_CLONES void NaturalLogarithm::of(const double* x, double* results, std::size_t n) {
    values_of<NaturalLogarithmRule>(x, results, n);
}

[[gnu::flatten]] VECTOR_CLONES double Power::of(double base, double exponent) { return power_of(base, exponent); }
[[gnu::flatten]] VECTOR_CLONES void Power::of(Reals base, Reals exponent, double* results, std::size_t n) {
    powers_of(base, exponent, results, n);
}

[[gnu::flatten]] VECTOR_CLONES double Logarithm::of(double x, double base) { return logarithm_of(x, base); }
[[gnu::flatten]] VECTOR_CLONES void Logarithm::of(Reals x, Reals base, double* results, std::size_t n) {
    logarithms_of(x, base, results, n);
}

// ---- by the general library

double cube_root(double x) { return rounded(std::cbrt(extended(x))); }

// The factors are exact or nearly so where the square would lose its last digits against 1.
double root_of_one_minus_square(double x) { return rounded(std::sqrt((1 - extended(x)) * (1 + extended(x)))); }
double root_of_one_plus_square(double x) { return rounded(std::hypot(1.0L, extended(x))); }
double root_of_square_minus_one(double x) { return rounded(std::sqrt((extended(x) - 1) * (extended(x) + 1))); }

double hyperbolic_sine(double x) { return rounded(std::sinh(extended(x))); }
double hyperbolic_cosine(double x) { return rounded(std::cosh(extended(x))); }
double hyperbolic_tangent(double x) { return rounded(std::tanh(extended(x))); }

double arc_sine(double x) { return rounded(std::atan2(extended(x), std::sqrt((1 - extended(x)) * (1 + extended(x))))); }
double arc_cosine(double x) {
    return rounded(std::atan2(std::sqrt((1 - extended(x)) * (1 + extended(x))), extended(x)));
}
double arc_tangent(double x) { return rounded(std::atan(extended(x))); }

double area_hyperbolic_sine(double x) { return rounded(std::asinh(extended(x))); }
double area_hyperbolic_cosine(double x) { return rounded(std::acosh(extended(x))); }
double area_hyperbolic_tangent(double x) { return rounded(std::atanh(extended(x))); }

}  // namespace ondrel
