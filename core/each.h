// EACH: a function over the items of a value, one call for each.
#pragma once

#include "core/activation.h"

namespace ondrel {

// Takes a function off the stack, and replaces every item of the value below by what the function, of one argument,
// makes of it: the item of a scalar, any other result as a nested value, nothing as an empty vector. Of several results
// the top one counts. A function of two arguments changes nothing, and none runs over an empty value. 989, 990, 994
// where an operand or a result is not what it must be, 806.
Outcome monadiceach(Activation& activation);

}  // namespace ondrel
