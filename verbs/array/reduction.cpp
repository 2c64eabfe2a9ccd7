#include "verbs/array/reduction.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <functional>
#include <span>

#include "data/errors.h"
#include "data/instructions.h"
#include "numbers/magnitude.h"
#include "verbs/array/folds.h"
#include "verbs/scalar/loops.h"

namespace ondrel {
namespace {

// What a verb folds like: from the first item to the last, (a f b) f c, or from the last one, a f (b f c).
struct Reduction {
    const DyadicVerb* verb;
    bool from_left;
    Fold fold;
};

const auto reductions = [] {  // by the verb's instruction; of others there is none
    std::array<Reduction, Instructions.size()> all{};
#define INSTRUCTION(...)
#define DYADIC(number, name, code, known, action, verb, fold, ...) \
    all[number] = {&verb, row(Instruction::name).has(traits::from_left), Fold::fold};
#include "data/instructions.def"
    return all;
}();

// ---- item by item

// A nested scalar gives way to the item in it.
void leave_scalar(DataElement& item) {
    if (item.tag != tag::subarray || item.nested->rank != 0) return;
    const DataElement inner = own_item_at(item.nested->data_pointer, 0);
    dereferencedataelems(&item, 1);
    item = inner;
}

void* folded_items(const Reduction& reduction, const DataElement& value, const Groups& groups, const Setting& setting) {
    ItemsOwner made(groups.count);
    const auto item = [&](std::size_t group, std::size_t i) {
        return item_at(value.data_pointer, groups.place(group, reduction.from_left ? i : groups.n - 1 - i));
    };
    for (std::size_t group = 0; group < groups.count; ++group) {
        DataElement& so_far = made.items[group];
        so_far = own_item(item(group, 0));
        ++made.filled;
        for (std::size_t i = 1; i < groups.n; ++i) {
            heed_attention();
            const DataElement next = item(group, i);
            const DataElement result = reduction.from_left ? item_of_pair(*reduction.verb, so_far, next, setting)
                                                           : item_of_pair(*reduction.verb, next, so_far, setting);
            dereferencedataelems(&so_far, 1);
            so_far = result;
        }
        leave_scalar(so_far);
    }
    return made.take();
}

// ---- sums of mixed kinds

using Components = std::array<double, 8>;

template <class Value>
void add_number(Components& sum, const DataElement& item) {
    const auto components = components_of(is_polar(item.head) ? to_cartesian(load<Value>(item)) : load<Value>(item));
    std::ranges::transform(components, sum, sum.begin(), std::plus<>{});
}

void add_item(Components& sum, const DataElement& item, Site site) {
    switch (item.tag) {
        case tag::integer: sum[0] += static_cast<double>(item.integer); return;
        case tag::real: sum[0] += item.real; return;
        case tag::complex: return add_number<Complex>(sum, item);
        case tag::quaternion: return add_number<Quaternion>(sum, item);
        case tag::octonion: return add_number<Octonion>(sum, item);
        default: raise(message::restriction, site);
    }
}

template <class Value>
DataElement number_of(const Components& sum) {
    Value value;
    std::memcpy(&value, sum.data(), sizeof value);
    return make_item(value, make_head(tag_of<Value>, form::number));
}

// The sum as a number of the lowest kind that holds it.
DataElement smallest_number(const Components& sum) {
    const auto any = [&](std::size_t from, std::size_t to) {
        return std::any_of(sum.data() + from, sum.data() + to, [](double component) { return component != 0; });
    };
    if (any(4, 8)) return number_of<Octonion>(sum);
    if (any(2, 4)) return number_of<Quaternion>(sum);
    if (any(1, 2)) return number_of<Complex>(sum);
    const double real = sum[0];
    if (fits_integer(real) && real == std::trunc(real))
        return make_item(static_cast<std::int64_t>(real), make_head(tag::integer, form::number));
    return number_of<double>(sum);
}

void* mixed_sums(const DataElement& value, const Groups& groups, Site site) {
    ItemsOwner made(groups.count);
    for (std::size_t group = 0; group < groups.count; ++group) {
        Components sum{};
        for (std::size_t i = 0; i < groups.n; ++i) {
            heed_attention();
            add_item(sum, item_at(value.data_pointer, groups.place(group, i)), site);
        }
        made.items[group] = smallest_number(sum);
        ++made.filled;
    }
    return made.take();
}

// ---- the frame

void* results_of(const Reduction& reduction, const DataElement& value, const Groups& groups, Site site) {
    const Setting setting = setting_of(*reduction.verb, site);
    if (groups.n == 1) return folded_items(reduction, value, groups, setting);
    if (!(value.type & STRUCTURED) && reduction.fold != Fold::none && !is_free(reduction.fold)) {
        const bool of_numbers = (value.type & (HASINTEGER | HASREAL | HASCOMPLEX | HASQUATERNION | HASOCTONION)) != 0;
        if (!(value.type & COMPLEXED) && of_numbers) return folded(reduction.fold, value, groups);
        if ((value.type & COMPLEXED) && reduction.fold == Fold::sum) return mixed_sums(value, groups, site);
    }
    void* const by_loops =
        folded_by_loops(*reduction.verb, reduction.from_left, reduction.fold, value, groups, setting);
    return by_loops != nullptr ? by_loops : folded_items(reduction, value, groups, setting);
}

void reduce_axis(DataElement*& sp, DataElement* cell, bool neighbours) {
    DataElement& top = *sp;
    const Site site{sp, cell};
    if (top.data_pointer == nullptr || top.rank == 0) return;
    if (top.type & ISADDRESS) raise(message::address_cannot_be_reduced, site);
    if (top.rank < 0) raise(message::restriction, site);
    const InstructionRow& verb = row(static_cast<Instruction>(cell->modifier));
    if (!verb.has(traits::from_left | traits::from_right)) raise(message::nothing_before_reduce, site);
    if (!verb.has(traits::of_characters) && (top.type & (HASASCII | HASUNICODE)))
        raise(message::characters_cannot_be_reduced, site);

    const std::span axes(top.shape_pointer, static_cast<std::size_t>(top.rank));
    const auto n = static_cast<std::size_t>(neighbours ? axes.front() : axes.back());
    const Groups groups{top.elements / n, n, neighbours};
    const auto left = neighbours ? axes.subspan(1) : axes.first(axes.size() - 1);
    Owner result;
    if (!left.empty()) {
        result.record.rank = static_cast<std::int32_t>(left.size());
        result.record.shape_pointer = allocate_shape(left.size());
        std::ranges::copy(left, result.record.shape_pointer);
    }
    result.record = make_array(result.record.shape_pointer, result.record.rank, nullptr,
                               static_cast<std::uint32_t>(groups.count), 0);
    DataElement& made = result.record;
    made.type |= top.type & ~(RANK_BITS | KIND_BITS | PER_ITEM | ISSTRUCTURE);
    made.data_pointer = results_of(reductions[cell->modifier], top, groups, site);
    if (left.empty()) made.type = (made.type & ~RANK_BITS) | ISSCALAR;
    rebuild_kinds(made);
    pack(made);
    std::swap(top, made);
}

}  // namespace

void reduce(DataElement*& sp, DataElement* cell) { reduce_axis(sp, cell, true); }
void reducelastaxis(DataElement*& sp, DataElement* cell) { reduce_axis(sp, cell, false); }

}  // namespace ondrel
