#include "verbs/array/folds.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>
#include <utility>

#include "numbers/algebra.h"
#include "numbers/magnitude.h"
#include "verbs/scalar/clones.h"
#include "verbs/scalar/loops.h"

namespace ondrel {
namespace {

// ---- the operations

template <class Value, class Each>
Value componentwise(const Value& a, const Value& b, const Each& each) {
    if constexpr (!is_hypercomplex<Value>) {
        return each(a, b);
    } else {
        auto left = components_of(a);
        const auto right = components_of(b);
        for (std::size_t k = 0; k < left.size(); ++k) left[k] = each(left[k], right[k]);
        return std::bit_cast<Value>(left);
    }
}

struct Sum {
    static constexpr bool from_left = true;
    template <class Value>
    static Value apply(const Value& a, const Value& b) {
        return componentwise(a, b, [](auto x, auto y) { return x + y; });
    }
};
struct Difference {
    static constexpr bool from_left = false;
    template <class Value>
    static Value apply(const Value& a, const Value& b) {
        return componentwise(a, b, [](auto x, auto y) { return x - y; });
    }
};
struct Product {
    static constexpr bool from_left = false;
    template <class Value>
    static Value apply(const Value& a, const Value& b) {
        return product(a, b);
    }
};
struct Quotient {
    static constexpr bool from_left = false;
    template <class Value>
    static Value apply(const Value& a, const Value& b) {
        return quotient(a, b);
    }
};

// ---- the folds

// Groups that are folded at the same time: enough to hide how long one sum takes.
constexpr std::size_t lanes = 8;

template <class Operation, class Value>
Value step(const Value& so_far, const Value& next) {
    return Operation::from_left ? Operation::apply(so_far, next) : Operation::apply(next, so_far);
}

// Places of one group from `first` on, in the order of the operation.
template <class Operation>
std::size_t place_in_order(std::size_t i, std::size_t n) {
    return Operation::from_left ? i : n - 1 - i;
}

// One group, or as many as there are lanes, `n` items apart.
template <class Operation, std::size_t at_once, class Source, class Value>
VECTOR_CLONES void fold_neighbours(const Source* values, std::size_t n, Value* results) {
    Value sums[at_once];
    for (std::size_t k = 0; k < at_once; ++k)
        sums[k] = static_cast<Value>(values[k * n + place_in_order<Operation>(0, n)]);
    for (std::size_t from = 1; from < n; from += heed_every) {
        const std::size_t end = std::min(n, from + heed_every);
        for (std::size_t i = from; i < end; ++i)
            for (std::size_t k = 0; k < at_once; ++k)
                sums[k] = step<Operation>(sums[k], static_cast<Value>(values[k * n + place_in_order<Operation>(i, n)]));
        heed_attention();
    }
    std::copy_n(sums, at_once, results);
}

template <class Operation, class Source, class Value>
VECTOR_CLONES void fold_row(const Source* row, std::size_t n, Value* results) {
#pragma GCC ivdep
    for (std::size_t i = 0; i < n; ++i) results[i] = step<Operation>(results[i], static_cast<Value>(row[i]));
}

template <class Operation, class Source, class Value>
void fold_all(const Source* values, const Groups& groups, Value* results) {
    const auto [count, n, neighbours] = groups;
    if (neighbours || count == 1) {
        std::size_t group = 0;
        for (; group + lanes <= count; group += lanes)
            fold_neighbours<Operation, lanes>(values + group * n, n, results + group);
        for (; group < count; ++group) fold_neighbours<Operation, 1>(values + group * n, n, results + group);
        return;
    }
    // stretches of columns short enough to stay in the nearest cache
    constexpr std::size_t stretch = 2048;
    for (std::size_t from = 0; from < count; from += stretch) {
        const std::size_t width = std::min(stretch, count - from);
        const auto row = [&](std::size_t i) { return values + place_in_order<Operation>(i, n) * count + from; };
        std::transform(row(0), row(0) + width, results + from, [](const Source& x) { return static_cast<Value>(x); });
        for (std::size_t i = 1; i < n; ++i) {
            fold_row<Operation>(row(i), width, results + from);
            if (i % 32 == 31) heed_attention();
        }
    }
}

template <class Source, class Value>
void fold_all(Fold fold, const Source* values, const Groups& groups, Value* results) {
    switch (fold) {
        case Fold::sum: return fold_all<Sum>(values, groups, results);
        case Fold::difference: return fold_all<Difference>(values, groups, results);
        case Fold::product: return fold_all<Product>(values, groups, results);
        default: return fold_all<Quotient>(values, groups, results);
    }
}

// ---- values and results

// A packed block, given back at the end.
template <class Value>
struct Room {
    Owner block;
    explicit Room(std::size_t n) { block.record.data_pointer = allocate_packed(head(), n); }
    static std::uint64_t head() { return make_head(tag_of<Value>, form::number); }
    Value* values() { return static_cast<Value*>(block.record.data_pointer); }
    void* take() { return std::exchange(block.record.data_pointer, nullptr); }
};

template <class Value>
void* results_of(Room<Value>& room, std::size_t count) {
    return count == 1 ? unpack(room.values(), 1) : room.take();
}

// Where the bare values of an operand lie, cartesian: in its block, or in a copy.
template <class Value>
struct Operand {
    Owner copy;
    const Value* values;

    explicit Operand(const DataElement& value) : values(static_cast<const Value*>(value.data_pointer)) {
        const void* const block = value.data_pointer;
        if (is_packed(block) && !(header(block).head & in_bytes) && !is_polar(header(block).head)) return;
        copy.record.data_pointer = allocate_packed(Room<Value>::head(), value.elements);
        auto* const to = static_cast<Value*>(copy.record.data_pointer);
        for (std::size_t i = 0; i < value.elements; ++i) {
            const DataElement item = item_at(block, i);
            to[i] = is_polar(item.head) ? to_cartesian(load<Value>(item)) : load<Value>(item);
        }
        values = to;
    }
};

template <class Value>
void* folded_numbers(Fold fold, const DataElement& value, const Groups& groups) {
    const Operand<Value> operand(value);
    Room<Value> room(groups.count);
    fold_all(fold, operand.values, groups, room.values());
    return results_of(room, groups.count);
}

// Whether sums of n of these are exact in doubles, so that they may go any way.
VECTOR_CLONES bool sums_are_exact(const std::int64_t* values, std::size_t count, std::size_t n) {
    std::int64_t bits = 0;
    for (std::size_t i = 0; i < count; ++i) bits |= values[i] ^ (values[i] >> 63);
    return std::bit_width(static_cast<std::uint64_t>(bits)) + std::bit_width(n) <= std::numeric_limits<double>::digits;
}

void* folded_integers(Fold fold, const DataElement& value, const Groups& groups) {
    const Operand<std::int64_t> operand(value);
    if (fold == Fold::sum && sums_are_exact(operand.values, value.elements, groups.n)) {
        Room<std::int64_t> room(groups.count);
        fold_all<Sum>(operand.values, groups, room.values());
        return results_of(room, groups.count);
    }
    Room<double> room(groups.count);
    fold_all(fold, operand.values, groups, room.values());
    ItemsOwner made(groups.count);
    for (const double* result = room.values(); made.filled < groups.count; ++result) {
        made.items[made.filled++] =
            fits_integer(*result) ? make_item(static_cast<std::int64_t>(*result), make_head(tag::integer, form::number))
                                  : make_item(*result, make_head(tag::real, form::number));
    }
    return made.take();
}

// How many of the truths are 1, which is exact.
template <class Value>
void* counted_truths(const DataElement& value, const Groups& groups) {
    Room<std::int64_t> counts(groups.count);
    fold_all<Sum>(static_cast<const std::uint8_t*>(value.data_pointer), groups, counts.values());
    Room<Value> room(groups.count);
    std::transform(counts.values(), counts.values() + groups.count, room.values(),
                   [](std::int64_t count) { return static_cast<Value>(count); });
    return results_of(room, groups.count);
}

}  // namespace

void* folded(Fold fold, const DataElement& value, const Groups& groups) {
    const std::uint32_t kind = item_at(value.data_pointer, 0).tag;
    if (fold == Fold::sum && is_packed(value.data_pointer) && (header(value.data_pointer).head & in_bytes))
        return kind == tag::real ? counted_truths<double>(value, groups) : counted_truths<std::int64_t>(value, groups);
    switch (kind) {
        case tag::integer: return folded_integers(fold, value, groups);
        case tag::real: return folded_numbers<double>(fold, value, groups);
        case tag::complex: return folded_numbers<Complex>(fold, value, groups);
        case tag::quaternion: return folded_numbers<Quaternion>(fold, value, groups);
        default: return folded_numbers<Octonion>(fold, value, groups);
    }
}

namespace {

VECTOR_CLONES bool has_nan(const double* values, std::size_t n) {
    bool any = false;
    for (std::size_t i = 0; i < n; ++i) any |= values[i] != values[i];
    return any;
}

bool is_zero_or_nan(const std::byte* value) {
    double number;
    std::memcpy(&number, value, sizeof number);
    return !(number < 0 || number > 0);
}

}  // namespace

void* folded_by_loops(const DyadicVerb& verb, bool from_left, bool is_free, const DataElement& value,
                      const Groups& groups, const Setting& setting) {
    constexpr std::size_t worth_a_call = 32;
    const auto [count, n, neighbours] = groups;
    const void* const block = value.data_pointer;
    const bool by_rows = !neighbours && count >= worth_a_call;
    if (!is_packed(block) || is_polar(header(block).head) || !(by_rows || (is_free && n >= worth_a_call && count == 1)))
        return nullptr;
    const std::uint64_t head = header(block).head, of_item = item_head(head);
    const std::size_t kind = kind_index(head_tag(of_item)), width = item_width(head);
    const DyadicKinds& of_kinds = verb.pairs[kind][kind];
    const auto& loop = (head & in_bytes ? verb.of_truths : of_kinds).loops[0];
    if (!loop.whole || of_kinds.head == nullptr || of_kinds.head(of_item, of_item, of_kinds.loops[0].tag) != of_item ||
        loop.width != width)
        return nullptr;
    const DyadicLoop pairs = loop.by_extent[neither_single];
    const auto* const values = static_cast<const std::byte*>(block);
    const bool can_be_nan = head_tag(of_item) >= tag::real && width > 1;

    if (by_rows) {
        Owner made;
        made.record.data_pointer = allocate_packed(head, count);
        auto* const results = static_cast<std::byte*>(made.record.data_pointer);
        const auto row = [&](std::size_t i) { return values + (from_left ? i : n - 1 - i) * count * width; };
        std::copy_n(row(0), count * width, results);
        for (std::size_t i = 1; i < n; ++i) {
            in_stretches(results, width, count, true, [&](std::size_t at, std::byte* out, std::size_t items) {
                const std::byte* const next = row(i) + at * width;
                return from_left ? pairs(out, next, out, items, setting) : pairs(next, out, out, items, setting);
            });
            heed_attention();
        }
        return std::exchange(made.record.data_pointer, nullptr);
    }

    if (can_be_nan && (head_tag(of_item) != tag::real || has_nan(static_cast<const double*>(block), n))) return nullptr;
    // the one half with the other, and again, until few are left
    Owner made;
    made.record.data_pointer = allocate_packed(head, n - n / 2);
    auto* const left = static_cast<std::byte*>(made.record.data_pointer);
    const std::byte* from = values;
    for (std::size_t items = n; items > 1;) {
        const std::size_t half = items / 2, kept = items - half;
        in_stretches(left, width, half, true, [&](std::size_t at, std::byte* out, std::size_t some) {
            return pairs(from + at * width, from + (kept + at) * width, out, some, setting);
        });
        if (kept > half && from != left) std::copy_n(from + half * width, width, left + half * width);
        from = left;
        items = kept;
        heed_attention();
    }
    if (can_be_nan && is_zero_or_nan(left)) return nullptr;
    return unpack(left, 1);
}

}  // namespace ondrel
