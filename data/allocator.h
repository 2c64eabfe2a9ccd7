// Memory for counted blocks: a power-of-two bucket allocator over sbrk. Free blocks of each size class hang on a list
// of their own; nothing goes back to the platform and nothing is merged, so a block that was used once costs two
// pointer moves the next time, and no page fault.
//
// It serves the blocks of the language only. The platform's own malloc stays as it is for everything else.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace ondrel {

// ---- size classes: a block of class k has 2^k bytes, a word with k in its low byte, then the usable ones. While it is
// free, the rest of the word links to the next free block of the class: the smallest blocks have no other room.

inline constexpr unsigned smallest_class = 3, classes = 64;
// The first free block of each class, of this thread.
extern constinit thread_local void* buckets[classes];

constexpr std::size_t class_bytes(unsigned k) { return std::size_t{1} << k; }

// The class of a request, or `classes` if there is none.
constexpr unsigned class_of(std::size_t size) {
    if (size >= class_bytes(classes - 1)) return classes;
    return std::max<unsigned>(smallest_class, static_cast<unsigned>(std::bit_width(size + sizeof(std::uint64_t) - 1)));
}

inline std::uint64_t& class_word(void* pointer) {
    return *reinterpret_cast<std::uint64_t*>(static_cast<std::byte*>(pointer) - sizeof(std::uint64_t));
}
inline unsigned class_of_block(void* pointer) { return static_cast<unsigned>(class_word(pointer) & 0xff); }

// Puts a block at the head of its free list, and takes the first one off.
inline void push_free(unsigned k, void* block) {
    class_word(block) = reinterpret_cast<std::uintptr_t>(buckets[k]) << 8 | k;
    buckets[k] = block;
}
inline void* next_free(void* block) { return reinterpret_cast<void*>(class_word(block) >> 8); }
inline void* pop_free(unsigned k) {
    void* const block = buckets[k];
    buckets[k] = next_free(block);
    class_word(block) = k;
    return block;
}

inline bool is_aligned(const void* pointer) { return reinterpret_cast<std::uintptr_t>(pointer) % 8 == 0; }

// Builds that watch every block do so behind the calls.
#if defined(ONDREL_CHECKS) || defined(__SANITIZE_ADDRESS__)
inline constexpr bool watched = true;
#else
inline constexpr bool watched = false;
#endif

// ---- the calls

// At least `size` usable bytes, 8-aligned; null when the platform has no more, after a line on standard error, and
// without one for a size of 2^63 and more.
void* malloc_slowly(std::size_t size);
inline void* malloc(std::size_t size) {
    const unsigned k = class_of(size);
    if (watched || k == classes || buckets[k] == nullptr || !is_aligned(buckets[k])) [[unlikely]]
        return malloc_slowly(size);
    return pop_free(k);
}

// Puts the block at the head of its class; null is ignored.
void free_slowly(void* pointer);
inline void free(void* pointer) {
    if (watched || pointer == nullptr || !is_aligned(pointer)) [[unlikely]]
        return free_slowly(pointer);
    push_free(class_of_block(pointer), pointer);
}

// The block of `pointer` (not null) with `size` usable bytes, moved or not; null on failure, the old block intact.
// Blocks of less than 8 KiB never shrink; the larger a block, the smaller the fall in size that moves it.
void* realloc(void* pointer, std::size_t size);

// The bytes that the block of `pointer` can hold.
std::size_t usable_size(void* pointer);
// Those that may be read: where each byte is watched, as many as were asked for.
std::size_t readable_size(void* pointer);

// The most bytes that all blocks together may take of the machine's memory. More is refused as if sbrk had failed:
// the platform would grant it, and kill the process when it is filled.
extern std::size_t most_memory;

// While several threads work with blocks. Each has free blocks of its own, and takes more from what the main thread
// had; so neither a lock nor a thread's leavings cost anything at other times.
extern bool is_shared;  // written while the main thread alone runs
void start_sharing();
void stop_sharing();
struct Sharing {
    Sharing() { start_sharing(); }
    ~Sharing() { stop_sharing(); }
    Sharing(const Sharing&) = delete;
    Sharing& operator=(const Sharing&) = delete;
};

#ifdef ONDREL_CHECKS
// How many blocks are out. Tests hold that a sentence which leaves nothing on the stack leaves this as it was.
extern std::int64_t live_blocks;
// Counts down with every block asked for; the request that finds 1 fails. 0: none does.
extern std::int64_t fail_countdown;
#endif

}  // namespace ondrel
