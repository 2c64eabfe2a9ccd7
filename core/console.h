// The verbs that deal with the user at the standard streams and with the clock.
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

}  // namespace ondrel
