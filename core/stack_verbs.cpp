#include "core/stack_verbs.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "core/control.h"

namespace ondrel {
namespace {

constexpr std::int16_t deepest_nest = 32767;

bool is_mark(const DataElement& element) { return is_instruction(element, Instruction::MARK); }

// The nearest mark, or the slot below the floor.
DataElement* find_mark(const Activation& activation) {
    DataElement* slot = activation.sp;
    while (slot >= activation.argument_floor && !is_mark(*slot)) --slot;
    return slot;
}

void drop_above(Activation& activation, const DataElement* last_kept) {
    while (activation.sp > last_kept) dereferencepoint(*activation.sp--);
}

Outcome push_integer(Activation& activation, std::int64_t value) {
    if (is_full(activation)) return fail(message::stack_full, activation);
    DataElement item{};
    item.head = make_head(tag::integer, form::number);
    item.integer = value;
    *++activation.sp = make_scalar(item);
    return Outcome::next;
}

// A scalar becomes its item, an array a nested one. The item has references of its own.
DataElement item_of(const DataElement& element) {
    if (element.rank == 0) return own_item_at(element.data_pointer, 0);
    Owner copy(element);
    referencepoint(element);
    return nested_item(copy);
}

// A vector of the elements from `first` to `last`, which stay as they are.
DataElement vector_of(const DataElement* first, const DataElement* last) {
    const auto n = static_cast<std::size_t>(last - first + 1);
    ItemsOwner items(n);
    for (; items.filled < n; ++items.filled) items.items[items.filled] = item_of(first[items.filled]);
    const std::uint32_t kinds = kinds_of(items, n);
    const std::int16_t depth = kinds & STRUCTURED ? depth_of(items, n) : std::int16_t{0};
    std::int64_t* const shape = vector_shape(static_cast<std::int64_t>(n));
    Owner vector(make_array(shape, 1, items.take(), static_cast<std::uint32_t>(n), kinds));
    vector.record.depth = depth;
    pack(vector.record);
    return vector.take();
}

}  // namespace

bool can_be_item(const DataElement& element) {
    return element.rank >= 0 && (element.rank == 0 || element.depth < deepest_nest);
}

Outcome clear(Activation& activation) {
    drop_above(activation, activation.argument_floor - 1);
    return Outcome::next;
}

Outcome discard(Activation& activation) {
    if (activation.height() >= 1) dereferencepoint(*activation.sp--);
    return Outcome::next;
}

Outcome drop_second(Activation& activation) {
    if (activation.height() < 2) return Outcome::next;
    dereferencepoint(activation.sp[-1]);
    activation.sp[-1] = activation.sp[0];
    --activation.sp;
    return Outcome::next;
}

Outcome swap_top(Activation& activation) {
    if (activation.height() >= 2) std::swap(activation.sp[0], activation.sp[-1]);
    return Outcome::next;
}

Outcome duplicate(Activation& activation) {
    if (is_full(activation)) return fail(message::stack_full, activation);
    DataElement* const literal = activation.cell + 1;
    LiteralForm* const form =
        activation.fuses && activation.sp < stacktop ? literal_form_behind(*activation.sp, literal) : nullptr;
    if (form != nullptr && is_instruction(literal[2], Instruction::CHECK)) {
        // the usual way of deciding by a value that is still needed: there is no block to make and to give back
        DataElement result;
        if (form(*items_of(*activation.sp), *items_of(*literal), result) == (ISSCALAR | HASINTEGER)) {
            activation.cell += 3;
            return decide(activation, result.integer > 0);
        }
    }
    activation.sp[1] = activation.sp[0];
    referencepoint(*++activation.sp);
    if (form == nullptr || !with_separate_item(form, *activation.sp, *items_of(*literal))) return Outcome::next;
    activation.cell += 2;
    return Outcome::next;
}

Outcome push_mark(Activation& activation) {
    if (is_full(activation)) return fail(message::stack_full, activation);
    DataElement mark = *activation.cell;
    mark.type &= ~(CONDITIONAL | YES);
    referencepoint(mark);
    *++activation.sp = mark;
    return Outcome::next;
}

Outcome collect(Activation& activation) {
    DataElement* const mark = find_mark(activation);
    const bool marked = mark >= activation.argument_floor;
    const std::ptrdiff_t n = activation.sp - mark;
    const bool needs_mark = activation.cell->modifier == static_cast<std::uint16_t>(Instruction::MARK);
    if (!marked && needs_mark && n > 0) return fail(message::no_mark, activation);
    if (!marked && n == 0) return push(activation, make_empty());
    if (!marked && n == 1) return Outcome::next;
    if (n > 1 && !std::all_of(mark + 1, activation.sp + 1, can_be_item)) return fail(message::restriction, activation);

    DataElement* const place = marked ? mark : mark + 1;
    DataElement result = n == 0 ? make_empty() : n == 1 ? *activation.sp-- : vector_of(mark + 1, activation.sp);
    drop_above(activation, place - 1);
    *++activation.sp = result;
    return Outcome::next;
}

Outcome count_stack(Activation& activation) { return push_integer(activation, activation.height()); }

Outcome count_to_mark(Activation& activation) {
    return push_integer(activation, activation.sp - find_mark(activation));
}

Outcome clear_to_mark(Activation& activation) {
    drop_above(activation, find_mark(activation));
    return Outcome::next;
}

}  // namespace ondrel
