// How the items of an array are divided among the threads. Each has one stretch, in the order of their numbers; the
// stretches meet, and none of them overlaps another. The last thread takes what the division leaves.
#pragma once

#include <cstdint>

namespace ondrel {

// How many threads take part, the main thread, number 0, included; 1: there is no pool, or it is not used.
extern std::uint32_t processors;
// A verb on so many items or fewer stays on the main thread.
extern std::int64_t MIN_PARALLEL;

// The first and the last item of the stretch of thread i, of n items among p threads. A stretch whose first item lies
// behind its last one, or behind all, is empty.
std::uint32_t LOWER(std::uint32_t n, std::uint32_t p, std::uint32_t i);
std::uint32_t UPPER(std::uint32_t n, std::uint32_t p, std::uint32_t i);

}  // namespace ondrel
