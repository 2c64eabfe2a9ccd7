#include "core/each.h"

#include "core/item_calls.h"

namespace ondrel {
namespace {

bool is_empty(const DataElement& record) { return record.rank >= 0 && (record.type & ISEMPTY) != 0; }

}  // namespace

Outcome monadiceach(Activation& activation) {
    DataElement& value = activation.sp[-1];
    const DataElement& top = *activation.sp;
    if (is_empty(value) || is_empty(top)) {
        dereferencepoint(*activation.sp--);
        return Outcome::next;
    }
    if (top.rank != kind::FUNCTION) raise(message::no_function_for_each, activation.site());
    if (top.depth != 1 && top.depth != 2) raise(message::not_for_each, activation.site());
    if (value.rank < 0) raise(message::restriction, activation.site());
    const Owner function(*activation.sp--);
    if (function.record.depth == 2) return Outcome::next;

    ItemCalls calls(activation, function.record, value.elements);
    for (std::uint32_t i = 0; i < value.elements; ++i)
        if (const Outcome outcome = calls.on_item(value.data_pointer, i); outcome != Outcome::next) return outcome;
    calls.put_into(value);
    return Outcome::next;
}

}  // namespace ondrel
