#include "core/mask.h"

#include <algorithm>
#include <span>

#include "core/item_calls.h"
#include "core/timing.h"
#include "verbs/array/neighbourhood.h"

namespace ondrel {
namespace {

std::span<const std::int64_t> shape_of(const DataElement& value) {
    return {value.shape_pointer, static_cast<std::size_t>(value.rank)};
}

// The message about a mask that does not fit the data, or 0.
int misfit(const DataElement& data, const DataElement& mask) {
    if (data.rank != mask.rank) return message::mask_of_other_rank;
    if (data.rank < 0) return message::restriction;
    const auto lengths = shape_of(mask);
    if (std::ranges::any_of(lengths, [](std::int64_t length) { return length % 2 == 0; })) return message::mask_even;
    const bool fits = std::ranges::equal(
        lengths, shape_of(data), [](std::int64_t length, std::int64_t of_data) { return length <= of_data + 1; });
    return fits ? 0 : message::mask_too_wide;
}

Edge edge_of(const DataElement& cell) {
    switch (static_cast<Instruction>(cell.modifier)) {
        case Instruction::WRAP: return Edge::wrap;
        case Instruction::REFLECT: return Edge::reflect;
        default: return Edge::none;
    }
}

}  // namespace

Outcome mask(Activation& activation) {
    const DataElement& top = *activation.sp;
    if (top.rank != kind::FUNCTION) return fail(message::no_function_for_mask, activation);
    if (top.depth != 1) return fail(message::mask_not_monadic, activation);
    DataElement& data = activation.sp[-2];
    const DataElement& weights = activation.sp[-1];
    if (const int number = misfit(data, weights); number != 0) return fail(number, activation);
    const Owner function(*activation.sp--);

    if (data.elements != 0) {
        Neighbourhoods neighbourhoods(data, weights, edge_of(*activation.cell), activation.site());
        ItemCalls calls(activation, function.record, data.elements);
        for (std::uint32_t i = 0; i < data.elements; ++i) {
            Owner argument(neighbourhoods.next());
            operations += weights.elements;
            if (const Outcome outcome = calls.on_value(argument); outcome != Outcome::next) return outcome;
        }
        calls.put_into(data);
    }
    dereferencepoint(*activation.sp--);
    return Outcome::next;
}

}  // namespace ondrel
