// Items that tests draw on: of every kind and form, at the ends of what the kind can hold and at every special value.
#pragma once

#include <vector>

#include "tests/values.h"

namespace ondrel {

// Items of one tag, form and marks; a vector of them can be packed if it has no names.
using Group = std::vector<Item>;

const std::vector<Group>& palette();

// One group for each kind and way of taking it, without the special values that only differ within the group.
const std::vector<Group>& small_palette();

}  // namespace ondrel
