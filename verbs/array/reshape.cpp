// RESHAPE, at run time and for the shapes that literals carry.
#include "verbs/array/reshape.h"

#include <algorithm>
#include <limits>
#include <numeric>
#include <span>
#include <utility>
#include <vector>

#include "data/moving.h"
#include "numbers/kinds.h"
#include "numbers/polar.h"

namespace ondrel {
namespace {

// Reads an item of the shape operand as a dimension. Any number will do that is whole, with nothing in its other
// components. False if it is none.
bool read_dimension(const DataElement& item, std::int64_t& dimension) {
    double parts[8] = {item.real};
    const bool polar = item.form == form::polar;
    switch (item.tag) {
        case tag::integer: dimension = item.integer; return dimension >= 0;
        case tag::real: break;
        case tag::complex:
            std::copy_n(item.complex, 2, parts);
            if (polar) cartesiancomplex(parts, parts);
            break;
        case tag::quaternion:
            std::copy_n(item.quaternion, 4, parts);
            if (polar) cartesianquat(parts, parts);
            break;
        case tag::octonion:
            std::copy_n(item.octonion, 8, parts);
            if (polar) cartesianocto(parts, parts);
            break;
        default: return false;
    }
    if (std::accumulate(parts + 1, parts + 8, 0.0) != 0 || !fits_integer(parts[0])) return false;
    dimension = static_cast<std::int64_t>(parts[0]);
    return dimension >= 0 && static_cast<double>(dimension) == parts[0];
}

// The product of the dimensions, or -1 if no value has so many items.
std::int64_t item_count(std::span<const std::int64_t> dimensions) {
    constexpr std::int64_t most = std::numeric_limits<std::uint32_t>::max();
    std::int64_t n = 1;
    for (const std::int64_t dimension : dimensions) {
        heed_attention();
        if (dimension == 0) return 0;  // whatever the others are
        if (n <= most && __builtin_mul_overflow(n, dimension, &n)) n = most + 1;
    }
    return n <= most ? n : -1;
}

// Fills `block` with n items, the m items of `source` repeated in order; each round doubles what stands. `filled` tells
// how far it has come.
void repeat(void* block, const void* source, std::size_t m, std::size_t n, std::size_t& filled) {
    while (filled < n) {
        const std::size_t from = filled % m;
        const std::size_t stands = filled < m ? m : filled;
        const std::size_t stretch = std::min({n - filled, stands - from, heed_every});
        copy_items(block, filled, filled < m ? source : block, from, stretch);
        filled += stretch;
        heed_attention();
    }
}

// A block with n items, the m items of the value repeated in order.
void* cycled(const DataElement& data, std::size_t m, std::size_t n) {
    const void* source = data.data_pointer;
    const OwnedBlock packed(n > 1 && !(data.type & PER_ITEM) ? packed_items(source, std::min(m, n)) : nullptr);
    if (packed) source = packed.get();
    if (n == 1) return unpack(source, 1);
    if (!is_packed(source)) {
        ItemsOwner items(n);
        repeat(items.items, source, m, n, items.filled);
        return items.take();
    }
    OwnedBlock values(allocate_packed(header(source).head, n));
    std::size_t filled = 0;
    repeat(values.get(), source, std::min(m, n), n, filled);
    return values.release();
}

int reshaping_error(DataElement& data, const DataElement& shape, std::vector<std::int64_t>& dimensions) {
    if (shape.rank > 1) return message::wrong_rank_for_reshape;
    if (shape.rank < 0) return message::not_a_dimension;
    if (shape.type & ISEMPTY) return 0;
    if (shape.type & STRUCTURED) return message::shape_structured;
    if (data.rank < 0) return message::restriction;
    for (std::uint32_t i = 0; i < shape.elements; ++i) {
        heed_attention();
        if (item_at(shape.data_pointer, i).tag == tag::ascii) return message::shape_of_characters;
    }
    if (shape.elements > std::numeric_limits<std::int32_t>::max()) return message::too_big;
    dimensions.reserve(shape.elements);
    for (std::uint32_t i = 0; i < shape.elements; ++i) {
        heed_attention();
        if (!read_dimension(item_at(shape.data_pointer, i), dimensions.emplace_back())) return message::not_a_dimension;
    }
    const std::int64_t n = item_count(dimensions);
    if (n != 0 && (data.type & ISEMPTY)) return message::nothing_to_reshape;
    return n < 0 ? message::too_big : 0;
}

// Gives the value n items, its own repeated in order: in its own block where it can.
void resize(DataElement& data, std::uint32_t n) {
    const std::uint32_t m = data.elements;
    if (n == m) return;
    if (n == 0) return replace_items(data, nullptr, 0);
    if (n < m) return keep_first(data, n);
    if (!is_packed(data.data_pointer) || !sole_holder(data.data_pointer))
        return replace_items(data, cycled(data, m, n), n);
    const std::size_t width = item_width(header(data.data_pointer).head);
    data.data_pointer = Reallocate(data.data_pointer, n * width);
    std::size_t filled = m;
    repeat(data.data_pointer, data.data_pointer, m, n, filled);
    set_elements(data, n);
}

// Gives the value these dimensions, which `shape` tells, and drops `shape`.
void reshape_to(DataElement& data, DataElement& shape, const std::vector<std::int64_t>& dimensions) {
    const std::uint32_t m = data.elements;
    if (shape.type & ISEMPTY) {  // asks for nothing but a block of its own
        if (data.rank >= 0 && data.data_pointer != nullptr && !sole_holder(data.data_pointer))
            replace_items(data, cycled(data, m, m), m);
        return dereferencepoint(shape);
    }
    const auto n = static_cast<std::uint32_t>(item_count(dimensions));
    Owner reshaped;
    reshaped.record.shape_pointer = allocate_shape(dimensions.size());
    std::ranges::copy(dimensions, reshaped.record.shape_pointer);
    resize(data, n);

    std::swap(data.shape_pointer, reshaped.record.shape_pointer);
    data.rank = static_cast<std::int32_t>(dimensions.size());
    data.type = (n == 0 ? ISEMPTY : data.type & ~RANK_BITS) | (data.rank > 1 ? ISARRAY : ISVECTOR) |
                (n == 1 ? ISONEELEMENT : 0);
    if (n == 0) data.depth = 1;
    if (data.depth == 0) data.depth = depth_of(data.data_pointer, n);
    dereferencepoint(shape);
}

}  // namespace

int reshape(DataElement& data, DataElement& shape, Site site) {
    std::vector<std::int64_t> dimensions;
    if (const int error = reshaping_error(data, shape, dimensions)) {
        exception(error, site);
        return 1;
    }
    reshape_to(data, shape, dimensions);
    return 0;
}

void reshape_stack(DataElement*& sp, DataElement* cell) {
    std::vector<std::int64_t> dimensions;
    if (const int error = reshaping_error(sp[-1], sp[0], dimensions)) raise(error, {sp, cell});
    reshape_to(sp[-1], sp[0], dimensions);
    --sp;
}

}  // namespace ondrel
