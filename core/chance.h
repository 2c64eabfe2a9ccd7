// The verbs that govern chance, SEED and RANDOMISE, and DEAL, which draws without putting back.
#pragma once

#include "core/activation.h"

namespace ondrel {

Outcome seed(Activation& activation);
Outcome randomise(Activation& activation);
Outcome deal(Activation& activation);

}  // namespace ondrel
