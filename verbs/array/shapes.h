// What a value is in outline: its shape, rank and depth; a value as a vector, as one item, or out of one; two values
// put one behind the other.
#pragma once

#include "data/dataelement.h"

namespace ondrel {

// Each works on the record at `sp`, and replaces it by its result. All raise 27; what is said besides. An error leaves
// the stack as it was.
void shape(DataElement*& sp, DataElement* cell);     // the dimensions; of an address its name
void rank(DataElement*& sp, DataElement* cell);      // an integer
void depth(DataElement*& sp, DataElement* cell);     // an integer
void ravel(DataElement*& sp, DataElement* cell);     // a vector. Raises 994 for what is no value
void enclose(DataElement*& sp, DataElement* cell);   // one item; so as ATOM, by its modifier. Raises 994 as above
void disclose(DataElement*& sp, DataElement* cell);  // the value that the one item holds. Raises 973 for more items

// CATENATE, of the records at `sp` and below, to a vector one lower. Raises 994 for what is no scalar or vector, 146.
void catenate(DataElement*& sp, DataElement* cell);

}  // namespace ondrel
