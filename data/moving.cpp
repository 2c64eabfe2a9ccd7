#include "data/moving.h"

#include <algorithm>

namespace ondrel {

void replace_items(DataElement& record, void* block, std::uint32_t n) {
    DataElement old = record;
    old.shape_pointer = nullptr;
    dereferencepoint(old);
    record.data_pointer = block;
    set_elements(record, n);
}

void* copied_items(Payload block, std::size_t from, std::size_t n) {
    if (n == 0) return nullptr;
    if (n == 1) {
        ItemsOwner one(1);
        *one.items = own_item_at(block, from);
        one.filled = 1;
        return one.take();
    }
    return gathered(block, n, [&](const auto* source, auto* target) {
        in_heeded_stretches(n, [&](std::size_t at, std::size_t end) {
            std::copy(source + from + at, source + from + end, target + at);
        });
    });
}

void keep_first(DataElement& record, std::uint32_t n) {
    void* const block = record.data_pointer;
    const bool packed = is_packed(block), worth_keeping = n >= record.elements / 2 && !(packed && n == 1);
    if (!sole_holder(block) || !worth_keeping) return replace_items(record, copied_items(block, 0, n), n);
    if (!packed) dereferencedataelems(items_of(record) + n, record.elements - n);
    set_elements(record, n);
}

namespace {

// The head of the block that all items of both values could lie in; 0 if there is none but an item block.
std::uint64_t common_head(const DataElement& left, const DataElement& right) {
    const auto head_of = [](const DataElement& value) {
        const std::uint64_t head = header(value.data_pointer).head;
        if (head != 0 || value.elements > 1) return head;
        return bare_head(*items_of(value));
    };
    const std::uint64_t l = head_of(left), r = head_of(right);
    const std::uint32_t type = left.type | right.type;  // in which what was a mix still counts as one
    return packing && l == r && !(type & PER_ITEM) && !mixed_kinds(type) ? l : 0;
}

}  // namespace

void* joined_items(DataElement& left, DataElement& right) {
    const std::size_t l = left.elements, r = right.elements, n = l + r;
    const std::uint64_t head = common_head(left, right);
    const std::size_t width = item_width(head);
    if (head != 0) {
        if (is_packed(left.data_pointer) && sole_holder(left.data_pointer)) {
            left.data_pointer = Reallocate(left.data_pointer, n * width);
            store_items(left.data_pointer, l, right.data_pointer, r);
            return std::exchange(left.data_pointer, nullptr);
        }
        OwnedBlock made(allocate_packed(head, n));
        store_items(made.get(), 0, left.data_pointer, l);
        store_items(made.get(), l, right.data_pointer, r);
        return made.release();
    }
    Owner others;  // copies of the items on the right
    others.record.data_pointer = unpack(right.data_pointer, r);
    others.record.rank = 1;
    others.record.elements = right.elements;
    const auto move_behind_left = [&](DataElement* block) {  // they are the others' until all have moved
        const DataElement* const from_right = items_of(others.record);
        in_heeded_stretches(r, [=](std::size_t from, std::size_t end) {
            std::copy(from_right + from, from_right + end, block + l + from);
        });
        others.record.elements = 0;
    };
    if (!is_packed(left.data_pointer) && sole_holder(left.data_pointer)) {
        left.data_pointer = Reallocate(left.data_pointer, n * sizeof(DataElement));
        move_behind_left(items_of(left));
        return std::exchange(left.data_pointer, nullptr);
    }
    ItemsOwner own(n);
    for (; own.filled < l; ++own.filled) {
        own.items[own.filled] = own_item_at(left.data_pointer, own.filled);
        heed_attention();
    }
    move_behind_left(own.items);
    return own.take();
}

}  // namespace ondrel
