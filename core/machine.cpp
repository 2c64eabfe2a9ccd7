#include "core/machine.h"

#include <cstdio>
#include <new>
#include <utility>

#include "core/actions.h"
#include "core/soundness.h"
#include "core/stack.h"
#include "data/blocks.h"
#include "translator/printing.h"

namespace ondrel {

DataElement stack[stack_slots + 1];

namespace {

// The flags of a cell that are about the cell, not about the value in it.
constexpr std::uint32_t cell_flags = CONDITIONAL | YES;

Outcome fail(int number, Activation& activation) {
    exception(number, activation.site());
    return Outcome::abandon;
}

Outcome stop_with(const char* text) {
    std::fflush(stdout);
    std::fputs(text, stderr);
    return Outcome::abandon;
}

// A cell that runs only under a condition, before anything has decided.
Outcome undecided(Activation& activation) { return fail(activation.cell->type & YES ? 147 : 148, activation); }

Outcome push(Activation& activation) {
    const DataElement& cell = *activation.cell;
    if (cell.type & CONDITIONAL) [[unlikely]]
        return undecided(activation);
    if (activation.sp > stacktop) [[unlikely]]
        return fail(806, activation);
    DataElement& slot = *++activation.sp;
    slot = cell;
    slot.type &= ~cell_flags;
    referencepoint(slot);
    return Outcome::next;
}

Outcome run_operator(Activation& activation) {
    const auto number = static_cast<std::size_t>(activation.cell->depth);
    const Operation& operation = operations[number < operations.size() ? number : 0];
    const DataElement* const lowest = activation.sp - operation.arguments + 1;
    if (operation.arguments > 0 && lowest < activation.argument_floor) [[unlikely]]
        return fail(800, activation);
    if (operation.refuses_operators)
        for (const DataElement* argument = lowest; argument <= activation.sp; ++argument)
            if (argument->rank == kind::OPERATOR) [[unlikely]]
                return fail(200, activation);
    const DataElement* const before = activation.sp;
    const Outcome outcome = operation.action(activation);
    if (outcome == Outcome::next) check_effect(activation, before);
    return outcome;
}

// No name has a meaning yet: every one that is reached says so.
Outcome run_other(Activation& activation) {
    if (activation.cell->type & CONDITIONAL) return undecided(activation);
    switch (activation.cell->rank) {
        case kind::VARIABLE: return fail(23, activation);
        case kind::INVALID: return stop_with(" Unusable symbol:");
        default: return stop_with(" Unused type:");
    }
}

void show_result(const Activation& activation) {
    if (activation.sp < activation.argument_floor)
        std::fputs("\n-\n", stdout);
    else
        dump(stdout, "\n\n", *activation.sp);
}

// Walks the stream to its end or to an error. The cell that ends it is told by its type alone.
Outcome run(Activation& activation) {
    for (;; ++activation.cell) {
        const DataElement& cell = *activation.cell;
        if (cell.type == 0) return Outcome::end;
        heed_attention();
        const Outcome outcome = cell.rank >= 0                ? push(activation)
                                : cell.rank == kind::OPERATOR ? run_operator(activation)
                                                              : run_other(activation);
        check_soundness(activation);
        if (outcome != Outcome::next) [[unlikely]]
            return outcome;
    }
}

// After an interrupt or an error of memory the value on top may be half done: an empty vector takes its place.
void abandon(Activation& activation) {
    if (std::exchange(PrintOut, false) || endprocess || !A_Problem || activation.sp < activation.argument_floor) return;
    std::fputs("\n-- - Discarding the bad TOS value...\n", stdout);
    A_Problem = false;
    const std::uint32_t text = activation.sp->type & HASASCII;
    dereferencepoint(*activation.sp);
    *activation.sp = make_empty(text);
}

void recover(Activation& activation) {
    if (!endprocess && !PrintOut) std::fputs("\nException processing:...", stdout);
    abandon(activation);
}

// The sentence at the prompt: whatever unwinds from below ends here, with the stack as high as this run last left it.
void run_sentence(Activation& activation) {
    sigjmp_buf fault;
    sigjmp_buf* const outer = std::exchange(fault_jump, &fault);
    try {
        if (sigsetjmp(fault, 0) != 0) {
            recover(activation);
        } else if (run(activation) == Outcome::end) {
            show_result(activation);
        } else {
            abandon(activation);
        }
    } catch (const Unwind&) {
        recover(activation);
    } catch (const std::bad_alloc&) {
        exception(27);
        recover(activation);
    }
    fault_jump = outer;
}

}  // namespace

DataElement* machine(DataElement* code, DataElement* argument_floor, DataElement* top, int level) {
    Activation activation{code, top, argument_floor, level};
    if (level == 0)
        run_sentence(activation);
    else if (run(activation) == Outcome::abandon)
        abandon(activation);
    return activation.sp;
}

}  // namespace ondrel
