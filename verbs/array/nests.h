// Verbs on nests: ENLIST, all that lies in one in a single vector; and MATCH, how like two values are.
#pragma once

#include "data/dataelement.h"

namespace ondrel {

// Replaces the value at `sp` by the vector of its items, those of what is nested in it where that stands. Raises 994
// for what is no value, 146, 27, with the value as it was.
void enlist(DataElement*& sp, DataElement* cell);

// Replaces the two values at `sp` and below by how like they are, one lower: a degree of truth; as EXACTMATCH, by the
// modifier, 1 or 0. Raises 994 for what is no value, 27, with both as they were.
void match(DataElement*& sp, DataElement* cell);

}  // namespace ondrel
