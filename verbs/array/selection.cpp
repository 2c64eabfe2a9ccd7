#include "verbs/array/selection.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <span>

#include "data/errors.h"
#include "data/moving.h"
#include "numbers/kinds.h"
#include "verbs/array/reshape.h"

namespace ondrel {
namespace {


// A 1 for what the mask keeps: numbers above 0. And how many these are.
struct Kept {
    std::unique_ptr<std::uint8_t[]> flags;
    std::size_t places, count = 0;
};
Kept kept_places(const DataElement& mask) {
    const void* const data = mask.data_pointer;
    const std::size_t n = data == nullptr ? 0 : mask.elements;
    Kept kept{std::make_unique_for_overwrite<std::uint8_t[]>(n), n};
    const bool in_words = n > 0 && is_packed(data) && item_width(header(data).head) == sizeof(std::int64_t);
    in_heeded_stretches(n, [&](std::size_t from, std::size_t end) {
        std::uint8_t* const flags = kept.flags.get();
        if (in_words)
            std::transform(static_cast<const std::int64_t*>(data) + from, static_cast<const std::int64_t*>(data) + end,
                           flags + from, [](std::int64_t value) { return value > 0; });
        else
            for (std::size_t i = from; i < end; ++i) flags[i] = item_at(data, i).integer > 0;
        kept.count += static_cast<std::size_t>(std::count(flags + from, flags + end, 1));
    });
    return kept;
}

void put_empty(DataElement& slot, std::int16_t depth = 1) {
    Owner result(make_empty());
    result.record.depth = depth;
    std::swap(slot, result.record);
}

// The axes of the data that a mask goes along; all others are whole.
enum class Along { first_axis, last_axis };

// Leaves of each run of `items` neighbours, one for each place of the mask, those that it keeps. The place where a
// value is written goes on only when it is kept; so one more than all may be written to.
template <class Bare>
void keep(const Bare* from, Bare* to, std::size_t n, std::span<const std::uint8_t> kept, std::size_t items) {
    std::size_t out = 0, since_heeded = 0;
    for (std::size_t at = 0; at < n;)
        for (std::size_t place = 0; place < kept.size(); ++place, at += items) {
            if (items == 1) {
                to[out] = from[at];
                out += kept[place];
            } else if (kept[place]) {
                std::copy_n(from + at, items, to + out);
                out += items;
            }
            if ((since_heeded += items) < heed_every) continue;
            since_heeded = 0;
            heed_attention();
        }
}

void compress_along(DataElement*& sp, DataElement* cell, Along along) {
    DataElement &data = sp[-1], &mask = *sp;
    if (mask.rank < 0 || (mask.rank > 1 && !is_single(mask)) || (mask.type & KIND_BITS) != HASINTEGER ||
        (mask.type & NESTED))
        raise(message::no_mask, {sp, cell});
    if (data.rank < 0) raise(message::restriction, {sp, cell});
    if (is_single(mask)) {
        const bool keeps = item_at(mask.data_pointer, 0).integer > 0;
        dereferencepoint(*sp--);
        if (!keeps) put_empty(data, data.depth);
        return;
    }
    const std::int32_t axis = along == Along::first_axis ? 0 : data.rank - 1;
    if (data.rank == 0 || data.shape_pointer[axis] != mask.elements) raise(message::no_match, {sp, cell});

    const Kept kept = kept_places(mask);
    const std::uint64_t count = kept.count;
    const auto n = static_cast<std::uint32_t>(mask.elements == 0 ? 0 : data.elements / mask.elements * count);
    Owner result;
    result.record.rank = 1;  // a holder of the shape, and then of the items
    result.record.shape_pointer = allocate_shape(static_cast<std::size_t>(data.rank));
    std::copy_n(data.shape_pointer, data.rank, result.record.shape_pointer);
    result.record.shape_pointer[axis] = static_cast<std::int64_t>(count);
    if (n > 0) {
        const std::size_t items = along == Along::first_axis ? 1 : data.elements / mask.elements;
        constexpr std::size_t slack = 1;
        result.record.data_pointer = gathered(
            data.data_pointer, n,
            [&](const auto* from, auto* to) {
                keep(from, to, data.elements, {kept.flags.get(), kept.places}, items);
            },
            slack);
        set_elements(result.record, n);
        if (n == 1 && is_packed(result.record.data_pointer))
            replace_items(result.record, unpack(result.record.data_pointer, 1), 1);
    }
    const std::uint32_t own_bits = data.type & ~(RANK_BITS | KIND_BITS | PER_ITEM | ISSTRUCTURE);
    result.record.type = own_bits | (data.rank > 1 ? ISARRAY : ISVECTOR) | (n == 1 ? ISONEELEMENT : 0) |
                         (n == 0 ? ISEMPTY | (data.type & HASASCII) : 0);
    result.record.rank = data.rank;
    rebuild_kinds(result.record);
    result.record.depth = data.depth;
    dereferencepoint(*sp--);
    std::swap(data, result.record);
}

}  // namespace

void compress(DataElement*& sp, DataElement* cell) { compress_along(sp, cell, Along::first_axis); }
void compress_cells(DataElement*& sp, DataElement* cell) { compress_along(sp, cell, Along::last_axis); }

void replicate(DataElement*& sp, DataElement* cell) {
    DataElement &data = sp[-1], &count = *sp;
    if (count.rank < 0 || data.rank < 0 || (count.type & ISEMPTY) || !(is_single(count) || (count.type & HASINTEGER)))
        raise(message::restriction, {sp, cell});
    const DataElement item = item_at(count.data_pointer, 0);
    const bool whole_real = item.tag == tag::real && fits_integer(item.real) && std::trunc(item.real) == item.real;
    if (item.tag != tag::integer && !whole_real) raise(message::restriction, {sp, cell});
    const auto times = static_cast<std::int32_t>(
        static_cast<std::uint32_t>(whole_real ? static_cast<std::int64_t>(item.real) : item.integer));
    if (times == 0 || times == 1) {
        dereferencepoint(*sp--);
        if (times == 0) put_empty(data);
        return;
    }
    if (count.rank > 0) raise(message::wrong_rank_for_reshape, {sp, cell});
    DataElement length{};
    length.head = make_head(tag::integer, form::number);
    length.integer = std::int64_t{data.elements} * times;
    Owner shape(make_scalar(length));
    if (reshape(data, shape.record, {sp, cell}) != 0) throw Unwind{};
    dereferencepoint(*sp--);
}

}  // namespace ondrel
