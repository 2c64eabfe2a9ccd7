#include "core/processors.h"

#include <algorithm>
#include <cstdio>
#include <optional>

#include "parallel/pool.h"

namespace ondrel {
namespace {

// The low half of the integer that is the top of the stack.
std::optional<std::uint32_t> single_integer(const Activation& activation) {
    const DataElement& top = *activation.sp;
    if (top.rank < 0 || !(top.type & SHAPE_BITS) || !(top.type & HASINTEGER)) return std::nullopt;
    return static_cast<std::uint32_t>(item_at(top.data_pointer, 0).integer);
}

}  // namespace

Outcome parallel(Activation& activation) {
    const std::optional<std::uint32_t> operand = single_integer(activation);
    if (!operand) return fail(message::no_number_of_processors, activation);
    const std::int64_t wanted = static_cast<std::int32_t>(*operand);
    if (wanted > cpus) {
        std::fflush(stdout);
        std::fprintf(stderr, "WARNING: 204 - requested more than started processors (%ld):", static_cast<long>(cpus));
        exception(message::fewer_processors, activation.site());
    }
    processors = static_cast<std::uint32_t>(std::clamp<std::int64_t>(wanted, 1, cpus));
    dereferencepoint(*activation.sp--);
    return Outcome::next;
}

Outcome serial(Activation& activation) {
    const std::optional<std::uint32_t> operand = single_integer(activation);
    if (!operand) return fail(message::no_number_of_items, activation);
    MIN_PARALLEL = std::max(*operand, processors);
    dereferencepoint(*activation.sp--);
    return Outcome::next;
}

}  // namespace ondrel
