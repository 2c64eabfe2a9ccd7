// The frame of the dyadic scalar verbs: conformability, the choice of the result block, extension of single values,
// nesting, kind bits. A verb brings only its table (rule.h).
#pragma once

#include "data/instructions.h"
#include "verbs/scalar/rule.h"

namespace ondrel {

// Runs the verb on the two records at `sp` (left below right) and leaves the result in the left slot, one lower.
// An empty operand gives way to the other, and the verb does not run. Raises 17 where the operands do not conform, 27,
// and what the verb's rule raises for a pair; the operands then stand as they were.
void dyadic(const DyadicVerb& verb, DataElement*& sp, DataElement* cell);

// The same for a rule of plain arithmetic, whose usual operands need no frame.
template <class Rule>
void arithmetic(const DyadicVerb& verb, DataElement*& sp, DataElement* cell) {
    if (!plain_scalars<Rule>(sp)) dyadic(verb, sp, cell);
}

// The verbs. Each takes the stack pointer and its instruction cell.
void add(DataElement*& sp, DataElement* cell);
void subtract(DataElement*& sp, DataElement* cell);
void multiply(DataElement*& sp, DataElement* cell);
void divide(DataElement*& sp, DataElement* cell);
void residue(DataElement*& sp, DataElement* cell);
void minimum(DataElement*& sp, DataElement* cell);
void maximum(DataElement*& sp, DataElement* cell);

// What a verb does to a scalar with a literal behind it, of which only the item is needed; null for verbs that have no
// such short way. False, with nothing done, where the verb itself must look.
using LiteralForm = bool (*)(DataElement& left, const DataElement& right);
extern const std::array<LiteralForm, Instructions.size()> literal_forms;
bool add_literal(DataElement& left, const DataElement& right);
bool subtract_literal(DataElement& left, const DataElement& right);
bool multiply_literal(DataElement& left, const DataElement& right);
bool divide_literal(DataElement& left, const DataElement& right);
bool residue_literal(DataElement& left, const DataElement& right);

}  // namespace ondrel
