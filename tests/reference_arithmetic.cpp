// The reference of the arithmetic verbs.
#include <algorithm>
#include <cmath>

#include "tests/reference_outcomes.h"

namespace ondrel::oracle {
namespace {

constexpr std::int64_t greatest = std::numeric_limits<std::int64_t>::max();

Outcomes with_any_parts(Outcomes outcomes) {
    for (Outcome& outcome : outcomes) outcome.any_parts = true;
    return outcomes;
}

// Its polar coordinates.
Parts polar_parts(const Item& item) { return is_polar(item) ? item.parts : polar(2, parts_of(item)); }

// A complex result with the form of the complex operand, or of the left one of two.
Item complex_like(const Item& left, const Item& right, const Parts& parts) {
    if (left.tag == tag::complex && right.tag == tag::complex)
        return number(tag::complex, parts, left.form, left.marks & 0x3fff);
    const Item& giver = left.tag == tag::complex ? left : right;
    return number(tag::complex, parts, giver.form, giver.marks & 0xbfff);
}

// ---- integers

// A sum or product that was worked out as a double: an integer as long as it is in the range of one.
Outcomes integer_or_real(double value) {
    if (value == two_63) return either(gives(real(value)), gives(integer(greatest)));
    if (std::fabs(value) > two_63) return gives(real(value));
    return gives(integer(static_cast<std::int64_t>(value)));
}

Outcomes integer_quotient(std::int64_t left, std::int64_t right) {
    const double quotient = static_cast<double>(left) / static_cast<double>(right);
    const bool whole = quotient >= 0 && quotient < two_63 && std::trunc(quotient) == quotient;
    return gives(whole ? integer(static_cast<std::int64_t>(quotient)) : real(quotient));
}

double exact_or_itself(double quotient) {
    return std::fabs(quotient) < 4503599627370496.0 ? std::floor(quotient) : quotient;
}

Outcomes integer_residue(std::int64_t left, std::int64_t right) {
    if (right == 0) return gives(integer(left));
    if (right > 0) return gives(integer(left % right));
    // The quotient is a double. The product and the difference are those of integers; beyond 2 to the 53 the two ways
    // of taking them differ.
    const double quotient = std::floor(static_cast<double>(left) / static_cast<double>(right));
    if (std::fabs(quotient) >= two_63) return with_any_parts(gives(integer(0)));
    const auto product =
        static_cast<std::uint64_t>(right) * static_cast<std::uint64_t>(static_cast<std::int64_t>(quotient));
    const Outcomes wrapped = gives(integer(static_cast<std::int64_t>(static_cast<std::uint64_t>(left) - product)));
    const double rounded = static_cast<double>(left) - static_cast<double>(right) * quotient;
    return either(wrapped, gives(integer(static_cast<std::int64_t>(rounded))));
}

// ---- complex numbers

double times(double left, double right) { return left == 0 || right == 0 ? 0.0 : left * right; }

Parts complex_product(const Parts& left, const Parts& right) {
    const auto [a, b] = std::pair(left[0], left[1]);
    const auto [c, d] = std::pair(right[0], right[1]);
    if (b == 0 && d == 0) return {times(a, c), 0};
    if (b == 0) return {times(a, c), times(a, d)};
    if (d == 0) return {times(a, c), times(b, c)};
    const double re = times(a, c) - times(b, d), im = times(a, d) + times(b, c);
    return {std::isnan(re) ? infinity : re, std::isnan(im) ? infinity : im};
}

// The product of two that are no zeros lies outside what a double holds with full precision, so that the order of the
// operations shows.
bool strained(double left, double right) {
    if (left == 0 || right == 0 || !std::isfinite(left) || !std::isfinite(right)) return false;
    const double product = std::fabs(left * right);
    return !(product > 1e-290 && product < 1e300);
}

Parts complex_quotient(const Parts& left, const Parts& right) {
    const auto [a, b] = std::pair(left[0], left[1]);
    const auto [c, d] = std::pair(right[0], right[1]);
    const double squares = c * c + d * d;
    if (b == 0 && d == 0) return {a / c, 0};
    if (b == 0) return {a * c / squares, -(a * d) / squares};
    return {(a * c + b * d) / squares, (b * c - a * d) / squares};
}

// The product of two basis elements: the index of a third, negative for its negative. Element 0 is the real unit and
// the square of every other one is -1, which are not in the table.
int basis_product(int left, int right) {
    static constexpr int above[7][7] = {{0, 3, -2, 5, -4, -7, 6}, {0, 0, 1, 6, 7, -4, -5}, {0, 0, 0, 7, -6, 5, -4},
                                        {0, 0, 0, 0, 1, 2, 3},    {0, 0, 0, 0, 0, -3, 2},  {0, 0, 0, 0, 0, 0, -1}};
    return left < right ? above[left - 1][right - 1] : -above[right - 1][left - 1];
}

// The basis element that two others give, and its sign.
std::pair<std::size_t, int> unit_product(std::size_t left, std::size_t right) {
    if (left == 0 || right == 0) return {left + right, 1};
    if (left == right) return {0, -1};
    const int index = basis_product(static_cast<int>(left), static_cast<int>(right));
    return {static_cast<std::size_t>(std::abs(index)), index < 0 ? -1 : 1};
}

// The quotient where squares or products leave the range of doubles: in extended precision, within the rounding of the
// largest component. Nothing if they do not, or an operand is not finite.
Outcomes wide_quotient(const Item& like, const Parts& left, const Parts& right) {
    const auto finite = [](double part) { return std::isfinite(part); };
    if (!std::all_of(left.begin(), left.end(), finite) || !std::all_of(right.begin(), right.end(), finite)) return {};
    bool is_strained = false;
    long double squares = 0;
    std::array<long double, 8> sums{};
    for (std::size_t i = 0; i < 8; ++i) {
        squares += static_cast<long double>(right[i]) * right[i];
        is_strained = is_strained || strained(right[i], right[i]);
        for (std::size_t j = 0; j < 8; ++j) {
            const auto [index, sign] = unit_product(i, j);
            sums[index] += static_cast<long double>(left[i]) * right[j] * (j == 0 ? sign : -sign);
            is_strained = is_strained || strained(left[i], right[j]);
        }
    }
    if (!is_strained) return {};
    Outcome outcome{.item = like};
    double largest = 0;
    for (std::size_t i = 0; i < 8; ++i) {
        outcome.item.parts[i] = static_cast<double>(sums[i] / squares);
        largest = std::max(largest, std::fabs(outcome.item.parts[i]));
    }
    outcome.tolerance.fill(std::min(32 * epsilon * largest, std::numeric_limits<double>::max()) + 4 * smallest);
    return {outcome};
}

// x / (c + di) as x(c - di) / (cc + dd), whatever the order of the two operations.
Outcomes real_by_complex(double x, const Item& left, const Item& right) {
    const double c = right.parts[0], d = right.parts[1], squares = c * c + d * d;
    const Parts parts{x * c / squares, -(x * d) / squares};
    const Item like = complex_like(left, right, {});
    if (const Outcomes wide = wide_quotient(like, {x}, right.parts); !wide.empty()) return wide;
    Outcome outcome{.item = complex_like(left, right, parts)};
    outcome.tolerance = {2 * epsilon * std::fabs(parts[0]), 2 * epsilon * std::fabs(parts[1])};
    outcome.any_parts = strained(x, c) || strained(x, d) || strained(c, c) || strained(d, d) ||
                        strained(x * c, 1 / squares) || strained(x * d, 1 / squares) || strained(c, 1 / squares) ||
                        strained(d, 1 / squares);
    return {outcome};
}

Parts complex_floor(const Parts& value) {
    const double x = std::floor(value[0]), y = std::floor(value[1]);
    const double u = value[0] - x, v = value[1] - y;
    if (u + v < 1) return {x, y};
    return u < v ? Parts{x, y + 1} : Parts{x + 1, y};
}

Outcomes complex_residue(const Item& left, const Item& right) {
    const Parts a = cartesian_parts(left), b = cartesian_parts(right);
    Item like = complex_like(left, right, {});
    // A polar number takes part as a cartesian one, and gives a plain one. Marks mean nothing there.
    const bool converted = is_polar(left) || is_polar(right);
    if (converted) like.form = form::number;
    const auto from_floor = [&](const Parts& floor) {
        const Parts product = complex_product(b, floor);
        like.parts = {a[0] - product[0], a[1] - product[1]};
        Item unmarked = like;
        unmarked.marks = 0;
        return converted ? either(gives(like), gives(unmarked)) : gives(like);
    };
    if (b[0] == 0 && b[1] == 0) {
        like.parts = a;
        Item unmarked = like;
        unmarked.marks = 0;
        return converted ? either(gives(like), gives(unmarked)) : gives(like);
    }
    const Outcomes wide = wide_quotient(like, a, b);
    const Parts quotient = wide.empty() ? complex_quotient(a, b) : wide[0].item.parts;
    const bool is_noise = !wide.empty() && std::max(std::fabs(quotient[0]), std::fabs(quotient[1])) > 1 / epsilon;
    if (is_noise || !std::isfinite(quotient[0]) || !std::isfinite(quotient[1])) return with_any_parts(from_floor({}));
    Outcomes outcomes = from_floor(complex_floor(quotient));
    // Where the quotient lies within its rounding error of a step of the floor, either side of it.
    for (const double re : {-4 * epsilon, 4 * epsilon})
        for (const double im : {-4 * epsilon, 4 * epsilon})
            outcomes =
                either(outcomes, from_floor(complex_floor({quotient[0] + re * std::max(1.0, std::fabs(quotient[0])),
                                                           quotient[1] + im * std::max(1.0, std::fabs(quotient[1]))})));
    return outcomes;
}

// ---- quaternions and octonions

// Sums of terms whose order is not fixed.
struct Sum {
    double value = 0, magnitude = 0;
    bool strained = false;
    void term(double left, double right, double factor) {
        strained = strained || oracle::strained(left, right);
        value += factor * (left * right);
        magnitude += std::fabs(left * right);
    }
};

struct Sums {
    std::array<Sum, 8> sums{};
    std::size_t components;

    Outcome outcome(std::uint32_t tag, double scale) const {
        Outcome outcome{.item = number(tag, {})};
        for (std::size_t i = 0; i < components; ++i) {
            const Sum& sum = sums[i];
            outcome.item.parts[i] = sum.value * scale;
            const double tolerance = 8 * epsilon * sum.magnitude * scale;
            // Never 0: the sign of a sum of zeros depends on the order as well.
            outcome.tolerance[i] = std::isfinite(tolerance) ? std::max(tolerance, smallest) : 0;
            const bool large = std::isfinite(sum.value) && sum.magnitude > 1e300;
            outcome.any_parts = outcome.any_parts || sum.strained || large || strained(sum.value, scale) ||
                                (std::isinf(sum.value) && sum.strained);
        }
        return outcome;
    }
};

// Terms of components from `left_present` and `right_present` on are left out; so are, on request, terms with a zero k
// component.
Sums product(std::size_t components, const Parts& left, const Parts& right, std::size_t left_present,
             std::size_t right_present, bool skip_zero_k) {
    Sums result{.components = components};
    for (std::size_t i = 0; i < left_present; ++i)
        for (std::size_t j = 0; j < right_present; ++j) {
            if (skip_zero_k && ((i == 3 && left[3] == 0) || (j == 3 && right[3] == 0))) continue;
            const auto [index, factor] = unit_product(i, j);
            result.sums[index].term(left[i], right[j], factor);
        }
    return result;
}

std::size_t present(const Item& item) { return std::max<std::size_t>(1, component_count(item.tag)); }

Outcomes hypercomplex_product(std::uint32_t tag, const Item& left, const Item& right) {
    const std::size_t n = component_count(tag);
    const Parts l = cartesian_parts(left), r = cartesian_parts(right);
    const bool quaternions = tag == tag::quaternion;
    // Widened with zeros that take part; or with a lower operand that brings only what it has.
    Outcomes outcomes{product(n, l, r, n, n, quaternions).outcome(tag, 1),
                      product(n, l, r, present(left), present(right), quaternions).outcome(tag, 1)};
    const bool left_factor = left.tag < tag::complex;
    if (!left_factor && right.tag >= tag::complex) return outcomes;
    // A plain number is a factor of every component, and may be tested for zero like other factors.
    Parts scaled{};
    for (std::size_t i = 0; i < n; ++i) scaled[i] = left_factor ? times(l[0], r[i]) : times(l[i], r[0]);
    return either(outcomes, gives(number(tag, scaled)));
}

Outcomes hypercomplex_quotient(std::uint32_t tag, const Item& left, const Item& right) {
    const std::size_t n = component_count(tag);
    const Parts l = cartesian_parts(left);
    Parts r = cartesian_parts(right);
    if (right.tag < tag::complex) {
        Parts parts{};
        for (std::size_t i = 0; i < n; ++i) parts[i] = l[i] / r[0];
        return gives(number(tag, parts));
    }
    if (const Outcomes wide = wide_quotient(number(tag, {}), l, r); !wide.empty()) return wide;
    double squares = 0;
    bool squares_strained = false;
    for (std::size_t i = 0; i < n; ++i) {
        squares += r[i] * r[i];
        squares_strained = squares_strained || strained(r[i], r[i]);
        if (i != 0) r[i] = -r[i];
    }
    const double reciprocal = 1 / squares;
    Outcomes outcomes;
    for (const bool skip : {false, true})
        for (const bool whole : {false, true}) {
            outcomes.push_back(
                product(n, l, r, whole ? n : present(left), whole ? n : present(right), skip).outcome(tag, reciprocal));
            outcomes.back().any_parts = outcomes.back().any_parts || squares_strained;
        }
    return outcomes;
}

// ---- the verbs

Outcomes sum(const Item& left, const Item& right, double sign) {
    const auto combined = [sign](const Parts& l, const Parts& r) {
        Parts parts{};
        for (std::size_t i = 0; i < 8; ++i) parts[i] = sign < 0 ? l[i] - r[i] : l[i] + r[i];
        return parts;
    };
    const std::uint32_t tag = std::max(left.tag, right.tag);
    if (tag == tag::integer) {
        if (sign < 0)
            return gives(integer(static_cast<std::int64_t>(static_cast<std::uint64_t>(left.integer) -
                                                           static_cast<std::uint64_t>(right.integer))));
        return integer_or_real(plain(left) + plain(right));
    }
    if (tag == tag::complex && is_polar(complex_like(left, right, {}))) {
        // The sum is taken in components and comes back in polar form. A cartesian right operand is first brought to
        // the polar form of the left one.
        const Parts l = cartesian_parts(left);
        const Parts r = right.tag == tag::complex ? cartesian(2, polar_parts(right)) : parts_of(right);
        return gives(complex_like(left, right, polar(2, combined(l, r))));
    }
    const Parts parts = combined(cartesian_parts(left), cartesian_parts(right));
    if (tag == tag::complex) return gives(complex_like(left, right, parts));
    return gives(number(tag, parts));
}

Outcomes character_product(const Item& left, const Item& right) {
    const Item& text = is_character(left) ? left : right;
    const Item& factor = is_character(left) ? right : left;
    if (factor.tag != tag::integer) return fails(162);
    if (factor.integer != 0 && factor.integer != 1) return fails(149);
    Outcomes outcomes =
        gives(factor.integer == 1 ? character(static_cast<unsigned char>(text.integer)) : character(' '));
    outcomes[0].any_form = true;
    return outcomes;
}

Outcomes multiply(const Item& left, const Item& right) {
    if (is_character(left) || is_character(right)) return character_product(left, right);
    const std::uint32_t tag = std::max(left.tag, right.tag);
    if (tag == tag::integer) return integer_or_real(plain(left) * plain(right));
    if (tag == tag::real) return gives(real(times(plain(left), plain(right))));
    if (tag > tag::complex) return hypercomplex_product(tag, left, right);
    if (left.tag != right.tag) {
        const Item& factor = left.tag == tag::complex ? right : left;
        const Item& complex = left.tag == tag::complex ? left : right;
        const double x = plain(factor);
        const Parts& p = complex.parts;
        if (is_polar(complex))
            return either(gives(complex_like(left, right, {x * p[0], p[1]})),
                          gives(complex_like(left, right, {times(x, p[0]), p[1]})));
        // With or without the test for zero factors.
        return either(gives(complex_like(left, right, {x * p[0], x * p[1]})),
                      gives(complex_like(left, right, {times(x, p[0]), times(x, p[1])})));
    }
    if (is_polar(left)) {
        const Parts r = polar_parts(right);
        return either(gives(complex_like(left, right, {left.parts[0] * r[0], left.parts[1] + r[1]})),
                      gives(complex_like(left, right, {times(left.parts[0], r[0]), left.parts[1] + r[1]})));
    }
    const Parts r = cartesian_parts(right);
    Outcomes outcomes = gives(complex_like(left, right, complex_product(left.parts, r)));
    if (left.parts[1] == 0 && std::isnan(r[1])) {
        Item item = outcomes[0].item;
        item.parts[1] = r[1];
        outcomes = either(outcomes, gives(item));
    }
    return outcomes;
}

Outcomes divide(const Item& left, const Item& right) {
    const std::uint32_t tag = std::max(left.tag, right.tag);
    if (tag == tag::integer) return integer_quotient(left.integer, right.integer);
    if (tag == tag::real) {
        const double l = plain(left), r = plain(right);
        return gives(real(std::isnan(l) && std::isnan(r) ? 1.0 : l / r));
    }
    if (tag > tag::complex) return hypercomplex_quotient(tag, left, right);
    if (right.tag != tag::complex) {
        const double x = plain(right);
        return gives(
            complex_like(left, right, {left.parts[0] / x, is_polar(left) ? left.parts[1] : left.parts[1] / x}));
    }
    if (left.tag != tag::complex) {
        const double x = plain(left);
        if (is_polar(right)) return gives(complex_like(left, right, {x / right.parts[0], -right.parts[1]}));
        return real_by_complex(x, left, right);
    }
    if (is_polar(left)) {
        const Parts r = polar_parts(right);
        return gives(complex_like(left, right, {left.parts[0] / r[0], left.parts[1] - r[1]}));
    }
    const Parts r = cartesian_parts(right);
    if (const Outcomes wide = wide_quotient(complex_like(left, right, {}), left.parts, r); !wide.empty()) return wide;
    Outcomes outcomes = gives(complex_like(left, right, complex_quotient(left.parts, r)));
    if (left.parts[1] == 0 && r[1] != 0) {  // a(c - di) / (cc + dd), in either order
        Item cartesian_right = right;
        cartesian_right.parts = r;
        outcomes = either(outcomes, real_by_complex(left.parts[0], left, cartesian_right));
    }
    return outcomes;
}

Outcomes residue(const Item& left, const Item& right) {
    const std::uint32_t tag = std::max(left.tag, right.tag);
    if (tag > tag::complex) return fails(994);
    if (tag == tag::complex) return complex_residue(left, right);
    if (tag == tag::integer) return integer_residue(left.integer, right.integer);
    const double a = plain(left), b = plain(right);
    if (b == 0) return gives(left.tag == tag::integer ? integer(left.integer) : real(a));
    return gives(real(a - b * exact_or_itself(a / b)));
}

// The magnitude of a number with the sign of its first component that is not zero.
double signed_magnitude(const Item& item) {
    if (item.tag < tag::complex) return plain(item);
    const Parts parts = cartesian_parts(item);
    return length({parts.begin(), parts.end()}) * sign(8, parts);
}

// An operand as it is, or, as nothing is said of polar ones, its number in components.
Outcomes chosen(const Item& item, const Item& other) {
    Item copy = item;
    copy.marks &= 0xbfff;
    copy.name.clear();
    Outcomes outcomes = gives(copy);
    if (is_polar(item)) {
        copy.form = form::number;
        copy.parts = cartesian_parts(item);
        outcomes = either(outcomes, gives(copy));
    }
    for (Outcome& outcome : outcomes) outcome.any_form = item.form != other.form || item.marks != other.marks;
    return outcomes;
}

Outcomes extreme(const Item& left, const Item& right, bool least) {
    if (left.tag == tag::unicode || right.tag == tag::unicode) return fails(994);
    const std::uint32_t tag = std::max(left.tag, right.tag);
    const bool refused = tag == tag::octonion || (tag == tag::quaternion && !least);
    if (is_character(left) != is_character(right)) return refused ? either(fails(994), fails(162)) : fails(162);
    if (refused) return fails(994);
    const Outcomes l = chosen(left, right), r = chosen(right, left);
    if (is_character(left) || tag == tag::integer)
        return least == (left.integer < right.integer) ? l : r;  // with equal ones the same either way
    if (tag == tag::real) {
        const double a = plain(left), b = plain(right);
        Item as_left = real(a), as_right = real(b);
        as_left.form = left.form;
        as_right.form = right.form;
        as_left.marks = left.marks;
        as_right.marks = right.marks;
        const Outcomes real_l = chosen(as_left, right), real_r = chosen(as_right, left);
        if (std::isnan(a) || std::isnan(b) || a == b) return either(real_l, real_r);
        return least == (a < b) ? real_l : real_r;
    }
    const double a = signed_magnitude(left), b = signed_magnitude(right);
    // The higher kind is taken if it lies strictly on the wanted side, the lower one otherwise; of two of a kind, the
    // left one in the same way.
    const bool left_higher = left.tag >= right.tag;
    const double difference = left_higher ? a - b : b - a;
    const bool taken = least ? difference < 0 : difference > 0;
    const bool open_tie = left.tag >= tag::complex && right.tag >= tag::complex && left.tag != right.tag && a == b;
    const bool near = (is_polar(left) || is_polar(right)) && std::fabs(a - b) <= 8 * epsilon * std::fabs(a);
    const bool both_nan = left.tag == right.tag && std::isnan(difference) && !(std::isinf(a) && std::isinf(b));
    if (open_tie || near || both_nan) return either(l, r);
    return taken == left_higher ? l : r;
}

// The order of the factors in the conversion of a polar quaternion or octonion is not fixed.
Outcomes loosened(Outcomes outcomes, const Item& left, const Item& right) {
    const auto converted = [](const Item& item) { return item.tag > tag::complex && is_polar(item); };
    if (!converted(left) && !converted(right)) return outcomes;
    for (Outcome& outcome : outcomes) {
        double size = 0;
        for (std::size_t i = 0; i < 8; ++i)
            for (const double part : {outcome.item.parts[i], cartesian_parts(left)[i], cartesian_parts(right)[i]})
                if (std::isfinite(part)) size = std::max(size, std::fabs(part));
        for (double& tolerance : outcome.tolerance) tolerance = 4 * tolerance + 32 * epsilon * size;
    }
    return outcomes;
}

Outcomes by_rule(Verb verb, const Item& left, const Item& right) {
    const bool characters = is_character(left) || is_character(right);
    const bool wide = left.tag == tag::unicode || right.tag == tag::unicode;
    switch (verb) {
        case Verb::add: return characters ? fails(17) : sum(left, right, 1);
        case Verb::subtract: return characters ? fails(17) : sum(left, right, -1);
        case Verb::multiply: return wide ? fails(17) : multiply(left, right);
        case Verb::divide: return characters ? fails(17) : divide(left, right);
        case Verb::residue: return characters ? fails(17) : residue(left, right);
        case Verb::minimum: return extreme(left, right, true);
        case Verb::maximum: return extreme(left, right, false);
        default: return {};
    }
}

}  // namespace

Outcomes arithmetic(Verb verb, const Item& left, const Item& right) {
    return loosened(by_rule(verb, left, right), left, right);
}

}  // namespace ondrel::oracle
