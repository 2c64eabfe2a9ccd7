#include "translator/symbols.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <utility>

#include "data/errors.h"
#include "data/walks.h"

namespace ondrel {
namespace {

constexpr std::uint32_t large = 65536, small = 256;

// A permutation of the bytes, for a hash of the Pearson kind.
constexpr std::array<std::uint8_t, 256> rand8{
    131, 127, 112, 67,  241, 22,  74,  191, 121, 220, 205, 130, 162, 152, 139, 44,  237, 249, 50,  87,  137, 36,
    54,  202, 156, 113, 145, 136, 254, 15,  7,   110, 82,  132, 184, 134, 128, 27,  31,  11,  72,  12,  5,   122,
    99,  142, 159, 154, 89,  124, 55,  203, 13,  195, 83,  210, 91,  84,  255, 193, 58,  148, 126, 86,  179, 138,
    192, 143, 26,  30,  185, 120, 246, 68,  151, 80,  140, 242, 176, 70,  114, 201, 173, 232, 71,  4,   155, 209,
    163, 92,  97,  189, 129, 119, 64,  248, 60,  240, 211, 66,  125, 197, 45,  216, 160, 96,  161, 77,  81,  228,
    186, 244, 65,  178, 194, 42,  3,   208, 164, 167, 105, 25,  213, 118, 117, 214, 146, 123, 20,  9,   188, 238,
    230, 10,  190, 111, 247, 23,  175, 38,  206, 174, 59,  0,   37,  231, 40,  168, 165, 109, 251, 46,  243, 85,
    225, 106, 171, 239, 212, 234, 235, 48,  217, 73,  166, 200, 104, 252, 75,  229, 39,  250, 116, 24,  52,  135,
    57,  88,  62,  215, 150, 157, 8,   33,  226, 69,  182, 29,  141, 183, 227, 187, 253, 180, 47,  103, 28,  102,
    19,  43,  78,  35,  51,  147, 34,  221, 153, 233, 90,  177, 98,  198, 245, 16,  41,  204, 172, 61,  144, 63,
    207, 94,  101, 2,   17,  158, 6,   18,  32,  115, 133, 49,  224, 21,  170, 169, 76,  1,   108, 236, 149, 223,
    199, 53,  222, 219, 218, 56,  79,  181, 107, 95,  100, 93,  14,  196};

constexpr bool is_permutation() {
    std::array<std::uint8_t, 256> sorted = rand8;
    std::ranges::sort(sorted);
    for (std::size_t i = 0; i < sorted.size(); ++i)
        if (sorted[i] != i) return false;
    return true;
}
static_assert(is_permutation());

// Two hashes in one pass, from starting points one apart: the bucket in a large table. The first of them alone is that
// in a small one. The byte behind a name counts too: a NUL.
std::uint32_t hash_of(std::string_view name) {
    auto h1 = static_cast<std::uint8_t>(name[0]), h2 = static_cast<std::uint8_t>(h1 + 1);
    in_heeded_stretches(name.size() - 1, [&](std::size_t from, std::size_t end) {
        for (const char character : name.substr(1).substr(from, end - from)) {
            const auto byte = static_cast<std::uint8_t>(character);
            h1 = rand8[h1 ^ byte];
            h2 = rand8[h2 ^ byte];
        }
    });
    return rand8[h1] * small + rand8[h2];
}

// Below 0 if the name of an entry comes before this one, 0 if it is the same.
int order(const char* own, std::string_view name) {
    int found = 0;
    for (std::size_t from = 0; from < name.size() && found == 0; from += heed_every) {
        const std::string_view other = name.substr(from, heed_every);
        found = std::string_view(own + from, strnlen(own + from, other.size())).compare(other);
        if (from > 0) heed_attention();
    }
    return found == 0 && own[name.size()] != '\0' ? 1 : found;
}

// The link that leads to the entry of the name, or to where it is to stand: a bucket is in the order of its names, so
// that tables of the same names are told in the same way, however they came about.
Entry** find(const Table* table, std::string_view name, std::uint32_t hash) {
    Entry** link = &table->heads[table->buckets == large ? hash : hash / small];
    while (*link != nullptr && order((*link)->name, name) < 0) link = &(*link)->next;
    return link;
}

bool has_name(const Entry* entry, std::string_view name) { return entry != nullptr && order(entry->name, name) == 0; }

constexpr DataElement no_value() {
    DataElement value{};
    value.rank = kind::ADDRESS;
    return value;
}

Entry* make_entry(Table* table, std::string_view name) {
    OwnedText text(stringdup(name));
    auto* const entry = static_cast<Entry*>(allocate_block(0, sizeof(Entry)));
    *entry = {no_value(), text.release(), nullptr, table, false};
    ++names_made;
    return entry;
}

// The entry leaves its table. Its value goes before anything else can come back to it through a circle.
void retire(Entry* entry) {
    DataElement value = std::exchange(entry->value, DataElement{});
    entry->value.rank = kind::INVALID;
    entry->table = nullptr;
    dereferencepoint(value);
    release(std::exchange(entry->name, nullptr));
    release(entry);
}

// ---- all tables

std::uint64_t last_number = 1;
Entry* global_heads[large];  // not touched until a name falls there
struct PermanentTable {
    BlockHeader header{-1, 0};
    Table table{1, large, nullptr, nullptr, 0, false, global_heads};
} outermost;
Table& global = outermost.table;

Entry* no_heads[large];  // of all tables that no name has been made in; never written to

Table* make_table(std::uint32_t buckets) {
    auto* const table = static_cast<Table*>(allocate_block(0, sizeof(Table)));
    *table = {++last_number, buckets, &global, global.after, 0, false, no_heads};
    if (global.after != nullptr) global.after->before = table;
    global.after = table;
    return table;
}

void make_heads(Table* table) {
    auto** const heads = static_cast<Entry**>(allocate_block(0, table->buckets * sizeof(Entry*)));
    std::fill_n(heads, table->buckets, nullptr);
    table->heads = heads;
}

// ---- the system variables

struct PermanentEntry {
    BlockHeader header{-1, 0};
    Entry entry{no_value(), nullptr, nullptr, nullptr, false};
};
PermanentEntry fixedsyms[8];

DataElement named(std::uint32_t tag, std::uint16_t form, const char* name) {
    DataElement item{};
    item.head = make_head(tag, form, mark::named);
    item.name = stringdup(name);
    return make_scalar(item);
}

}  // namespace

constinit const Chain variables{&outermost.table, nullptr};
std::uint64_t names_made = 0;

DataElement* const quads[8] = {&fixedsyms[0].entry.value, &fixedsyms[1].entry.value, &fixedsyms[2].entry.value,
                               &fixedsyms[3].entry.value, &fixedsyms[4].entry.value, &fixedsyms[5].entry.value,
                               &fixedsyms[6].entry.value, &fixedsyms[7].entry.value};

void make_system_variables() {
    fixedsyms[index_origin].entry.name = stringdup("#IO");
    *quads[index_origin] = named(tag::integer, form::number, "#IO");
    items_of(*quads[index_origin])->integer = 1;
    fixedsyms[comparison_tolerance].entry.name = stringdup("#CT");
    *quads[comparison_tolerance] = named(tag::real, form::logical, "#CT");
    items_of(*quads[comparison_tolerance])->real = 1e-15;
}

Entry* system_variable(std::string_view name) {
    if (name == "#IO") return &fixedsyms[index_origin].entry;
    if (name != "#CT") return nullptr;
    const DataElement& value = fixedsyms[comparison_tolerance].entry.value;
    if (value.data_pointer == nullptr || value.rank < 0 || item_at(value.data_pointer, 0).tag == tag::octonion)
        std::fputs(
            "WARNING/ERROR: The #CT value is not numerically specified, unspecified results can be expected from verbs "
            "depending on the Comparison Tolerance",
            stderr);
    return &fixedsyms[comparison_tolerance].entry;
}

Table* makehashtab() { return make_table(large); }
Table* makesmallhashtab() { return make_table(small); }

Entry* hashtab(Table* table, std::string_view name) {
    if (name.empty()) return nullptr;
    if (name[0] == '#')
        if (Entry* const entry = system_variable(name)) return entry;
    if (table->heads == no_heads) make_heads(table);
    Entry** const link = find(table, name, hash_of(name));
    if (!has_name(*link, name)) {
        Entry* const entry = make_entry(table, name);
        entry->next = std::exchange(*link, entry);
        ++table->names;
        if (std::exchange(table->is_passed_over, false)) ++Chain::passed_over_named;
    }
    (*link)->is_memory = false;
    return *link;
}

Entry* checkhash(const Table* table, std::string_view name) {
    const Chain alone{const_cast<Table*>(table), nullptr};
    return checkmeaning(&alone, name);
}

Entry* checkmeaning(const Chain* tables, std::string_view name, std::uint64_t search, Entry* known) {
    if (name.empty()) return nullptr;
    const std::uint32_t hash = hash_of(name);
    for (; tables != nullptr; tables = tables->outward()) {
        if (tables->table->names == 0) continue;
        if (known != nullptr && search == tables->identity + names_made) return known;
        if (Entry* const entry = *find(tables->table, name, hash); has_name(entry, name)) return entry;
    }
    return nullptr;
}

Entry* meaning(const Chain* tables, std::string_view name) {
    Entry* const entry = checkmeaning(tables, name);
    return entry != nullptr ? entry : hashtab(tables->table, name);
}

void forgethash(Entry* entry) {
    if (entry->table == nullptr) return;
    *find(entry->table, entry->name, hash_of(entry->name)) = entry->next;
    --entry->table->names;
    retire(entry);
}

void hashwipe(Table* table) {
    for (std::uint32_t i = 0; i < table->buckets && table->names > 0; ++i)
        while (Entry* const entry = table->heads[i]) {
            table->heads[i] = entry->next;
            --table->names;
            retire(entry);
        }
}

void release_table(void* block) {
    auto* const table = static_cast<Table*>(block);
    if (!sole_holder(table)) return release(table);
    hashwipe(table);
    table->before->after = table->after;
    if (table->after != nullptr) table->after->before = table->before;
    if (table->heads != no_heads) release(table->heads);
    release(table);
}

void wipe_all_tables() {
    hashwipe(&global);
    // Wiping one can be the end of others; so each is held while it is wiped, and the search begins anew.
    while (Table* const table = global.after) {
        reference(table);
        hashwipe(table);
        if (!sole_holder(table)) {  // held by what no name leads to any more
            table->before->after = table->after;
            if (table->after != nullptr) table->after->before = table->before;
            table->before = table->after = table;
        }
        release_table(table);
    }
    for (PermanentEntry& fixed : fixedsyms) {
        dereferencepoint(fixed.entry.value);
        release(std::exchange(fixed.entry.name, nullptr));
    }
}

void for_each_entry(const Table* table, const std::function<void(Entry&)>& visit) {
    for (std::uint32_t i = 0; i < table->buckets; ++i)
        for (Entry* entry = table->heads[i]; entry != nullptr; entry = entry->next) visit(*entry);
}

void for_each_entry(const std::function<void(Entry&)>& visit) {
    for (const Table* table = &global; table != nullptr; table = table->after) for_each_entry(table, visit);
}

}  // namespace ondrel
