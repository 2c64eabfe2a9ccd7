// The reference of the monadic verbs of arithmetic and of the forms of numbers.
//
// A polar number is worked on in components, and what comes out is brought back to polar form, where nothing else is
// said.
#include <algorithm>
#include <numbers>

#include "tests/reference_gamma.h"
#include "tests/reference_outcomes.h"

namespace ondrel::oracle {
namespace {

constexpr double pi = std::numbers::pi;
constexpr std::uint16_t below_name = 0x3fff;

std::size_t width(const Item& item) { return component_count(item.tag); }

// A result whose marks may be those of the operand.
Outcomes fresh(const Item& item) { return with_free_marks(gives(item), below_name); }

// A formula of the components, in the form of the operand.
template <class Formula>
Outcomes in_components(const Item& item, Formula formula) {
    const Item like = number(item.tag, {}, kept(item.form), item.marks & 0x3fff);
    const Outcome outcome = estimated(like, cartesian_parts(item), formula);
    return {is_polar(item) ? brought_back(outcome) : outcome};
}
template <class Formula>
Outcomes in_spacious_components(const Item& item, Formula formula) {
    const Outcome outcome =
        spacious(number(item.tag, {}, kept(item.form), item.marks & 0x3fff), cartesian_parts(item), formula);
    return {is_polar(item) ? brought_back(outcome) : outcome};
}

// The same for a formula that gives its results to the bit.
template <class Formula>
Outcomes exactly(const Item& item, Formula formula) {
    Outcomes outcomes = in_components(item, formula);
    if (!is_polar(item)) outcomes[0].tolerance = {};
    return outcomes;
}

template <class F>
F squares(const std::array<F, 8>& parts, std::size_t from = 0) {
    F sum = 0;
    for (std::size_t i = from; i < 8; ++i) sum += parts[i] * parts[i];
    return sum;
}
template <class F>
F length(const std::array<F, 8>& parts, std::size_t from = 0) {
    return std::sqrt(squares(parts, from));
}

// The integer of a number that has no fraction, as long as it has one.
Outcomes whole(const Item& source, double value) {
    Item result = number(tag::real, {value}, source.form, source.marks & 0x3fff);
    const Outcomes as_real = gives(result);
    result.tag = tag::integer;
    result.parts = {};
    result.integer = std::numeric_limits<std::int64_t>::max();
    if (value == two_63) return either(as_real, gives(result));
    if (!(std::fabs(value) <= two_63)) return as_real;
    result.integer = static_cast<std::int64_t>(value);
    return gives(result);
}

// The whole number of all components that lies near: rounded one way, and where the rests together reach 1, the one
// with the largest rest is taken one step further. `up`: 1 for a floor, -1 for a ceiling.
Outcomes whole_of_components(const Item& item, double up, double tolerance) {
    const auto rounded = [up](double x) { return up > 0 ? std::floor(x) : std::ceil(x); };
    const auto formula = [&](const Parts& parts, bool stepped) {
        Parts result{};
        std::size_t largest = 0;
        const auto rest = [&](std::size_t i) { return up * (parts[i] - rounded(parts[i])); };
        for (std::size_t i = 0; i < width(item); ++i) {
            result[i] = rounded(parts[i]);
            if (rest(i) > rest(largest)) largest = i;
        }
        if (stepped) result[largest] += up;
        return result;
    };
    const Parts parts = cartesian_parts(item);
    double sum = 0;
    for (std::size_t i = 0; i < width(item); ++i) sum += up * (parts[i] - rounded(parts[i]));
    const bool stepped = sum >= 1 - tolerance;
    const auto result = [&](bool with_step) {
        Outcomes outcomes = exactly(item, [&](const auto& at) {
            Parts operand{};
            for (std::size_t i = 0; i < 8; ++i) operand[i] = static_cast<double>(at[i]);
            const Parts whole = formula(operand, with_step);
            std::remove_cvref_t<decltype(at)> wide{};
            std::copy(whole.begin(), whole.end(), wide.begin());
            return wide;
        });
        for (Outcome& outcome : outcomes)  // a zero may have either sign
            for (std::size_t i = 0; i < 8; ++i) outcome.tolerance[i] = std::max(outcome.tolerance[i], smallest);
        return in_forms(outcomes, {item.form});
    };
    // Eight rests may be added in any order.
    const bool close = sum != 1 - tolerance && std::fabs(sum - (1 - tolerance)) < 8 * epsilon;
    return close ? either(result(true), result(false)) : result(stepped);
}

Outcomes rounded(Monadic verb, const Item& item, double tolerance) {
    // Integers alone are left as they are; among others they lose their names.
    if (item.tag == tag::integer) return either(copied(item), gives(item));
    if (is_hypercomplex(item) && verb != Monadic::Truncate)
        return whole_of_components(item, verb == Monadic::flooring ? 1 : -1, tolerance);
    if (is_hypercomplex(item)) {
        Outcomes outcomes = in_components(item, [](auto parts) {
            for (auto& part : parts) part = std::trunc(part);
            return parts;
        });
        return is_polar(item) ? outcomes : in_forms(outcomes, {item.form, kept(item.form)});
    }
    const double x = item.parts[0];
    const double value = verb == Monadic::Truncate   ? std::trunc(x)
                         : verb == Monadic::flooring ? std::floor(x)
                                                     : std::ceil(x);
    Outcomes outcomes = whole(item, value);
    for (Outcome& outcome : outcomes) outcome.tolerance[0] = smallest;
    return in_forms(outcomes, {verb == Monadic::Truncate ? form::number : kept(item.form)});
}

// ---- one verb each

Outcomes conjugate(const Item& item) {
    if (!is_hypercomplex(item)) return copied(item);
    const auto negated = [](auto parts) {
        for (std::size_t i = 1; i < 8; ++i) parts[i] = -parts[i];
        return parts;
    };
    const Outcomes in_place =
        gives(number(item.tag, negated(item.parts), is_polar(item) ? item.form : kept(item.form), item.marks & 0x3fff));
    return is_polar(item) ? either(in_place, in_components(item, negated)) : in_place;
}

Outcomes negative(const Item& item) {
    const std::uint16_t form = item.form == form::binary ? form::binary : form::number;
    if (item.tag == tag::ascii) {
        if (form != form::binary) return fails(164);
        return fresh(character(static_cast<unsigned char>(-item.integer), form));
    }
    if (is_hypercomplex(item))
        return exactly(item, [](auto parts) {
            for (auto& part : parts) part = -part;
            return parts;
        });
    Item result = number(item.tag, {-item.parts[0]}, form, item.marks & 0x3eff);
    result.integer = static_cast<std::int64_t>(-static_cast<std::uint64_t>(item.integer));
    if (item.tag == tag::integer) result.parts = {};
    return gives(result);
}

// The sign as an integer; with a NaN in front, any.
Outcomes sign_of(const Item& item, std::uint16_t form, std::uint16_t marks) {
    const Parts parts = cartesian_parts(item);
    Outcome outcome{.item = {.tag = tag::integer, .form = form, .marks = marks}};
    outcome.item.integer =
        item.tag == tag::integer ? (item.integer > 0) - (item.integer < 0) : static_cast<std::int64_t>(sign(8, parts));
    const auto first = std::find_if(parts.begin(), parts.end(), [](double part) { return part != 0; });
    outcome.any_parts = first != parts.end() && std::isnan(*first);
    return {outcome};
}

Outcomes direction(const Item& item) {
    if (!is_hypercomplex(item))
        return in_forms(sign_of(item, item.form, item.marks & 0x3fff), {item.form, kept(item.form)});
    if (!is_polar(item))
        return in_spacious_components(item, [](auto parts) {
            const auto l = length(parts);
            for (auto& part : parts) part /= l;
            return parts;
        });
    Item result = item;
    result.parts[0] = 1;
    result.marks &= 0x3fff;
    return gives(result);
}

Outcomes reciprocal(const Item& item) {
    if (!is_hypercomplex(item)) return gives(number(tag::real, {1 / plain(item)}, item.form, item.marks & 0x3eff));
    if (is_polar(item) && item.tag == tag::complex)
        return gives(number(item.tag, {1 / item.parts[0], -item.parts[1]}, item.form, item.marks & 0x3fff));
    const Outcomes outcomes = in_spacious_components(item, [](auto parts) {
        const auto below = squares(parts);
        for (std::size_t i = 0; i < 8; ++i) parts[i] = (i == 0 ? parts[i] : -parts[i]) / below;
        return parts;
    });
    if (is_polar(item)) return outcomes;
    return item.tag == tag::complex ? in_forms(outcomes, {item.form})
                                    : in_forms(outcomes, {item.form, kept(item.form)});
}

Outcomes magnitude(const Item& item) {
    Item result = number(tag::real, {}, form::number, item.marks & 0x3fff);
    if (item.tag == tag::integer) {
        const bool least = item.integer == std::numeric_limits<std::int64_t>::min();
        Outcomes outcomes = fresh(integer(least ? item.integer : std::abs(item.integer)));
        outcomes[0].any_parts = least;
        return outcomes;
    }
    if (item.tag == tag::real || is_polar(item)) {
        result.parts[0] = is_polar(item) ? item.parts[0] : std::fabs(item.parts[0]);
        return fresh(result);
    }
    return with_free_marks({spacious(result, item.parts, [](auto at) { return first(length(at)); })}, below_name);
}

Outcomes pitimes(const Item& item) {
    const auto times_pi = [](auto parts) {
        for (auto& part : parts) part *= pi;
        return parts;
    };
    if (is_hypercomplex(item)) return in_components(item, times_pi);
    return with_free_marks({estimated(number(tag::real, {}), parts_of(item), times_pi)}, below_name);
}

bool on_the_axis(const Parts& parts) {
    return std::all_of(parts.begin() + 1, parts.end(), [](double part) { return part == 0; });
}

// A real, on the way to a kind that is lower than the operand's.
template <class Formula>
Outcome narrowed(const Item& item, std::uint32_t tag, const Parts& parts, Formula formula) {
    return with_free_marks({estimated(number(tag, {}, form::number, item.marks & 0x3eff), parts, formula)},
                           mark::r_prefix)[0];
}

Outcomes exponential(const Item& item) {
    const auto of_real = [](auto at) { return first(std::exp(at[0])); };
    const Parts parts = cartesian_parts(item);
    const Outcomes as_real{narrowed(item, tag::real, parts, of_real)};
    if (!is_hypercomplex(item) || (item.tag != tag::complex && on_the_axis(parts))) return as_real;
    const bool complex = item.tag == tag::complex;
    Outcomes full = in_components(item, [complex](auto at) {
        const auto power = std::exp(at[0]), t = complex ? at[1] : length(at, 1);
        for (std::size_t i = 1; i < 8; ++i)
            at[i] = complex ? (i == 1 ? power * sn(t) : 0) : at[i] * (power * sn(t)) / t;
        at[0] = power * cs(t);
        return at;
    });
    if (!is_polar(item)) full[0] = open_where_lost(full[0]);
    // Squares may vanish where what is squared does not.
    return !complex && length(parts, 1) == 0 ? either(as_real, full) : full;
}

Outcomes naturallog(const Item& item) {
    const bool complex = item.tag == tag::complex;
    const auto of_real = [](auto at) { return first(std::log(at[0])); };
    if (!is_hypercomplex(item)) return {narrowed(item, tag::real, parts_of(item), of_real)};
    const auto formula = [complex](auto at) {
        using F = std::remove_cvref_t<decltype(at[0])>;
        const F all = squares(at), v = length(at, 1);
        const F t = angle(at[0], complex ? at[1] : v);
        for (std::size_t i = 1; i < 8; ++i) at[i] = complex ? (i == 1 ? t : 0) : at[i] * t / v;
        at[0] = F(0.5) * std::log(all);
        return at;
    };
    const Parts parts = cartesian_parts(item);
    if (complex || !on_the_axis(parts)) return in_components(item, formula);
    const auto of_axis = [](auto at) {
        at[1] = angle(at[0], at[1]);
        at[0] = std::log(at[0] * at[0]) / 2;
        return at;
    };
    if (!(parts[0] < 0)) return {narrowed(item, tag::real, parts, of_axis)};
    const Outcome cartesian = narrowed(item, tag::complex, parts, of_axis);
    const Outcomes outcomes = in_forms({cartesian}, {form::number, kept(item.form)});
    return is_polar(item) ? either(outcomes, {brought_back(cartesian)}) : outcomes;
}

Outcomes factorial(const Item& item, double tolerance) {
    const auto real_outcome = [](const Factorial<long double>& factorial) -> Outcomes {
        if (factorial.error != 0) return fails(factorial.error);
        Outcome outcome{.item = real(static_cast<double>(factorial.value)), .free_marks = below_name};
        outcome.tolerance[0] = static_cast<double>(factorial.doubt) * std::fabs(outcome.item.parts[0]) + smallest;
        if (std::isinf(outcome.item.parts[0])) outcome.tolerance[0] = smallest;
        outcome.any_parts = factorial.open;
        return {outcome};
    };
    if (item.tag > tag::complex) return fails(991);
    if (item.tag == tag::integer && item.integer >= 0 && item.integer <= 20) {
        std::int64_t product = 1;
        for (std::int64_t i = 2; i <= item.integer; ++i) product *= i;
        return fresh(integer(product));
    }
    if (item.tag != tag::complex) return real_outcome(factorial_of(plain(item)));
    const Parts parts = cartesian_parts(item);
    const Factorial<Wide> factorial = factorial_of(tolerance, {parts[0], parts[1]});
    if (factorial.error != 0 && !factorial.open) return fails(factorial.error);
    Outcome outcome{
        .item = number(tag::complex,
                       {static_cast<double>(factorial.value.real()), static_cast<double>(factorial.value.imag())},
                       kept(item.form), item.marks & 0x3fff),
        .free_marks = below_name};
    const auto doubt = static_cast<double>(factorial.doubt * std::abs(factorial.value));
    outcome.tolerance = {doubt + smallest, doubt + smallest};
    outcome.any_parts = factorial.open || !std::isfinite(doubt);
    Outcomes outcomes = in_forms({outcome}, {form::number, kept(item.form)});
    if (is_polar(item)) outcomes.push_back(brought_back(outcome));
    if (factorial.open) {
        for (Outcome& open : outcomes) open.any_parts = true;
        for (const int error : {36, 130}) outcomes.push_back({.error = error});
    }
    return outcomes;
}

// ---- forms

Outcomes turned(const Item& item, bool degrees) {
    if (!is_hypercomplex(item)) return gives(real(plain(item) * (degrees ? 57.29577951308232 : 0.017453292519943295)));
    Item result = item;
    result.marks = degrees ? item.marks | mark::degrees : item.marks & ~mark::degrees;
    return gives(result);
}

Outcomes polar_form(Item item) {
    if (!is_hypercomplex(item)) return copied(item);
    if (item.form != form::polar && item.form != form::computed_polar) item.parts = polar(width(item), item.parts);
    item.form = item.form == form::number ? form::computed_polar : form::polar;
    return {estimated(item, item.parts, [](auto parts) { return parts; })};
}

Outcomes cartesian_form(Item item) {
    if (!is_hypercomplex(item)) return copied(item);
    if (item.form == form::polar || item.form == form::computed_polar || item.form == form::number)
        item.parts = cartesian(width(item), item.parts);
    item.form = item.form == form::number ? form::computed_cartesian : form::cartesian;
    return {estimated(item, item.parts, [](auto parts) { return parts; })};
}

Outcomes numbered(const Item& item) {
    if (item.tag == tag::ascii) return item.form == form::binary ? gives(integer(item.integer)) : fails(811);
    Item result = item;
    result.form = form::number;
    if (!is_polar(item)) return copied(result);
    Item components = result;
    components.parts = cartesian_parts(item);
    return either(copied(result), copied(components));
}

Outcomes has_form(const Item& item, std::uint16_t form, bool hypercomplex_only) {
    const bool has = item.form == form && (is_hypercomplex(item) || !hypercomplex_only);
    return gives(integer(has ? 1 : 0, item.tag == tag::octonion ? form::number : form::boolean));
}

}  // namespace

Outcomes monadic_arithmetic(Monadic verb, const Item& item, double tolerance) {
    if (item.tag == tag::ascii && verb != Monadic::negative) return fails(994);
    switch (verb) {
        case Monadic::conjugate: return conjugate(item);
        case Monadic::negative: return negative(item);
        case Monadic::signum: return with_free_marks(sign_of(item, form::number, 0), below_name);
        case Monadic::direction: return direction(item);
        case Monadic::reciprocal: return reciprocal(item);
        case Monadic::magnitude: return magnitude(item);
        case Monadic::pitimes: return pitimes(item);
        case Monadic::Truncate:
        case Monadic::flooring:
        case Monadic::ceiling: return rounded(verb, item, tolerance);
        case Monadic::exponential: return exponential(item);
        case Monadic::naturallog: return naturallog(item);
        case Monadic::factorial: return factorial(item, tolerance);
        default: return {};
    }
}

Outcomes forms(Monadic verb, const Item& item) {
    Item binary = item;
    binary.form = form::binary;
    switch (verb) {
        case Monadic::binary: return is_hypercomplex(item) ? fails(991) : copied(binary);
        case Monadic::number: return numbered(item);
        case Monadic::isbinary: return has_form(item, form::binary, false);
        case Monadic::isnumber: return has_form(item, form::number, false);
        case Monadic::ispolar: return has_form(item, form::polar, true);
        case Monadic::iscartesian: return has_form(item, form::cartesian, true);
        default: break;
    }
    if (item.tag == tag::ascii) return fails(994);
    switch (verb) {
        case Monadic::polar: return polar_form(item);
        case Monadic::cartesian: return cartesian_form(item);
        case Monadic::rad: return turned(item, false);
        case Monadic::deg: return turned(item, true);
        default: return {};
    }
}

}  // namespace ondrel::oracle
