#include "core/machine.h"

#include <cstdio>
#include <new>
#include <utility>

#include "core/actions.h"
#include "core/calls.h"
#include "core/control.h"
#include "core/debugger.h"
#include "core/naming.h"
#include "core/soundness.h"
#include "core/stack.h"
#include "core/timing.h"
#include "parallel/pool.h"
#include "translator/emission.h"
#include "translator/printing.h"
#include "verbs/scalar/dyadic.h"

namespace ondrel {
namespace {

// The flags of a cell that are about the cell, not about the value in it.
constexpr std::uint32_t cell_flags = CONDITIONAL | YES;

Outcome stop_with(const char* text) {
    std::fflush(stdout);
    std::fputs(text, stderr);
    return Outcome::abandon;
}

// ---- cells that put something on the stack

Outcome push_copy(Activation& activation, const DataElement& value) {
    if (is_full(activation)) [[unlikely]]
        return fail(message::stack_full, activation);
    DataElement& slot = *++activation.sp;
    slot = value;
    referencepoint(slot);
    return Outcome::next;
}

Outcome push_value(Activation& activation) {
    const Outcome outcome = push_copy(activation, *activation.cell);
    if (outcome == Outcome::next) activation.sp->type &= ~cell_flags;
    return outcome;
}

// The kind of a function is that of its stream's header.
[[gnu::always_inline]] inline Outcome push_function(Activation& activation, const DataElement& function) {
    auto* const stream = static_cast<DataElement*>(function.data_pointer);
    if (stream->type & ISOPERATOR) return call(activation, stream);
    const Outcome outcome = push_copy(activation, function);
    if (outcome == Outcome::next) activation.sp->type = stream->type;
    return outcome;
}

// A condition on the function decides beforehand, so that the usual form of a choice moves nothing.
Outcome push_literal_function(Activation& activation) {
    DataElement& function = *activation.cell;
    const DataElement& behind = activation.cell[1];
    if (behind.rank != kind::OPERATOR || behind.modifier != function_below || activation.decision < 0 ||
        !activation.fuses || is_full(activation))
        return push_function(activation, function);
    ++activation.cell;
    return is_met(behind, activation.decision) ? call(activation, static_cast<DataElement*>(function.data_pointer))
                                               : Outcome::next;
}

[[gnu::always_inline]] inline Outcome push_named(Activation& activation) {
    const DataElement* const value = resolve(activation.tables, *activation.cell);
    if (value == nullptr || !has_value(*value)) [[unlikely]]
        return fail(message::no_meaning, activation);
    return value->rank == kind::FUNCTION ? push_function(activation, *value) : push_copy(activation, *value);
}

Outcome push_address(Activation& activation) {
    DataElement& cell = *activation.cell;
    resolve_or_make(activation.tables, cell);
    if (activation.header != nullptr &&
        (cell.type & ISOPERATOR || cell.modifier == static_cast<std::uint16_t>(Instruction::SAIG)))
        activation.header->type |= GLOBALCHANGE;
    return push_value(activation);
}

Outcome push_label(Activation& activation) {
    const auto* const place = static_cast<const DataElement*>(activation.cell->data_pointer);
    if (place == nullptr || !has_value(*place)) return fail(message::no_meaning, activation);
    return push_copy(activation, *place);
}

DataElement* slot_of(const Activation& activation) {
    return activation.frame_base + items_of(*activation.cell)->integer;
}

Outcome push_local(Activation& activation) {
    const DataElement& slot = *slot_of(activation);
    if (is_full(activation)) [[unlikely]]
        return fail(message::stack_full, activation);
    if (slot.rank == kind::VARIABLE) return fail(message::no_meaning, activation);
    return push_copy(activation, slot);
}

Outcome push_local_address(Activation& activation) {
    DataElement address{};
    address.rank = kind::ADDRESS;
    address.type = ISLOCAL | ISADDRESS;
    address.elements = 1;
    DataElement* const slot = slot_of(activation);
    address.bound_table = slot_owners[slot - stack];
    address.data_pointer = slot;
    return push_copy(activation, address);
}

// ---- the cycle

// A cell under a condition. Functions and instructions have conditional forms of their own.
bool is_skipped(const Activation& activation) {
    const bool yes = (activation.cell->type & YES) != 0;
    return yes != (activation.decision != 0);
}

Outcome run_instruction(Activation& activation) {
    return actions[static_cast<std::size_t>(activation.cell->depth)](activation);
}

[[gnu::always_inline]] inline Outcome run_cell(Activation& activation, bool fuses) {
    DataElement& cell = *activation.cell;
    if (cell.rank == kind::OPERATOR) return run_instruction(activation);
    if (cell.rank == 0 && !(cell.type & CONDITIONAL) && !is_full(activation)) [[likely]] {
        if (fuses && goes_into_verb(activation, &cell)) return Outcome::next;
        *++activation.sp = cell;
        reference_alone(cell.data_pointer);
        return Outcome::next;
    }
    if (cell.type & CONDITIONAL) [[unlikely]] {
        if (activation.decision < 0)
            return fail(cell.type & YES ? message::no_check_before_yes : message::no_check_before_no, activation);
        if (is_skipped(activation)) return Outcome::next;
    }
    switch (cell.rank) {
        case kind::VARIABLE: return push_named(activation);
        case kind::LOCAL_VARIABLE: return push_local(activation);
        case kind::ADDRESS: return push_address(activation);
        case kind::LOCAL_ADDRESS: return push_local_address(activation);
        case kind::LABEL: return push_label(activation);
        case kind::FUNCTION: return push_literal_function(activation);
        case kind::UNUSED: return stop_with(" Unused type:");
        case kind::INVALID: return stop_with(" Unusable symbol:");
        default: return push_value(activation);
    }
}

// A cell that is looked at: traced, stepped, counted and timed. A conditional cell that runs its instruction is none of
// the account, as that is a cell of its own; nor are the verbs that turn the looking on and off.
Outcome run_watched_cell(Activation& activation) {
    if (activation.cell->type == 0) return Outcome::stop;
    heed_attention();
    show_cell(activation);
    ++operators;
    flopos = 0;
    const DataElement& cell = *activation.cell;
    if (cell.rank != kind::OPERATOR) {
        const Outcome outcome = run_cell(activation, false);
        pass_time();
        return outcome;
    }
    const bool counts = !runs_embedded(cell, activation.decision) && !turns_watching(cell);
    AccountedInstruction account(activation);
    const Outcome outcome = run_instruction(activation);
    wait_for_coprocessors();
    if (counts && outcome == Outcome::next) account.finish(activation.sp);
    return outcome;
}

// Whether the cell can run while workers are still at a value below it: it puts a value on the stack, or is a scalar
// verb that finds its operands above. Whatever else a cell does could not be undone when an error of a worker ends the
// sentence where the verb stood.
bool runs_beside(const Activation& activation) {
    const DataElement& cell = *activation.cell;
    switch (cell.rank) {
        case kind::VARIABLE: {
            const DataElement* const value = resolve(activation.tables, *activation.cell);
            return value != nullptr && has_value(*value) && value->rank != kind::FUNCTION;
        }
        case kind::LOCAL_VARIABLE: return slot_of(activation) != to_coprocessors.element;
        case kind::OPERATOR: {
            const int operands = scalar_operands(static_cast<std::uint16_t>(cell.depth));
            return operands > 0 && activation.sp - operands >= to_coprocessors.element;
        }
        default: return cell.rank >= 0 && cell.type != 0;
    }
}

[[gnu::cold]] Outcome run_beside(Activation& activation) { return run_cell(activation, false); }

[[gnu::cold]] Outcome run_watched(Activation& activation) {
    activation.is_watched = true;
    activation.fuses = false;
    const AccountedRun account;
    Outcome outcome = Outcome::next;
    while ((outcome = run_watched_cell(activation)) == Outcome::next) {
        check_soundness(activation);
        ++activation.cell;
    }
    activation.is_watched = false;
    activation.fuses = true;
    return outcome;
}

void show_result(const Activation& activation) {
    if (activation.sp < activation.argument_floor)
        std::fputs("\n-\n", stdout);
    else
        dump(stdout, "\n\n", *activation.sp);
}

// ---- the prompt's run

// After an interrupt or an error of memory the value on top may be half done: an empty vector takes its place.
void abandon(Activation& activation) {
    if (std::exchange(PrintOut, false) || endprocess || !A_Problem || activation.sp < activation.argument_floor) return;
    std::fputs("\n-- - Discarding the bad TOS value...\n", stdout);
    A_Problem = false;
    const std::uint32_t text = activation.sp->rank < 0 ? 0 : activation.sp->type & HASASCII;
    dereferencepoint(*activation.sp);
    *activation.sp = make_empty(text);
}

void recover(Activation& activation) {
    forget_hand_off();
    if (!endprocess && !PrintOut) std::fputs("\nException processing:...", stdout);
    abandon(activation);
    call_for(calls::unwinding, false);
}

}  // namespace

// Whatever unwinds from below ends here, with the stack as high as this run last left it.
void run_sentence(Activation& activation) {
    start_sentence();
    sigjmp_buf fault;
    sigjmp_buf* const outer = std::exchange(fault_jump, &fault);
    try {
        if (sigsetjmp(fault, 0) != 0) {
            recover(activation);
        } else if (run(activation) == Outcome::abandon) {
            abandon(activation);
        } else {
            report_sentence();
            show_result(activation);
        }
    } catch (const Unwind&) {
        recover(activation);
    } catch (const std::bad_alloc&) {
        exception(message::out_of_storage);
        recover(activation);
    }
    fault_jump = outer;
}

// The cell that ends the stream is told by its type alone.
Outcome run(Activation& activation) {
    for (;; ++activation.cell) {
        Outcome outcome = Outcome::next;
        if (attention.load(std::memory_order_relaxed) != 0) [[unlikely]] {
            heed_attention();
            if (is_in_flight() && runs_beside(activation)) {
                outcome = run_beside(activation);
                if (outcome != Outcome::next) return outcome;
                continue;
            }
            wait_for_coprocessors();
            if (calls_for(calls::watch)) return run_watched(activation);
        }
        if (activation.cell->type == 0) return Outcome::stop;
        outcome = run_cell(activation, true);
        check_soundness(activation);
        if (outcome != Outcome::next) [[unlikely]]
            return outcome;
    }
}

Outcome run_operator(Activation& activation) {
    return activation.is_watched ? run_watched_cell(activation) : run_instruction(activation);
}

DataElement* machine(DataElement* sentence, DataElement* top) {
    DataElement* last = sentence;
    while (last->type != 0) ++last;
    const Chain names = own_names(*last, &variables);
    Activation activation{.cell = sentence,
                          .sp = top,
                          .argument_floor = stack + 1,
                          .frame_base = stack + 1,
                          .tables = in_force(names),
                          .code = sentence,
                          .cells = static_cast<std::uint32_t>(last - sentence)};
    run_sentence(activation);
    release_contexts(activation);
    return activation.sp;
}

}  // namespace ondrel
