// LOGICAL, BOOLEAN, NOT, CONTRADICTION, ISBOOLEAN and ISLOGICAL: a number as truth values. A hypercomplex number holds
// one in each component.
//
// The form says what a truth value is: boolean, exactly 0 or 1; logical, a degree from 0 to 1; binary, bits. Other
// numbers are brought into the range, integers to true above 0. A character is true above the blank, or where it stands
// for bits if any is set.
#include "numbers/truth.h"

#include <algorithm>

#include "numbers/magnitude.h"
#include "numbers/random.h"
#include "verbs/scalar/monadic.h"

namespace ondrel {
namespace {

struct OfTruth {
    static constexpr bool of_cartesian = true;
    template <class A>
    static constexpr bool takes = !std::is_same_v<A, Unicode>;
    template <class A>
    static constexpr int missing = message::restriction;
};

std::int64_t truth_of_byte(std::uint8_t byte, std::uint64_t head) {
    return head_form(head) == form::binary ? byte != 0 : is_true(byte);
}
bool is_graded(std::uint64_t head) { return head_form(head) == form::boolean || head_form(head) == form::logical; }

struct Logical : OfTruth {
    static std::int64_t apply(std::uint8_t byte, std::uint64_t head) { return truth_of_byte(byte, head); }
    static std::int64_t apply(std::int64_t value, std::uint64_t head) {
        return head_form(head) == form::boolean ? value : is_true(value);
    }
    static double apply(double value, std::uint64_t head) { return is_graded(head) ? value : truth_degree(value); }
    template <class A>
    static A apply(const A& value, std::uint64_t head) {
        return is_graded(head) ? value : map_components(value, truth_degree);
    }
    static std::uint64_t head(std::uint64_t head, std::uint32_t tag) {
        if (head_tag(head) == tag::ascii) return make_head(tag, form::boolean);
        const std::uint16_t form = tag == tag::integer ? form::boolean
                                   : is_graded(head)   ? head_form(head)
                                                       : form::logical;
        return make_head(tag, form, unprefixed_marks(head));
    }
};

// Exactly one half is decided by a draw, and the value then depends on chance.
struct Boolean : OfTruth {
    std::int64_t& stream;
    bool probable;
    bool& drew;
    explicit Boolean(const Setting& setting)
        : stream(*setting.stream), probable(setting.probable), drew(*setting.drew) {}

    double rounded(double value) const {
        if (value != 0.5) return value > 0.5;
        drew = true;
        return draw_apart_from(0.5, stream) < 0.5;
    }
    static std::int64_t apply(std::uint8_t byte, std::uint64_t head) { return truth_of_byte(byte, head); }
    static std::int64_t apply(std::int64_t value, std::uint64_t head) { return Logical::apply(value, head); }
    IntegerOrReal apply(double value, std::uint64_t head) const {
        return head_form(head) == form::boolean ? as_real(value)
                                                : as_integer(static_cast<std::int64_t>(rounded(value)));
    }
    template <class A>
    A apply(const A& value, std::uint64_t head) const {
        if (head_form(head) == form::boolean) return value;
        return map_components(value, [this](double component) { return rounded(component); });
    }
    std::uint64_t head(std::uint64_t head, std::uint32_t tag) const {
        if (head_tag(head) == tag::ascii) return make_head(tag, form::boolean);
        const bool marked = probable && head_tag(head) != tag::integer;
        return make_head(tag, form::boolean,
                         static_cast<std::uint16_t>(unprefixed_marks(head) | (marked ? mark::chance : 0)));
    }
};

// Of bits the complement, of truth values what is left to 1.
struct Not : OfTruth {
    static auto apply(std::uint8_t byte, std::uint64_t) { return std::int64_t{1} - is_true(byte); }
    static bool of_truth(bool truth) { return !truth; }
    // Truths and bits are integers of different widths in a packed block.
    static Either<bool, std::int64_t> apply(std::int64_t value, std::uint64_t head) {
        return {head_form(head) != form::binary, value <= 0, ~value};
    }
    static bool ordinary(const std::int64_t*, std::size_t) { return true; }
    static bool plain(std::int64_t value) { return value <= 0; }
    static double apply(double value, std::uint64_t head) {
        if (head_form(head) == form::binary) return std::bit_cast<double>(~std::bit_cast<std::uint64_t>(value));
        return 1 - truth_degree(value);
    }
    template <class A>
    static A apply(const A& value, std::uint64_t head) {
        const bool in_range = !std::is_same_v<A, Complex> && is_graded(head);
        return map_components(value, [in_range](double c) { return 1 - (in_range ? c : truth_degree(c)); });
    }
    static std::uint64_t head(std::uint64_t head, std::uint32_t tag) {
        const std::uint16_t form = head_form(head);
        if (tag >= tag::complex)
            return make_head(tag, tag > tag::complex && is_graded(head) ? form : form::logical, kept_marks(head));
        if (form == form::binary) return make_head(tag, form, unprefixed_marks(head));
        return make_head(tag, tag == tag::real ? form::logical : form::boolean);
    }

    template <class A>
    static constexpr bool special = std::is_same_v<A, std::uint8_t>;
    template <class A>
    static DataElement special_item(const DataElement& item, const Setting&) {
        if (item.form != form::binary)
            return make_item(apply(item.ascii, item.head), make_head(tag::integer, form::boolean));
        return make_item(static_cast<std::uint8_t>(~item.ascii),
                         make_head(tag::ascii, form::binary, kept_marks(item.head)));
    }
};

struct Contradiction : OfTruth {
    template <class A>
    static auto apply(const A& value, std::uint64_t head) {
        if constexpr (!is_hypercomplex<A>) {
            return false;
        } else {
            const auto components = components_of(value);
            if constexpr (std::is_same_v<A, Complex>)
                return contradict_c(components, is_graded(head));
            else if constexpr (std::is_same_v<A, Quaternion>)
                return contradict_q(components, is_graded(head));
            else
                return contradict_o(components, is_graded(head));
        }
    }
    static std::uint64_t head(std::uint64_t head, std::uint32_t tag) {
        const bool boolean =
            tag == tag::integer || (head_tag(head) == tag::complex && head_form(head) == form::boolean);
        return make_head(tag, boolean ? form::boolean : form::logical, unprefixed_marks(head));
    }
};

// Whether an item is, or could be, of the form: all its values lie in it.
template <bool degrees>
struct IsOfForm : OfTruth {
    static bool lies_in(double value) { return degrees ? value >= 0 && value <= 1 : value == 0 || value == 1; }

    template <class A>
    static bool apply(const A& value, std::uint64_t head) {
        const std::uint16_t form = head_form(head);
        if constexpr (is_character<A>) {
            return !degrees && form == form::binary && value <= 1;
        } else if constexpr (std::is_same_v<A, std::int64_t>) {
            return form == form::boolean || value == 0 || value == 1;
        } else {
            if (degrees ? (form & (form::boolean | form::logical)) != 0 : form == form::boolean) return true;
            return std::ranges::all_of(components_of(value), lies_in);
        }
    }
    static std::uint64_t head(std::uint64_t, std::uint32_t tag) { return make_head(tag, form::boolean); }
};

}  // namespace

void logical(DataElement*& sp, DataElement* cell) { monadic<Logical>(sp, cell); }
void boolean(DataElement*& sp, DataElement* cell) { monadic<Boolean>(sp, cell); }
void not_(DataElement*& sp, DataElement* cell) { monadic<Not>(sp, cell); }
void contradiction(DataElement*& sp, DataElement* cell) { monadic<Contradiction>(sp, cell); }
void isboolean(DataElement*& sp, DataElement* cell) { monadic<IsOfForm<false>>(sp, cell); }
void islogical(DataElement*& sp, DataElement* cell) { monadic<IsOfForm<true>>(sp, cell); }

}  // namespace ondrel
