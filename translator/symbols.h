// Names: tables of entries, and the chains of tables in which a name is looked up.
//
// An entry is one counted block that begins with the record of its value, so that a cell of the name points straight at
// the value. The table owns what an entry holds; cells and addresses only hold the block. When a name is forgotten, or
// its table goes, the entry gives its value up at once, whoever still holds it: so names that refer to each other in a
// circle fall apart, and who comes through an old cell finds an entry of no table (`is_dead`).
//
// A chain is a list of tables, the innermost first. The links live where they are used: in the runs of the machine, in
// the levels of the translator. They hold no references: who makes a link keeps its table alive as long as it stands.
#pragma once

#include <cstdint>
#include <functional>
#include <string_view>

#include "data/blocks.h"
#include "data/system_variables.h"

namespace ondrel {

struct Entry {
    DataElement value;  // of kind ADDRESS and type 0 while the name has none
    char* name;         // counted
    Entry* next;        // in its bucket; the table's reference
};

struct Table {
    std::uint64_t number;   // from 1, never used again: what a cell remembers of the table it was resolved in
    std::uint32_t buckets;  // 65536 for the outermost table and large contexts, 256 for locals
    Table *before, *after;  // all tables, so that the end of the process finds those that hold themselves alive
    std::size_t names;      // entries
    Entry** heads;
};

// `tables` everywhere: the handle of a context.
struct Chain {
    Table* table;
    const Chain* previous;  // outward; null for the outermost

    const Chain& outermost() const {
        const Chain* node = this;
        while (node->previous != nullptr) node = node->previous;
        return *node;
    }
};

// The global scope: a chain of one link. The table stands as long as the process.
extern const Chain variables;

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
// Searches the chain from its innermost table outward.
Entry* checkmeaning(const Chain* tables, std::string_view name);
// The same; a name that is not found is made in the innermost table.
Entry* meaning(const Chain* tables, std::string_view name);

// Removes the name from its table, and its value with it. A system variable, or a name that is in no table, stays.
void forgethash(Table* table, Entry* entry);
// Removes all names; the table stays usable.
void hashwipe(Table* table);
// Every table that there is: the end of the process.
void wipe_all_tables();

inline bool has_value(const DataElement& value) { return value.type != 0; }
inline bool is_dead(const DataElement& value) { return value.rank == kind::INVALID; }
inline Entry* entry_of(void* value) { return static_cast<Entry*>(value); }

// In the order of buckets and, in a bucket, of names.
void for_each_entry(const Table* table, const std::function<void(Entry&)>& visit);

}  // namespace ondrel
