#include "data/texts.h"

#include <algorithm>

#include "data/blocks.h"
#include "data/walks.h"

namespace ondrel {
namespace {

DataElement character_item(char character) {
    DataElement item{};
    item.head = make_head(tag::ascii, form::unset);
    item.ascii = static_cast<std::uint8_t>(character);
    return item;
}

}  // namespace

DataElement make_characters(std::string_view text, Site site) {
    const std::uint32_t n = checked_count(text.size(), site);
    Owner record(make_array(vector_shape(n), 1, nullptr, n, HASASCII));
    if (packing && n > 1) {
        record.record.data_pointer = allocate_packed(make_head(tag::ascii, form::unset), n);
        in_heeded_stretches(n, [&](std::size_t from, std::size_t end) {
            text.copy(static_cast<char*>(record.record.data_pointer) + from, end - from, from);
        });
    } else {
        ItemsOwner items(n);
        for (const char character : text) {
            items.items[items.filled++] = character_item(character);
            heed_attention();
        }
        record.record.data_pointer = items.take();
    }
    return record.take();
}

DataElement make_text(std::string_view text, Site site) {
    if (text.empty()) return make_empty(HASASCII);
    return text.size() == 1 ? make_scalar(character_item(text[0])) : make_characters(text, site);
}

std::string characters_of(const DataElement& text, std::string_view behind) {
    const void* const data = text.data_pointer;
    std::string characters;
    characters.reserve(text.elements + behind.size());
    in_heeded_stretches(text.elements, [&](std::size_t from, std::size_t end) {
        if (is_packed(data)) return void(characters.append(static_cast<const char*>(data) + from, end - from));
        for (; from < end; ++from) characters.push_back(static_cast<char>(items_of(text)[from].ascii));
    });
    characters.append(behind);
    return characters;
}

}  // namespace ondrel
