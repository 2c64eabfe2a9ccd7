// Reals that stand for whole numbers.
#pragma once

#include <cmath>
#include <optional>

namespace ondrel {

// The whole number that a real counts as within the tolerance; nothing if there is none so near. An infinity counts as
// itself.
inline std::optional<double> whole_within(double value, double tolerance) {
    const double below = std::floor(value), above = std::ceil(value);
    if (below == std::ceil(value - tolerance)) return below;
    if (above == std::floor(value + tolerance)) return above;
    return {};
}

}  // namespace ondrel
