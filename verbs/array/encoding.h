// How the same numbers are held: as characters or their codes, as one number of several components or a vector of them.
#pragma once

#include "data/dataelement.h"

namespace ondrel {

// Each works on the record at `sp`, nested values too, and replaces it by its result; empty values stay. All raise 27,
// and 994 for what is no value, with the stack as it was.
void enascii(DataElement*& sp, DataElement* cell);  // numbers that are codes within #CT become characters, others stay
void deascii(DataElement*& sp, DataElement* cell);  // characters become integers
// Vectors of two to eight numbers become one number, such vectors in a nest its items. Warns, and leaves alone, what is
// no vector (1004) and nests among other kinds (1003); leaves text, longer vectors and hypercomplex numbers.
void encapsulate(DataElement*& sp, DataElement* cell);
void decapsulate(DataElement*& sp, DataElement* cell);  // a number becomes the vector of its components, up to the last

// Whether ENCAPSULATE goes over the items of the value at all.
bool can_encapsulate(const DataElement& value);

}  // namespace ondrel
