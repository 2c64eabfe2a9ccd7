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

template <class Rule>
inline constexpr DyadicVerb dyadic_verb = make_dyadic<Rule>();

// The same for the verb of a rule.
template <class Rule>
void dyadic(DataElement*& sp, DataElement* cell) {
    dyadic(dyadic_verb<Rule>, sp, cell);
}

// The same for a rule whose usual operands, plain numbers, need no frame.
template <class Rule>
void arithmetic(DataElement*& sp, DataElement* cell) {
    if (!plain_scalars<Rule>(sp)) dyadic<Rule>(sp, cell);
}

// ---- the verbs: each takes the stack pointer and its instruction cell

ScalarVerb add, subtract, multiply, divide, residue, minimum, maximum;
ScalarVerb power, logarithm, circular, binomial;
ScalarVerb and_, or_, nand, nor, strongand, strongor, strongnand, strongnor;
ScalarVerb less, notgreater, equivalent, notless, greater, notequivalent, identical, notidentical;

// What a verb does to a scalar with a literal behind it, of which only the item is needed; null for verbs that have no
// such short way. False, with nothing done, where the verb itself must look.
using LiteralForm = bool(DataElement& left, const DataElement& right);
extern const std::array<LiteralForm*, Instructions.size()> literal_forms;
inline LiteralForm* literal_form_of(const DataElement& verb) {
    const auto number = static_cast<std::size_t>(verb.depth);
    return verb.rank == kind::OPERATOR && number < literal_forms.size() ? literal_forms[number] : nullptr;
}
LiteralForm add_literal, subtract_literal, multiply_literal, divide_literal, residue_literal;
LiteralForm less_literal, notgreater_literal, notless_literal, greater_literal;

}  // namespace ondrel
