#include "core/actions.h"

#include <algorithm>
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

Outcome unimplemented(Activation& activation) { return fail(993, activation); }
Outcome restriction(Activation& activation) { return fail(994, activation); }

Outcome end_process(Activation& activation) {
    if (activation.level > 0) return Outcome::stop;
    end_of_process();
}

// ---- the table

// The classes of instructions: how many arguments they need, and whether these may not be marks.
struct Class {
    std::uint16_t type;
    std::int8_t arguments;
    bool refuses_operators;
};
constexpr auto classes = std::to_array<Class>({
    {0, 0, false},  {1, 0, false},  {2, 0, false},  {3, 0, false},  {4, 0, false},  {6, 0, false},  {7, 0, false},
    {10, 1, true},  {12, 1, false}, {13, 1, false}, {14, 1, false}, {15, 1, false}, {18, 2, true},  {20, 2, false},
    {21, 2, false}, {22, 2, false}, {23, 2, false}, {28, 3, false}, {30, 3, false}, {35, 0, false}, {36, 0, false},
});

template <void (*verb)(DataElement*&, DataElement*)>
Outcome run_verb(Activation& activation) {
    verb(activation.sp, activation.cell);
    return Outcome::next;
}

// The action behind the check of its class.
template <Action action, std::int8_t arguments, bool refuses_operators>
Outcome checked(Activation& activation) {
    const DataElement* const before = activation.sp;
    if constexpr (arguments > 0) {
        const DataElement* const lowest = before - arguments + 1;
        if (lowest < activation.argument_floor) [[unlikely]]
            return fail(800, activation);
        if constexpr (refuses_operators)
            if (lowest->rank == kind::OPERATOR || before->rank == kind::OPERATOR) [[unlikely]]
                return fail(200, activation);
    }
    const Outcome outcome = action(activation);
    if constexpr (refuses_operators)
        if (outcome == Outcome::next) check_effect(activation, before, arguments);
    return outcome;
}

consteval Class class_of(std::uint16_t type) {
    const auto row = std::ranges::find(classes, type, &Class::type);
    if (row == classes.end()) throw "an instruction of no class";
    return *row;
}

// The row of an instruction of this class: an action of the machine, or a verb that works on the stack pointer.
template <auto function, std::uint16_t type>
consteval Action operation() {
    constexpr Class row = class_of(type);
    if constexpr (std::is_convertible_v<decltype(function), Action> && row.arguments <= 0 && !row.refuses_operators)
        return function;  // nothing to check
    else if constexpr (std::is_convertible_v<decltype(function), Action>)
        return checked<function, row.arguments, row.refuses_operators>;
    else
        return checked<run_verb<function>, row.arguments, row.refuses_operators>;
}

}  // namespace

constexpr std::array<Action, Instructions.size()> actions{
#define INSTRUCTION(number, name, code, type, action, ...) operation<action, type>(),
#include "data/instructions.def"
#undef INSTRUCTION
};

}  // namespace ondrel
