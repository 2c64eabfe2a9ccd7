#include "verbs/scalar/monadic.h"

#include "numbers/random.h"
#include "verbs/scalar/nest.h"

namespace ondrel {
namespace {

DataElement compute(const MonadicVerb& verb, DataElement& value, bool may_reuse, const Setting& setting);

// Fills `result` from where it stands; the operand is only read, so that an error leaves it whole.
void by_item(const MonadicVerb& verb, const DataElement& value, const Setting& setting, ItemsOwner& result) {
    for (std::size_t& i = result.filled; i < value.elements; ++i) {
        if (i % heed_every == heed_every - 1) heed_attention();
        const DataElement item = item_at(value.data_pointer, i);
        if (item.tag == tag::subarray) {
            Owner nested(compute(verb, *item.nested, false, setting));
            result.items[i] = nested_item(nested);
        } else {
            if (kind_index(item.tag) >= kinds) raise(994, setting.site);
            result.items[i] = verb.kinds_of[kind_index(item.tag)].item(item, setting);
        }
    }
}

// The result of a packed value, or null if the verb has no loop for its kind. The value's own block serves again when
// nothing else holds it and the items stay as wide.
void* by_loop(const MonadicVerb& verb, DataElement& value, bool may_reuse, const Setting& setting) {
    void* const data = value.data_pointer;
    if (!is_packed(data)) return nullptr;
    const std::uint64_t block_head = header(data).head, head = item_head(block_head);
    const std::size_t width = item_width(block_head);
    const MonadicKinds& of_kind = verb.kinds_of[kind_index(head_tag(head))];
    const bool truths = (block_head & in_bytes) != 0, as_they_lie = truths && verb.of_truths.loops[0].tag != 0;
    const bool widened = truths && !as_they_lie;
    return by_loops(
        as_they_lie ? verb.of_truths : of_kind, value.elements, widened,
        [&](std::uint32_t tag) { return of_kind.head(head, as_they_lie ? of_kind.loops[0].tag : tag, setting); },
        [&](std::uint64_t result_head) -> void* {
            if (!may_reuse || !sole_holder(data) || item_width(result_head) != width) return nullptr;
            return std::exchange(value.data_pointer, nullptr);
        },
        [&](const auto& loop, std::size_t from, std::byte* out, std::size_t n, Words* words) {
            const auto* const values = static_cast<const std::byte*>(data) + from * width;
            return loop.loop(widened ? widen(values, word_of_one(head), words->operands[0], n) : values, out, n, head,
                             setting);
        },
        [&](ItemsOwner& rest) { by_item(verb, value, setting, rest); });
}

DataElement compute(const MonadicVerb& verb, DataElement& value, bool may_reuse, const Setting& outer) {
    if (value.type & ISEMPTY) {
        referencepoint(value);
        return value;
    }
    if (value.rank < 0) raise(994, outer.site);
    bool drew = false;
    Setting setting = outer;
    setting.probable = (value.type & ISPROBABLE) != 0;
    setting.drew = &drew;
    void* block = by_loop(verb, value, may_reuse, setting);
    if (block == nullptr) {
        ItemsOwner items(value.elements);
        by_item(verb, value, setting, items);
        block = items.take();
    }
    if (drew && outer.drew != nullptr) *outer.drew = true;  // what holds a value that depends on chance does too
    const bool chance = verb.by_chance || setting.probable || drew;
    Owner result(result_record(value, block, chance ? ISPROBABLE : 0));
    pack(result.record);
    return result.take();
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

void monadic(const MonadicVerb& verb, DataElement* sp, DataElement* cell) {
    const Setting setting{.site = {sp, cell}, .tolerance = verb.takes_setting ? tolerance() : 0, .stream = &prngs_seed};
    if (scalar(verb, *sp, setting)) return;
    const DataElement result = compute(verb, *sp, true, setting);
    dereferencepoint(*sp);
    *sp = result;
}

}  // namespace ondrel
