// POLAR, CARTESIAN, DEG and RAD: in which form a number is taken and shown.
#include "verbs/scalar/monadic.h"

namespace ondrel {
namespace {

struct OfNumbers {
    template <class A>
    static constexpr bool takes = level_of<A> >= 0;
    template <class A>
    static constexpr int missing = 994;
};

constexpr bool is_hypercomplex(std::uint32_t tag) { return tag >= tag::complex; }

// The operand's head in another form, and without its name.
constexpr std::uint64_t in_form(std::uint64_t head, std::uint16_t form) {
    return make_head(head_tag(head), form, head_marks(head) & static_cast<std::uint16_t>(~mark::named));
}

constexpr bool holds_polar(std::uint64_t head) {
    return head_form(head) == form::polar || head_form(head) == form::computed_polar;
}

// Integers and reals are what they are in either form. Plain components are taken as what the verb does not make:
// POLAR reads them as a cartesian number and leaves its coordinates as components, CARTESIAN the other way round. A
// number that has a form is brought to the other one.
template <std::uint16_t form, std::uint16_t computed>
struct Form : OfNumbers {
    template <class A>
    static A apply(const A& value, std::uint64_t head) {
        if constexpr (level_of<A> < level_of<Complex>)
            return value;
        else if constexpr (form == form::polar)
            return holds_polar(head) ? value : to_polar(value);
        else
            return holds_polar(head) || head_form(head) == form::number ? to_cartesian(value) : value;
    }
    static std::uint64_t head(std::uint64_t head, std::uint32_t tag) {
        if (!is_hypercomplex(tag)) return in_form(head, head_form(head));
        return in_form(head, head_form(head) == form::number ? computed : form);
    }
};

// Angles that are plain numbers are converted; a hypercomplex number only changes how its angles are shown.
template <bool degrees>
struct Angle : OfNumbers {
    template <class A>
    static auto apply(const A& value, std::uint64_t) {
        if constexpr (level_of<A> < level_of<Complex>)
            return static_cast<double>(value) * (degrees ? degrees_per_radian : radians_per_degree);
        else
            return value;
    }
    static std::uint64_t head(std::uint64_t head, std::uint32_t tag) {
        if (!is_hypercomplex(tag)) return make_head(tag, form::number);
        const std::uint16_t marks = head_marks(head) & static_cast<std::uint16_t>(~mark::degrees);
        return make_head(tag, head_form(head), degrees ? marks | mark::degrees : marks);
    }
};

constexpr MonadicVerb polar_verb = make_monadic<Form<form::polar, form::computed_polar>>();
constexpr MonadicVerb cartesian_verb = make_monadic<Form<form::cartesian, form::computed_cartesian>>();
constexpr MonadicVerb deg_verb = make_monadic<Angle<true>>();
constexpr MonadicVerb rad_verb = make_monadic<Angle<false>>();

}  // namespace

void polar(DataElement*& sp, DataElement* cell) { monadic(polar_verb, sp, cell); }
void cartesian(DataElement*& sp, DataElement* cell) { monadic(cartesian_verb, sp, cell); }
void deg(DataElement*& sp, DataElement* cell) { monadic(deg_verb, sp, cell); }
void rad(DataElement*& sp, DataElement* cell) { monadic(rad_verb, sp, cell); }

}  // namespace ondrel
