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

// What that takes: items, by half the points that the two values could score, or the larger number of items where the
// match is to be exact; and comparisons of reals, all those that there are to make.
struct MatchWork {
    double items = 0, reals = 0;
};
MatchWork match_work(const DataElement& left, const DataElement& right, bool exact);

}  // namespace ondrel
