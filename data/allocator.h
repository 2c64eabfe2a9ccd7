// Memory for counted blocks: a power-of-two bucket allocator over sbrk. Free blocks of each size class hang on a list
// of their own; nothing goes back to the platform and nothing is merged, so a block that was used once costs two
// pointer moves the next time, and no page fault.
//
// It serves the blocks of the language only. The platform's own malloc stays as it is for everything else.
#pragma once

#include <cstddef>
#include <cstdint>

namespace ondrel {

// At least `size` usable bytes, 8-aligned; null when the platform has no more, after a line on standard error, and
// without one for a size of 2^63 and more.
void* malloc(std::size_t size);

// Puts the block at the head of its class; null is ignored.
void free(void* pointer);

// The block of `pointer` (not null) with `size` usable bytes, moved or not; null on failure, the old block intact.
// Blocks of less than 8 KiB never shrink; the larger a block, the smaller the fall in size that moves it.
void* realloc(void* pointer, std::size_t size);

// The bytes that the block of `pointer` can hold.
std::size_t usable_size(void* pointer);

// The most bytes that all blocks together may take of the machine's memory. More is refused as if sbrk had failed:
// the platform would grant it, and kill the process when it is filled.
extern std::size_t most_memory;

#ifdef ONDREL_CHECKS
// How many blocks are out. Tests hold that a sentence which leaves nothing on the stack leaves this as it was.
extern std::int64_t live_blocks;
// Counts down with every block asked for; the request that finds 1 fails. 0: none does.
extern std::int64_t fail_countdown;
#endif

}  // namespace ondrel
