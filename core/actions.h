// What each instruction does, and what must be on the stack before it may.
#pragma once

#include <array>
#include <cstdint>

#include "core/activation.h"
#include "data/instructions.h"

namespace ondrel {

// Carries an instruction out. An error of the machine's own is reported and answered by `abandon`; one inside a verb
// throws Unwind.
using Action = Outcome (*)(Activation&);

struct Operation {
    Action action;
    std::int8_t arguments;   // values that the instruction needs above the floor
    bool refuses_operators;  // raises 200 if one of them is a mark
};

extern const std::array<Operation, Instructions.size()> operations;

}  // namespace ondrel
