#include "verbs/scalar/monadic.h"

#include "verbs/scalar/nest.h"

namespace ondrel {
namespace {

DataElement compute(const MonadicVerb& verb, DataElement& value, bool may_reuse, Site site);

void* by_item(const MonadicVerb& verb, const DataElement& value, Site site) {
    ItemsOwner items(value.elements);
    for (std::size_t& i = items.filled; i < value.elements; ++i) {
        if (i % heed_every == heed_every - 1) heed_attention();
        const DataElement item = item_at(value.data_pointer, i);
        if (item.tag == tag::subarray) {
            Owner nested(compute(verb, *item.nested, false, site));
            items.items[i] = nested_item(nested);
        } else {
            if (kind_index(item.tag) >= kinds) raise(994, site);
            items.items[i] = verb[kind_index(item.tag)].item(item, site);
        }
    }
    return items.take();
}

// The result of a packed value, or null if the verb has no loop for its kind. The value's own block serves again when
// nothing else holds it and the items stay as wide; it is then finished without a look at `attention`.
void* by_loop(const MonadicVerb& verb, DataElement& value, bool may_reuse) {
    void* const data = value.data_pointer;
    if (!is_packed(data)) return nullptr;
    const std::uint64_t head = header(data).head;
    const MonadicKinds& rule = verb[kind_index(head_tag(head))];
    if (rule.loop == nullptr) return nullptr;

    const std::uint64_t result_head = rule.head(head, rule.tag);
    const std::size_t width = item_width(head), result_width = item_width(result_head);
    const bool in_place = may_reuse && sole_holder(data) && width == result_width;
    Owner result;  // of no rank: only its block counts
    result.record.data_pointer = in_place ? data : allocate_packed(result_head, value.elements);
    if (in_place) value.data_pointer = nullptr;
    auto* const out = static_cast<std::byte*>(result.record.data_pointer);
    for (std::size_t at = 0; at < value.elements; at += heed_every) {
        const std::size_t n = std::min<std::size_t>(heed_every, value.elements - at);
        rule.loop(static_cast<const std::byte*>(data) + at * width, out + at * result_width, n, head);
        if (!in_place) heed_attention();
    }
    header(out).head = result_head;
    return std::exchange(result.record.data_pointer, nullptr);
}

DataElement compute(const MonadicVerb& verb, DataElement& value, bool may_reuse, Site site) {
    if (value.type & ISEMPTY) {
        referencepoint(value);
        return value;
    }
    if (value.rank < 0) raise(994, site);
    void* block = by_loop(verb, value, may_reuse);
    if (block == nullptr) block = by_item(verb, value, site);
    Owner result(result_record(value, block, value.type & ISPROBABLE));
    pack(result.record);
    return result.take();
}

}  // namespace

void monadic(const MonadicVerb& verb, DataElement* sp, DataElement* cell) {
    const DataElement result = compute(verb, *sp, true, {sp, cell});
    dereferencepoint(*sp);
    *sp = result;
}

}  // namespace ondrel
