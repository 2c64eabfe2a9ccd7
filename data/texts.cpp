#include "data/texts.h"

#include <algorithm>
#include <limits>

#include "data/blocks.h"

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
    constexpr int too_big = 146;
    if (text.size() > std::numeric_limits<std::uint32_t>::max()) raise(too_big, site);
    const auto n = static_cast<std::uint32_t>(text.size());
    Owner record(make_array(vector_shape(n), 1, nullptr, n, HASASCII));
    if (packing && n > 1) {
        record.record.data_pointer = allocate_packed(make_head(tag::ascii, form::unset), n);
        std::ranges::copy(text, static_cast<char*>(record.record.data_pointer));
    } else {
        record.record.data_pointer = allocate_items(n);
        std::ranges::transform(text, items_of(record.record), character_item);
    }
    return record.take();
}

DataElement make_text(std::string_view text, Site site) {
    if (text.empty()) return make_empty(HASASCII);
    return text.size() == 1 ? make_scalar(character_item(text[0])) : make_characters(text, site);
}

std::string characters_of(const DataElement& text) {
    const void* const data = text.data_pointer;
    if (text.elements == 0) return {};
    if (is_packed(data)) return {static_cast<const char*>(data), text.elements};
    std::string characters(text.elements, '\0');
    for (std::uint32_t i = 0; i < text.elements; ++i) characters[i] = static_cast<char>(items_of(text)[i].ascii);
    return characters;
}

}  // namespace ondrel
