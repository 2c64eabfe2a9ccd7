// The process's own stack. Every call of the language is a call of the machine, and a deeply nested value is walked by
// recursion; so the interpreter runs on a stack of its own choice, whatever limits the process was started with.
#pragma once

namespace ondrel {

// Runs the function on a large stack and comes back when it returns; on the present one if there is no memory to be
// had for another.
void run_on_large_stack(void (*function)());

// Whether what is left is only as much as walks over deeply nested values need.
bool native_stack_is_short();

}  // namespace ondrel
