// Functions from text, and text from values.
#pragma once

#include "core/activation.h"

namespace ondrel {

Outcome assemble(Activation& activation);
Outcome disassemble(Activation& activation);
Outcome make_operator(Activation& activation);  // OPERATOR: a function that runs where its name is mentioned

}  // namespace ondrel
