// The verbs that deal with the user at the standard streams, with the clock, and with chance itself.
#pragma once

#include "core/activation.h"

namespace ondrel {

Outcome output_top(Activation& activation);
Outcome print_top(Activation& activation);
Outcome input(Activation& activation);
Outcome quoted_input(Activation& activation);
Outcome wait_for_enter(Activation& activation);
Outcome sleep_top(Activation& activation);
Outcome push_time(Activation& activation);
Outcome seed(Activation& activation);
Outcome randomise(Activation& activation);

}  // namespace ondrel
