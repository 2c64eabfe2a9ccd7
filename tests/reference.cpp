#include "tests/reference.h"

#include <algorithm>
#include <utility>

#include "tests/reference_outcomes.h"

namespace ondrel::oracle {
namespace {

bool same_number(double expected, double actual, double tolerance) {
    if (std::isinf(tolerance)) return true;
    if (std::isnan(expected)) return std::isnan(actual);
    if (tolerance > 0) return expected == actual || std::fabs(expected - actual) <= tolerance;
    return expected == actual && std::signbit(expected) == std::signbit(actual);
}

std::string describe(const Outcome& outcome) {
    if (outcome.error != 0) return "error " + std::to_string(outcome.error);
    return ondrel::describe(outcome.item) + (outcome.any_form ? " of any form" : "") +
           (outcome.any_parts ? " of any value" : "");
}

bool refuses(Verb verb, const Value& value) {
    const auto holds = [&value](std::uint32_t tag) {
        return std::any_of(value.items.begin(), value.items.end(), [tag](const Item& item) { return item.tag == tag; });
    };
    const bool powers = verb >= Verb::power && verb <= Verb::circular;
    if (verb > Verb::residue && !powers) return false;
    return holds(tag::unicode) || (holds(tag::ascii) && verb != Verb::multiply);
}

bool is_single(const Value& value) { return value.items.size() == 1; }

std::vector<std::int64_t> result_shape(const Value& left, const Value& right) {
    if (!is_single(right)) return right.shape;
    if (!is_single(left)) return left.shape;
    return left.shape.empty() ? right.shape : left.shape;
}

Value as_value(const Item& item) { return item.tag == tag::subarray ? *item.nested : scalar_value(item); }

}  // namespace

std::vector<Outcome> pair(Verb verb, const Item& left, const Item& right, double tolerance) {
    if (verb <= Verb::maximum) return arithmetic(verb, left, right);
    if (verb <= Verb::notidentical) return comparison(verb, left, right, tolerance);
    if (verb <= Verb::circular) return powers(verb, left, right, tolerance);
    return connective(verb, left, right);
}

std::vector<Outcome> single(Monadic verb, const Item& item, Setting& setting) {
    if (item.tag == tag::unicode) return fails(verb == Monadic::negative ? 164 : 994);
    if (verb <= Monadic::deg) return forms(verb, item);
    if (verb <= Monadic::factorial) return monadic_arithmetic(verb, item, setting.tolerance);
    if (verb <= Monadic::iscartesian) return forms(verb, item);
    return verb <= Monadic::islogical ? truth(verb, item, setting) : chance(verb, item, setting);
}

bool Outcome::admits(const Item& actual) const {
    const auto fixed = static_cast<std::uint16_t>(~free_marks);
    if (error != 0 || actual.tag != item.tag || (actual.marks & mark::named) != (item.marks & mark::named))
        return false;
    if (!any_form && (actual.form != item.form || (actual.marks & fixed) != (item.marks & fixed))) return false;
    if (any_parts) return true;
    if (actual.integer != item.integer) return false;
    for (std::size_t i = 0; i < component_count(item.tag); ++i)
        if (!same_number(item.parts[i], actual.parts[i], tolerance[i])) return false;
    return true;
}

// ---- whole values

void Expected::fail(int error) {
    errors.insert(error);
    must_fail = true;
}

void Expected::put(Place place) {
    if (place.nested != nullptr) {
        errors.insert(place.nested->errors.begin(), place.nested->errors.end());
        must_fail = must_fail || place.nested->must_fail;
    } else {
        bool fails = true;
        for (const Outcome& outcome : place.outcomes)
            if (outcome.error != 0)
                errors.insert(outcome.error);
            else
                fails = false;
        must_fail = must_fail || fails;
    }
    places.push_back(std::move(place));
}

Expected apply(Verb verb, const Value& left, const Value& right, double tolerance) {
    Expected expected;
    if (left.items.empty() || right.items.empty()) {
        expected.kept = true;
        expected.survivor = left.items.empty() ? right : left;
        return expected;
    }
    if (refuses(verb, left) || refuses(verb, right) ||
        (!is_single(left) && !is_single(right) && left.shape != right.shape)) {
        expected.fail(17);
        return expected;
    }
    expected.shape = result_shape(left, right);
    const std::size_t n = std::max(left.items.size(), right.items.size());
    expected.places.reserve(n);
    for (std::size_t i = 0; i < n; ++i) {
        const Item& l = left.items[is_single(left) ? 0 : i];
        const Item& r = right.items[is_single(right) ? 0 : i];
        if (l.tag == tag::subarray || r.tag == tag::subarray)
            expected.put({.nested = std::make_shared<Expected>(apply(verb, as_value(l), as_value(r), tolerance))});
        else
            expected.put({.outcomes = pair(verb, l, r, tolerance)});
    }
    return expected;
}

Expected apply(Monadic verb, const Value& value, Setting& setting) {
    Expected expected{.errors = {}, .shape = value.shape};
    if (value.items.empty()) {
        expected.kept = true;
        expected.survivor = value;
    }
    for (const Item& item : value.items)
        if (item.tag == tag::subarray) {
            const bool before = std::exchange(setting.nested, true);
            expected.put({.nested = std::make_shared<Expected>(apply(verb, *item.nested, setting))});
            setting.nested = before;
        } else {
            expected.put({.outcomes = single(verb, item, setting)});
        }
    return expected;
}

std::string Expected::mismatch(const Value& actual) const {
    if (must_fail) return "gave a value, expected error " + std::to_string(*errors.begin());
    if (kept)
        return equal(survivor, actual)
                   ? ""
                   : "gave " + ondrel::describe(actual) + ", expected " + ondrel::describe(survivor);
    if (shape != actual.shape || places.size() != actual.items.size())
        return "gave the shape of " + ondrel::describe(actual) + ", expected " + ondrel::describe(Value{shape, {}});
    for (std::size_t i = 0; i < places.size(); ++i) {
        const Item& item = actual.items[i];
        const std::string place = "item " + std::to_string(i) + " ";
        if (places[i].nested != nullptr) {
            if (item.tag != tag::subarray)
                return place + "gave " + ondrel::describe(item) + ", expected a nested value";
            if (const std::string inner = places[i].nested->mismatch(*item.nested); !inner.empty())
                return place + inner;
            continue;
        }
        const std::vector<Outcome>& outcomes = places[i].outcomes;
        if (std::any_of(outcomes.begin(), outcomes.end(),
                        [&item](const Outcome& outcome) { return outcome.admits(item); }))
            continue;
        std::string text = place + "gave " + ondrel::describe(item) + ", expected";
        for (const Outcome& outcome : outcomes)
            text += " " + describe(outcome) + (&outcome == &outcomes.back() ? "" : " or");
        return text;
    }
    return {};
}

}  // namespace ondrel::oracle
