#include "verbs/array/cells.h"

#include <algorithm>
#include <functional>
#include <numeric>
#include <span>
#include <vector>

#include "data/errors.h"
#include "data/moving.h"

namespace ondrel {
namespace {

void need_value(const DataElement& record, Site site) {
    if (record.rank < 0) raise(message::restriction, site);
}

std::span<const std::int64_t> dimensions(const DataElement& value) {
    return {value.shape_pointer, static_cast<std::size_t>(value.rank)};
}

// Gives the value the shape, whose items it has already, and the flags that go with both.
void put_shape(DataElement& value, std::int64_t* shape, std::int32_t rank) {
    release(std::exchange(value.shape_pointer, shape));
    value.rank = rank;
    value.type = (value.type & ~RANK_BITS) | (rank > 1 ? ISARRAY : ISVECTOR) | (value.elements == 1 ? ISONEELEMENT : 0);
    rebuild_kinds(value);
}

std::int64_t* copied_shape(std::span<const std::int64_t> dimensions) {
    std::int64_t* const shape = allocate_shape(dimensions.size());
    std::ranges::copy(dimensions, shape);
    return shape;
}

// The value becomes a scalar of one of its items; an empty one gives the item that it might have had.
void put_scalar(DataElement& value, std::uint32_t at) {
    DataElement item{};
    if (value.type & ISEMPTY) {
        item.head = make_head(value.type & HASASCII ? tag::ascii : tag::integer, form::unset);
        if (value.type & HASASCII)
            item.ascii = ' ';
        else
            item.form = form::number;
    } else {
        item = item_at(value.data_pointer, at);
    }
    ItemsOwner made(1);
    *made.items = own_item(item);
    Owner result;
    result.record.type = ISSCALAR | kind_bits(item.tag);
    set_elements(result.record, 1);
    if (item.tag == tag::subarray) result.record.depth = static_cast<std::int16_t>(item.nested->depth + 1);
    result.record.data_pointer = made.take();
    std::swap(value, result.record);
}

}  // namespace

void first(DataElement*& sp, DataElement* cell) {
    DataElement& top = *sp;
    need_value(top, {sp, cell});
    if (top.rank == 0) return;
    const bool item_alone = cell->modifier != 0;
    if (item_alone && (top.type & STRUCTURED) && !(top.type & ISEMPTY)) {
        const DataElement item = item_at(top.data_pointer, 0);
        if (item.tag == tag::subarray) {
            Owner inner(*item.nested);
            referencepoint(inner.record);
            return std::swap(top, inner.record);
        }
    }
    if (item_alone || top.rank == 1 || (top.type & ISEMPTY)) return put_scalar(top, 0);
    const auto axes = dimensions(top);
    const auto n = static_cast<std::uint32_t>(top.elements / static_cast<std::uint64_t>(axes.back()));
    Owner keeper;  // of the shape, until the items are there
    keeper.record.rank = 1;
    keeper.record.shape_pointer = copied_shape(axes.first(axes.size() - 1));
    keep_first(top, n);
    put_shape(top, std::exchange(keeper.record.shape_pointer, nullptr), top.rank - 1);
}

void rest(DataElement*& sp, DataElement* cell) {
    DataElement& top = *sp;
    need_value(top, {sp, cell});
    const bool drops_axis = cell->modifier != 0;
    const std::int64_t cells = top.rank == 0 || (top.type & ISEMPTY) ? 0 : dimensions(top).back();
    if (cells <= 1 || top.elements == 1) {
        const std::int32_t axes = drops_axis ? 1 : std::max(top.rank, 1);
        Owner result(make_empty(top.type & HASASCII));
        if (axes > 1) {
            result.record.shape_pointer = allocate_shape(static_cast<std::size_t>(axes));
            std::fill_n(result.record.shape_pointer, axes, 0);
            result.record.rank = axes;
            result.record.type = (result.record.type & ~ISVECTOR) | ISARRAY;
        }
        result.record.depth = 0;
        return std::swap(top, result.record);
    }
    const bool loses_axis = drops_axis && cells == 2;
    if (loses_axis && top.rank == 1) return put_scalar(top, 1);
    const std::uint32_t cut = static_cast<std::uint32_t>(top.elements / static_cast<std::uint64_t>(cells));
    const std::uint32_t n = top.elements - cut;
    const std::int32_t rank = top.rank - loses_axis;
    Owner keeper;
    keeper.record.rank = 1;
    keeper.record.shape_pointer = copied_shape(dimensions(top).first(static_cast<std::size_t>(rank)));
    if (!loses_axis) keeper.record.shape_pointer[rank - 1] = cells - 1;
    replace_items(top, copied_items(top.data_pointer, cut, n), n);
    put_shape(top, std::exchange(keeper.record.shape_pointer, nullptr), rank);
}

void reverse(DataElement*& sp, DataElement* cell) {
    DataElement& top = *sp;
    need_value(top, {sp, cell});
    const std::uint32_t n = top.elements;
    if (top.data_pointer == nullptr || n < 2) return;
    void* const turned = gathered(top.data_pointer, n, [n](const auto* from, auto* to) {
        in_heeded_stretches(
            n, [&](std::size_t at, std::size_t end) { std::reverse_copy(from + (n - end), from + (n - at), to + at); });
    });
    replace_items(top, turned, n);
}

namespace {

// Items of a square that is moved at a time: its lines stay in the nearest cache.
constexpr std::size_t tile = 32;

// A plane of rows * columns items, `row` and `column` items apart in the old block, to one with `row_to` from row to
// row and neighbouring columns.
template <class Bare>
void turn_plane(const Bare* from, std::size_t column, std::size_t rows, std::size_t columns, Bare* to,
                std::size_t row_to) {
    for (std::size_t r = 0; r < rows; r += tile)
        for (std::size_t c = 0; c < columns; c += tile) {
            for (std::size_t i = r; i < std::min(r + tile, rows); ++i)
                for (std::size_t j = c; j < std::min(c + tile, columns); ++j) to[i * row_to + j] = from[i + j * column];
            heed_attention();
        }
}

// All planes that the first and the last axis span, one for each place on the axes between.
template <class Bare>
void turn_axes(std::span<const std::int64_t> axes, const Bare* from, Bare* to) {
    const std::size_t rank = axes.size();
    std::vector<std::size_t> extent(axes.begin(), axes.end()), old_stride(rank), new_stride(rank), place(rank);
    std::exclusive_scan(extent.begin(), extent.end(), old_stride.begin(), std::size_t{1}, std::multiplies<>{});
    std::exclusive_scan(extent.rbegin(), extent.rend(), new_stride.rbegin(), std::size_t{1}, std::multiplies<>{});
    std::size_t old_at = 0, new_at = 0;
    for (;;) {
        turn_plane(from + old_at, old_stride[rank - 1], extent[0], extent[rank - 1], to + new_at, new_stride[0]);
        std::size_t k = 1;
        for (; k + 1 < rank; ++k) {
            old_at += old_stride[k];
            new_at += new_stride[k];
            if (++place[k] < extent[k]) break;
            old_at -= extent[k] * old_stride[k];
            new_at -= extent[k] * new_stride[k];
            place[k] = 0;
        }
        if (k + 1 >= rank) return;
    }
}

}  // namespace

void transpose(DataElement*& sp, DataElement* cell) {
    DataElement& top = *sp;
    if (top.rank == kind::ADDRESS || top.rank == kind::LOCAL_ADDRESS)
        raise(message::address_cannot_be_transposed, {sp, cell});
    need_value(top, {sp, cell});
    if (top.data_pointer == nullptr || top.rank < 2) return;
    constexpr std::int32_t most_axes = 8;
    if (top.rank > most_axes) raise(message::too_many_axes, {sp, cell});
    const auto axes = dimensions(top);
    Owner turned;
    turned.record.rank = top.rank;
    turned.record.shape_pointer = copied_shape(axes);
    std::ranges::reverse(std::span(turned.record.shape_pointer, axes.size()));
    if (top.elements > 1)
        replace_items(
            top,
            gathered(top.data_pointer, top.elements, [axes](const auto* from, auto* to) { turn_axes(axes, from, to); }),
            top.elements);
    std::swap(top.shape_pointer, turned.record.shape_pointer);
}

}  // namespace ondrel
