// Whole stretches of items: cut, copied, gathered from places, put one behind the other. For blocks of either layout;
// what comes out is packed where what went in was, but for single items, which lie in item blocks.
#pragma once

#include <array>
#include <cstring>
#include <utility>

#include "data/blocks.h"
#include "data/walks.h"

namespace ondrel {

// Drops the value's hold on its items, and takes over the block in their place. The caller sees to shape and type.
void replace_items(DataElement& record, void* block, std::uint32_t n);

// A block with copies of the n items from `from` on; null for none. Raises 27, and heeds an interrupt.
void* copied_items(Payload block, std::size_t from, std::size_t n);

// Leaves the value its first n items, not none: in its own block where that is worth it and nobody else holds it.
// Raises 27, with the value as it was. The caller sees to shape and type.
void keep_first(DataElement& record, std::uint32_t n);

// A block with the items of the left value and behind them those of the right one, both not empty. Where it is the left
// one's own, grown, that has lost it: its data pointer is null. Raises 27, or heeds an interrupt, with both as they
// were.
void* joined_items(DataElement& left, DataElement& right);

// ---- gathering

// Runs `move` with pointers to values of the block's width: from the old block's, to the new one's.
template <class Move>
void with_width(std::size_t width, const void* from, void* to, const Move& move) {
    const auto as = [&]<std::size_t bytes>(std::integral_constant<std::size_t, bytes>) {
        using Bare = std::array<std::byte, bytes>;
        move(static_cast<const Bare*>(from), static_cast<Bare*>(to));
    };
    switch (width) {
        case 1: return as(std::integral_constant<std::size_t, 1>{});
        case 8: return move(static_cast<const std::uint64_t*>(from), static_cast<std::uint64_t*>(to));
        case 16: return as(std::integral_constant<std::size_t, 16>{});
        case 32: return as(std::integral_constant<std::size_t, 32>{});
        case 64: return as(std::integral_constant<std::size_t, 64>{});
        default: return as(std::integral_constant<std::size_t, sizeof(DataElement)>{});
    }
}

// A block of n items, not one, which `move(from, to)` copies from places in the old block, with room for `slack` more
// that it may write to. `move` may heed an interrupt.
template <class Move>
void* gathered(Payload block, std::size_t n, const Move& move, std::size_t slack = 0) {
    const std::uint64_t head = block.head();
    const std::size_t width = item_width(head);
    OwnedBlock made(allocate_block(head, (n + slack) * width));
    with_width(width, block.start(), made.get(), move);
    if (head != 0) return made.release();
    Owner items;  // as many as have been counted
    items.record.rank = 1;
    items.record.data_pointer = made.release();
    in_heeded_stretches(n, [&](std::size_t from, std::size_t end) {
        referencedataelems(items_of(items.record) + from, end - from);
        set_elements(items.record, static_cast<std::uint32_t>(end));
    });
    return std::exchange(items.record.data_pointer, nullptr);
}

}  // namespace ondrel
