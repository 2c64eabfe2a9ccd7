// What names stand for while a stream runs: the values behind cells and addresses, and the verbs that set, find and
// forget them.
#pragma once

#include "core/activation.h"

namespace ondrel {

// The record that a cell of a name holds, as long as its entry lives; else null.
inline DataElement* held_value(const DataElement& cell) {
    auto* const value = static_cast<DataElement*>(cell.data_pointer);
    return value != nullptr && !is_dead(*value) ? value : nullptr;
}

// The record that the name of a VARIABLE cell, or an ADDRESS that is only read, stands for: null or of type 0 if it has
// no value. What the translator has fixed stands while it lives: plain names, and a function's own. All else, and what
// was fixed once its entry is dead, is searched for in the chain.
DataElement* rebind(const Chain* tables, DataElement& cell);
inline DataElement* resolve(const Chain* tables, DataElement& cell) {
    DataElement* const value = held_value(cell);
    if (value != nullptr && (cell.bound_table == 0 || cell.bound_table == search_of(*tables))) [[likely]]
        return value;
    return rebind(tables, cell);
}
// The same for an ADDRESS that may be written to: a name that there is not is made. Raises 27.
DataElement* resolve_or_make(const Chain* tables, DataElement& cell);

// The actions of the verbs.
Outcome assign(Activation& activation);
Outcome set(Activation& activation);
Outcome make_address(Activation& activation);
Outcome get(Activation& activation);
Outcome do_name(Activation& activation);
Outcome forget(Activation& activation);
Outcome wipe(Activation& activation);
Outcome move_context(Activation& activation);
Outcome list_variables(Activation& activation);
Outcome list_functions(Activation& activation);

}  // namespace ondrel
