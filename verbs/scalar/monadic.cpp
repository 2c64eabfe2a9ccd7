#include "verbs/scalar/monadic.h"

#include "verbs/scalar/nest.h"

namespace ondrel {
namespace {

Computed compute(const MonadicVerb& verb, DataElement& value, Freedom freedom, const Setting& setting);

// A block of items, of which some are done; the operand is only read, so that an error leaves it whole.
DataElement* by_item(const MonadicVerb& verb, const DataElement& value, const Setting& outer,
                     const void* block = nullptr, std::size_t done = 0) {
    return items_by(block, done, value.elements, outer,
                    [&](DataElement* items, std::size_t& i, std::size_t end, const Setting& setting) {
                        for (; i < end; ++i) {
                            heed_attention();
                            const DataElement item = item_at(value.data_pointer, i);
                            if (item.tag == tag::subarray) {
                                Owner nested(compute(verb, *item.nested, Freedom::none, setting).record);
                                items[i] = nested_item(nested);
                            } else {
                                if (kind_index(item.tag) >= kinds) raise(message::restriction, setting.site);
                                items[i] = verb.kinds_of[kind_index(item.tag)].item(item, setting);
                            }
                        }
                    });
}

// A loop for a payload.
struct ItemLoop {
    MonadicLoop loop;
    const std::byte* values;
    std::size_t width;
    std::uint64_t head;
    bool widened;
    Setting setting;

    std::size_t operator()(std::size_t first, std::byte* out, std::size_t n, Words* words) const {
        const std::byte* const from = values + first * width;
        return loop(widened ? widen(from, word_of_one(head), words->operands[0], n) : from, out, n, head, setting);
    }
};

// The data block of the result of a packed value. The value's own block serves again when nothing else holds it and the
// items stay as wide.
LoopResult by_loop(const MonadicVerb& verb, DataElement& value, Freedom freedom, const Setting& setting) {
    void* const data = value.data_pointer;
    if (!is_packed(data)) return {};
    const std::uint64_t block_head = header(data).head, head = item_head(block_head);
    const std::size_t width = item_width(block_head);
    const MonadicKinds& of_kind = verb.kinds_of[kind_index(head_tag(head))];
    const bool truths = (block_head & in_bytes) != 0, as_they_lie = truths && verb.of_truths.loops[0].tag != 0;
    const bool widened = truths && !as_they_lie;
    return by_loops(
        as_they_lie ? verb.of_truths : of_kind, value.elements, widened, freedom == Freedom::may_leave,
        [&](std::uint32_t tag) { return of_kind.head(head, as_they_lie ? of_kind.loops[0].tag : tag, setting); },
        [&](std::uint64_t result_head) -> void* {
            if (freedom == Freedom::none || !sole_holder(data) || item_width(result_head) != width) return nullptr;
            return std::exchange(value.data_pointer, nullptr);
        },
        [&](const auto& loop) {
            return ItemLoop{loop.loop, static_cast<const std::byte*>(data), width, head, widened, setting};
        },
        [&](const void* block, std::size_t done) { return by_item(verb, value, setting, block, done); });
}

Computed compute(const MonadicVerb& verb, DataElement& value, Freedom freedom, const Setting& outer) {
    enter_nest();
    if (value.type & ISEMPTY) {
        referencepoint(value);
        return {value};
    }
    if (value.rank < 0) raise(message::restriction, outer.site);
    bool drew = false;
    Setting setting = outer;
    setting.probable = (value.type & ISPROBABLE) != 0;
    setting.drew = &drew;
    auto [block, is_posted] = by_loop(verb, value, freedom, setting);
    if (block == nullptr) block = by_item(verb, value, setting);
    if (drew && outer.drew != nullptr) *outer.drew = true;  // what holds a value that depends on chance does too
    const bool chance = verb.by_chance || setting.probable || drew;
    Owner result(result_record(value, block, chance ? ISPROBABLE : 0));
    pack(result.record);
    return {result.take(), is_posted};
}

DataElement compute_again(const void* verb, DataElement* operands, const Setting& setting) {
    return compute(*static_cast<const MonadicVerb*>(verb), operands[0], Freedom::may_reuse, setting).record;
}

// A plain scalar that nobody else holds: no walk, and its block serves again.
bool scalar(const MonadicVerb& verb, DataElement& value, const Setting& setting) {
    if (value.rank != 0 || verb.by_chance || (value.type & ISPROBABLE)) return false;
    DataElement* const item = items_of(value);
    if (kind_index(item->tag) >= kinds || !sole_holder(item)) return false;
    bool drew = false;
    Setting own = setting;
    own.drew = &drew;
    const DataElement result = verb.kinds_of[kind_index(item->tag)].item(*item, own);
    dereferencedataelems(item, 1);
    *item = result;
    value.type = ISSCALAR | kind_bits(result.tag) | (drew ? ISPROBABLE : 0);
    return true;
}

}  // namespace

void monadic(const MonadicVerb& verb, DataElement*& sp, DataElement* cell) {
    const Setting setting{.site = {sp, cell},
                          .tolerance = verb.takes_setting ? tolerance() : 0,
                          .stream = verb.draws ? &prngs_seed : nullptr};
    if (scalar(verb, *sp, setting)) return;
    if (verb.draws || is_large(sp->elements)) wait_for_coprocessors();  // nested values that draw may be large
    const auto [result, is_posted] = compute(verb, *sp, Freedom::may_leave, setting);
    if (is_posted) return leave_result({&verb, {*sp}, 1, &sp, setting, compute_again}, result);
    dereferencepoint(*sp);
    *sp = result;
}

}  // namespace ondrel
