// An array whose items come one by one, as results of calls do.
#pragma once

#include <utility>

#include "data/blocks.h"

namespace ondrel {

// The block of n items, at least one: packed as long as they all can be.
class GrowingItems {
public:
    explicit GrowingItems(std::size_t n) : room(n) {}
    GrowingItems(const GrowingItems&) = delete;
    GrowingItems& operator=(const GrowingItems&) = delete;
    ~GrowingItems();

    // Each adds the next item, or raises 27: a copy, or a nested value, which it takes over.
    void add(const DataElement& item);
    void add_nested(Owner& value);

    // The block, with all n items in it.
    void* take() { return std::exchange(block, nullptr); }

private:
    DataElement* items();  // of the block, as one of items

    std::size_t room, filled = 0;
    void* block = nullptr;
};

}  // namespace ondrel
