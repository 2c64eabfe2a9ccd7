// The value stack. Slot 0 is never used: a stack pointer there means that the stack is empty.
#pragma once

#include <cstdint>

#include "data/dataelement.h"

namespace ondrel {

inline constexpr int stack_slots = 16584;  // values that fit

extern DataElement stack[stack_slots + 1];
// Of a slot that is a local one of a call that runs, the number of the call; else 0.
extern std::uint64_t slot_owners[stack_slots + 1];
// A push is refused when the stack pointer has passed this slot.
inline DataElement* const stacktop = stack + stack_slots - 1;

}  // namespace ondrel
