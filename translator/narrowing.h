// A number that is shown becomes one of the lowest kind that holds it, under rules that depend on where it stands.
#pragma once

#include "data/dataelement.h"

namespace ondrel {

// The value as it is shown: a copy that owns nothing, with the kinds that its items have now. These stand in the block,
// for all its holders, whose records stay as they are: there the kinds are a bound. Raises 27.
DataElement narrowed(DataElement& value);

}  // namespace ondrel
