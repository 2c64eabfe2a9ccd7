#include "numbers/truth.h"

#include <cmath>

namespace ondrel {
namespace {

// The factor is 2 over the count, as a double of its own.
double agreement(std::span<const double> components, bool in_range, double factor) {
    double sum = 0;
    for (const double component : components) sum += in_range ? component : truth_degree(component);
    return std::fabs(sum - static_cast<double>(components.size()) / 2) * factor;
}

}  // namespace

double contradict_c(std::span<const double, 2> components, bool in_range) { return agreement(components, in_range, 1); }

double contradict_q(std::span<const double, 4> components, bool in_range) {
    if (std::isnan(components[3])) return agreement(components.first<3>(), in_range, 0.6666666666666666);
    return agreement(components, in_range, 0.5);
}

double contradict_o(std::span<const double, 8> components, bool in_range) {
    if (!std::isnan(components[7])) return agreement(components, in_range, 0.25);
    if (!std::isnan(components[6])) return agreement(components.first<7>(), in_range, 0.2857142857142857);
    if (!std::isnan(components[5])) return agreement(components.first<6>(), in_range, 0.3333333333333333);
    return agreement(components.first<5>(), in_range, 0.4);
}

}  // namespace ondrel
