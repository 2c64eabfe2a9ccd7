// The polar and the cartesian form of a number of 2, 4 or 8 components, each formula written out one term at a time.
#pragma once

#include <array>
#include <cstddef>
#include <vector>

namespace ondrel::oracle {

using Parts = std::array<double, 8>;

Parts polar(std::size_t components, const Parts& cartesian);
Parts cartesian(std::size_t components, const Parts& polar);

// The root of the sum of the squares, in doubles as long as that sum is an ordinary one.
double length(const std::vector<double>& parts);

// Of the first component that is not zero; 0 if none.
double sign(std::size_t components, const Parts& parts);

}  // namespace ondrel::oracle
