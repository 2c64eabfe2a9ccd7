// What both frames need around the items: records of results, nested values, items that are made one by one, and what a
// verb leaves in flight.
#pragma once

#include <array>
#include <vector>

#include "verbs/scalar/loops.h"

namespace ondrel {

// A result as a record of its own, and whether workers are still at it.
struct Computed {
    DataElement record;
    bool is_posted = false;
};

// What a verb may do besides: write into the operands' blocks, and leave the workers at the result.
enum class Freedom { none, may_reuse, may_leave };

// A record of the giver's shape with the finished block; takes the block over, and a reference on the shape.
DataElement result_record(const DataElement& giver, void* data, std::uint32_t probable);

// The value that an item stands for, with references of its own: the nested one, or a scalar of it.
DataElement value_of_item(const DataElement& item);

// What the workers have made of a block of items: each its stretch, from the start. Given back when an error leaves the
// block unfinished.
struct WorkersItems {
    struct alignas(64) Part {
        std::size_t first = 0, next = 0;  // the items up to the next one are there
    };
    DataElement* items;
    std::vector<Part> parts;  // by thread

    explicit WorkersItems(DataElement* block) : items(block), parts(processors) {}
    WorkersItems(const WorkersItems&) = delete;
    WorkersItems& operator=(const WorkersItems&) = delete;
    ~WorkersItems();
    std::size_t& from(std::uint32_t thread, std::size_t first) {
        parts[thread] = {first, first};
        return parts[thread].next;
    }
    void keep() { items = nullptr; }
};

// A block of n items: copies of the first `done` of the given block, and behind them what `fill(items, next, end,
// setting)` makes, which counts `next` up to `end` as it goes on; by all threads where that is worth it.
template <class Fill>
DataElement* items_by(const void* block, std::size_t done, std::size_t n, const Setting& setting, const Fill& fill) {
    ItemsOwner made(n);
    for (; made.filled < done; ++made.filled) {
        made.items[made.filled] = own_item_at(block, made.filled);
        heed_attention();
    }
    if (!hands_off(n - done)) {
        fill(made.items, made.filled, n, setting);
        return made.take();
    }
    WorkersItems others(made.items);
    chance_decided = false;
    spread(n - done, setting.site, [&](std::uint32_t thread, Stretch stretch) {
        bool drew = false;
        fill(made.items, thread == 0 ? made.filled : others.from(thread, done + stretch.first), done + stretch.end,
             setting.on_this_thread(drew));
        if (drew) chance_decided.store(true, std::memory_order_relaxed);
    });
    if (chance_decided && setting.drew != nullptr) *setting.drew = true;
    others.keep();
    return made.take();
}

// A verb whose result is in flight, with its operands, which it holds meanwhile.
struct PendingVerb {
    const void* verb;
    std::array<DataElement, 2> operands;
    std::size_t count;  // of operands
    DataElement** top;  // the stack pointer of the run
    Setting setting;
    DataElement (*again)(const void* verb, DataElement* operands, const Setting& setting);  // all of it, at once
    DataElement* slot = nullptr;                                                            // of the result
};

// An operand whose block an unfinished result took lies in ruins. Where that is the left one, the verb counts as done
// when an interrupt leaves it: the right one goes, and the ruin is on top, as what is half done.
void count_as_done(DataElement*& top);

// Leaves the result in the slot of its first operand, on top of the stack, in flight. Where the workers do not come to
// the end of it, it is made again. An error then finds the operands on the stack as they were, and nothing above them.
void leave_result(const PendingVerb& verb, const DataElement& result);

}  // namespace ondrel
