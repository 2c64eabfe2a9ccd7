// EXPONENTIAL and NATURALLOG. The logarithm of a real below 0 is no number: only complex numbers have complex ones.
//
// A quaternion or octonion is its first component and, across it, a vector. It goes around the circle that the vector
// spans with the axis; one with no vector gives a lower kind.
#include <cmath>
#include <numbers>
#include <span>

#include "numbers/complex_functions.h"
#include "numbers/elementary.h"
#include "numbers/magnitude.h"
#include "verbs/scalar/monadic.h"

namespace ondrel {
namespace {

// `Verb` brings Function, what it is of a real; of_complex(z); and of_vector(value, length, marks), the item for a
// hypercomplex number of more components.
template <class Verb>
struct Transcendental : OfNumbers {
    static constexpr bool by_cartesian = true;

    template <class A>
    static auto apply(const A& value, std::uint64_t) {
        if constexpr (is_hypercomplex<A>)
            return Verb::of_complex(value);
        else
            return Verb::Function::of(static_cast<double>(value));
    }
    static std::uint64_t head(std::uint64_t head, std::uint32_t tag) { return kept_head(head, tag); }

    template <class A>
    requires(!is_hypercomplex<A>)  //
        static std::size_t loop(const void* values, void* result, std::size_t n, std::uint64_t, const Setting&) {
        auto* const results = static_cast<double*>(result);
        Verb::Function::of(as_reals(static_cast<const A*>(values), results, n), results, n);
        return n;
    }

    template <class A>
    static constexpr bool special = level_of<A> > level_of<Complex>;
    template <class A>
    static DataElement special_item(const DataElement& item, const Setting&) {
        const A stored = load<A>(item);
        const A value = is_polar(item.head) ? to_cartesian(stored) : stored;
        const auto components = components_of(value);
        long double squared = 0;
        for (const long double component : std::span(components).template subspan<1>())
            squared += component * component;
        return Verb::of_vector(value, std::sqrt(squared), item.head);
    }
};

// The number whose first component is this and whose vector is that of `value` by a factor, in the form of the operand.
template <class Value>
DataElement around(const Value& value, double first, long double factor, std::uint64_t head) {
    auto components = map_components(value, [factor](double c) { return static_cast<double>(c * factor); });
    std::memcpy(&components, &first, sizeof first);
    return make_item(is_polar(head) ? to_polar(components) : components, kept_head(head, head_tag(head)));
}

struct PowerOfE : Transcendental<PowerOfE> {
    using Function = Exponential;
    static Complex of_complex(Complex z) { return exponential_of(z); }

    template <class Value>
    static DataElement of_vector(const Value& value, long double length, std::uint64_t head) {
        const double first = components_of(value)[0];
        if (length == 0) return make_item(Exponential::of(first), make_head(tag::real, form::number));
        const long double size = std::exp(static_cast<long double>(first));
        return around(value, static_cast<double>(size * angle_zero(std::cos(length))),
                      size * angle_zero(std::sin(length)) / length, head);
    }
};

struct NaturalLog : Transcendental<NaturalLog> {
    using Function = NaturalLogarithm;
    static Complex of_complex(Complex z) { return logarithm_of(z); }

    template <class Value>
    static DataElement of_vector(const Value& value, long double length, std::uint64_t head) {
        const long double first = components_of(value)[0];
        const auto log = static_cast<double>(std::log(std::hypot(first, length)));
        if (length != 0) return around(value, log, std::atan2(length, first) / length, head);
        if (first < 0) {
            const Complex result{log, std::numbers::pi};
            return make_item(is_polar(head) ? to_polar(result) : result, kept_head(head, tag::complex));
        }
        return make_item(log, kept_head(head, tag::real));
    }
};

}  // namespace

void exponential(DataElement*& sp, DataElement* cell) { monadic<PowerOfE>(sp, cell); }
void naturallog(DataElement*& sp, DataElement* cell) { monadic<NaturalLog>(sp, cell); }

}  // namespace ondrel
