// RESHAPE: a value in another shape, its items cut off or repeated from the start.
#pragma once

#include "data/errors.h"
#include "translator/literals.h"

namespace ondrel {

// The verb on the top two records of the stack: data below shape. Returns whether it raised an error; the operands
// then stand as they were, and the stack is as high as before.
bool reshape_stack(DataElement*& sp, DataElement* cell);

}  // namespace ondrel
