#include "core/item_calls.h"

#include <new>
#include <utility>

#include "core/stack_verbs.h"
#include "core/timing.h"
#include "data/moving.h"
#include "parallel/pool.h"

namespace ondrel {
namespace {

// Puts what stands for item i of the block into a slot that holds nothing.
void put_value_of(const void* block, std::size_t i, DataElement& slot) {
    if (!is_packed(block))
        if (const DataElement& item = static_cast<const DataElement*>(block)[i]; item.tag == tag::subarray) {
            slot = *item.nested;
            return referencepoint(slot);
        }
    ItemsOwner held(1);
    new (held.items) DataElement(own_item_at(block, i));  // not copied: that would wait for its own words
    fill_scalar(slot, held.take());
}

}  // namespace

ItemCalls::ItemCalls(Activation& outer, const DataElement& function, std::uint32_t n)
    : activation(outer), operands(outer), body(outer, static_cast<DataElement*>(function.data_pointer), {}), made(n) {}

Outcome ItemCalls::on_item(const void* block, std::size_t i) {
    if (is_full(activation)) return fail(message::stack_full, activation);
    put_value_of(block, i, activation.sp[1]);
    return on_top();
}

Outcome ItemCalls::on_value(Owner& value) {
    if (is_full(activation)) return fail(message::stack_full, activation);
    activation.sp[1] = value.take();
    return on_top();
}

// On what lies in the slot above the top.
Outcome ItemCalls::on_top() {
    const DataElement* const before = activation.sp++;
    if (!is_first) body.again();
    is_first = false;
    const Outcome outcome = body();
    if (outcome != Outcome::next) return outcome;
    wait_for_coprocessors();
    if (activation.sp <= before) *++activation.sp = make_empty();
    const bool fits = can_be_item(*activation.sp);
    probable |= activation.sp->type & ISPROBABLE;
    if (fits && activation.sp->rank == 0) {
        made.add(*items_of(*activation.sp));
    } else if (fits) {
        Owner nested(*activation.sp--);
        made.add_nested(nested);
    }
    while (activation.sp > before) dereferencepoint(*activation.sp--);
    if (!fits) raise(message::restriction, activation.site());
    heed_attention();  // a function of no cells does not
    return Outcome::next;
}

void ItemCalls::put_into(DataElement& value) {
    operations += value.elements;
    Owner result(value);
    reference(value.shape_pointer);
    result.record.data_pointer = made.take();
    result.record.type |= probable;
    rebuild_kinds(result.record);
    pack(result.record);
    std::swap(value, result.record);
}

}  // namespace ondrel
