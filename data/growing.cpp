#include "data/growing.h"

namespace ondrel {
namespace {

// Whether the item can lie in the packed block.
bool fits(const void* block, const DataElement& item) {
    const std::uint64_t head = header(block).head;
    if (bare_head(item) != item_head(head)) return false;
    return !(head & in_bytes) || item.integer == 0 || static_cast<std::uint64_t>(item.integer) == word_of_one(head);
}

}  // namespace

GrowingItems::~GrowingItems() {
    if (block != nullptr && !is_packed(block))
        release_items(static_cast<DataElement*>(block), filled);
    else
        release(block);
}

DataElement* GrowingItems::items() {
    if (block == nullptr) {
        block = allocate_items(room);
    } else if (is_packed(block)) {
        ItemsOwner unpacked(room);
        for (; unpacked.filled < filled; ++unpacked.filled) {
            unpacked.items[unpacked.filled] = own_item_at(block, unpacked.filled);
            heed_attention();
        }
        release(std::exchange(block, unpacked.take()));
    }
    return static_cast<DataElement*>(block);
}

void GrowingItems::add(const DataElement& item) {
    if (block == nullptr && room > 1)
        if (const std::uint64_t head = common_head(&item, 1); head != 0) block = allocate_packed(head, room);
    if (block != nullptr && is_packed(block) && fits(block, item)) {
        put_value(block, filled, item);
    } else {
        DataElement* const to = items() + filled;  // first: an item that nobody holds would be lost without memory
        *to = own_item(item);
    }
    ++filled;
}

void GrowingItems::add_nested(Owner& value) {
    DataElement* const to = items() + filled;
    *to = nested_item(value);
    ++filled;
}

}  // namespace ondrel
