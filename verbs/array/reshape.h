// RESHAPE: a value in another shape, its items cut off or repeated from the start.
#pragma once

#include "data/errors.h"

namespace ondrel {

// Gives `data` the shape that `shape` tells and drops `shape`. Returns 0, or 1 after reporting an error; both are then
// as they were. Raises 27. The translator calls it for literals that carry a shape.
int reshape(DataElement& data, DataElement& shape, Site site);

// The verb on the top two records of the stack: data below shape. Raises 10, 11, 113, 146, 994, 1101 and 1102; the
// operands then stand as they were, and the stack is as high as before.
void reshape_stack(DataElement*& sp, DataElement* cell);

}  // namespace ondrel
