// MASK: a function over the weighted neighbourhoods of a value's items, one call for each.
#pragma once

#include "core/activation.h"

namespace ondrel {

// Takes a function of one argument and a mask off the stack, and replaces every item of the data below by what the
// function makes of its neighbourhood, as EACH does. WRAP and REFLECT, in the cell, say what lies beyond the edges.
// 986, 987 for what is no such function; 985, 984, 983 for a mask that does not fit the data; 994 where an operand, a
// product or a result is not what it must be; 806, and what MULTIPLY raises. The operands then stay.
Outcome mask(Activation& activation);

}  // namespace ondrel
