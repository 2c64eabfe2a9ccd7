// POLAR, CARTESIAN, DEG and RAD: in which form a number is taken and shown.
#include "verbs/scalar/monadic.h"

namespace ondrel {
namespace {

DataElement refuse(const DataElement&, Site site) { raise(994, site); }

DataElement same(const DataElement& item, Site) { return own_item(item); }

std::uint64_t with_form(std::uint64_t head, std::uint16_t form) {
    return make_head(head_tag(head), form, head_marks(head));
}

// Plain components are taken as what the verb does not make: POLAR reads them as a cartesian number and keeps its
// coordinates as components, CARTESIAN the other way round. A number that has a form is brought to the other one.
template <class Value>
DataElement to_polar_item(const DataElement& item, Site) {
    const auto value = load<Value>(item);
    switch (item.form) {
        case form::number: return make_item(to_polar(value), with_form(item.head, form::computed_polar));
        case form::polar:
        case form::computed_polar: return make_item(value, with_form(item.head, form::polar));
        default: return make_item(to_polar(value), with_form(item.head, form::polar));
    }
}

template <class Value>
DataElement to_cartesian_item(const DataElement& item, Site) {
    const auto value = load<Value>(item);
    switch (item.form) {
        case form::number: return make_item(to_cartesian(value), with_form(item.head, form::computed_cartesian));
        case form::polar:
        case form::computed_polar: return make_item(to_cartesian(value), with_form(item.head, form::cartesian));
        default: return make_item(value, with_form(item.head, form::cartesian));
    }
}

// Angles of plain numbers are converted; a hypercomplex number only changes how its angles are shown.
template <class Value>
DataElement in_degrees(const DataElement& item, Site) {
    return make_item(static_cast<double>(load<Value>(item)) * degrees_per_radian, make_head(tag::real, form::number));
}
template <class Value>
DataElement in_radians(const DataElement& item, Site) {
    return make_item(static_cast<double>(load<Value>(item)) * radians_per_degree, make_head(tag::real, form::number));
}
DataElement mark_degrees(const DataElement& item, Site) {
    DataElement marked = own_item(item);
    marked.marks |= mark::degrees;
    return marked;
}
DataElement unmark_degrees(const DataElement& item, Site) {
    DataElement unmarked = own_item(item);
    unmarked.marks &= static_cast<std::uint16_t>(~mark::degrees);
    return unmarked;
}

constexpr MonadicVerb polar_verb{
    {refuse, refuse, same, same, to_polar_item<Complex>, to_polar_item<Quaternion>, to_polar_item<Octonion>}};
constexpr MonadicVerb cartesian_verb{{refuse, refuse, same, same, to_cartesian_item<Complex>,
                                      to_cartesian_item<Quaternion>, to_cartesian_item<Octonion>}};
constexpr MonadicVerb deg_verb{
    {refuse, refuse, in_degrees<std::int64_t>, in_degrees<double>, mark_degrees, mark_degrees, mark_degrees}};
constexpr MonadicVerb rad_verb{
    {refuse, refuse, in_radians<std::int64_t>, in_radians<double>, unmark_degrees, unmark_degrees, unmark_degrees}};

}  // namespace

void polar(DataElement*& sp, DataElement* cell) { monadic(polar_verb, sp, cell); }
void cartesian(DataElement*& sp, DataElement* cell) { monadic(cartesian_verb, sp, cell); }
void deg(DataElement*& sp, DataElement* cell) { monadic(deg_verb, sp, cell); }
void rad(DataElement*& sp, DataElement* cell) { monadic(rad_verb, sp, cell); }

}  // namespace ondrel
