#include "parallel/split.h"

#include <algorithm>

namespace ondrel {

std::uint32_t processors = 0;
std::int64_t MIN_PARALLEL = 0;

namespace {

// A part is rounded up only from three quarters on: the last thread, which takes the rest, then has a little more to do
// than the others rather than nothing.
std::int64_t part(double items, std::uint32_t threads) { return static_cast<std::int64_t>(items / threads + 0.25); }

// The first item of a thread, before the limits of the array. Where the parts are large the main thread takes a short
// one, so that it is free early.
std::int64_t start_of(std::uint32_t n, std::uint32_t p, std::uint32_t i) {
    const double least = static_cast<double>(MIN_PARALLEL);
    if (p <= 2 || static_cast<double>(n) / p <= least) return i * part(n, p);
    return i == 0 ? 0 : (i - 1) * part(n - least, p - 1) + MIN_PARALLEL - 1;
}

std::uint32_t index_up_to(std::int64_t most, std::int64_t index) {
    return static_cast<std::uint32_t>(std::clamp<std::int64_t>(index, 0, most));
}

}  // namespace

std::uint32_t LOWER(std::uint32_t n, std::uint32_t p, std::uint32_t i) { return index_up_to(n, start_of(n, p, i)); }

std::uint32_t UPPER(std::uint32_t n, std::uint32_t p, std::uint32_t i) {
    return i + 1 >= p ? n - 1 : index_up_to(n - 1, start_of(n, p, i + 1) - 1);
}

}  // namespace ondrel
