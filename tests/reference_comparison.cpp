// The reference of the comparisons, and of the tolerance that they read.
#include <algorithm>

#include "tests/reference_outcomes.h"

namespace ondrel::oracle {
namespace {

Outcomes boolean(bool value) { return gives(integer(value ? 1 : 0, form::boolean)); }

bool identical_numbers(double left, double right) {
    return left == right || (std::isnan(left) && std::isnan(right)) ||
           (std::isinf(left) && std::isinf(right) && !(right > left));
}

// The magnitude with the sign of the first component that is not zero; and how far
// the sum of squares in another order may lie from it.
struct Signed {
    double value = 0, doubt = 0;
};
Signed signed_magnitude(const Item& item) {
    if (!is_hypercomplex(item)) return {plain(item)};
    long double exact = 0;
    for (const double part : item.parts) exact += static_cast<long double>(part) * part;
    const double value = length({item.parts.begin(), item.parts.end()}) * sign(8, item.parts);
    const bool rounded = static_cast<long double>(static_cast<double>(exact)) != exact;
    return {value, rounded && std::isfinite(value) ? 4 * epsilon * std::fabs(value) : 0};
}

// How far two numbers lie apart, with a doubt.
Signed between(const Item& left, const Item& right) {
    const Signed l = signed_magnitude(left), r = signed_magnitude(right);
    const bool same = left.tag == right.tag && left.parts == right.parts;
    return {l.value - r.value, same ? 0 : l.doubt + r.doubt};
}

double absolute_distance(double left, double right) {
    if (std::isnan(left) && std::isnan(right)) return 0;
    if (std::isinf(left) && std::isinf(right) && !(left < right)) return 0;
    return std::fabs(left - right);
}

bool vanishes_from(const Item& item, std::size_t first) {
    return std::all_of(item.parts.begin() + static_cast<std::ptrdiff_t>(first), item.parts.end(),
                       [](double part) { return part == 0; });
}

Signed distance(const Item& left, const Item& right) {
    const std::uint32_t low = std::min(left.tag, right.tag), high = std::max(left.tag, right.tag);
    const Item& higher = left.tag == high ? left : right;
    if (high == tag::real && low == tag::integer) return {std::fabs(plain(left) - plain(right))};
    const std::size_t shared = std::max<std::size_t>(1, component_count(low));
    const bool lowered = low == high || vanishes_from(higher, shared);
    const Parts l = parts_of(left), r = parts_of(right);
    if (lowered && low == tag::integer) return {std::fabs(l[0] - r[0])};
    if (lowered && low == tag::real) return {absolute_distance(l[0], r[0])};
    if (lowered && low == tag::complex) {
        if (std::isnan(l[0]) && std::isnan(r[0]))
            return {std::isnan(l[1]) && std::isnan(r[1]) ? 0 : std::fabs(l[1] - r[1])};
        if (std::isnan(l[1]) && std::isnan(r[1])) return {std::fabs(l[0] - r[0])};
    }
    const Signed apart = between(left, right);
    return {std::fabs(apart.value), apart.doubt};
}

Outcomes ordered(Verb verb, double d, double tolerance) {
    switch (verb) {
        case Verb::less: return boolean(d < 0 && tolerance < -d);
        case Verb::notgreater: return boolean(d <= 0 || d <= tolerance);
        case Verb::notless: return boolean(d >= 0 || -d <= tolerance);
        default: return boolean(d > 0 && tolerance < d);
    }
}

Outcomes degree(Verb verb, double d, double doubt, double tolerance) {
    const bool apart = d >= tolerance, equivalent = verb == Verb::equivalent;
    Item item = real(equivalent ? (apart ? 0 : 1 - d) : (apart ? 1 : d));
    item.form = form::logical;
    Outcome outcome{.item = item};
    outcome.tolerance[0] = std::max(doubt, smallest);
    outcome.any_parts = std::isnan(d);  // on neither side of the tolerance
    return {outcome};
}

template <class Number>
bool compare(Verb verb, Number left, Number right) {
    switch (verb) {
        case Verb::less: return left < right;
        case Verb::notgreater: return left <= right;
        case Verb::equivalent:
        case Verb::identical: return left == right;
        case Verb::notless: return left >= right;
        case Verb::greater: return left > right;
        default: return left != right;
    }
}

bool same_components(const Item& left, const Item& right) {
    const Parts l = parts_of(left), r = parts_of(right);
    const std::uint32_t low = std::min(left.tag, right.tag);
    const std::size_t shared = std::max<std::size_t>(1, component_count(low));
    return std::equal(l.begin(), l.begin() + static_cast<std::ptrdiff_t>(shared), r.begin(), identical_numbers) &&
           (left.tag == right.tag || vanishes_from(left.tag > right.tag ? left : right, shared));
}

Item as_cartesian(Item item) {
    item.parts = cartesian_parts(item);
    if (is_hypercomplex(item)) item.form = form::number;
    return item;
}

}  // namespace

Outcomes comparison(Verb verb, const Item& left, const Item& right, double tolerance) {
    if (is_polar(left) || is_polar(right)) return comparison(verb, as_cartesian(left), as_cartesian(right), tolerance);
    if (left.tag == tag::unicode || right.tag == tag::unicode) return fails(994);
    if (is_character(left) != is_character(right)) return fails(162);
    if (std::max(left.tag, right.tag) <= tag::integer) return boolean(compare(verb, left.integer, right.integer));
    if (verb == Verb::identical) return boolean(same_components(left, right));
    if (verb == Verb::notidentical) return boolean(!same_components(left, right));
    const bool degrees = verb == Verb::equivalent || verb == Verb::notequivalent;
    const Signed apart = degrees ? distance(left, right) : between(left, right);
    Outcomes outcomes;
    for (const double d : {apart.value, apart.value - apart.doubt, apart.value + apart.doubt})
        outcomes = either(outcomes,
                          degrees ? degree(verb, std::fabs(d), apart.doubt, tolerance) : ordered(verb, d, tolerance));
    if (apart.doubt == 0) outcomes.resize(1);
    return outcomes;
}

double tolerance_read(const Value* held) {
    if (held == nullptr || held->items.empty()) return default_tolerance;
    const Item& item = held->items[0];
    return is_character(item) || item.tag == tag::subarray ? default_tolerance : plain(item);
}

double tolerance_in_order(const Value* held) {
    if (held != nullptr && !held->items.empty() && held->items[0].tag == tag::integer)
        return held->items[0].integer > 0 ? 1 : 0;
    return std::min(1.0, std::max(0.0, tolerance_read(held)));
}

}  // namespace ondrel::oracle
