// What both frames need around the items: records of results, nested values, and how often to look up.
#pragma once

#include "data/blocks.h"

namespace ondrel {

// Items between two looks at `attention`: some tenths of a millisecond of work.
inline constexpr std::size_t heed_every = std::size_t{1} << 16;

// A record of the giver's shape with the finished block; takes the block over, and a reference on the shape.
DataElement result_record(const DataElement& giver, void* data, std::uint32_t probable);

// The value that an item stands for, with references of its own: the nested one, or a scalar of it.
DataElement value_of_item(const DataElement& item);

}  // namespace ondrel
