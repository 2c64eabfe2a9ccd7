#include "verbs/array/nests.h"

#include <algorithm>
#include <span>

#include "data/errors.h"
#include "data/moving.h"
#include "numbers/magnitude.h"
#include "verbs/array/shapes.h"
#include "verbs/scalar/items.h"

namespace ondrel {
namespace {

void need_value(const DataElement& record, Site site) {
    if (record.rank < 0) raise(message::restriction, site);
}

// ---- ENLIST

// What lies in a nest: how much, of which kinds, and the head that all of it shares as bare values, or 0.
struct Leaves {
    std::uint64_t count = 0;
    std::uint32_t type = 0;
    std::uint64_t head = 0;
    bool is_uniform = packing;

    void add(std::uint64_t of, std::uint64_t n) {
        is_uniform = is_uniform && of != 0 && (count == 0 || of == head);
        head = of;
        count += n;
    }
};

void enlist1(Leaves& leaves, const DataElement& value) {
    enter_nest();
    leaves.type |= value.type;
    if (value.elements == 0) return;
    if (is_packed(value.data_pointer)) return leaves.add(header(value.data_pointer).head, value.elements);
    for (const DataElement& item : std::span(items_of(value), value.elements)) {
        heed_attention();
        if (item.tag == tag::subarray)
            enlist1(leaves, *item.nested);
        else
            leaves.add(bare_head(item), 1);
    }
}

// To a packed block: values; the position behind the last one.
std::size_t enlist2(void* block, std::size_t at, const DataElement& value) {
    enter_nest();
    if (value.elements == 0) return at;
    if (is_packed(value.data_pointer)) {
        store_items(block, at, value.data_pointer, value.elements);
        return at + value.elements;
    }
    for (const DataElement& item : std::span(items_of(value), value.elements)) {
        heed_attention();
        if (item.tag == tag::subarray)
            at = enlist2(block, at, *item.nested);
        else
            put_value(block, at++, item);
    }
    return at;
}

// To a block of items, which hold what they point at.
void enlist2(ItemsOwner& made, const DataElement& value) {
    enter_nest();
    for (std::uint32_t i = 0; i < value.elements; ++i) {
        heed_attention();
        const DataElement item = item_at(value.data_pointer, i);
        if (item.tag == tag::subarray)
            enlist2(made, *item.nested);
        else
            made.items[made.filled++] = own_item(item);
    }
}

// ---- MATCH

bool equal(double left, double right) { return left == right || (left != left && right != right); }

// A polar number is the number that it stands for.
template <class Value>
bool equal_numbers(const DataElement& left, const DataElement& right) {
    const auto parts = [](const DataElement& item) {
        const Value value = load<Value>(item);
        return components_of(is_polar(item.head) ? to_cartesian(value) : value);
    };
    return std::ranges::equal(parts(left), parts(right), [](double a, double b) { return equal(a, b); });
}

// Two items of one tag, of no nested values.
bool equal(const DataElement& left, const DataElement& right) {
    switch (left.tag) {
        case tag::ascii: return left.ascii == right.ascii;
        case tag::unicode: return true;
        case tag::integer: return left.integer == right.integer;
        case tag::real: return equal(left.real, right.real);
        case tag::complex: return equal_numbers<Complex>(left, right);
        case tag::quaternion: return equal_numbers<Quaternion>(left, right);
        case tag::octonion: return equal_numbers<Octonion>(left, right);
        case tag::file: return left.file == right.file;
        default: return false;
    }
}

struct Points {
    std::uint64_t most, scored;
};

Points match(const DataElement& left, const DataElement& right) {
    enter_nest();
    Points points{2 * std::uint64_t{std::max(left.elements, right.elements)}, 0};
    for (std::uint32_t i = 0; i < std::min(left.elements, right.elements); ++i) {
        heed_attention();
        const DataElement l = item_at(left.data_pointer, i), r = item_at(right.data_pointer, i);
        if (l.tag == tag::subarray && r.tag == tag::subarray) {
            const Points inner = match(*l.nested, *r.nested);
            points.most += inner.most - 2;
            points.scored += inner.scored;
        } else if (l.tag == tag::subarray || r.tag == tag::subarray) {
            points.most += 2 * std::uint64_t{(l.tag == tag::subarray ? l : r).nested->elements};
        } else if (l.tag == r.tag) {
            points.scored += 1U + equal(l, r);
        }
    }
    return points;
}

bool exactmatch(const DataElement& left, const DataElement& right) {
    enter_nest();
    if (left.elements != right.elements) return false;
    for (std::uint32_t i = 0; i < left.elements; ++i) {
        heed_attention();
        const DataElement l = item_at(left.data_pointer, i), r = item_at(right.data_pointer, i);
        if (l.tag != r.tag || !(l.tag == tag::subarray ? exactmatch(*l.nested, *r.nested) : equal(l, r))) return false;
    }
    return true;
}

std::span<const std::int64_t> dimensions(const DataElement& value) {
    return {value.shape_pointer, static_cast<std::size_t>(value.rank)};
}

// Outline and items together: depth, rank and each dimension are a point each.
double likeness(const DataElement& left, const DataElement& right) {
    const Points items = match(left, right);
    const std::int32_t shorter = std::min(left.rank, right.rank), longer = std::max(left.rank, right.rank);
    std::uint64_t scored = items.scored + (left.depth == right.depth) + (left.rank == right.rank);
    for (std::int32_t k = 0; k < shorter; ++k) scored += left.shape_pointer[k] == right.shape_pointer[k];
    return static_cast<double>(scored) / static_cast<double>(items.most + static_cast<std::uint64_t>(longer) + 2);
}

bool same_outline(const DataElement& left, const DataElement& right) {
    return left.depth == right.depth && std::ranges::equal(dimensions(left), dimensions(right));
}

bool same(const DataElement& left, const DataElement& right) {
    return same_outline(left, right) && exactmatch(left, right);
}

double reals_in(std::uint32_t tag) {
    return tag >= tag::real && tag <= tag::octonion ? static_cast<double>(1U << (tag - tag::real)) : 0;
}
MatchWork work_of(const DataElement& left, const DataElement& right) {
    const std::uint32_t shared = std::min(left.elements, right.elements);
    MatchWork work{static_cast<double>(std::max(left.elements, right.elements)), 0};
    if (shared > 0 && is_packed(left.data_pointer) && is_packed(right.data_pointer)) {
        const std::uint32_t tag = head_tag(header(left.data_pointer).head);
        if (tag == head_tag(header(right.data_pointer).head)) work.reals = shared * reals_in(tag);
        return work;
    }
    for (std::uint32_t i = 0; i < shared; ++i) {
        const DataElement l = item_at(left.data_pointer, i), r = item_at(right.data_pointer, i);
        if (l.tag == tag::subarray && r.tag == tag::subarray) {
            const auto [items, reals] = work_of(*l.nested, *r.nested);
            work.items += items - 1;
            work.reals += reals;
        } else if (l.tag == tag::subarray || r.tag == tag::subarray) {
            work.items += (l.tag == tag::subarray ? l : r).nested->elements;
        } else if (l.tag == r.tag) {
            work.reals += reals_in(l.tag);
        }
    }
    return work;
}

}  // namespace

void enlist(DataElement*& sp, DataElement* cell) {
    DataElement& top = *sp;
    need_value(top, {sp, cell});
    if (!(top.type & STRUCTURED)) return ravel(sp, cell);
    Leaves leaves;
    enlist1(leaves, top);
    const std::uint32_t n = checked_count(leaves.count, {sp, cell});
    Owner result(n == 0 ? make_empty(leaves.type & HASASCII) : make_array(vector_shape(n), 1, nullptr, n, 0));
    if (n > 1 && leaves.is_uniform) {
        result.record.data_pointer = allocate_packed(leaves.head, n);
        enlist2(result.record.data_pointer, 0, top);
    } else if (n > 0) {
        ItemsOwner made(n);
        enlist2(made, top);
        result.record.data_pointer = made.take();
    }
    result.record.type |= leaves.type & ISPROBABLE;
    rebuild_kinds(result.record);
    pack(result.record);
    std::swap(top, result.record);
}

MatchWork match_work(const DataElement& left, const DataElement& right, bool exact) {
    if (left.rank < 0 || right.rank < 0) return {};
    if (!exact) return work_of(left, right);
    const auto larger = static_cast<double>(std::max(left.elements, right.elements));
    return {larger, same_outline(left, right) ? work_of(left, right).reals : 0};
}

void match(DataElement*& sp, DataElement* cell) {
    const DataElement &left = sp[-1], &right = *sp;
    need_value(left, {sp, cell});
    need_value(right, {sp, cell});
    DataElement item{};
    if (cell->modifier != 0) {
        item.head = make_head(tag::integer, form::boolean);
        item.integer = same(left, right);
    } else {
        item.head = make_head(tag::real, form::logical);
        item.real = likeness(left, right);
    }
    Owner result(make_scalar(item));
    dereferencepoint(*sp--);
    std::swap(*sp, result.record);
}

}  // namespace ondrel
