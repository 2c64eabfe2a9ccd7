// Reductions: a value folded along one axis with a dyadic scalar verb, which the cell's modifier tells.
#pragma once

#include "data/dataelement.h"

namespace ondrel {

// Each folds the groups of items along one axis of the value at `sp` to one item each, and so takes the axis away. A
// scalar and an empty value stay as they are, and so does the item of a group of one. Raises 75, 79, 145, 994 for what
// else is no value, 27, and what the verb raises, with the value as it was.
void reduce(DataElement*& sp, DataElement* cell);          // the first axis, of neighbours
void reducelastaxis(DataElement*& sp, DataElement* cell);  // the leading axis

}  // namespace ondrel
