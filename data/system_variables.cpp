#include "data/system_variables.h"

#include <algorithm>
#include <utility>

namespace ondrel {
namespace {

constexpr double usual_tolerance = 1e-15, two_to_63 = 9223372036854775808.0;

// The first item that the variable holds, if it is a value and has one.
DataElement first_item(std::size_t slot) {
    const DataElement& variable = *quads[slot];
    if (variable.rank < 0 || variable.data_pointer == nullptr) return {};
    return item_at(variable.data_pointer, 0);
}

double real_part(const DataElement& item, double otherwise) {
    switch (item.tag) {
        case tag::integer: return static_cast<double>(item.integer);
        case tag::real: return item.real;
        case tag::complex: return item.complex[0];
        case tag::quaternion: return item.quaternion[0];
        case tag::octonion: return item.octonion[0];
        default: return otherwise;
    }
}

}  // namespace

std::int64_t origin() {
    const DataElement item = first_item(index_origin);
    if (item.tag == tag::integer) return item.integer;
    const double value = real_part(item, 1);
    return value >= -two_to_63 && value < two_to_63 ? static_cast<std::int64_t>(value) : 1;
}

double unusual_tolerance() { return real_part(first_item(comparison_tolerance), usual_tolerance); }

double normalise_tolerance() {
    DataElement& variable = *quads[comparison_tolerance];
    const double clamped = std::clamp(tolerance(), 0.0, 1.0);
    if (variable.type == (ISSCALAR | HASREAL)) {
        const DataElement& item = *items_of(variable);
        if (item.real == clamped && item.form == form::logical) return clamped;
    }
    DataElement item{};
    item.head = make_head(tag::real, form::logical);
    item.real = clamped;
    Owner old(std::exchange(variable, make_scalar(item)));
    return clamped;
}

}  // namespace ondrel
