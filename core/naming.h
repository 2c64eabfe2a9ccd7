// What names stand for while a stream runs: the values behind cells and addresses, and the verbs that set, find and
// forget them.
#pragma once

#include "core/activation.h"

namespace ondrel {

// The record that the name of a VARIABLE cell, or an ADDRESS that is only read, stands for: null or of type 0 if it has
// no value. A cell that was resolved in another chain is bound anew.
DataElement* rebind(const Chain* tables, DataElement& cell);
inline DataElement* resolve(const Chain* tables, DataElement& cell) {
    auto* const value = static_cast<DataElement*>(cell.data_pointer);
    const bool fixed = cell.modifier == static_cast<std::uint16_t>(Instruction::SGIG) || cell.modifier == 0;
    if (value != nullptr && !is_dead(*value) && (fixed || cell.bound_table == tables->table->number)) [[likely]]
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
