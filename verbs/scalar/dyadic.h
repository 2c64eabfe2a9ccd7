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

// What a verb does to the item of a scalar and that of a literal behind it. Gives the type of a scalar record with the
// result, which may take the place of `left`. 0, with nothing done, where the verb itself must look.
using LiteralForm = std::uint32_t(const DataElement& left, const DataElement& right, DataElement& result);
inline std::uint32_t no_literal(const DataElement&, const DataElement&, DataElement&) { return 0; }

// The verbs, each of which takes the stack pointer and its instruction cell; their tables; their ways with literals.
#define INSTRUCTION(...)
#define DYADIC(number, name, code, traits, action, verb, fold, literal, ...) \
    ScalarVerb action;                                                       \
    extern const DyadicVerb& verb;                                           \
    LiteralForm literal;
#include "data/instructions.def"

// The circumstances of a dyadic verb.
Setting setting_of(const DyadicVerb& verb, Site site);

// The item that the verb gives for two items, nested ones too. Raises what the verb raises.
DataElement item_of_pair(const DyadicVerb& verb, const DataElement& left, const DataElement& right,
                         const Setting& setting);

extern const std::array<LiteralForm*, Instructions.size()> literal_forms;  // null for verbs that have no such short way
inline LiteralForm* literal_form_of(const DataElement& verb) {
    return verb.rank == kind::OPERATOR ? literal_forms[static_cast<std::size_t>(verb.depth)] : nullptr;
}

// Runs a literal form on a scalar, in its own item if nothing else holds that. False, with nothing done, where the verb
// itself must look.
bool with_separate_item(LiteralForm* form, DataElement& scalar, const DataElement& right);
inline bool run_literal_form(LiteralForm* form, DataElement& scalar, const DataElement& right) {
    DataElement* const item = items_of(scalar);
    if (!sole_holder_alone(item)) return with_separate_item(form, scalar, right);
    const std::uint32_t type = form(*item, right, *item);
    if (type == 0) return false;
    set_type(scalar, type);
    return true;
}

}  // namespace ondrel
