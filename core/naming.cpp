#include "core/naming.h"

#include <memory>
#include <string_view>
#include <utility>

#include "core/control.h"
#include "core/stack.h"
#include "data/walks.h"
#include "translator/listing.h"
#include "translator/value_key.h"

namespace ondrel {
namespace {

bool is_scope(const DataElement& cell, Instruction scope) { return cell.modifier == static_cast<std::uint16_t>(scope); }
bool is_global(const DataElement& cell) { return is_scope(cell, Instruction::SGIG) || cell.modifier == 0; }

void bind(DataElement& cell, Entry* entry, std::uint64_t search) {
    cell.bound_table = search;
    if (cell.data_pointer == entry) return;
    reference(entry);
    DataElement old{};
    old.rank = kind::VARIABLE;
    old.data_pointer = std::exchange(cell.data_pointer, entry);
    dereferencepoint(old);
}

// The slot that a local address names, or null if the call whose slot it was has ended.
DataElement* local_slot(const DataElement& address) {
    auto* const slot = static_cast<DataElement*>(address.data_pointer);
    return address.bound_table != 0 && slot_owners[slot - stack] == address.bound_table ? slot : nullptr;
}

// Where an address leads to: the entry that it brings, and where that is dead, what its name stands for now.
DataElement* target_of(const Activation& activation, DataElement& address) {
    if (address.rank != kind::ADDRESS) return nullptr;
    if (borrows(address)) return local_slot(address);
    DataElement* const value = held_value(address);
    return value != nullptr ? value : resolve_or_make(activation.tables, address);
}

std::string_view name_of(const DataElement& address) { return address.text == nullptr ? "" : address.text; }

// The name that a value stands for, as long as the value itself stands.
LongText name_from(const Activation& activation, const DataElement& value) {
    if (value.rank != kind::ADDRESS || borrows(value)) return value_key(value, activation.frame_base);
    LongText name;
    name.append(name_of(value));
    return name;
}

// Stores `value`, which is moved, behind the address on top of the stack, and takes that off. False after 55.
bool store(Activation& activation, DataElement* top_after, bool keep) {
    DataElement& address = *activation.sp;
    DataElement* const target = target_of(activation, address);
    if (target == nullptr) return false;
    Owner held(std::exchange(address, DataElement{}));  // the entry must outlive its old value
    DataElement stored = activation.sp[-1];
    if (keep) referencepoint(stored);
    Owner old(std::exchange(*target, stored));
    activation.sp = top_after;
    return true;
}

// A counted copy; what has no value gives the empty vector. The kind of a function is that of its stream's header.
DataElement copy_of(const DataElement* value) {
    if (value == nullptr || !has_value(*value)) return make_empty();
    DataElement copy = *value;
    if (copy.rank == kind::FUNCTION) copy.type = static_cast<const DataElement*>(copy.data_pointer)->type;
    referencepoint(copy);
    return copy;
}

// What the name on top of the stack stands for: an address, or any value by its key. Null or of type 0 if for nothing.
const DataElement* value_named(const Activation& activation) {
    DataElement& top = *activation.sp;
    if (activation.header != nullptr) activation.header->type |= GLOBAL;
    if (borrows(top)) return local_slot(top);
    if (top.rank == kind::ADDRESS) return resolve(activation.tables, top);
    const LongText key = value_key(top, activation.frame_base);
    const Entry* entry = checkmeaning(activation.tables, key);
    if (entry == nullptr) entry = system_variable(key);
    return entry == nullptr ? nullptr : &entry->value;
}

// The address on top of the stack is that of a slot that is no more.
bool leads_nowhere(const Activation& activation) {
    return borrows(*activation.sp) && local_slot(*activation.sp) == nullptr;
}

Outcome push_context(Activation& activation, Table* made) {
    std::unique_ptr<Table, decltype(&release_table)> table(made, release_table);
    auto* const context = static_cast<Context*>(allocate_block(0, sizeof(Context)));
    *context = {{table.release(), activation.tables}, activation.contexts};
    activation.contexts = context;
    activation.tables = &context->link;
    return Outcome::next;
}

}  // namespace

DataElement* rebind(const Chain* tables, DataElement& cell) {
    const std::string_view name = name_of(cell);
    const bool plain = is_scope(cell, Instruction::SGIG);
    Entry* const known = held_value(cell) != nullptr ? entry_of(cell.data_pointer) : nullptr;
    Entry* const found = plain ? checkhash(variables.table, name) : checkmeaning(tables, name, cell.bound_table, known);
    if (found == nullptr) return nullptr;
    bind(cell, found, plain ? 0 : search_of(*tables));
    return &found->value;
}

DataElement* resolve_or_make(const Chain* tables, DataElement& cell) {
    if (DataElement* const value = resolve(tables, cell)) return value;
    const bool outermost = is_global(cell) || is_scope(cell, Instruction::SAIG);
    Entry* const made = hashtab(outermost ? variables.table : tables->table, name_of(cell));
    if (made == nullptr) return nullptr;
    bind(cell, made, is_global(cell) ? 0 : search_of(*tables));
    return &made->value;
}

Outcome assign(Activation& activation) {
    return store(activation, activation.sp - 1, true) ? Outcome::next : fail(message::not_a_variable, activation);
}

Outcome set(Activation& activation) {
    return store(activation, activation.sp - 2, false) ? Outcome::next : fail(message::not_a_variable, activation);
}

Outcome make_address(Activation& activation) {
    constexpr std::string_view scopes = "$._";
    DataElement& top = *activation.sp;
    const LongText key = value_key(top, activation.frame_base);
    const bool searched = key.size() > 1 && scopes.find(std::string_view(key)[1]) != std::string::npos;
    Entry* const entry = searched ? meaning(activation.tables, key) : hashtab(variables.table, key);
    DataElement address{};
    address.rank = kind::ADDRESS;
    address.type = ISADDRESS;
    address.depth = 1;
    if (entry != nullptr) {
        address.text = entry->name;
        address.elements = checked_count(std::string_view(entry->name).size(), activation.site());
        address.data_pointer = entry;
        referencepoint(address);
    }
    dereferencepoint(top);
    top = address;
    return Outcome::next;
}

Outcome get(Activation& activation) {
    if (leads_nowhere(activation)) return fail(message::no_meaning, activation);
    const DataElement* const value = value_named(activation);
    Owner name(std::exchange(*activation.sp, copy_of(value)));
    return Outcome::next;
}

Outcome do_name(Activation& activation) {
    if (leads_nowhere(activation)) return fail(message::no_meaning, activation);
    const DataElement* const value = value_named(activation);
    const bool runs = value != nullptr && has_value(*value);
    Owner name(std::exchange(*activation.sp, copy_of(value)));
    return runs ? execute(activation) : Outcome::next;
}

Outcome forget(Activation& activation) {
    DataElement& top = *activation.sp;
    if (borrows(top)) {
        if (DataElement* const slot = local_slot(top)) {
            Owner old(std::exchange(*slot, DataElement{}));
            slot->rank = kind::VARIABLE;
        }
    } else {
        const bool brought = top.rank == kind::ADDRESS && held_value(top) != nullptr;
        Entry* const entry =
            brought ? entry_of(top.data_pointer) : checkmeaning(activation.tables, name_from(activation, top));
        if (entry != nullptr) forgethash(entry);
    }
    dereferencepoint(*activation.sp--);
    return Outcome::next;
}

Outcome wipe(Activation& activation) {
    hashwipe(activation.tables->table);
    return Outcome::next;
}

Outcome move_context(Activation& activation) {
    switch (static_cast<Instruction>(activation.cell->modifier)) {
        case Instruction::SMALL: return push_context(activation, makesmallhashtab());
        case Instruction::LARGE: return push_context(activation, makehashtab());
        case Instruction::PREVIOUS:
            if (activation.tables->table != variables.table) activation.tables = activation.tables->previous;
            return Outcome::next;
        case Instruction::BASIC:
            return activation.tables->table == variables.table ? Outcome::next
                                                               : push_context(activation, variables.table);
        default:
            return activation.sp < activation.argument_floor ? fail(message::too_few_arguments, activation)
                                                             : Outcome::next;
    }
}

Outcome list_variables(Activation& activation) { return push(activation, list_symbols(activation.tables, false)); }
Outcome list_functions(Activation& activation) { return push(activation, list_symbols(activation.tables, true)); }

}  // namespace ondrel
