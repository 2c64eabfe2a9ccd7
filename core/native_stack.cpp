#include "core/native_stack.h"

#include <sys/mman.h>
#include <sys/resource.h>
#include <ucontext.h>

#include <algorithm>
#include <cstddef>

#include "data/walks.h"

namespace ondrel {
namespace {

constexpr std::size_t mebibyte = 1 << 20;
constexpr std::size_t large = 1024 * mebibyte;  // of addresses; memory is taken only as far as it is used
constexpr std::size_t guard = mebibyte;
constexpr std::size_t last_calls = mebibyte / 4;  // what a walk needs besides its own levels

std::uintptr_t here() { return reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0)); }

struct Fiber {
    ucontext_t outside, inside;
    void (*function)();
} fiber;

void enter() { fiber.function(); }

}  // namespace

std::uintptr_t lowest_call = 0;

// On the stack that the system gave us: as much of it as it will let us have.
void measure_present_stack() {
    constexpr std::size_t most = 120 * mebibyte;  // the system keeps 128 free, whatever the limit was at the start
    rlimit limit{};
    std::size_t size = 8 * mebibyte;
    if (getrlimit(RLIMIT_STACK, &limit) == 0)
        size = limit.rlim_cur == RLIM_INFINITY ? most : std::min<std::size_t>(limit.rlim_cur, most);
    lowest_call = here() - std::min(here(), size / 2);
    lowest_walk = here() - std::min(here(), size - std::min(size / 4, last_calls));
}

void run_on_large_stack(void (*function)()) {
#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)  // which do not follow a switch quietly
    measure_present_stack();
    return function();
#endif
    void* const area =
        mmap(nullptr, large, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE | MAP_STACK, -1, 0);
    if (area == MAP_FAILED) {
        measure_present_stack();
        return function();
    }
    mprotect(area, guard, PROT_NONE);
    madvise(area, large, MADV_NOHUGEPAGE);  // a shallow run touches a page or two
    const std::uintptr_t lowest = reinterpret_cast<std::uintptr_t>(area) + guard;
    lowest_call = lowest + deep_walk;
    lowest_walk = lowest + last_calls;
    fiber.function = function;
    getcontext(&fiber.inside);
    fiber.inside.uc_stack.ss_sp = area;
    fiber.inside.uc_stack.ss_size = large;
    fiber.inside.uc_link = &fiber.outside;
    makecontext(&fiber.inside, enter, 0);
    swapcontext(&fiber.outside, &fiber.inside);
    measure_present_stack();
    munmap(area, large);
}

}  // namespace ondrel
