#include "data/allocator.h"

#ifdef __SANITIZE_ADDRESS__
#include <malloc.h>
#include <sanitizer/asan_interface.h>
#endif
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <mutex>

namespace ondrel {

constinit thread_local void* buckets[classes];
bool is_shared = false;
std::size_t most_memory = std::numeric_limits<std::size_t>::max();
#ifdef ONDREL_CHECKS
std::int64_t live_blocks = 0;
std::int64_t fail_countdown = 0;
#endif

namespace {

std::mutex mp;  // held around what follows, where several threads can be at it
// Bytes taken of the machine's memory that are, or will be, filled: of a large block only what was asked for.
std::size_t committed;

bool is_beyond_limit(std::size_t bytes) { return bytes > most_memory - std::min(committed, most_memory); }

void say_that_there_is_no_more() {
    if (!is_shared) std::fputs("No more active memory available\n", stderr);  // or each thread would say so
}

#ifdef ONDREL_CHECKS
bool is_to_fail() { return fail_countdown > 0 && --fail_countdown == 0; }
void count_blocks(int change) { live_blocks += change; }
#else
bool is_to_fail() { return false; }
void count_blocks(int) {}
#endif

// What a block holds, in a fresh one of this size; the old one is given back. Null if there is no memory for it.
void* moved_block(void* pointer, std::size_t size) {
    void* const moved = malloc(size);
    if (moved == nullptr) return nullptr;
    std::memcpy(moved, pointer, std::min(size, readable_size(pointer)));
    free(pointer);
    return moved;
}

}  // namespace

#ifdef __SANITIZE_ADDRESS__

// The sanitizer sees the bounds and the end of what the platform gives; so here each block is that. It has the room of
// its class, so that what grows is not moved each time; what was not asked for is poisoned. Short traces and little
// room for what has been given back keep it fast. Leaks are counted by the tests.
extern "C" const char* __asan_default_options() {
    return "allocator_may_return_null=1:malloc_context_size=3:quarantine_size_mb=16:detect_leaks=0";
}

constexpr std::size_t most_of_platform = std::size_t{1} << 40;

void start_sharing() { is_shared = true; }
void stop_sharing() { is_shared = false; }

std::size_t usable_size(void* pointer) { return malloc_usable_size(pointer); }

std::size_t readable_size(void* pointer) {
    const std::size_t room = usable_size(pointer);
    const void* const end = __asan_region_is_poisoned(pointer, room);
    return end == nullptr
               ? room
               : static_cast<std::size_t>(static_cast<const std::byte*>(end) - static_cast<std::byte*>(pointer));
}

namespace {

void open_up_to(void* block, std::size_t size) {
    const std::size_t room = usable_size(block);
    ASAN_UNPOISON_MEMORY_REGION(block, room);
    ASAN_POISON_MEMORY_REGION(static_cast<std::byte*>(block) + size, room - size);
}

}  // namespace

void* malloc_slowly(std::size_t size) {
    const unsigned k = class_of(size);
    if (k == classes) return nullptr;
    const std::lock_guard lock(mp);
    if (is_to_fail()) return nullptr;
    const std::size_t room = class_bytes(k) - sizeof(std::uint64_t);
    void* const block = size > most_of_platform || is_beyond_limit(size) ? nullptr : ::malloc(room);
    if (block == nullptr) {
        say_that_there_is_no_more();
        return nullptr;
    }
    open_up_to(block, size);
    committed += usable_size(block);
    count_blocks(1);
    return block;
}

void free_slowly(void* pointer) {
    if (pointer == nullptr) return;
    const std::lock_guard lock(mp);
    committed -= usable_size(pointer);
    count_blocks(-1);
    ::free(pointer);
}

void* realloc(void* pointer, std::size_t size) {
    const std::size_t room = usable_size(pointer);
    if (size > room || size < room / 4) return moved_block(pointer, size);
    open_up_to(pointer, size);
    return pointer;
}

#else

namespace {

constexpr std::size_t page = 4096;
// An area starts so many bytes before a cache line that the payload of a counted block (this word and a header of 16
// bytes) lies on the line: vector loads of large arrays then never straddle one.
constexpr std::size_t line = 64, lead = 24;
// Areas of large blocks start so many bytes further into a page than the one before: items of one position, which a
// verb reads at once, would otherwise lie at distances that the cache takes for one place.
constexpr std::size_t apart = 5 * line;
constexpr std::size_t huge = std::size_t{1} << 22;

void* spare[classes];  // free blocks that any thread may take while memory is shared

std::byte* pre_brk;
std::size_t pre_brk_left;

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
    if (is_beyond_limit(filled)) return false;
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
    if (is_to_fail()) return nullptr;
    if (buckets[k] == nullptr && !fill_bucket(k, size)) {
        say_that_there_is_no_more();
        return nullptr;
    }
    void* const block = pop_free(k);
    check_alignment(block, "BRRRRRmalloced ");
    check_alignment(buckets[k], "BRRRRRmallocing ");
    count_blocks(1);
    return block;
}

std::size_t usable_size(void* pointer) { return usable_bytes(class_of_block(pointer)); }
std::size_t readable_size(void* pointer) { return usable_size(pointer); }

void free_slowly(void* pointer) {
    if (pointer == nullptr) return;
    check_alignment(pointer, "BRRRRRfree ");
    const std::lock_guard lock(mp);
    const unsigned k = class_of_block(pointer);
    count_blocks(-1);
#ifdef ONDREL_CHECKS
    std::memset(pointer, 0xdb, std::min<std::size_t>(usable_bytes(k), page));  // a stale reader finds nonsense
#endif
    push_free(k, pointer);
}

void* realloc(void* pointer, std::size_t size) {
    check_alignment(pointer, "BRRRRRrealloc ");
    const unsigned k = class_of_block(pointer);
    if (k < smallest_class) {
        std::fputs("\nRealloc: SERIOUS ERROR!", stdout);
        std::fflush(stdout);
    }
#ifndef ONDREL_STRESS  // under stress every block moves
    if (size <= usable_bytes(k) && (k < 13 || size > class_bytes(k) / shrink_divisor(k))) return pointer;
#endif
    return moved_block(pointer, size);
}

#endif

}  // namespace ondrel
