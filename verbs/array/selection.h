// Items and cells that a mask keeps, and items that come again.
#pragma once

#include "data/dataelement.h"

namespace ondrel {

// Each takes the data below `sp` and the mask, or the count, at `sp`, and leaves the result one lower. All raise 27; an
// error leaves the stack as it was.

// COMPRESS, along the first axis of the shape, and COMPRESSLASTAXIS, of whole cells along the last one. A single number
// keeps all or nothing. Raises 4 for what is no mask, 31 where its length is not that of the axis, 994 for no value.
void compress(DataElement*& sp, DataElement* cell);
void compress_cells(DataElement*& sp, DataElement* cell);

// REPLICATE: all the items so many times, as a vector. Raises 994 for what is no count, and what RESHAPE raises.
void replicate(DataElement*& sp, DataElement* cell);

}  // namespace ondrel
