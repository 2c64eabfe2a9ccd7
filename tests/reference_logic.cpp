// The reference of truth values and of chance.
#include <algorithm>

#include "tests/reference_outcomes.h"

namespace ondrel::oracle {
namespace {

constexpr std::uint16_t by_chance = 1;

double clamped(double x) { return x > 1 ? 1.0 : x < 0 ? 0.0 : x; }

std::int64_t truth_of(const Item& item) {  // of a character or an integer
    return item.integer > (item.tag == tag::ascii ? 32 : 0) ? 1 : 0;
}

Item boolean_item(bool value, std::uint16_t marks = 0) {
    Item item = integer(value ? 1 : 0, form::boolean);
    item.marks = marks;
    return item;
}

bool is_boolean(double x) { return x == 0 || x == 1; }

// The same function of every component. The bits are fixed but for the sign of a zero, and for what a conversion from
// polar form brings with it.
template <class Function>
Outcomes each(const Item& item, std::uint16_t form, std::uint16_t marks, Function function) {
    Outcome outcome{.item = number(item.tag, {}, form, marks)};
    const Parts parts = cartesian_parts(item);
    for (std::size_t i = 0; i < component_count(item.tag); ++i) {
        outcome.item.parts[i] = function(parts[i]);
        outcome.tolerance[i] = is_polar(item) ? 64 * epsilon : smallest;
    }
    return {outcome};
}

// ---- draws

std::int64_t step(Setting& setting) {
    return setting.stream =
               static_cast<std::int64_t>(static_cast<unsigned __int128>(setting.stream) * 48271 % 2147483647);
}
double draw(Setting& setting) { return static_cast<double>(step(setting)) * 4.656612875245797e-10; }

double tossed(double probability, Setting& setting) {
    double r = draw(setting);
    while (r == probability) r = draw(setting);
    return r < probability ? 1 : 0;
}

double rounded(double x, Setting& setting) {
    if (std::isnan(x)) {
        setting.unsure = true;
        return x;
    }
    if (x != 0.5) return x > 0.5 ? 1 : 0;
    (setting.nested ? setting.tossed_within : setting.tossed) = true;
    return tossed(0.5, setting);
}

double taken(double x, Setting& setting) {
    if (std::isnan(x)) setting.unsure = true;
    return x >= 1 ? 1 : x <= 0 ? 0 : tossed(x, setting);
}

double die(double x, Setting& setting) {
    if (std::isnan(x)) setting.unsure = true;
    if (x == 0) return std::numeric_limits<double>::quiet_NaN();
    return std::trunc(x * draw(setting)) + (x > 0 ? 1 : -1);
}

// Where it is not fixed whether there were draws before, nothing that a draw makes is.
Outcomes if_sure(Outcomes outcomes, const Setting& setting) {
    for (Outcome& outcome : outcomes) outcome.any_parts = outcome.any_parts || setting.unsure;
    return outcomes;
}

// ---- one operand

Outcomes logical(const Item& item) {
    if (item.tag == tag::integer) {
        if (item.form == form::boolean) return copied(item);
        return gives(boolean_item(truth_of(item), item.marks & 0x3eff));
    }
    if (item.form == form::boolean || item.form == form::logical) return copied(item);
    return each(item, form::logical, item.marks & 0x3eff, clamped);
}

Outcomes boolean(const Item& item, Setting& setting) {
    if (item.tag == tag::integer)
        return item.form == form::boolean ? copied(item) : gives(boolean_item(truth_of(item), item.marks & 0x3eff));
    const std::uint16_t marks = item.marks & 0x3eff;
    const bool fixed = !setting.nested && !setting.tossed && !setting.tossed_within;
    Outcomes outcomes;
    if (item.form == form::boolean) {
        outcomes = with_free_marks(copied(item), by_chance);
    } else if (item.tag == tag::real) {
        const double value = rounded(item.parts[0], setting);
        outcomes = if_sure(gives(boolean_item(value == 1, marks)), setting);
    } else {
        outcomes =
            if_sure(each(item, form::boolean, marks, [&setting](double x) { return rounded(x, setting); }), setting);
    }
    for (Outcome& outcome : outcomes)
        if (setting.by_chance && item.form != form::boolean) outcome.item.marks |= by_chance;
    return fixed && !setting.tossed ? outcomes : with_free_marks(outcomes, by_chance);
}

Outcomes probably(const Item& item, Setting& setting) {
    if (item.tag == tag::integer) return gives(boolean_item(truth_of(item)));
    if (item.tag == tag::real) {
        const double value = taken(item.parts[0], setting);
        return if_sure(gives(boolean_item(value == 1, by_chance)), setting);
    }
    return if_sure(each(item, form::boolean, by_chance, [&setting](double x) { return taken(x, setting); }), setting);
}

Outcomes negated(const Item& item) {
    const bool binary = item.form == form::binary;
    Item result = item;
    result.marks &= 0x3eff;
    result.name.clear();
    if (item.tag == tag::ascii || item.tag == tag::integer) {
        if (!binary) return gives(boolean_item(truth_of(item) == 0));
        result.integer = item.tag == tag::ascii ? ~item.integer & 0xff : ~item.integer;
        return with_free_marks(gives(result), 0x3fff);
    }
    if (item.tag == tag::real) {
        if (!binary) return each(item, form::logical, 0, [](double x) { return 1 - clamped(x); });
        auto bits = std::bit_cast<std::uint64_t>(item.parts[0]);
        result.parts[0] = std::bit_cast<double>(~bits);
        return gives(result);
    }
    const bool truth = item.form == form::boolean || item.form == form::logical;
    const bool unclamped = truth && item.tag != tag::complex;
    return with_free_marks(each(item, unclamped ? item.form : form::logical, item.marks & 0x3fff,
                                [unclamped](double x) { return 1 - (unclamped ? x : clamped(x)); }),
                           mark::r_prefix);
}

Outcomes contradiction(const Item& item) {
    const std::uint16_t marks = item.marks & 0x3eff;
    if (!is_hypercomplex(item)) return gives(boolean_item(false, marks));
    const bool truth = item.form == form::boolean || item.form == form::logical;
    const Parts parts = cartesian_parts(item);
    std::size_t n = component_count(item.tag);
    const std::size_t least = item.tag == tag::octonion ? 5 : item.tag == tag::quaternion ? 3 : 2;
    while (n > least && std::isnan(parts[n - 1])) --n;
    long double sum = 0;
    for (std::size_t i = 0; i < n; ++i) sum += truth ? parts[i] : clamped(parts[i]);
    const auto half = static_cast<long double>(n) / 2;
    const bool stays = item.tag == tag::complex && item.form == form::boolean;
    Outcome outcome{.item = real(static_cast<double>(std::fabs(sum - half) / half))};
    outcome.item.form = stays ? form::boolean : form::logical;
    outcome.item.marks = marks;
    outcome.tolerance[0] = 64 * epsilon * std::max(1.0, std::fabs(outcome.item.parts[0]));
    return {outcome};
}

bool all_components(const Item& item, bool (*holds)(double)) {
    const Parts parts = cartesian_parts(item);
    return std::all_of(parts.begin(), parts.begin() + static_cast<std::ptrdiff_t>(component_count(item.tag)), holds);
}

Outcomes is_truth(const Item& item, bool degrees) {
    if (item.tag == tag::ascii) return gives(boolean_item(!degrees && item.form == form::binary && item.integer <= 1));
    if (item.tag == tag::integer)
        return gives(boolean_item(item.form == form::boolean || item.integer == 0 || item.integer == 1));
    if (!degrees) return gives(boolean_item(item.form == form::boolean || all_components(item, is_boolean)));
    const bool marked = (item.form & (form::boolean | form::logical)) != 0;
    return gives(boolean_item(marked || all_components(item, [](double x) { return x >= 0 && x <= 1; })));
}

// ---- two operands

double connected(Verb verb, double x, double y) {
    switch (verb) {
        case Verb::and_: return std::min(x, y);
        case Verb::or_: return std::max(x, y);
        case Verb::nand: return 1 - std::min(x, y);
        case Verb::nor: return 1 - std::max(x, y);
        case Verb::strongand: return x + y >= 1 ? x + y - 1 : 0;
        case Verb::strongor: return x + y >= 1 ? 1 : x + y;
        case Verb::strongnand: return x + y >= 1 ? 2 - (x + y) : 1;
        default: return x + y >= 1 ? 0 : 1 - (x + y);
    }
}

// Two characters or two integers of form binary.
Outcomes bit_by_bit(Verb verb, const Item& left, const Item& right) {
    Item result = left;
    const bool conjunction = verb == Verb::and_ || verb == Verb::nand;
    result.integer = conjunction ? left.integer & right.integer : left.integer | right.integer;
    if (verb == Verb::nand || verb == Verb::nor) result.integer = ~result.integer;
    if (left.tag == tag::ascii) result.integer &= 0xff;
    result.marks = 0;
    result.name.clear();
    return with_free_marks(gives(result), 0x3fff);
}

}  // namespace

Outcomes connective(Verb verb, const Item& left, const Item& right) {
    if (left.tag == tag::unicode || right.tag == tag::unicode) return fails(994);
    if (is_character(left) != is_character(right)) return fails(162);
    const std::uint32_t tag = std::max(left.tag, right.tag);
    if (tag <= tag::integer) {
        if (left.form == form::binary && right.form == form::binary && verb <= Verb::nor)
            return bit_by_bit(verb, left, right);
        return gives(boolean_item(
            connected(verb, static_cast<double>(truth_of(left)), static_cast<double>(truth_of(right))) == 1));
    }
    const auto degrees = [](const Item& item) {
        Parts parts = cartesian_parts(item);
        if (item.tag == tag::integer) parts[0] = static_cast<double>(truth_of(item));
        for (double& part : parts) part = clamped(part);
        return parts;
    };
    const Parts l = degrees(left), r = degrees(right);
    Outcome outcome{.item = number(tag, {}, form::logical)};
    const std::size_t shared = std::max<std::size_t>(1, component_count(std::min(left.tag, right.tag)));
    for (std::size_t i = 0; i < component_count(tag); ++i) {
        outcome.tolerance[i] = is_polar(left) || is_polar(right) ? 64 * epsilon : smallest;
        if (i >= shared) continue;
        outcome.item.parts[i] = connected(verb, l[i], r[i]);
        // The lesser and the greater of something and nothing.
        if ((std::isnan(l[i]) || std::isnan(r[i])) && verb <= Verb::nor) outcome.tolerance[i] = infinity;
    }
    return {outcome};
}

Outcomes truth(Monadic verb, const Item& item, Setting& setting) {
    const bool made_of_truth = verb == Monadic::boolean || verb == Monadic::logical || verb == Monadic::probably;
    if (item.tag == tag::ascii && made_of_truth) {
        const bool bits = item.form == form::binary && verb != Monadic::probably;
        return gives(boolean_item(bits ? item.integer != 0 : truth_of(item)));
    }
    switch (verb) {
        case Monadic::not_: return negated(item);
        case Monadic::boolean: return boolean(item, setting);
        case Monadic::logical: return logical(item);
        case Monadic::probably: return probably(item, setting);
        case Monadic::contradiction: return contradiction(item);
        case Monadic::isboolean: return is_truth(item, false);
        default: return is_truth(item, true);
    }
}

Outcomes chance(Monadic verb, const Item& item, Setting& setting) {
    const bool dice = verb == Monadic::roll;
    Item result = item;
    result.form = form::number;
    result.marks = by_chance;
    result.name.clear();
    if (item.tag == tag::ascii) {
        const double span = static_cast<double>(step(setting)) * 4.656612805856859e-10;
        result.integer = 32 + static_cast<std::int64_t>(span * static_cast<double>(item.integer - 31));
        result.form = form::unset;
        return if_sure(gives(result), setting);
    }
    if (item.tag == tag::integer && dice && item.integer != 0) {
        const double below = std::trunc(static_cast<double>(item.integer) * draw(setting));
        result.integer = static_cast<std::int64_t>(below) + (item.integer > 0 ? 1 : -1);
        return if_sure(gives(result), setting);
    }
    if (item.tag == tag::integer) {
        result.tag = tag::real;
        result.integer = 0;
    }
    const Parts parts = item.tag == tag::integer ? parts_of(item) : cartesian_parts(item);
    for (std::size_t i = 0; i < component_count(result.tag); ++i)
        result.parts[i] = dice ? die(parts[i], setting) : draw(setting) * parts[i];
    Outcome outcome{.item = result};
    if (is_polar(item)) outcome.tolerance.fill(1e-9);
    return if_sure({outcome}, setting);
}

}  // namespace ondrel::oracle
