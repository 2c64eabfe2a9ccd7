#include "verbs/array/shapes.h"

#include <algorithm>
#include <limits>
#include <string_view>

#include "data/errors.h"
#include "data/moving.h"
#include "data/texts.h"

namespace ondrel {
namespace {

constexpr std::int16_t deepest = std::numeric_limits<std::int16_t>::max();

void need_value(const DataElement& record, Site site) {
    if (record.rank < 0) raise(message::restriction, site);
}

void put_integer(DataElement& slot, std::int64_t value) {
    DataElement item{};
    item.head = make_head(tag::integer, form::number);
    item.integer = value;
    Owner result(make_scalar(item));
    std::swap(slot, result.record);
}

}  // namespace

// The block of the shape is that of the result; one dimension is an item.
void shape(DataElement*& sp, DataElement*) {
    DataElement& top = *sp;
    if (top.rank == kind::ADDRESS && !(top.type & ISLOCAL)) {
        Owner name(make_characters(top.text));
        return std::swap(top, name.record);
    }
    Owner result;
    if (top.rank <= 0) {
        result.record = make_empty();
        result.record.type = ISEMPTY;  // CHECK takes this one for a no
    } else {
        const auto dimensions = static_cast<std::uint32_t>(top.rank);
        result.record = make_array(vector_shape(top.rank), 1, nullptr, dimensions, HASINTEGER);
        if (dimensions == 1)
            result.record.data_pointer = unpack(static_cast<const void*>(top.shape_pointer), 1);
        else
            result.record.data_pointer = std::exchange(top.shape_pointer, nullptr);
    }
    std::swap(top, result.record);
}

void rank(DataElement*& sp, DataElement*) { put_integer(*sp, sp->rank); }

void depth(DataElement*& sp, DataElement*) { put_integer(*sp, sp->depth); }

void ravel(DataElement*& sp, DataElement* cell) {
    DataElement& top = *sp;
    need_value(top, {sp, cell});
    if (top.rank == 1) return;
    std::int64_t* const one_axis = vector_shape(top.elements);
    release(std::exchange(top.shape_pointer, one_axis));
    if (top.rank == 0) top.depth = depth_of(top.data_pointer, 1);
    top.rank = 1;
    top.type = (top.type & ~RANK_BITS) | ISVECTOR | (top.elements == 1 ? ISONEELEMENT : 0);
}

void enclose(DataElement*& sp, DataElement* cell) {
    DataElement& top = *sp;
    need_value(top, {sp, cell});
    const bool atom = cell->modifier != 0;
    if (!atom && (top.type & ISSCALAR)) return;
    if (top.depth == deepest) raise(message::restriction, {sp, cell});
    const std::int16_t depth_of_item = top.depth;
    Owner result(make_array(vector_shape(1), 1, nullptr, 1, NESTED));
    result.record.depth = static_cast<std::int16_t>(depth_of_item + !atom);
    if (atom) result.record.type = ISSCALAR | NESTED;
    DataElement* const items = allocate_items(1);
    result.record.data_pointer = items;
    *items = {};
    auto* const nested = static_cast<DataElement*>(allocate_block(0, sizeof(DataElement)));
    items->tag = tag::subarray;
    items->nested = nested;
    *nested = std::exchange(top, result.take());
}

void disclose(DataElement*& sp, DataElement* cell) {
    DataElement& top = *sp;
    if (top.rank < 0 || !(top.type & STRUCTURED)) return;
    if (top.elements != 1) raise(message::several_items, {sp, cell});
    const DataElement item = item_at(top.data_pointer, 0);
    if (item.tag != tag::subarray) return;
    Owner inner(*item.nested);
    referencepoint(inner.record);
    std::swap(top, inner.record);
}

void catenate(DataElement*& sp, DataElement* cell) {
    DataElement &left = sp[-1], &right = *sp;
    for (const DataElement& operand : {left, right})
        if (operand.rank < 0 || operand.rank > 1) raise(message::restriction, {sp, cell});
    if (left.data_pointer == nullptr || right.data_pointer == nullptr) {
        if (left.data_pointer == nullptr) std::swap(left, right);
        dereferencepoint(right);
        --sp;
        return;
    }
    const std::uint32_t n = checked_count(std::size_t{left.elements} + right.elements, {sp, cell});
    Owner result(make_array(vector_shape(n), 1, nullptr, n, 0));
    const std::uint32_t kinds = (left.type | right.type) & (KIND_BITS | PER_ITEM | ISSTRUCTURE);
    result.record.type |= (left.type & ~(RANK_BITS | KIND_BITS)) | kinds | (mixed_kinds(kinds) ? COMPLEXED : 0);
    if (kinds & STRUCTURED)
        result.record.depth =
            std::max(depth_of(left.data_pointer, left.elements), depth_of(right.data_pointer, right.elements));
    result.record.data_pointer = joined_items(left, right);
    dereferencepoint(left);
    dereferencepoint(right);
    left = result.take();
    --sp;
    pack(left);
}

}  // namespace ondrel
