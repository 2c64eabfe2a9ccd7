#include "data/walks.h"

#include <limits>

namespace ondrel {

constinit thread_local std::uintptr_t lowest_walk = 0;

std::uint32_t checked_count(std::size_t n, Site site) {
    if (n > std::numeric_limits<std::uint32_t>::max()) raise(message::too_big, site);
    return static_cast<std::uint32_t>(n);
}

}  // namespace ondrel
