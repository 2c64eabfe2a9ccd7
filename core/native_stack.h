// The process's own stack. Every call of the language is a call of the machine, and a deeply nested value is walked by
// recursion; so the interpreter runs on a stack of its own choice, whatever limits the process was started with.
#pragma once

#include <cstddef>
#include <cstdint>

namespace ondrel {

// Runs the function on a large stack and comes back when it returns; on the present one if there is no memory to be
// had for another.
void run_on_large_stack(void (*function)());

// Finds out how far the present stack reaches, for a process that runs on the one that it was given: `lowest_call` and,
// for walks, `lowest_walk`.
void measure_present_stack();

// Bytes of stack that walks over a value of 32,767 levels stay within.
inline constexpr std::size_t deep_walk = std::size_t{256} << 20;

extern std::uintptr_t lowest_call;  // the lowest address at which a call may still begin

// Whether what is left is only as much as walks over deeply nested values need.
inline bool native_stack_is_short() {
    return reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0)) < lowest_call;
}

}  // namespace ondrel
