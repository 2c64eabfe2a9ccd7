// The verbs that say how much of the pool is used: PARALLEL, by how many threads; SERIAL, for how many items.
#pragma once

#include "core/activation.h"

namespace ondrel {

Outcome parallel(Activation& activation);
Outcome serial(Activation& activation);

}  // namespace ondrel
