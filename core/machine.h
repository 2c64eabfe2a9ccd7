// The interpreter: walks a stream of cells from left to right against the value stack.
#pragma once

#include "core/activation.h"

namespace ondrel {

// Runs a sentence of the prompt, as `fill` gave it, on the stack whose top is `top`, and returns the new top. It shows
// the top of the stack at the end, and is the recovery point of all that goes on below.
DataElement* machine(DataElement* sentence, DataElement* top);

}  // namespace ondrel
