// What each instruction does, and what must be on the stack before it may.
#pragma once

#include <array>
#include <cstdint>

#include "core/machine.h"
#include "data/instructions.h"

namespace ondrel {

struct Operation {
    Action action;
    std::int8_t arguments;   // values that the instruction needs above the floor
    bool refuses_operators;  // raises 200 if one of them is a mark
};

extern const std::array<Operation, Instructions.size()> operations;

}  // namespace ondrel
