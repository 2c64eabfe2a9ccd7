// TRUNCATE, FLOOR and CEILING. A real becomes an integer where one can hold it.
//
// The whole hypercomplex number below another one is taken component by component; where the fractions that are cut off
// reach 1 together, within the tolerance of comparisons, the component that lost most goes up again.
#include <algorithm>
#include <cmath>

#include "numbers/magnitude.h"
#include "verbs/scalar/monadic.h"

namespace ondrel {
namespace {

IntegerOrReal whole(double value) {
    return fits_integer(value) ? as_integer(static_cast<std::int64_t>(value)) : as_real(value);
}

struct Whole : OfNumbers {
    static constexpr bool by_cartesian = true;
    static std::uint64_t head(std::uint64_t head, std::uint32_t tag) {
        if (head_tag(head) == tag::integer) return make_head(tag, head_form(head), kept_marks(head));
        return kept_head(head, tag);
    }
    static std::int64_t apply(std::int64_t value, std::uint64_t) { return value; }

    [[gnu::always_inline]] static bool ordinary(const double* values, std::size_t n) {
        return none_of(values, n, [](double value) { return !(std::fabs(value) < two_to_51); });
    }
};

struct TowardZero : Whole {
    using Whole::apply;
    static IntegerOrReal apply(double value, std::uint64_t) { return whole(std::trunc(value)); }
    template <class A>
    static A apply(const A& value, std::uint64_t) {
        return map_components(value, [](double component) { return std::trunc(component); });
    }
    [[gnu::always_inline]] static std::int64_t plain(double value) { return integer_of_whole(std::trunc(value)); }
};

template <bool up>
struct Rounded : Whole {
    double tolerance;
    explicit Rounded(const Setting& setting) : tolerance(setting.tolerance) {}

    static double rounded(double value) { return up ? std::ceil(value) : std::floor(value); }

    // A hypercomplex number keeps its form, a cartesian real its.
    static std::uint64_t head(std::uint64_t head, std::uint32_t tag) {
        if (head_tag(head) == tag::real) return make_head(tag, kept_form(head), kept_marks(head));
        return make_head(tag, head_form(head), kept_marks(head));
    }

    using Whole::apply;
    static IntegerOrReal apply(double value, std::uint64_t) { return whole(rounded(value)); }
    template <class A>
    A apply(const A& value, std::uint64_t) const {
        auto result = components_of(value);
        auto lost = result;
        double sum = 0;
        for (std::size_t k = 0; k < lost.size(); ++k) {
            result[k] = rounded(result[k]);
            lost[k] = up ? result[k] - lost[k] : lost[k] - result[k];
            sum += lost[k];
        }
        if (sum >= 1 - tolerance) {
            const auto most = std::ranges::max_element(lost) - lost.begin();
            result[static_cast<std::size_t>(most)] += up ? -1 : 1;
        }
        return std::bit_cast<A>(result);
    }
    [[gnu::always_inline]] static std::int64_t plain(double value) { return integer_of_whole(rounded(value)); }
};

// Integers stay as they are, with their names, and need no tolerance.
bool is_whole(const DataElement& value) { return (value.type & (HASINTEGER | PER_ITEM)) == HASINTEGER; }

template <class Rule>
void round_within_tolerance(DataElement*& sp, DataElement* cell) {
    if (is_whole(*sp)) return;
    normalise_tolerance();
    monadic<Rule>(sp, cell);
}

}  // namespace

void Truncate(DataElement*& sp, DataElement* cell) {
    if (!is_whole(*sp)) monadic<TowardZero>(sp, cell);
}
void flooring(DataElement*& sp, DataElement* cell) { round_within_tolerance<Rounded<false>>(sp, cell); }
void ceiling(DataElement*& sp, DataElement* cell) { round_within_tolerance<Rounded<true>>(sp, cell); }

}  // namespace ondrel
