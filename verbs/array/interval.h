// INTERVAL: runs of integers, reals and characters, and grids of hypercomplex numbers, from their ends.
#pragma once

#include "data/dataelement.h"

namespace ondrel {

// Puts the interval in the place of its operand at `sp`: a count; from and to; from, to and step. Raises 142, 146 and
// 153 to 158 with the operand as it was, and 27.
void interval(DataElement*& sp, DataElement* cell);

}  // namespace ondrel
