#include "core/actions.h"

#include <type_traits>

#include "core/chance.h"
#include "core/console.h"
#include "core/control.h"
#include "core/debugger.h"
#include "core/each.h"
#include "core/editor.h"
#include "core/file_verbs.h"
#include "core/mask.h"
#include "core/naming.h"
#include "core/powers.h"
#include "core/processors.h"
#include "core/programs.h"
#include "core/results.h"
#include "core/soundness.h"
#include "core/stack_verbs.h"
#include "verbs/array/cells.h"
#include "verbs/array/encoding.h"
#include "verbs/array/interval.h"
#include "verbs/array/nests.h"
#include "verbs/array/reduction.h"
#include "verbs/array/reshape.h"
#include "verbs/array/selection.h"
#include "verbs/array/shapes.h"
#include "verbs/scalar/dyadic.h"
#include "verbs/scalar/monadic.h"

namespace ondrel {
namespace {

// ---- actions of the machine itself, by the names in the list of instructions

Outcome no_action(Activation&) { return Outcome::next; }

Outcome unimplemented(Activation& activation) { return fail(message::not_implemented, activation); }
Outcome restriction(Activation& activation) { return fail(message::restriction, activation); }

Outcome end_process(Activation& activation) {
    if (activation.level > 0) return Outcome::stop;
    end_of_process();
}

// ---- the table

template <void (*verb)(DataElement*&, DataElement*)>
Outcome run_verb(Activation& activation) {
    verb(activation.sp, activation.cell);
    return Outcome::next;
}

// The action behind the check of its class.
template <Action action, int arguments, bool refuses_operators>
Outcome checked(Activation& activation) {
    const DataElement* const before = activation.sp;
    if constexpr (arguments > 0) {
        const DataElement* const lowest = before - arguments + 1;
        if (lowest < activation.argument_floor) [[unlikely]]
            return fail(message::too_few_arguments, activation);
        if constexpr (refuses_operators)
            if (lowest->rank == kind::OPERATOR || before->rank == kind::OPERATOR) [[unlikely]]
                return fail(message::operator_refused, activation);
    }
    const Outcome outcome = action(activation);
    if constexpr (refuses_operators)
        if (outcome == Outcome::next) check_effect(activation, before, arguments);
    return outcome;
}

// The row of an instruction of this class: an action of the machine, or a verb that works on the stack pointer.
template <auto function, Class needed>
consteval Action operation() {
    if constexpr (std::is_convertible_v<decltype(function), Action> && needed == Class::free)
        return function;  // nothing to check
    else if constexpr (std::is_convertible_v<decltype(function), Action>)
        return checked<function, arguments_of(needed), is_scalar(needed)>;
    else
        return checked<run_verb<function>, arguments_of(needed), is_scalar(needed)>;
}

}  // namespace

constexpr std::array<Action, Instructions.size()> actions{
#define INSTRUCTION(number, name, code, needed, traits, action, ...) operation<action, Class::needed>(),
#include "data/instructions.def"
};

}  // namespace ondrel
