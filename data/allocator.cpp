#include "data/allocator.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cstdio>
#include <cstring>
#include <limits>
#include <mutex>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/asan_interface.h>
#else
#define ASAN_POISON_MEMORY_REGION(address, size) (static_cast<void>(address), static_cast<void>(size))
#define ASAN_UNPOISON_MEMORY_REGION(address, size) (static_cast<void>(address), static_cast<void>(size))
#endif

namespace ondrel {

constinit thread_local void* buckets[classes];
bool is_shared = false;
std::size_t most_memory = std::numeric_limits<std::size_t>::max();
#ifdef ONDREL_CHECKS
std::int64_t live_blocks = 0;
std::int64_t fail_countdown = 0;
#endif

namespace {

constexpr std::size_t page = 4096;
// An area starts so many bytes before a cache line that the payload of a counted block (this word and a header of 16
// bytes) lies on the line: vector loads of large arrays then never straddle one.
constexpr std::size_t line = 64, lead = 24;
// Areas of large blocks start so many bytes further into a page than the one before: items of one position, which a
// verb reads at once, would otherwise lie at distances that the cache takes for one place.
constexpr std::size_t apart = 5 * line;
constexpr std::size_t huge = std::size_t{1} << 22;

std::mutex mp;         // held around all below, where several threads can be at it
void* spare[classes];  // free blocks that any thread may take while memory is shared

std::byte* pre_brk;
std::size_t pre_brk_left;
std::size_t committed;  // bytes of the areas that are, or will be, filled: of a large block only what was asked for

constexpr std::size_t usable_bytes(unsigned k) { return class_bytes(k) - sizeof(std::uint64_t); }

static_assert(class_of(0) == 3 && class_of(8) == 4 && class_of(9) == 5 && class_of(56) == 6);

void check_alignment(const void* pointer, const char* complaint) {
    if (!is_aligned(pointer)) [[unlikely]]
        std::fputs(complaint, stdout);
}

// Takes a fresh area that holds at least one block of class k, the first of them for `size` bytes; what was left of
// the old one is abandoned.
bool take_area(unsigned k, std::size_t size) {
    const std::size_t bytes = (class_bytes(k) + page - 1) / page * page + (class_bytes(k) < page ? 0 : page);
    const std::size_t filled = class_bytes(k) >= huge ? size : bytes;
    if (filled > most_memory - std::min(committed, most_memory)) return false;
    void* const area = sbrk(static_cast<std::intptr_t>(bytes));
    if (area == reinterpret_cast<void*>(-1)) return false;
    committed += filled;
    check_alignment(area, "BRRRRRmallocSB ");
    pre_brk = static_cast<std::byte*>(area);
    pre_brk_left = bytes;
    if (class_bytes(k) < line) return true;
    const std::size_t past = (reinterpret_cast<std::uintptr_t>(area) + lead) % line;
    static std::size_t step;
    step = (step + apart) % page;
    if (const std::size_t skip = (line - past) % line + (class_bytes(k) < page ? 0 : step);
        pre_brk_left - skip >= class_bytes(k)) {
        pre_brk += skip;
        pre_brk_left -= skip;
    }
    if (bytes >= huge)
        madvise(reinterpret_cast<void*>((reinterpret_cast<std::uintptr_t>(area) + page - 1) / page * page), bytes,
                MADV_HUGEPAGE);
    return true;
}

// Moves some blocks of class k from what is spare to the thread's own; false if there are none.
bool take_spare(unsigned k) {
    constexpr std::size_t most_blocks = 64, most_bytes = 65536;
    const std::size_t wanted = std::clamp<std::size_t>(most_bytes / class_bytes(k), 1, most_blocks);
    for (std::size_t i = 0; i < wanted && spare[k] != nullptr; ++i) {
        void* const block = spare[k];
        spare[k] = next_free(block);
        push_free(k, block);
    }
    return buckets[k] != nullptr;
}

// Cuts the rest of the area into free blocks of class k.
bool fill_bucket(unsigned k, std::size_t size) {
    if (take_spare(k)) return true;
    if (pre_brk_left < class_bytes(k) && !take_area(k, size)) return false;
    for (; pre_brk_left >= class_bytes(k); pre_brk += class_bytes(k), pre_brk_left -= class_bytes(k)) {
        void* const block = pre_brk + sizeof(std::uint64_t);
        push_free(k, block);
        ASAN_POISON_MEMORY_REGION(block, usable_bytes(k));
    }
    return true;
}

// Below this part of its class a block of class k is given up for a smaller one.
constexpr std::size_t shrink_divisor(unsigned k) { return k < 16 ? 32 : k < 19 ? 16 : k < 22 ? 8 : k < 25 ? 4 : 2; }

}  // namespace

void start_sharing() {
    is_shared = true;
    std::swap(spare, buckets);
}

void stop_sharing() {
    if (!is_shared) return;
    is_shared = false;
    std::swap(spare, buckets);
    for (unsigned k = 0; k < classes; ++k)
        while (spare[k] != nullptr) {
            void* const block = spare[k];
            spare[k] = next_free(block);
            push_free(k, block);
        }
}

void* malloc_slowly(std::size_t size) {
    const unsigned k = class_of(size);
    if (k == classes) return nullptr;
    const std::lock_guard lock(mp);
#ifdef ONDREL_CHECKS
    if (fail_countdown > 0 && --fail_countdown == 0) return nullptr;
#endif
    if (buckets[k] == nullptr && !fill_bucket(k, size)) {
        if (!is_shared) std::fputs("No more active memory available\n", stderr);  // or each thread would say so
        return nullptr;
    }
    void* const block = pop_free(k);
    check_alignment(block, "BRRRRRmalloced ");
    ASAN_UNPOISON_MEMORY_REGION(block, usable_bytes(k));
    check_alignment(buckets[k], "BRRRRRmallocing ");
#ifdef ONDREL_CHECKS
    ++live_blocks;
#endif
    return block;
}

std::size_t usable_size(void* pointer) { return usable_bytes(class_of_block(pointer)); }

void free_slowly(void* pointer) {
    if (pointer == nullptr) return;
    check_alignment(pointer, "BRRRRRfree ");
    const std::lock_guard lock(mp);
    const unsigned k = class_of_block(pointer);
#ifdef ONDREL_CHECKS
    --live_blocks;
    std::memset(pointer, 0xdb, std::min<std::size_t>(usable_bytes(k), page));  // a stale reader finds nonsense
#endif
    push_free(k, pointer);
    ASAN_POISON_MEMORY_REGION(pointer, usable_bytes(k));
}

void* realloc(void* pointer, std::size_t size) {
    check_alignment(pointer, "BRRRRRrealloc ");
    const unsigned k = class_of_block(pointer);
    if (k < smallest_class) {
        std::fputs("\nRealloc: SERIOUS ERROR!", stdout);
        std::fflush(stdout);
    }
    const std::size_t old = usable_size(pointer);
#ifndef ONDREL_STRESS  // under stress every block moves
    if (size <= old && (k < 13 || size > class_bytes(k) / shrink_divisor(k))) return pointer;
#endif
    void* const moved = malloc(size);
    if (moved == nullptr) return nullptr;
    std::memcpy(moved, pointer, std::min(size, old));
    free(pointer);
    return moved;
}

}  // namespace ondrel
