// Records laid open: what the checks print of a value that is broken, and what an inspector shows. All print on the
// standard output.
#pragma once

#include <cstdint>

#include "data/dataelement.h"

namespace ondrel {

// The name of a kind of record: of the negative ranks, SCALAR, ARRAY.
const char* rank_name(std::int32_t rank);

// The label, then the name of every bit that is set in `type`, or END for none, and a newline.
void detail_type(const char* label, std::uint32_t type);

// The count of a block, or -777 for null.
std::int64_t refr(const void* block);

// The flags, kind, sizes and shape of a record; for a cell its text.
void at(const DataElement& record);

}  // namespace ondrel
