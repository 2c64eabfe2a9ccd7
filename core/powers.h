// Powers of 2, e and 10, and logarithms to the bases 2 and 10: POWER and LOGARITHM with one operand given.
#pragma once

#include "core/activation.h"

namespace ondrel {

Outcome pow2(Activation& activation);
Outcome powe(Activation& activation);
Outcome pow10(Activation& activation);
Outcome ld(Activation& activation);
Outcome log10(Activation& activation);

}  // namespace ondrel
