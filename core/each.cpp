#include "core/each.h"

#include "core/calls.h"
#include "core/stack_verbs.h"
#include "core/timing.h"
#include "data/moving.h"
#include "parallel/pool.h"

namespace ondrel {
namespace {

constexpr int not_for_each = 989, no_function = 990, restriction = 994;

bool is_empty(const DataElement& record) { return record.rank >= 0 && (record.type & ISEMPTY) != 0; }

// The item as a value of its own: a nested one as it is, else a scalar.
DataElement argument_of(const DataElement& item) {
    if (item.tag != tag::subarray) {
        ItemsOwner held(1);
        *held.items = own_item(item);
        ++held.filled;
        DataElement argument{};
        argument.type = ISSCALAR | kind_bits(item.tag);
        set_elements(argument, 1);
        argument.data_pointer = held.take();
        return argument;
    }
    referencepoint(*item.nested);
    return *item.nested;
}

// Takes the top one of what a call has left above `before`, and drops the rest.
DataElement result_above(Activation& activation, const DataElement* before) {
    if (activation.sp <= before) return make_empty();
    Owner result(*activation.sp--);
    while (activation.sp > before) dereferencepoint(*activation.sp--);
    return result.take();
}

// The item that stands for a result, which it takes over.
DataElement item_of(Owner& result) {
    const bool is_nested = result.record.rank > 0;
    return is_nested ? nested_item(result) : own_item(item_at(result.record.data_pointer, 0));
}

}  // namespace

Outcome monadiceach(Activation& activation) {
    DataElement& value = activation.sp[-1];
    const DataElement& top = *activation.sp;
    if (is_empty(value) || is_empty(top)) {
        dereferencepoint(*activation.sp--);
        return Outcome::next;
    }
    if (top.rank != kind::FUNCTION) return fail(no_function, activation);
    if (top.depth != 1 && top.depth != 2) return fail(not_for_each, activation);
    if (value.rank < 0) return fail(restriction, activation);
    const Owner function(*activation.sp--);
    if (function.record.depth == 2) return Outcome::next;

    Entered body(activation, static_cast<DataElement*>(function.record.data_pointer), {});
    const DataElement* const before = activation.sp;
    ItemsOwner made(value.elements);
    std::uint32_t probable = 0;
    for (std::uint32_t i = 0; i < value.elements; ++i) {
        if (is_full(activation)) return full_stack(activation);
        activation.sp[1] = argument_of(item_at(value.data_pointer, i));
        ++activation.sp;
        if (i > 0) body.again();
        const Outcome outcome = body();
        if (outcome != Outcome::next) return outcome;
        wait_for_coprocessors();
        Owner result(result_above(activation, before));
        if (!can_be_item(result.record)) return fail(restriction, activation);
        probable |= result.record.type & ISPROBABLE;
        made.items[i] = item_of(result);
        ++made.filled;
        heed_attention();  // a function of no cells does not
    }
    operations += value.elements;
    replace_items(value, made.take(), value.elements);
    value.type |= probable;
    rebuild_kinds(value);
    if (value.rank == 0) value.depth = value.type & STRUCTURED ? depth_of(value.data_pointer, 1) : std::int16_t{0};
    pack(value);
    return Outcome::next;
}

}  // namespace ondrel
