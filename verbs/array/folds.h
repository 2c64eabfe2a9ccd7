// The fast folds of reductions: over bare values of one kind, with no record and no call of a verb.
#pragma once

#include "verbs/scalar/dyadic.h"

namespace ondrel {

// How the items of a value fall into groups that are folded to one item each.
struct Groups {
    std::size_t count, n;  // groups, items of each
    bool neighbours;       // a group's items stand side by side; else those of one place in all groups do

    std::size_t place(std::size_t group, std::size_t i) const { return neighbours ? group * n + i : i * count + group; }
};

// The verbs that have a fold of their own. Sums go from the first item to the last, the others from the last one; the
// order of those from `least` on tells only where there are zeros or NaN: extremes, and, among truths, all and any.
enum class Fold { none, sum, difference, product, quotient, least, greatest, all, any };
constexpr bool is_free(Fold fold) { return fold >= Fold::least; }

// The block of the results of all groups, of a fold that is not free: numbers of the kind that the value's items are,
// but that a group of integers is folded as doubles and gives a real where that is beyond the integers. Polar numbers
// are folded as the cartesian ones that they are. The value is uniform, of numbers. One result lies in a block of
// items. Raises 27.
void* folded(Fold fold, const DataElement& value, const Groups& groups);

// The same with the loops of a verb, where the results of pairs are always of the very kind and form of the operands,
// or in any order where the fold is free; null where neither goes, or where going item by item is no slower.
void* folded_by_loops(const DyadicVerb& verb, bool from_left, Fold fold, const DataElement& value, const Groups& groups,
                      const Setting& setting);

}  // namespace ondrel
