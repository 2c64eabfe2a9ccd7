#include "verbs/scalar/nest.h"

#include <span>

namespace ondrel {

DataElement result_record(const DataElement& giver, void* data, std::uint32_t probable) {
    Owner made(giver);
    made.record.type = (giver.type & RANK_BITS) | probable;
    made.record.data_pointer = data;
    reference(giver.shape_pointer);
    rebuild_kinds(made.record);
    return made.take();
}

DataElement value_of_item(const DataElement& item) {
    if (item.tag != tag::subarray) {
        Owner scalar(make_scalar(DataElement{}));
        *items_of(scalar.record) = own_item(item);
        scalar.record.type = ISSCALAR | kind_bits(item.tag);
        return scalar.take();
    }
    referencepoint(*item.nested);
    return *item.nested;
}

WorkersItems::~WorkersItems() {
    if (items == nullptr) return;
    for (const auto& [first, next] : parts) dereferencedataelems(items + first, next - first);
}

void count_as_done(DataElement*& top) {
    if (top[-1].rank >= 0 && top[-1].data_pointer == nullptr && top[-1].elements != 0) dereferencepoint(*top--);
}

// ---- results in flight

namespace {

PendingVerb pending;

void put_back() {
    DataElement*& top = *pending.top;
    while (top >= pending.slot) dereferencepoint(*top--);
    for (const DataElement& operand : std::span(pending.operands).first(pending.count)) *++top = operand;
    if (pending.count == 2) count_as_done(top);
}

void finish(Ending ending) {
    const auto operands = std::span(pending.operands).first(pending.count);
    DataElement& slot = *pending.slot;
    if (ending == Ending::complete) {
        if (chance_decided) slot.type |= ISPROBABLE;
    } else if (ending == Ending::forgotten) {
        dereferencepoint(slot);
        slot = make_empty();
    } else {
        try {
            raise_failure(pending.setting.site);
            const DataElement result = pending.again(pending.verb, operands.data(), pending.setting);
            dereferencepoint(slot);
            slot = result;
        } catch (...) {
            put_back();
            throw;
        }
    }
    for (DataElement& operand : operands) dereferencepoint(operand);
}

}  // namespace

void leave_result(const PendingVerb& verb, const DataElement& result) {
    pending = verb;
    pending.setting.drew = nullptr;
    *verb.top -= verb.count - 1;
    pending.slot = *verb.top;
    *pending.slot = result;
    leave_in_flight(pending.slot, finish);
}

}  // namespace ondrel
