#include "verbs/array/folds.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>
#include <numeric>
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
// Items of a group that are worth a call.
constexpr std::size_t worth_a_call = 32;
// Stretches of columns are short enough to stay in the nearest cache.
constexpr std::size_t columns_at_once = 2048, rows_to_heed = 32;

template <class Operation, class Value>
Value step(const Value& so_far, const Value& next) {
    return Operation::from_left ? Operation::apply(so_far, next) : Operation::apply(next, so_far);
}

// The place of the i-th item of a group of n in the order of the operation.
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
    for (std::size_t from = 0; from < count; from += columns_at_once) {
        const std::size_t width = std::min(columns_at_once, count - from);
        const auto row = [&](std::size_t i) { return values + place_in_order<Operation>(i, n) * count + from; };
        std::transform(row(0), row(0) + width, results + from, [](const Source& x) { return static_cast<Value>(x); });
        for (std::size_t i = 1; i < n; ++i) {
            fold_row<Operation>(row(i), width, results + from);
            if (i % rows_to_heed == rows_to_heed - 1) heed_attention();
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
    OwnedBlock block;
    explicit Room(std::size_t n) : block(allocate_packed(head(), n)) {}
    static std::uint64_t head() { return make_head(tag_of<Value>, form::number); }
    Value* values() { return static_cast<Value*>(block.get()); }
};

template <class Value>
void* results_of(Room<Value>& room, std::size_t count) {
    return count == 1 ? unpack(room.block.get(), 1) : room.block.release();
}

// Where the bare values of an operand lie, cartesian: in its block, or in a copy.
template <class Value>
struct Operand {
    OwnedBlock copy;
    const Value* values;

    explicit Operand(const DataElement& value) : values(static_cast<const Value*>(value.data_pointer)) {
        const void* const block = value.data_pointer;
        if (is_packed(block) && !(header(block).head & in_bytes) && !is_polar(header(block).head)) return;
        copy.reset(allocate_packed(Room<Value>::head(), value.elements));
        auto* const to = static_cast<Value*>(copy.get());
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

// The sum of n integers that are each raised by as much, wrapped, and the bits that there are in them.
struct SumAndBits {
    std::uint64_t sum = 0, bits = 0;
};
VECTOR_CLONES void add_integers(const std::int64_t* values, std::size_t n, std::uint64_t raise, SumAndBits& so_far) {
    std::uint64_t sum = 0, bits = 0;
    for (std::size_t i = 0; i < n; ++i) {
        const std::uint64_t raised = static_cast<std::uint64_t>(values[i]) + raise;
        sum += raised;
        bits |= raised;
    }
    so_far.sum += sum;
    so_far.bits |= bits;
}

// Adds a row to the sums, wrapped; the bits of its items, raised as above.
VECTOR_CLONES std::uint64_t add_row(const std::int64_t* row, std::size_t n, std::uint64_t raise, std::int64_t* sums) {
    std::uint64_t bits = 0;
#pragma GCC ivdep
    for (std::size_t i = 0; i < n; ++i) {
        sums[i] = static_cast<std::int64_t>(static_cast<std::uint64_t>(sums[i]) + static_cast<std::uint64_t>(row[i]));
        bits |= static_cast<std::uint64_t>(row[i]) + raise;
    }
    return bits;
}

// False where a sum might not be exact in doubles, so that its order tells. Sums of n integers are exact if these lie
// from -limit to below the limit, which shows when they are raised by it.
bool sum_exactly(const std::int64_t* values, const Groups& groups, std::int64_t* results) {
    const auto [count, n, neighbours] = groups;
    constexpr int precise = std::numeric_limits<double>::digits;
    const int free_bits = precise - static_cast<int>(std::bit_width(n));
    if (free_bits < 0) return false;
    const std::uint64_t limit = std::uint64_t{1} << free_bits;
    const auto are_exact = [limit](std::uint64_t bits) { return bits < 2 * limit; };
    if ((neighbours || count == 1) && n >= worth_a_call) {
        for (std::size_t group = 0; group < count; ++group) {
            SumAndBits all;
            for (std::size_t from = 0; from < n; from += heed_every) {
                add_integers(values + group * n + from, std::min(heed_every, n - from), limit, all);
                heed_attention();
            }
            if (!are_exact(all.bits)) return false;
            results[group] = static_cast<std::int64_t>(all.sum - n * limit);
        }
        return true;
    }
    if (neighbours) {
        SumAndBits all;
        add_integers(values, count * n, limit, all);
        if (!are_exact(all.bits)) return false;
        fold_all<Sum>(values, groups, results);
        return true;
    }
    std::uint64_t bits = 0;
    for (std::size_t from = 0; from < count; from += columns_at_once) {
        const std::size_t width = std::min(columns_at_once, count - from);
        std::fill_n(results + from, width, 0);
        for (std::size_t i = 0; i < n; ++i) {
            bits |= add_row(values + i * count + from, width, limit, results + from);
            if (i % rows_to_heed == rows_to_heed - 1) heed_attention();
        }
    }
    return are_exact(bits);
}

void* folded_integers(Fold fold, const DataElement& value, const Groups& groups) {
    const Operand<std::int64_t> operand(value);
    if (fold == Fold::sum) {
        Room<std::int64_t> sums(groups.count);
        if (sum_exactly(operand.values, groups, sums.values())) return results_of(sums, groups.count);
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

// The words of magnitudes order as they do, those of NaN above that of infinity.
std::uint64_t doubled(double value) { return std::bit_cast<std::uint64_t>(value) << 1; }
constexpr std::uint64_t doubled_infinity = std::bit_cast<std::uint64_t>(std::numeric_limits<double>::infinity()) << 1;

VECTOR_CLONES bool has_nan(const double* values, std::size_t n) {
    std::uint64_t most = 0;
    for (std::size_t i = 0; i < n; ++i) most = std::max(most, doubled(values[i]));
    return most > doubled_infinity;
}

bool is_zero_or_nan(const std::byte* value) {
    double number;
    std::memcpy(&number, value, sizeof number);
    return !(number < 0 || number > 0);
}

// ---- in any order

// Folds the n items of a group to one. False where the order tells.
using GroupFold = bool (*)(const std::byte* items, std::size_t n, std::byte* result);

template <bool greatest, class Value>
Value extreme_of_two(const Value& a, const Value& b) {
    return (greatest ? a > b : a < b) ? a : b;
}

// So many items side by side that none waits for another; and of reals the words of the greatest magnitudes, doubled,
// which tell whether there is a NaN among them.
template <class Value>
struct Extremes {
    static constexpr std::size_t abreast = 256 / sizeof(Value);
    Value best[abreast];
    std::uint64_t magnitudes[abreast];
};

// Takes n items, as many times as many as there are abreast.
template <bool greatest, class Value>
VECTOR_CLONES void take_items(const Value* values, std::size_t n, Extremes<Value>& extremes) {
    constexpr std::size_t abreast = Extremes<Value>::abreast;
    Extremes<Value> own = extremes;
    for (std::size_t at = 0; at < n; at += abreast)
        for (std::size_t k = 0; k < abreast; ++k) {
            const Value& value = values[at + k];
            if constexpr (std::is_same_v<Value, double>)
                own.magnitudes[k] = std::max(own.magnitudes[k], doubled(value));
            own.best[k] = extreme_of_two<greatest>(own.best[k], value);
        }
    extremes = own;
}

template <bool greatest, class Value>
bool extreme(const std::byte* items, std::size_t n, std::byte* result) {
    constexpr std::size_t abreast = Extremes<Value>::abreast;
    const auto* const values = reinterpret_cast<const Value*>(items);
    Extremes<Value> extremes{};
    std::fill_n(extremes.best, abreast, values[0]);
    const std::size_t whole = n / abreast * abreast;
    for (std::size_t from = 0; from < whole; from += heed_every) {
        take_items<greatest>(values + from, std::min(heed_every, whole - from), extremes);
        heed_attention();
    }
    Value rest[abreast];
    std::fill_n(rest, abreast, values[0]);
    std::copy_n(values + whole, n - whole, rest);
    take_items<greatest>(rest, abreast, extremes);
    const Value best =
        std::accumulate(extremes.best, extremes.best + abreast, values[0], extreme_of_two<greatest, Value>);
    std::memcpy(result, &best, sizeof best);
    if constexpr (std::is_same_v<Value, double>)
        return best != 0 && *std::ranges::max_element(extremes.magnitudes) <= doubled_infinity;
    return true;
}

// By the loop of a verb: a front of the group's items takes in all others, so many at a time; then its one half the
// other, and again. False where the order tells.
constexpr std::size_t widest_front = 2048;
bool fold_against_front(DyadicLoop pairs, const Setting& setting, const std::byte* items, std::size_t n,
                        std::size_t width, bool can_be_nan, std::byte* front, std::byte* result) {
    for (std::size_t at = 0; at < n; at += widest_front) {
        const std::size_t some = std::min(widest_front, n - at);
        const std::byte* const next = items + at * width;
        if (can_be_nan && has_nan(reinterpret_cast<const double*>(next), some)) return false;
        if (at == 0)
            std::copy_n(next, some * width, front);
        else
            pairs(front, next, front, some, setting);
        if (at % heed_every == 0) heed_attention();
    }
    for (std::size_t left = std::min(n, widest_front); left > 1;) {
        const std::size_t half = left / 2;
        left -= half;
        pairs(front, front + left * width, front, half, setting);
    }
    if (can_be_nan && is_zero_or_nan(front)) return false;
    std::copy_n(front, width, result);
    return true;
}

template <class Value>
GroupFold extreme_of(Fold fold) {
    return fold == Fold::greatest || fold == Fold::any ? extreme<true, Value> : extreme<false, Value>;
}

// The fold that is the least or the greatest of the items; null if it is not.
GroupFold extreme_of(Fold fold, std::uint64_t head) {
    if (head & in_bytes) return extreme_of<std::uint8_t>(fold);
    if (fold != Fold::least && fold != Fold::greatest) return nullptr;
    switch (head_tag(head)) {
        case tag::ascii: return extreme_of<std::uint8_t>(fold);
        case tag::integer: return extreme_of<std::int64_t>(fold);
        case tag::real: return extreme_of<double>(fold);
        default: return nullptr;
    }
}

}  // namespace

void* folded_by_loops(const DyadicVerb& verb, bool from_left, Fold fold, const DataElement& value, const Groups& groups,
                      const Setting& setting) {
    const auto [count, n, neighbours] = groups;
    const void* const block = value.data_pointer;
    const bool by_rows = !neighbours && count >= worth_a_call;
    const bool by_groups = is_free(fold) && n >= worth_a_call && (neighbours || count == 1);
    if (!is_packed(block) || is_polar(header(block).head) || !(by_rows || by_groups)) return nullptr;
    const std::uint64_t head = header(block).head, of_item = item_head(head);
    const std::size_t kind = kind_index(head_tag(of_item)), width = item_width(head);
    const DyadicKinds& of_kinds = verb.pairs[kind][kind];
    const auto& loop = (head & in_bytes ? verb.of_truths : of_kinds).loops[0];
    if (!loop.whole || of_kinds.head == nullptr || of_kinds.head(of_item, of_item, of_kinds.loops[0].tag) != of_item ||
        loop.width != width)
        return nullptr;
    const DyadicLoop pairs = loop.by_extent[neither_single];
    const auto* const values = static_cast<const std::byte*>(block);
    OwnedBlock made(allocate_packed(head, count));
    auto* const results = static_cast<std::byte*>(made.get());
    if (by_rows) {
        const auto row = [&](std::size_t i) { return values + (from_left ? i : n - 1 - i) * count * width; };
        in_heeded_stretches(count * width, [&](std::size_t from, std::size_t end) {
            std::copy(row(0) + from, row(0) + end, results + from);
        });
        for (std::size_t i = 1; i < n; ++i) {
            in_stretches(results, width, count, [&](std::size_t at, std::byte* out, std::size_t items) {
                const std::byte* const next = row(i) + at * width;
                return from_left ? pairs(out, next, out, items, setting) : pairs(next, out, out, items, setting);
            });
        }
        return made.release();
    }
    const GroupFold group_fold = extreme_of(fold, head);
    const bool can_be_nan = head_tag(of_item) >= tag::real && width > 1;
    if (group_fold == nullptr && can_be_nan && head_tag(of_item) != tag::real) return nullptr;
    const OwnedBlock front(group_fold == nullptr ? allocate_packed(head, std::min(n, widest_front)) : nullptr);
    for (std::size_t group = 0; group < count; ++group) {
        const std::byte* const items = values + group * n * width;
        std::byte* const result = results + group * width;
        const bool done = group_fold != nullptr
                              ? group_fold(items, n, result)
                              : fold_against_front(pairs, setting, items, n, width, can_be_nan,
                                                   static_cast<std::byte*>(front.get()), result);
        if (!done) return nullptr;
    }
    return count == 1 ? unpack(made.get(), 1) : made.release();
}

}  // namespace ondrel
