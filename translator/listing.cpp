#include "translator/listing.h"

#include <algorithm>
#include <set>
#include <span>
#include <string>

#include "data/errors.h"
#include "data/texts.h"
#include "translator/printing.h"

namespace ondrel {
namespace {

// Values on their way to a file, one in a line. A sentence ends before it outgrows its room; what is nested as deep as
// a literal can be, or deeper, costs the whole sentence that it stands in, and so it stands alone.
struct Sentences {
    std::FILE* stream;
    const Chain* tables;  // in force
    int lines = 0;        // since the last end
};

void end_sentence(Sentences& sentences) {
    std::fputs(".\n", sentences.stream);
    sentences.lines = 0;
}

void put_line(Sentences& sentences, DataElement& value, const std::string& behind) {
    constexpr int most_lines = 257, deepest_literal = 256;
    const bool alone = value.rank >= 0 && value.depth >= deepest_literal;
    if (alone && sentences.lines > 0) end_sentence(sentences);
    PrintOut = true;
    disass(sentences.stream, "", 0, true, value, sentences.tables);
    PrintOut = false;
    std::fprintf(sentences.stream, "%s\n", behind.c_str());
    if (++sentences.lines == most_lines || alone) end_sentence(sentences);
}

bool holds_files(const DataElement& value) {
    if (value.rank < 0 || value.data_pointer == nullptr || !(value.type & (HASFILE | STRUCTURED))) return false;
    const std::span items(items_of(value), value.elements);
    return std::ranges::any_of(items, [](const DataElement& item) {
        return item.tag == tag::file || (item.tag == tag::subarray && holds_files(*item.nested));
    });
}

// A table can stand in the chain more than once.
template <class Visit>
void for_each_listed(const Chain* tables, bool functions, Visit visit) {
    std::set<const Table*> listed;
    for (const Chain* link = tables; link != nullptr; link = link->previous) {
        if (!listed.insert(link->table).second) continue;
        for_each_entry(link->table, [&](Entry& entry) {
            const bool function = entry.value.rank == kind::FUNCTION;
            if (has_value(entry.value) && function == functions && checkmeaning(tables, entry.name) == &entry)
                visit(entry);
        });
    }
}

}  // namespace

void remember(std::FILE* stream, const Chain* tables) {
    Sentences sentences{stream, tables};
    const std::string set = system_word("SET", tables);
    for (const Chain* link = tables; link != nullptr; link = link->previous)
        for_each_entry(link->table, [&](Entry& entry) {
            // Not one that was only spoken of; and an open file cannot be told in a text.
            if (!has_value(entry.value) || holds_files(entry.value)) return;
            put_line(sentences, entry.value, quoted_address(entry.name, tables) + set);
        });
    end_sentence(sentences);
}

void dumpstack(std::FILE* stream, DataElement* bottom, DataElement* top, const Chain* tables) {
    Sentences sentences{stream, tables};
    for (DataElement* slot = bottom; slot <= top; ++slot) {
        if (slot > bottom && would_be_shape(*slot, slot[-1])) std::fputs(" ::", stream);
        if (holds_files(*slot)) {
            DataElement nothing = make_empty();
            put_line(sentences, nothing, " \"???\"");
        } else {
            put_line(sentences, *slot, {});
        }
    }
    end_sentence(sentences);
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
