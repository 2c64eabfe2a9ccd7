// Results that are remembered: in the outermost table, under the keys of a function and its arguments.
#pragma once

#include "core/activation.h"

namespace ondrel {

Outcome result(Activation& activation);      // RESULT: from memory, if it is there
Outcome reevaluate(Activation& activation);  // REEVALUATE: computed anew, and remembered

}  // namespace ondrel
