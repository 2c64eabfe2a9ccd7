#include "core/item_calls.h"

#include "core/stack_verbs.h"
#include "core/timing.h"
#include "data/moving.h"
#include "parallel/pool.h"

namespace ondrel {
namespace {

// Takes the top one of what a call has left above `before`, and drops the rest.
DataElement result_above(Activation& activation, const DataElement* before) {
    if (activation.sp <= before) return make_empty();
    Owner result(*activation.sp--);
    while (activation.sp > before) dereferencepoint(*activation.sp--);
    return result.take();
}

}  // namespace

ItemCalls::ItemCalls(Activation& outer, const DataElement& function, std::uint32_t n)
    : activation(outer), body(outer, static_cast<DataElement*>(function.data_pointer), {}), made(n) {}

Outcome ItemCalls::operator()(Owner& argument) {
    if (is_full(activation)) return full_stack(activation);
    const DataElement* const before = activation.sp;
    *++activation.sp = argument.take();
    if (!is_first) body.again();
    is_first = false;
    const Outcome outcome = body();
    if (outcome != Outcome::next) return outcome;
    wait_for_coprocessors();
    Owner result(result_above(activation, before));
    if (!can_be_item(result.record)) return fail(994, activation);
    probable |= result.record.type & ISPROBABLE;
    if (result.record.rank > 0)
        made.add_nested(result);
    else
        made.add(item_at(result.record.data_pointer, 0));
    heed_attention();  // a function of no cells does not
    return Outcome::next;
}

void ItemCalls::put_into(DataElement& value) {
    operations += value.elements;
    replace_items(value, made.take(), value.elements);
    value.type |= probable;
    rebuild_kinds(value);
    if (value.rank == 0) value.depth = value.type & STRUCTURED ? depth_of(value.data_pointer, 1) : std::int16_t{0};
    pack(value);
}

}  // namespace ondrel
