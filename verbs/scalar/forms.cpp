// The form of an item says how its value is to be taken and shown. POLAR, CARTESIAN, DEG, RAD, BINARY and NUMBER set
// it, and the verbs that begin with IS ask for it.
#include "verbs/scalar/monadic.h"

namespace ondrel {
namespace {

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
        if constexpr (!is_hypercomplex<A>)
            return value;
        else if constexpr (form == form::polar)
            return holds_polar(head) ? value : to_polar(value);
        else
            return holds_polar(head) || head_form(head) == form::number ? to_cartesian(value) : value;
    }
    static std::uint64_t head(std::uint64_t head, std::uint32_t tag) {
        if (tag < tag::complex) return in_form(head, head_form(head));
        return in_form(head, head_form(head) == form::number ? computed : form);
    }
};

// Angles that are plain numbers are converted; a hypercomplex number only changes how its angles are shown.
template <bool degrees>
struct Angle : OfNumbers {
    template <class A>
    static auto apply(const A& value, std::uint64_t) {
        if constexpr (!is_hypercomplex<A>)
            return static_cast<double>(value) * (degrees ? degrees_per_radian : radians_per_degree);
        else
            return value;
    }
    static std::uint64_t head(std::uint64_t head, std::uint32_t tag) {
        if (tag < tag::complex) return make_head(tag, form::number);
        const std::uint16_t marks = head_marks(head) & static_cast<std::uint16_t>(~mark::degrees);
        return make_head(tag, head_form(head), degrees ? marks | mark::degrees : marks);
    }
};

// Bits instead of a quantity: of characters and plain numbers.
struct Binary {
    template <class A>
    static constexpr bool takes = !is_hypercomplex<A> && !std::is_same_v<A, Unicode>;
    template <class A>
    static constexpr int missing = is_hypercomplex<A> ? message::impossible : message::restriction;

    template <class A>
    static A apply(const A& value, std::uint64_t) {
        return value;
    }
    static std::uint64_t head(std::uint64_t head, std::uint32_t) { return in_form(head, form::binary); }
};

// A quantity again. A byte has one only where it stood for bits.
struct Number : OfNumbers {
    template <class A>
    static A apply(const A& value, std::uint64_t) {
        return value;
    }
    static std::uint64_t head(std::uint64_t head, std::uint32_t) { return in_form(head, form::number); }

    template <class A>
    static constexpr bool special = std::is_same_v<A, std::uint8_t>;
    template <class A>
    static DataElement special_item(const DataElement& item, const Setting& setting) {
        if (item.form != form::binary) raise(message::no_number_of_kind, setting.site);
        return make_item<std::int64_t>(item.ascii, make_head(tag::integer, form::number));
    }
};

// Whether an item has the form. Plain numbers and characters are neither polar nor cartesian, whatever theirs is.
template <std::uint16_t form>
struct HasForm {
    template <class A>
    static constexpr bool takes = !std::is_same_v<A, Unicode>;
    template <class A>
    static constexpr int missing = message::restriction;

    template <class A>
    static std::int64_t apply(const A&, std::uint64_t head) {
        constexpr bool of_components = form == form::polar || form == form::cartesian;
        return (is_hypercomplex<A> || !of_components) && head_form(head) == form;
    }
    static std::uint64_t head(std::uint64_t head, std::uint32_t tag) {
        return make_head(tag, head_tag(head) == tag::octonion ? form::number : form::boolean);
    }
};

}  // namespace

void polar(DataElement*& sp, DataElement* cell) { monadic<Form<form::polar, form::computed_polar>>(sp, cell); }
void cartesian(DataElement*& sp, DataElement* cell) {
    monadic<Form<form::cartesian, form::computed_cartesian>>(sp, cell);
}
void deg(DataElement*& sp, DataElement* cell) { monadic<Angle<true>>(sp, cell); }
void rad(DataElement*& sp, DataElement* cell) { monadic<Angle<false>>(sp, cell); }
void binary(DataElement*& sp, DataElement* cell) { monadic<Binary>(sp, cell); }
void number(DataElement*& sp, DataElement* cell) { monadic<Number>(sp, cell); }
void ispolar(DataElement*& sp, DataElement* cell) { monadic<HasForm<form::polar>>(sp, cell); }
void iscartesian(DataElement*& sp, DataElement* cell) { monadic<HasForm<form::cartesian>>(sp, cell); }
void isbinary(DataElement*& sp, DataElement* cell) { monadic<HasForm<form::binary>>(sp, cell); }
void isnumber(DataElement*& sp, DataElement* cell) { monadic<HasForm<form::number>>(sp, cell); }

}  // namespace ondrel
