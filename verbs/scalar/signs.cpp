// CONJUGATE, NEGATIVE, SIGNUM, DIRECTION, RECIPROCAL, MAGNITUDE and PITIMES: what arithmetic does to one number.
#include <cmath>
#include <numbers>

#include "numbers/magnitude.h"
#include "verbs/scalar/monadic.h"

namespace ondrel {
namespace {

std::int64_t sign_of(std::int64_t value) { return (value > 0) - (value < 0); }
std::int64_t sign_of(double value) { return (value > 0) - (value < 0); }

// As kept_head, but a plain number has the form that it had.
constexpr std::uint64_t same_form(std::uint64_t head, std::uint32_t tag) {
    return tag < tag::complex ? make_head(tag, head_form(head), kept_marks(head)) : kept_head(head, tag);
}

// All components but the first, or all angles, change sign.
struct Conjugate : OfNumbers {
    template <class A>
    static A apply(const A& value, std::uint64_t) {
        if constexpr (!is_hypercomplex<A>) {
            return value;
        } else {
            auto components = components_of(value);
            for (std::size_t k = 1; k < components.size(); ++k) components[k] = -components[k];
            return std::bit_cast<A>(components);
        }
    }
    static constexpr auto head = same_form;
};

// The least integer is its own negative. A byte has one only where it stands for bits.
struct Negative : OfNumbers {
    static constexpr bool by_cartesian = true;
    static std::int64_t apply(std::int64_t value, std::uint64_t) {
        return static_cast<std::int64_t>(-static_cast<std::uint64_t>(value));
    }
    static double apply(double value, std::uint64_t) { return -value; }
    template <class A>
    static A apply(const A& value, std::uint64_t) {
        return map_components(value, [](double component) { return -component; });
    }
    static std::uint64_t head(std::uint64_t head, std::uint32_t tag) {
        if (tag >= tag::complex) return kept_head(head, tag);
        return make_head(tag, head_form(head) == form::binary ? form::binary : form::number, unprefixed_marks(head));
    }

    template <class A>
    static constexpr bool special = is_character<A>;
    template <class A>
    static DataElement special_item(const DataElement& item, const Setting& setting) {
        if (item.tag != tag::ascii || item.form != form::binary) raise(message::character_not_binary, setting.site);
        return make_item(static_cast<std::uint8_t>(-item.ascii),
                         make_head(tag::ascii, form::binary, kept_marks(item.head)));
    }
};

struct Signum : OfNumbers {
    template <class A>
    static std::int64_t apply(const A& value, std::uint64_t head) {
        if constexpr (!is_hypercomplex<A>)
            return sign_of(value);
        else
            return static_cast<std::int64_t>(csgn(is_polar(head) ? to_cartesian(value) : value));
    }
    static std::uint64_t head(std::uint64_t head, std::uint32_t tag) {
        return make_head(tag, form::number, kept_marks(head));
    }
};

// The number of magnitude 1 that points the same way. Zero points nowhere: each component of its is no number.
struct Direction : OfNumbers {
    template <class A>
    static auto apply(const A& value, std::uint64_t head) {
        if constexpr (!is_hypercomplex<A>) {
            return sign_of(value);
        } else {
            if (is_polar(head)) {
                auto components = components_of(value);
                components[0] = 1;
                return std::bit_cast<A>(components);
            }
            Word strayed;
            const double size = magnitude_of(value, strayed);
            if (!has_sign(strayed)) return map_components(value, [size](double c) { return c / size; });
            const long double extended_size = extended_magnitude(value);
            return map_components(value, [=](double c) { return rounded(c / extended_size); });
        }
    }
    static constexpr auto head = same_form;
};

struct Reciprocal : OfNumbers {
    template <class A>
    static A inverse(const A& value, Word& strayed) {
        const double squares = squared_magnitude(value);
        strayed = strays(squares, value);
        return map_components(Conjugate::apply(value, 0), [squares](double c) { return c / squares; });
    }
    template <class A>
    static A inverse(const A& value) {
        Word strayed;
        const A result = inverse(value, strayed);
        if (!has_sign(strayed)) return result;
        const long double squares = squared_magnitude(extended(value));
        return map_components(Conjugate::apply(value, 0), [squares](double c) { return rounded(c / squares); });
    }
    template <class A, class... Strayed>
    static auto apply(const A& value, std::uint64_t head, Strayed&... strayed) {
        if constexpr (!is_hypercomplex<A>)
            return 1 / static_cast<double>(value);
        else if constexpr (std::is_same_v<A, Complex>)
            return is_polar(head) ? Complex{1 / value.re, -value.im} : inverse(value, strayed...);
        else
            return is_polar(head) ? to_polar(inverse(to_cartesian(value))) : inverse(value, strayed...);
    }
    using Checked = CheckedOf<Reciprocal>;
    static std::uint64_t head(std::uint64_t head, std::uint32_t tag) {
        if (tag == tag::real) return make_head(tag, head_form(head), unprefixed_marks(head));
        return tag == tag::complex ? make_head(tag, head_form(head), kept_marks(head)) : kept_head(head, tag);
    }
};

struct Magnitude : OfNumbers {
    static std::int64_t apply(std::int64_t value, std::uint64_t) {
        return value < 0 ? Negative::apply(value, 0) : value;
    }
    static double apply(double value, std::uint64_t) { return std::fabs(value); }
    template <class A, class... Strayed>
    static double apply(const A& value, std::uint64_t head, Strayed&... strayed) {
        return is_polar(head) ? components_of(value)[0] : magnitude_of(value, strayed...);
    }
    using Checked = CheckedOf<Magnitude>;
    static constexpr auto head = Signum::head;
};

struct PiTimes : OfNumbers {
    static constexpr bool by_cartesian = true;
    template <class A>
    static auto apply(const A& value, std::uint64_t) {
        if constexpr (!is_hypercomplex<A>)
            return static_cast<double>(value) * std::numbers::pi;
        else
            return map_components(value, [](double component) { return component * std::numbers::pi; });
    }
    static constexpr auto head = kept_head;
};

}  // namespace

void conjugate(DataElement*& sp, DataElement* cell) { monadic<Conjugate>(sp, cell); }
void negative(DataElement*& sp, DataElement* cell) { monadic<Negative>(sp, cell); }
void signum(DataElement*& sp, DataElement* cell) { monadic<Signum>(sp, cell); }
void direction(DataElement*& sp, DataElement* cell) { monadic<Direction>(sp, cell); }
void reciprocal(DataElement*& sp, DataElement* cell) { monadic<Reciprocal>(sp, cell); }
void magnitude(DataElement*& sp, DataElement* cell) { monadic<Magnitude>(sp, cell); }
void pitimes(DataElement*& sp, DataElement* cell) { monadic<PiTimes>(sp, cell); }

}  // namespace ondrel
