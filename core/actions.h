// What each instruction does, and what must be on the stack before it may.
#pragma once

#include <array>

#include "core/activation.h"
#include "data/instructions.h"

namespace ondrel {

// Carries an instruction out. An error of the machine's own is reported and answered by `abandon`; one inside a verb
// throws Unwind.
using Action = Outcome (*)(Activation&);

// By instruction: the check of its class, and what it does.
extern const std::array<Action, Instructions.size()> actions;

}  // namespace ondrel
