// What every walk over a value keeps to, however long or deep that is: it heeds an interrupt within some tens of
// milliseconds, stays within its thread's native stack, and counts no further than a record can. A walk that looks at
// each item calls `heed_attention` there, which costs a load and a test; plain loops go in stretches.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "data/errors.h"

namespace ondrel {

// Items of a plain loop between two looks at `attention`: some tenths of a millisecond of work.
inline constexpr std::size_t heed_every = std::size_t{1} << 16;

// Runs `work(from, end)` on one stretch of the n items after the other, and heeds an interrupt behind each.
template <class Work>
void in_heeded_stretches(std::size_t n, const Work& work) {
    for (std::size_t from = 0; from < n; from += heed_every) {
        work(from, std::min(n, from + heed_every));
        heed_attention();
    }
}

// The lowest address at which a walk of this thread may still enter a nested value; 0 where its stack has room for the
// deepest one.
extern constinit thread_local std::uintptr_t lowest_walk;

// A walk enters a nested value. Raises 806 where the native stack ends.
inline void enter_nest() {
    heed_attention();
    if (reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0)) < lowest_walk) [[unlikely]]
        raise(message::stack_full, {});
}

// So many items as a record counts them. Raises 146 beyond.
std::uint32_t checked_count(std::size_t n, Site site = {});

}  // namespace ondrel
