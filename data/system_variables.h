// The variables of the system, #IO and #CT, as verbs read them. A user may have assigned anything to them, and nothing.
#pragma once

#include "data/blocks.h"

namespace ondrel {

// By slot; defined above this folder, in translator/symbols.
extern DataElement* const quads[8];

inline constexpr std::size_t index_origin = 2, comparison_tolerance = 6;

// The number that numbering starts from: the whole part of the real part of #IO, or 1 if it is no number.
std::int64_t origin();

// What #CT says when it holds no single real: the real part of the number that it holds, else 1e-15.
double unusual_tolerance();

// How far two numbers may be apart and still count as one: #CT as it stands. A verb reads it once, before its operands.
inline double tolerance() {
    const DataElement& variable = *quads[comparison_tolerance];
    if (variable.rank == 0 && variable.data_pointer != nullptr && items_of(variable)->tag == tag::real)
        return items_of(variable)->real;
    return unusual_tolerance();
}

// Brings #CT between 0 and 1, writes it back, and returns it. A value that is no number gives way to 1e-15. Raises 27.
double normalise_tolerance();

}  // namespace ondrel
