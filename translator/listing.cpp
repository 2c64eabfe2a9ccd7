#include "translator/listing.h"

#include <algorithm>
#include <set>
#include <span>

#include "data/errors.h"
#include "data/texts.h"
#include "data/walks.h"
#include "translator/sentences.h"

namespace ondrel {
namespace {

bool holds_files(const DataElement& value) {
    if (value.rank < 0 || value.data_pointer == nullptr || !(value.type & (HASFILE | STRUCTURED))) return false;
    enter_nest();
    const std::span items(items_of(value), value.elements);
    return std::ranges::any_of(items, [](const DataElement& item) {
        heed_attention();
        return item.tag == tag::file || (item.tag == tag::subarray && holds_files(*item.nested));
    });
}

// The names that can be seen, from the innermost table outward; not those that were only spoken of. A table can stand
// in the chain more than once.
template <class Visit>
void for_each_name(const Chain* tables, Visit visit) {
    std::set<const Table*> listed;
    for (const Chain* link = tables; link != nullptr; link = link->previous) {
        if (!listed.insert(link->table).second) continue;
        for_each_entry(link->table, [&](Entry& entry) {
            if (has_value(entry.value) && (link == tables || checkmeaning(tables, entry.name) == &entry)) visit(entry);
        });
    }
}

template <class Visit>
void for_each_listed(const Chain* tables, bool functions, Visit visit) {
    for_each_name(tables, [&](Entry& entry) {
        if (!entry.is_memory && (entry.value.rank == kind::FUNCTION) == functions) visit(entry);
    });
}

// What keeps the element from coming back, or null.
const char* obstacle(const DataElement& element) {
    if (holds_files(element)) return "an open file";
    if (borrows(element)) return "the address of a slot of the stack";
    return element.rank == kind::VARIABLE ? "a slot without a value" : nullptr;
}

void put_setting(Sentences& sentences, Entry& entry) {
    sentences.put(entry.value);
    sentences.put_address(entry.name);
    sentences.put_word("SET");
    sentences.put_text("\n");
}

// What a function gave is kept over sessions where that is not much.
bool is_small(Entry& entry, const Chain* tables) {
    constexpr std::size_t most_bytes = 1024;
    if (entry.value.rank >= 0 && entry.value.elements >= most_bytes) return false;
    Sentences sentences(nullptr, tables);
    put_setting(sentences, entry);
    return sentences.take_text().size() < most_bytes;
}

}  // namespace

void remember(std::FILE* stream, const Chain* tables) {
    Sentences sentences(stream, tables);
    PrintOut = true;
    for_each_name(tables, [&](Entry& entry) {
        if (const char* const what = obstacle(entry.value)) {
            std::fprintf(stderr, "Left out, as it can not be saved: %s in %s\n", what, entry.name);
            return;
        }
        if (entry.is_memory && !is_small(entry, tables)) return;
        put_setting(sentences, entry);
        sentences.end_line(!sentences.was_simple());
    });
    sentences.end();
    PrintOut = false;
}

void dumpstack(std::FILE* stream, DataElement* bottom, DataElement* top, const Chain* tables) {
    Sentences sentences(stream, tables);
    PrintOut = true;
    for (DataElement* slot = bottom; slot <= top; ++slot) {
        if (const char* const what = obstacle(*slot)) {
            std::fprintf(stderr, "Empty, as it can not be saved: %s in element %td of the stack\n", what,
                         slot - bottom + 1);
            DataElement nothing = make_empty();
            sentences.put(nothing);
            sentences.put_comment("???");
        } else {
            sentences.put(*slot);
        }
        sentences.put_text("\n");
        sentences.end_line(!sentences.was_simple());
    }
    sentences.end();
    PrintOut = false;
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
