// Names: tables of entries, and the chains of tables in which a name is looked up.
//
// An entry is one counted block that begins with the record of its value, so that a cell of the name points straight at
// the value. The table owns what an entry holds; cells and addresses only hold the block. When a name is forgotten, or
// its table goes, the entry gives its value up at once, whoever still holds it: so names that refer to each other in a
// circle fall apart, and who comes through an old cell finds an entry of no table (`is_dead`).
//
// A chain is a list of tables, the innermost first. The links live where they are used: in the runs of the machine, in
// the levels of the translator. They hold no references: who makes a link keeps its table alive as long as it stands.
//
// What a search has found holds for every chain of the same tables, as long as no name has been made since and the
// entry is not dead: so a cell remembers it with `search_of`, and a deep recursion does not search all its contexts.
// Nor does a search look again and again at tables that have no names.
#pragma once

#include <cstdint>
#include <functional>
#include <string_view>

#include "data/blocks.h"
#include "data/system_variables.h"

namespace ondrel {

struct Table;

struct Entry {
    DataElement value;  // of kind ADDRESS and type 0 while the name has none
    char* name;         // counted
    Entry* next;        // in its bucket; the table's reference
    Table* table;       // null of a system variable, and when it is dead
    bool is_memory;     // what RESULT keeps under a key, as long as nobody speaks of it as a name
};

struct Table {
    std::uint64_t number;   // from 1, never used again
    std::uint32_t buckets;  // 65536 for the outermost table and large contexts, 256 for locals
    Table *before, *after;  // all tables, so that the end of the process finds those that hold themselves alive
    std::size_t names;      // entries
    bool is_passed_over;    // a chain has been made that skips it, as it had no names
    Entry** heads;          // a block of its own, made with the first name
};

// `tables` everywhere: the handle of a context.
struct Chain {
    Table* table = nullptr;
    const Chain* previous = nullptr;  // outward; null for the outermost
    std::uint64_t identity = 1;       // of all the tables from here outward

    constexpr Chain() = default;
    constexpr Chain(Table* innermost, const Chain* around) : table(innermost), previous(around), next(around) {
        if (table == nullptr || previous == nullptr) return;
        identity = (previous->identity + table->number) * odd;
        made_at = passed_over_named;
        if (previous->previous == nullptr || previous->table->names != 0) return;
        previous->table->is_passed_over = true;
        next = previous->outward();
    }

    // The next link whose table may have names.
    const Chain* outward() const { return made_at == passed_over_named ? next : previous; }

    // How often a table that was passed over has got a name after all: what was skipped before is skipped no more.
    static inline std::uint64_t passed_over_named = 0;

private:
    static constexpr std::uint64_t odd = 0x9E3779B97F4A7C15;  // spreads sums of small numbers over the word

    const Chain* next = nullptr;
    std::uint64_t made_at = 0;
};

// The global scope: a chain of one link, with which every chain ends. The table stands as long as the process.
extern const Chain variables;

// What a cell remembers of the search that found its entry: the same for all chains in which a search must find the
// same. Never 0, which tells that the entry was fixed without one.
extern std::uint64_t names_made;  // in all tables, since the start
inline std::uint64_t search_of(const Chain& chain) {
    const Chain* link = &chain;
    while (link->table->names == 0 && link->previous != nullptr) link = link->outward();
    return link->identity + names_made;
}

// The entries of the system variables lie outside all tables, so that a search does not find them. Sets them to what
// they are at start: 1, and 1e-15.
void make_system_variables();

// A fresh table of 65,536 or 256 buckets, with count 1. Raises 27.
Table* makehashtab();
Table* makesmallhashtab();

// Find or create. The result is borrowed from the table. #IO and #CT give the system variables; a #CT that is no number
// is warned of. An empty name gives null. Raises 27.
Entry* hashtab(Table* table, std::string_view name);
// Find only; null if there is no such name.
Entry* checkhash(const Table* table, std::string_view name);
// Searches the chain from its innermost table outward, up to where the rest of it is that of an earlier search, whose
// entry this was.
Entry* checkmeaning(const Chain* tables, std::string_view name, std::uint64_t search = 0, Entry* known = nullptr);
// The same; a name that is not found is made in the innermost table.
Entry* meaning(const Chain* tables, std::string_view name);

// The system variable of this name, or null. A #CT that is no number is warned of.
Entry* system_variable(std::string_view name);

// Removes the name from its table, and its value with it. A system variable, or a name that is in no table, stays.
void forgethash(Entry* entry);
// Removes all names; the table stays usable.
void hashwipe(Table* table);
// Every table that there is: the end of the process.
void wipe_all_tables();

inline bool has_value(const DataElement& value) { return value.type != 0; }
inline bool is_dead(const DataElement& value) { return value.rank == kind::INVALID; }
inline Entry* entry_of(void* value) { return static_cast<Entry*>(value); }

// In the order of buckets and, in a bucket, of names.
void for_each_entry(const Table* table, const std::function<void(Entry&)>& visit);
// Of all tables that there are.
void for_each_entry(const std::function<void(Entry&)>& visit);

}  // namespace ondrel
