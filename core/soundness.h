// What must be true of every value between two instructions. Builds with checks hold it after each one, and stop the
// process where it is broken; other builds know nothing of it.
#pragma once

#include "core/machine.h"

namespace ondrel {

#ifdef ONDREL_CHECKS
void check_soundness(const Activation& activation);
#else
inline void check_soundness(const Activation&) {}
#endif

}  // namespace ondrel
