// The frame of the monadic scalar verbs. A verb brings one function for each kind of item; the frame finds the result
// block, walks nested values and keeps the kind bits.
#pragma once

#include "verbs/scalar/rule.h"

namespace ondrel {

// What one item gives, as an item of its own.
using MonadicItem = DataElement (*)(const DataElement& item, Site site);

struct MonadicVerb {
    std::array<MonadicItem, kinds> items{};
};

// Runs the verb on the record at `sp`, in place. An empty value stays as it is. Raises 27 and what the verb raises for
// an item; the record then stands as it was.
void monadic(const MonadicVerb& verb, DataElement* sp, DataElement* cell);

// The verbs of the forms of numbers.
void polar(DataElement*& sp, DataElement* cell);
void cartesian(DataElement*& sp, DataElement* cell);
void deg(DataElement*& sp, DataElement* cell);
void rad(DataElement*& sp, DataElement* cell);

}  // namespace ondrel
