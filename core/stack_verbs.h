// The verbs that rearrange the value stack and do not look into values. None reaches below the floor of its run.
//
// A mark is the MARK cell itself on the stack. COLLECT and its kin work on what lies above the nearest one.
#pragma once

#include "core/activation.h"

namespace ondrel {

// Whether a vector can take it in: a value, and no deeper than nests may be in one.
bool can_be_item(const DataElement& element);

Outcome clear(Activation& activation);
Outcome discard(Activation& activation);
Outcome drop_second(Activation& activation);  // RIGHT
Outcome swap_top(Activation& activation);
Outcome duplicate(Activation& activation);
Outcome push_mark(Activation& activation);
Outcome collect(Activation& activation);
Outcome count_stack(Activation& activation);
Outcome count_to_mark(Activation& activation);
Outcome clear_to_mark(Activation& activation);

}  // namespace ondrel
