// The frame of the dyadic scalar verbs: conformability, the choice of the result block, extension of single values,
// nesting, kind bits. A verb brings only its table (rule.h).
#pragma once

#include "verbs/scalar/rule.h"

namespace ondrel {

// Runs the verb on the two records at `sp` (left below right) and leaves the result in the left slot, one lower.
// An empty operand gives way to the other, and the verb does not run. Raises 17 where the operands do not conform, 27,
// and what the verb's rule raises for a pair; the operands then stand as they were.
void dyadic(const DyadicVerb& verb, DataElement*& sp, DataElement* cell);

// The verbs. Each takes the stack pointer and its instruction cell.
void add(DataElement*& sp, DataElement* cell);
void subtract(DataElement*& sp, DataElement* cell);
void multiply(DataElement*& sp, DataElement* cell);
void divide(DataElement*& sp, DataElement* cell);
void residue(DataElement*& sp, DataElement* cell);
void minimum(DataElement*& sp, DataElement* cell);
void maximum(DataElement*& sp, DataElement* cell);

}  // namespace ondrel
