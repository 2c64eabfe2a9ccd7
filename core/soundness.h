// What must be true of every value between two instructions. Builds with checks hold it after each one, and stop the
// process where it is broken; other builds know nothing of it.
#pragma once

#include "core/machine.h"

namespace ondrel {

#ifdef ONDREL_CHECKS
void check_soundness(const Activation& activation);
// That a scalar verb which came to its end took so many values and left one.
void check_effect(const Activation& activation, const DataElement* before, int arguments);
#else
inline void check_soundness(const Activation&) {}
inline void check_effect(const Activation&, const DataElement*, int) {}
#endif

}  // namespace ondrel
