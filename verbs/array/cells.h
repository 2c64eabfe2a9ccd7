// The parts that a value has along its leading axis, the last of its shape: FIRST and REST, and which of them a mask
// keeps; and the items in another order.
#pragma once

#include "data/dataelement.h"

namespace ondrel {

// Each works on the record at `sp`, and replaces it by its result. All raise 27, and 994 for what is no value; what
// else is said. An error leaves the stack as it was.
void first(DataElement*& sp, DataElement* cell);    // the first cell; with a modifier the first item, out of its nest
void rest(DataElement*& sp, DataElement* cell);     // the other cells; with a modifier one axis less where one is left
void reverse(DataElement*& sp, DataElement* cell);  // all items the other way round
void transpose(DataElement*& sp,
               DataElement* cell);  // the axes the other way round. 159 for addresses, 970 above 8 axes

}  // namespace ondrel
