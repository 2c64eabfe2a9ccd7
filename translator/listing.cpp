#include "translator/listing.h"

#include <algorithm>
#include <span>
#include <string_view>

#include "data/errors.h"
#include "data/texts.h"
#include "translator/printing.h"
#include "translator/value_key.h"

namespace ondrel {
namespace {

constexpr int entries_in_a_sentence = 257;  // so that none outgrows its room

// A name that holds the byte that ends a spelling, or begins as if it told its table, is told by the codes of the text
// that it was made of.
bool has_no_spelling(const Entry& entry) {
    const std::string_view name = entry.name, prefixes = "$%._";
    return name.find('\x03') != name.npos || prefixes.find(name[0]) != name.npos;
}

void put_codes(std::FILE* stream, std::string_view name) {
    std::fputs(" (", stream);
    for (const char code : text_of_key(name)) std::fprintf(stream, " %d", static_cast<unsigned char>(code));
    std::fputs(" ) ENASCII AT SET\n", stream);
}

void remember_entry(std::FILE* stream, Entry& entry) {
    PrintOut = true;
    disass(stream, "", 0, true, entry.value);
    PrintOut = false;
    if (has_no_spelling(entry)) return put_codes(stream, entry.name);
    std::fprintf(stream, " @\x02%s\x03 SET\n", entry.name);
}

bool holds_files(const DataElement& value) {
    if (value.rank < 0 || value.data_pointer == nullptr || !(value.type & (HASFILE | STRUCTURED))) return false;
    const std::span items(items_of(value), value.elements);
    return std::ranges::any_of(items, [](const DataElement& item) {
        return item.tag == tag::file || (item.tag == tag::subarray && holds_files(*item.nested));
    });
}

template <class Visit>
void for_each_listed(const Chain* tables, bool functions, Visit visit) {
    for (const Chain* link = tables; link != nullptr; link = link->previous)
        for_each_entry(link->table, [&](Entry& entry) {
            const bool function = entry.value.rank == kind::FUNCTION;
            if (has_value(entry.value) && function == functions && checkmeaning(tables, entry.name) == &entry)
                visit(entry);
        });
}

}  // namespace

void remember(std::FILE* stream, const Chain* tables) {
    for (; tables != nullptr; tables = tables->previous) {
        int written = 0;
        for_each_entry(tables->table, [&](Entry& entry) {
            // Not one that was only spoken of; and an open file cannot be told in a text.
            if (!has_value(entry.value) || holds_files(entry.value)) return;
            remember_entry(stream, entry);
            // Spelled names get their places in the table while the sentence is read; others when it runs.
            if (++written % entries_in_a_sentence == 0 || has_no_spelling(entry)) std::fputs(".\n", stream);
        });
    }
    std::fputs(".\n", stream);
}

DataElement list_symbols(const Chain* tables, bool functions) {
    std::uint32_t names = 0;
    for_each_listed(tables, functions, [&](const Entry&) { ++names; });
    if (names == 0) return make_empty();
    ItemsOwner items(names);
    for_each_listed(tables, functions, [&](const Entry& entry) {
        Owner name(make_characters(entry.name));
        items.items[items.filled] = nested_item(name);
        ++items.filled;
    });
    std::int64_t* const shape = vector_shape(names);
    DataElement list = make_array(shape, 1, items.take(), names, NESTED);
    list.depth = 2;
    return list;
}

}  // namespace ondrel
