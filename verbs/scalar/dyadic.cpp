#include "verbs/scalar/dyadic.h"

#include <algorithm>
#include <utility>

#include "verbs/scalar/nest.h"
#include "verbs/scalar/rule.h"

namespace ondrel {
namespace {

// Raises 17 unless the operands can be paired: kinds that the verb does not refuse, and equal shapes where neither
// is a single value.
void check_conformability(const DyadicVerb& verb, const DataElement& left, const DataElement& right, Site site) {
    if (left.rank < 0 || right.rank < 0 || ((left.type | right.type) & verb.refused))
        raise(message::not_conformable, site);
    if (is_single(left) || is_single(right)) return;
    if (left.rank != right.rank || !std::equal(left.shape_pointer, left.shape_pointer + left.rank, right.shape_pointer))
        raise(message::not_conformable, site);
}

// The operand whose shape the result has. A full array gives it, the right one before the left; of two single values
// the one that is no plain scalar, the left one before the right.
DataElement& shape_giver(DataElement& left, DataElement& right) {
    if (!is_single(right)) return right;
    if (!is_single(left)) return left;
    return left.rank == 0 ? right : left;
}

Extent extent_of(const DataElement& left, const DataElement& right) {
    if (is_single(left) && !is_single(right)) return left_single;
    return is_single(right) && !is_single(left) ? right_single : neither_single;
}

struct Operands {
    DataElement& left;
    DataElement& right;
    Extent extent;
    std::size_t n;  // items of the result
    const Setting& setting;

    DataElement left_item(std::size_t i) const { return item_at(left.data_pointer, extent == left_single ? 0 : i); }
    DataElement right_item(std::size_t i) const { return item_at(right.data_pointer, extent == right_single ? 0 : i); }
};

Computed compute(const DyadicVerb& verb, DataElement& left, DataElement& right, Freedom freedom,
                 const Setting& setting);

// ---- item by item

DataElement pair(const DyadicVerb& verb, const DataElement& left, const DataElement& right, const Setting& setting) {
    if (left.tag == tag::subarray || right.tag == tag::subarray) {
        Owner l(value_of_item(left)), r(value_of_item(right));
        Owner result(compute(verb, l.record, r.record, Freedom::none, setting).record);
        return nested_item(result);
    }
    const std::size_t row = kind_index(left.tag), column = kind_index(right.tag);
    if (row >= kinds || column >= kinds) raise(message::restriction, setting.site);
    return verb.pairs[row][column].item(left, right, setting);
}

// A block of items, of which some are done; the operands are only read, so that an error leaves them whole.
DataElement* by_item(const DyadicVerb& verb, const Operands& operands, const void* block = nullptr,
                     std::size_t done = 0) {
    return items_by(block, done, operands.n, operands.setting,
                    [&](DataElement* items, std::size_t& i, std::size_t end, const Setting& setting) {
                        for (; i < end; ++i) {
                            heed_attention();
                            items[i] = pair(verb, operands.left_item(i), operands.right_item(i), setting);
                        }
                    });
}

// ---- loops over bare values

// What the loops need to know of an operand: the head that all its items share, and where the values lie.
struct Payload {
    std::uint64_t head = 0;  // 0: the items must be looked at one by one
    const std::byte* values = nullptr;
    std::size_t width = 0;  // bytes from one value to the next; 0 for a single one
    std::uint64_t one = 0;  // of truths in bytes, the word that each 1 is to be; 0: they stay as they lie

    const std::byte* at(std::size_t i, std::size_t n, Words* words, std::size_t side) const {
        return one != 0 ? widen(values + i, one, words->operands[side], n) : values + i * width;
    }
};

Payload payload_of(const DataElement& record, bool single) {
    void* const data = record.data_pointer;
    if (!single) {
        if (!is_packed(data)) return {};
        const std::uint64_t head = header(data).head;
        return {item_head(head), static_cast<const std::byte*>(data), item_width(head),
                head & in_bytes ? word_of_one(head) : 0};
    }
    const DataElement& item = items_of(record)[0];
    if (kind_index(item.tag) >= kinds) return {};
    return {item.head, static_cast<const std::byte*>(value_of(item))};
}

// The block that a loop may write into: an operand's own, if nothing else holds it and its items are as wide. One
// value that stands on both sides is held twice.
void* reusable(Operands& operands, std::uint64_t head) {
    const auto fits = [head](const DataElement& record, std::int64_t holders) {
        void* const data = record.data_pointer;
        return is_packed(data) && header(data).count == holders && item_width(header(data).head) == item_width(head);
    };
    const std::int64_t holders = operands.left.data_pointer == operands.right.data_pointer ? 2 : 1;
    for (DataElement* const operand : {&operands.left, &operands.right})
        if (operand->elements == operands.n && fits(*operand, holders))
            return std::exchange(operand->data_pointer, nullptr);
    return nullptr;
}

// A loop for two payloads.
struct PairLoop {
    DyadicLoop loop;
    Payload left, right;
    Setting setting;

    std::size_t operator()(std::size_t first, std::byte* out, std::size_t n, Words* words) const {
        return loop(left.at(first, n, words, 0), right.at(first, n, words, 1), out, n, setting);
    }
};

// The data block of the result by loops.
LoopResult by_loop(const DyadicVerb& verb, Operands& operands, Freedom freedom) {
    Payload left = payload_of(operands.left, operands.extent == left_single);
    Payload right = payload_of(operands.right, operands.extent == right_single);
    if (left.head == 0 || right.head == 0 || is_polar(left.head) || is_polar(right.head)) return {};
    const DyadicKinds& of_kinds = verb.pairs[kind_index(head_tag(left.head))][kind_index(head_tag(right.head))];
    const bool as_they_lie = left.one != 0 && right.one != 0 && verb.of_truths.loops[0].tag != 0;
    if (as_they_lie) left.one = right.one = 0;
    return by_loops(
        as_they_lie ? verb.of_truths : of_kinds, operands.n, left.one != 0 || right.one != 0,
        freedom == Freedom::may_leave,
        [&](std::uint32_t tag) {
            return of_kinds.head(left.head, right.head, as_they_lie ? of_kinds.loops[0].tag : tag);
        },
        [&](std::uint64_t head) { return freedom != Freedom::none ? reusable(operands, head) : nullptr; },
        [&](const auto& loop) {
            return PairLoop{loop.by_extent[operands.extent], left, right, operands.setting};
        },
        [&](const void* block, std::size_t done) { return by_item(verb, operands, block, done); });
}

// ---- values

// The operands stay whole, but that one whose block may be written into may have lost it: its data pointer is null
// then.
Computed compute(const DyadicVerb& verb, DataElement& left, DataElement& right, Freedom freedom,
                 const Setting& setting) {
    enter_nest();
    if ((left.type | right.type) & ISEMPTY) {
        const DataElement& other = right.type & ISEMPTY ? left : right;
        referencepoint(other);
        return {other};
    }
    check_conformability(verb, left, right, setting.site);
    const DataElement& giver = shape_giver(left, right);
    const std::uint32_t probable = (left.type | right.type) & ISPROBABLE;
    Operands operands{left, right, extent_of(left, right), giver.elements, setting};

    const auto [block, is_posted] = operands.n > 1 ? by_loop(verb, operands, freedom) : LoopResult{};
    Owner result(result_record(giver, block != nullptr ? block : by_item(verb, operands), probable));
    pack(result.record);
    return {result.take(), is_posted};
}

Computed compute_top(const DyadicVerb& verb, DataElement*& sp, const Setting& setting) {
    try {
        return compute(verb, sp[-1], sp[0], Freedom::may_leave, setting);
    } catch (...) {
        count_as_done(sp);
        throw;
    }
}

DataElement compute_again(const void* verb, DataElement* operands, const Setting& setting) {
    return compute(*static_cast<const DyadicVerb*>(verb), operands[0], operands[1], Freedom::may_reuse, setting).record;
}

// Two plain scalars: no shape, no walk, and the block of one of them serves again when it is free.
bool scalar_pair(const DyadicVerb& verb, DataElement*& sp, const Setting& setting) {
    DataElement& left = sp[-1];
    DataElement& right = sp[0];
    if (left.rank != 0 || right.rank != 0 || ((left.type | right.type) & (STRUCTURED | verb.refused))) return false;
    DataElement* const l = items_of(left);
    DataElement* const r = items_of(right);
    if (kind_index(l->tag) >= kinds || kind_index(r->tag) >= kinds) return false;
    const DyadicItem rule = verb.pairs[kind_index(l->tag)][kind_index(r->tag)].item;
    const std::uint32_t probable = (left.type | right.type) & ISPROBABLE;
    if (sole_holder(l)) {
        const DataElement item = rule(*l, *r, setting);
        dereferencedataelems(l, 1);
        *l = item;
    } else {
        ItemsOwner made(1);
        *made.items = rule(*l, *r, setting);
        release(l);
        left.data_pointer = made.take();
    }
    left.type = ISSCALAR | kind_bits(items_of(left)->tag) | probable;
    dereferencepoint(right);
    --sp;
    return true;
}

}  // namespace

DataElement* separate_item(DataElement& scalar) {
    const DataElement& shared = *items_of(scalar);
    DataElement* const item = allocate_items(1);
    item->head = shared.head;
    item->name = nullptr;
    item->integer = shared.integer;
    release_alone(scalar.data_pointer);
    scalar.data_pointer = item;
    return item;
}

bool with_separate_item(LiteralForm* form, DataElement& scalar, const DataElement& right) {
    ItemsOwner made(1);
    made.items->name = nullptr;
    const std::uint32_t type = form(*items_of(scalar), right, *made.items);
    if (type == 0) return false;
    release_alone(scalar.data_pointer);
    scalar.data_pointer = made.take();
    scalar.type = type;
    return true;
}

template <LiteralForm* form>
constexpr LiteralForm* way_with_literals = form;
template <>
constexpr LiteralForm* way_with_literals<no_literal> = nullptr;

constexpr std::array<LiteralForm*, Instructions.size()> literal_forms = [] {
    std::array<LiteralForm*, Instructions.size()> forms{};
#define INSTRUCTION(...)
#define DYADIC(number, name, code, traits, action, verb, fold, literal, ...) forms[number] = way_with_literals<literal>;
#include "data/instructions.def"
    return forms;
}();

DataElement item_of_pair(const DyadicVerb& verb, const DataElement& left, const DataElement& right,
                         const Setting& setting) {
    if ((kind_bits(left.tag) | kind_bits(right.tag)) & verb.refused) raise(message::not_conformable, setting.site);
    return pair(verb, left, right, setting);
}

Setting setting_of(const DyadicVerb& verb, Site site) {
    return {.site = site, .tolerance = verb.takes_setting ? tolerance() : 0};
}

void dyadic(const DyadicVerb& verb, DataElement*& sp, DataElement* cell) {
    const Setting setting = setting_of(verb, {sp, cell});
    if (scalar_pair(verb, sp, setting)) return;
    DataElement& left = sp[-1];
    DataElement& right = sp[0];
    if (is_large(std::max(left.elements, right.elements))) wait_for_coprocessors();
    const auto [result, is_posted] = compute_top(verb, sp, setting);
    if (is_posted) return leave_result({&verb, {left, right}, 2, &sp, setting, compute_again}, result);
    dereferencepoint(left);
    dereferencepoint(right);
    left = result;
    --sp;
}

}  // namespace ondrel
