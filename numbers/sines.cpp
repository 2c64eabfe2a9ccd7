// The sine, cosine and tangent of reals.
#include <array>

#include "numbers/elementary.h"
#include "numbers/elementary_parts.h"
#include "numbers/polar.h"
#include "verbs/scalar/clones.h"

namespace ondrel {
namespace {

using namespace elementary;

// ---- tables

constexpr Fixed ratio_of(Fixed a, Fixed b) {  // below 2, of numbers below 2
    Fixed q = 0;
    for (unsigned i = 0; i <= fixed_bits; ++i) {
        q = q << 1 | (a >= b);
        if (a >= b) a -= b;
        a <<= 1;
    }
    return q;
}

constexpr Fixed pi = Fixed{0x0003243F6A8885A3} << 64 | 0x08D313198A2E0370;

// Sine and cosine of u quarters of a turn, where entry j is for u = j / quarter - 1. The sine is u times 1 and this
// fraction of 2^64; the cosine is 1 - u^2 + `cosine`.
constexpr unsigned quarter = 512;
struct TurnEntry {
    Word sine;
    double cosine;
};
struct Point {
    Fixed sine, cosine;
};
// The points at the angles i * angle, up to a right one.
template <std::size_t n>
constexpr std::array<Point, n> points_on_circle(Fixed angle) {
    Point step{0, 0};
    Fixed term = one;
    for (unsigned k = 1; term != 0; term = product(term, angle) / k++) {
        Fixed& sum = k % 2 == 1 ? step.cosine : step.sine;
        sum = (k - 1) % 4 < 2 ? sum + term : sum - term;
    }
    std::array<Point, n> points{{{0, one}}};
    for (std::size_t i = 1; i < n; ++i) {
        const Point last = points[i - 1];
        const Fixed down = product(last.sine, step.sine), rest = product(last.cosine, step.cosine);
        points[i] = {product(last.sine, step.cosine) + product(last.cosine, step.sine), rest > down ? rest - down : 0};
    }
    return points;
}
constexpr auto turns = [] {
    constexpr auto points = points_on_circle<quarter + 1>(pi / (2 * quarter));
    std::array<TurnEntry, 2 * quarter> table{};
    for (unsigned i = 0; i <= quarter; ++i) {
        const Fixed ratio = i == 0 ? pi / 2 : points[i].sine * quarter / i;
        const TurnEntry entry{first_64_bits(std::max(ratio, one) - one),
                              rounded_difference(points[i].cosine, one - one / (quarter * quarter) * i * i)};
        table[quarter - i] = entry;
        if (i < quarter) table[quarter + i] = entry;
    }
    return table;
}();

// The tangent of u quarters of a turn, up to half a quarter, is u times 1 and this fraction of 2^64, where entry j is
// for u = j / size - 1/2.
constexpr auto tangents = [] {
    constexpr unsigned size = 1024;
    constexpr auto points = points_on_circle<size / 2 + 1>(pi / (2 * size));
    std::array<Word, size> table{};
    for (unsigned i = 0; i <= size / 2; ++i) {
        const Fixed ratio = i == 0 ? pi / 2 : ratio_of(points[i].sine, points[i].cosine) / i * size;
        const Word entry = first_64_bits(std::min(ratio, 2 * one - 1) - one);
        table[size / 2 - i] = entry;
        if (i < size / 2) table[size / 2 + i] = entry;
    }
    return table;
}();

// ---- rules

// An angle as k steps of pi / n and a small rest, the rest to 2^-64 of its own size however close the angle comes to
// a step.
template <unsigned n>
struct Steps {
    static constexpr double scale = 1024.0 / n;
    static constexpr double high = 0x1.921fb54442d18p-9 * scale, middle = 0x1.1a62633145c07p-63 * scale,
                            low = -0x1.f1976b7ed8fbcp-119 * scale, steps = 0x1.45f306dc9c883p+8 / scale;
    static constexpr double largest = 0x1p30;

    static double scaled(double angle, double rounding) { return std::fma(angle, steps, rounding); }
    static Sum rest(double angle, double k) {
        const double first = std::fma(-k, high, angle), part = k * middle;  // the first one exact
        const double r = first - part, taken = r - first;
        const double lost = (first - (r - taken)) - (part + taken);
        return sum(r, std::fma(-k, low, lost - std::fma(k, middle, -part)));
    }

    // The same in fewer operations, with a rest to 2^-115, for angles so small that the products of k with two parts of
    // 36 bits are exact.
    static constexpr double largest_near = 0x1p17 * high;
    static Sum near_rest(double angle, double k) {
        constexpr double first_part = 0x1.921fb54440000p-9 * scale, second_part = 0x1.68c234c400000p-48 * scale,
                         third_part = 0x1.8cc51701b839ap-81 * scale;
        const double first = std::fma(-k, first_part, angle), r = std::fma(-k, second_part, first);
        return {r, std::fma(-k, third_part, std::fma(-k, second_part, first - r))};
    }
};

// The cosine is the sine a quarter of a turn further on.
template <bool is_sine>
struct TurnRule {
    static constexpr Word size = turns.size();
    using Turn = Steps<size>;
    static constexpr double rounding = rounding_to(1) + (is_sine ? quarter : 2 * quarter);

    static Word outside(double angle) { return beyond(Turn::largest_near, angle); }
    static Word far_outside(double angle) { return beyond(Turn::largest, angle); }
    // The sine is odd.
    static double turned(double angle) { return is_sine ? std::fabs(angle) : angle; }
    static Word place(double angle) { return word_of(Turn::scaled(turned(angle), rounding)) & (size - 1); }

    static double plain(double angle, Word place) { return behind_step<Turn::near_rest>(angle, place); }
    static double far(double angle, Word place) { return behind_step<Turn::rest>(angle, place); }

    template <Sum (*rest)(double, double)>
    static double behind_step(double angle, Word place) {
        const double step = Turn::scaled(turned(angle), rounding);
        const Sum r = rest(turned(angle), step - rounding);
        constexpr double base = 0x1p52 / quarter;  // the unit in its last place is 1 / quarter
        const double u = double_of((word_of(step) & (size - 1)) | word_of(base)) - (base + 1);
        const TurnEntry& entry = turns[place];
        const Sum ratio = one_and<32>(entry.sine);

        // sine + r * cosine - r^2 / 2 * sine ..., where the cosine is `about` and a correction.
        const double sine = u * ratio.high, about = std::fma(-u, u, 1.0), linear = r.high * about;
        const double linear_low = std::fma(r.low, about, std::fma(r.high, about, -linear));
        const double cosine_part = std::fma(r.high, entry.cosine, linear);
        const double square = r.high * r.high;
        const double curved = std::fma(cosine_part, std::fma(square, -1.0 / 120, 1.0 / 6),
                                       std::fma(u, ratio.low, sine) * std::fma(square, -1.0 / 24, 0.5));
        const Sum start = sum(sine, linear);
        const double others =
            std::fma(r.high, entry.cosine, std::fma(-square, curved, std::fma(u, ratio.low, linear_low)));
        const double value = start.high + (start.low + others);
        const Word odd_turns = word_of(step) << (63 - std::countr_zero(size));
        const Word sign = (is_sine ? odd_turns ^ word_of(angle) : odd_turns) & sign_bit;
        return angle_zero(double_of(word_of(value) ^ sign));
    }
    static double rare(double angle) {
        return angle_zero(rounded(is_sine ? std::sin(extended(angle)) : std::cos(extended(angle))));
    }
};

struct TangentRule {
    static constexpr Word size = tangents.size();
    using Turn = Steps<2 * size>;
    static constexpr double rounding = rounding_to(1) + size / 2;

    static Word outside(double angle) { return beyond(Turn::largest, angle); }
    static Word place(double angle) { return word_of(Turn::scaled(std::fabs(angle), rounding)) & (size - 1); }

    // With t the tangent at the step and s that of the rest, (t + s) / (1 - t * s), and behind an odd number of
    // quarters -1 through it.
    static double plain(double angle, Word place) {
        const double step = Turn::scaled(std::fabs(angle), rounding);
        const Sum r = Turn::rest(std::fabs(angle), step - rounding);
        constexpr double base = 0x1p52 / size;  // the unit in its last place is 1 / size
        const double u = double_of((word_of(step) & (size - 1)) | word_of(base)) - (base + 0.5);
        const Sum ratio = one_and<32>(tangents[place]);
        const double t = u * ratio.high, t_low = u * ratio.low;

        const double square = r.high * r.high;
        const double s_low = std::fma(r.high * square, std::fma(square, 2.0 / 15, 1.0 / 3), r.low);
        Sum above = sum(t, r.high);
        above = sum(above.high, above.low + (t_low + s_low));
        const double both = t * r.high, both_low = std::fma(t, r.high, -both);
        Sum below = sum(1.0, -both);
        below.low -= std::fma(t, s_low, std::fma(t_low, r.high, both_low));

        const bool odd = (word_of(step) & size) != 0;
        const double value = quotient({odd ? below.high : above.high, odd ? below.low : above.low},
                                      {odd ? above.high : below.high, odd ? above.low : below.low});
        const Word sign = word_of(step) << (63 - std::countr_zero(size));
        return double_of(word_of(value) ^ ((sign ^ word_of(angle)) & sign_bit));
    }
    static double rare(double angle) { return rounded(std::tan(extended(angle))); }
};

}  // namespace

[[gnu::flatten]] VECTOR_CLONES double Sine::of(double radians) { return value_of<TurnRule<true>>(radians); }
[[gnu::flatten]] VECTOR_CLONES void Sine::of(const double* radians, double* results, std::size_t n) {
    values_of<TurnRule<true>>(radians, results, n);
}

[[gnu::flatten]] VECTOR_CLONES double Cosine::of(double radians) { return value_of<TurnRule<false>>(radians); }
[[gnu::flatten]] VECTOR_CLONES void Cosine::of(const double* radians, double* results, std::size_t n) {
    values_of<TurnRule<false>>(radians, results, n);
}

[[gnu::flatten]] VECTOR_CLONES double Tangent::of(double radians) { return value_of<TangentRule>(radians); }
[[gnu::flatten]] VECTOR_CLONES void Tangent::of(const double* radians, double* results, std::size_t n) {
    values_of<TangentRule>(radians, results, n);
}

}  // namespace ondrel
