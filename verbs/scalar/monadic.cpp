#include "verbs/scalar/monadic.h"

#include "verbs/scalar/nest.h"

namespace ondrel {
namespace {

DataElement compute(const MonadicVerb& verb, const DataElement& value, Site site) {
    if (value.type & ISEMPTY) {
        referencepoint(value);
        return value;
    }
    ItemsOwner items(value.elements);
    for (std::size_t& i = items.filled; i < value.elements; ++i) {
        if (i % heed_every == heed_every - 1) heed_attention();
        const DataElement item = item_at(value.data_pointer, i);
        if (item.tag == tag::subarray) {
            Owner nested(compute(verb, *item.nested, site));
            items.items[i] = nested_item(nested);
        } else {
            if (kind_index(item.tag) >= kinds) raise(994, site);
            items.items[i] = verb.items[kind_index(item.tag)](item, site);
        }
    }
    Owner result(result_record(value, items.take(), value.type & ISPROBABLE));
    pack(result.record);
    return result.take();
}

}  // namespace

void monadic(const MonadicVerb& verb, DataElement* sp, DataElement* cell) {
    const DataElement result = compute(verb, *sp, {sp, cell});
    dereferencepoint(*sp);
    *sp = result;
}

}  // namespace ondrel
