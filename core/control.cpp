#include "core/control.h"

#include <algorithm>
#include <new>
#include <string>
#include <utility>

#include "core/calls.h"
#include "core/stack.h"
#include "core/timing.h"
#include "data/texts.h"
#include "numbers/magnitude.h"
#include "numbers/random.h"
#include "numbers/truth.h"
#include "translator/emission.h"
#include "translator/literals.h"
#include "verbs/scalar/items.h"

namespace ondrel {
namespace {

bool is_instruction(std::uint16_t number, Instruction instruction) {
    return number == static_cast<std::uint16_t>(instruction);
}

void drop_top(Activation& activation) { dereferencepoint(*activation.sp--); }

// The components of a number, a polar one as the cartesian one that it is.
template <class Value>
auto cartesian_components(const DataElement& item) {
    const Value value = load<Value>(item);
    return components_of(is_polar(item.head) ? to_cartesian(value) : value);
}

// The probability that a number stands for; negative for an item that stands for none.
double probability_of(const DataElement& item) {
    constexpr double none = -1;
    switch (item.tag) {
        case tag::real: return std::clamp(item.real, 0.0, 1.0);
        case tag::complex: return 1 - contradict_c(cartesian_components<Complex>(item));
        case tag::quaternion: return 1 - contradict_q(cartesian_components<Quaternion>(item));
        case tag::octonion: return 1 - contradict_o(cartesian_components<Octonion>(item));
        default: return none;
    }
}

// What has depended on chance is not remembered.
void note_chance(const Activation& activation) {
    if (activation.header != nullptr) activation.header->type |= ISPROBABLE;
}

// The instruction of a conditional cell runs in a cell of its own, so that the stream stays as it was translated
// whatever road it leaves by, and whoever runs it meanwhile. A JUMP has moved the activation on to another cell.
Outcome run_embedded(Activation& activation) {
    DataElement* const conditional_cell = activation.cell;
    DataElement embedded = *conditional_cell;
    embedded.type &= ~(CONDITIONAL | YES);
    embedded.depth = static_cast<std::int16_t>(conditional_cell->modifier);
    embedded.modifier = static_cast<std::uint16_t>(conditional_cell->elements);
    embedded.elements = 0;
    activation.cell = &embedded;
    DataElement* const outer = std::exchange(activation.pending_condition, conditional_cell);
    const bool fused = std::exchange(activation.fuses, false);  // nothing stands behind this cell
    const Outcome outcome = run_operator(activation);
    wait_for_coprocessors();  // which may have to tell of the cell
    activation.pending_condition = outer;
    activation.fuses = fused;
    if (activation.cell == &embedded) activation.cell = conditional_cell;
    return outcome;
}

// A function on top of the stack, run or dropped.
Outcome decide_function(Activation& activation, bool runs) {
    if (activation.sp < activation.argument_floor)
        return runs ? fail(message::too_few_arguments, activation) : Outcome::next;
    if (runs) return execute(activation);
    drop_top(activation);
    return Outcome::next;
}

}  // namespace

Outcome decide(Activation& activation, bool yes) {
    activation.decision = yes;
    if (!activation.fuses) return Outcome::next;
    const DataElement& behind = activation.cell[1];
    if (behind.rank != kind::OPERATOR || !(behind.type & CONDITIONAL) ||
        !is_instruction(behind.modifier, Instruction::RETURN))
        return Outcome::next;
    ++activation.cell;
    return is_met(behind, yes) ? end_function(activation) : Outcome::next;
}

Outcome check(Activation& activation) {
    const DataElement& top = *activation.sp;
    bool yes = top.type != ISEMPTY;
    if (top.type == (ISSCALAR | HASINTEGER)) {
        yes = items_of(top)->integer > 0;
    } else if (top.rank >= 0 && is_single(top)) {
        const DataElement item = item_at(top.data_pointer, 0);
        if (item.tag == tag::integer) {
            yes = item.integer > 0;
        } else {
            const double probability = probability_of(item);
            if (probability < 0) return fail(message::no_check_of_kind, activation);
            note_chance(activation);
            yes = draw_apart_from(probability, prngs_seed) < probability;
        }
    }
    drop_top(activation);
    return decide(activation, yes);
}

Outcome conditional(Activation& activation) {
    const DataElement& cell = *activation.cell;
    const bool yes = is_instruction(static_cast<std::uint16_t>(cell.depth), Instruction::IF_YES);
    if (activation.decision < 0)
        return fail(yes ? message::no_check_before_yes : message::no_check_before_no, activation);
    const bool runs = is_met(cell, activation.decision);
    if (cell.modifier == function_below) return decide_function(activation, runs);
    return runs ? run_embedded(activation) : Outcome::next;
}

Outcome if_value(Activation& activation) {
    std::swap(activation.sp[0], activation.sp[-1]);
    const DataElement& condition = activation.sp[0];
    if (condition.rank < 0 || !is_single(condition)) return fail(message::condition_not_single, activation);
    const DataElement item = item_at(condition.data_pointer, 0);
    bool truth = false;
    if (item.tag == tag::integer) {
        truth = item.integer >= 1;
    } else if (item.tag != tag::real) {
        return fail(message::no_condition_of_kind, activation);
    } else if (item.real > 0 && item.real < 1) {
        note_chance(activation);
        truth = item.real > draw_apart_from(item.real, prngs_seed);
    } else {
        truth = item.real >= 1;
    }
    drop_top(activation);
    if (!truth) Owner refused(std::exchange(*activation.sp, make_empty()));
    return Outcome::next;
}

Outcome jump(Activation& activation) {
    const DataElement& top = *activation.sp;
    if ((top.type & (ISVECTOR | ISEMPTY)) == (ISVECTOR | ISEMPTY)) {
        drop_top(activation);
        return Outcome::next;
    }
    if (top.rank < 0 || (top.type & ISEMPTY) || top.data_pointer == nullptr) return fail(message::no_jump, activation);
    const DataElement item = item_at(top.data_pointer, 0);
    if (item.tag != tag::integer || item.integer < 0) return fail(message::no_jump, activation);
    drop_top(activation);
    if (item.integer == 0 || item.integer > static_cast<std::int64_t>(activation.cells)) return Outcome::end;
    activation.cell = activation.code + item.integer - 2;  // the cycle steps on
    return Outcome::next;
}

// ---- functions and texts

Outcome execute(Activation& activation) {
    const DataElement& top = *activation.sp;
    if (top.rank == kind::FUNCTION) return call_top(activation);
    if (!is_text(top) || top.rank > 1) return fail(message::cannot_execute, activation);
    const std::string text = characters_of(top, " .");
    drop_top(activation);
    run_text(activation, text);
    return Outcome::next;
}

Outcome dip(Activation& activation) {
    Owner aside(*--activation.sp);
    *activation.sp = activation.sp[1];
    if (activation.sp->rank != kind::FUNCTION) return fail(message::cannot_execute, activation);
    // With too few arguments the stack is put back as it was found.
    const auto& function = *activation.sp;
    if (function.depth > 0 && activation.sp - function.depth < activation.argument_floor) {
        activation.sp[1] = *activation.sp;
        *activation.sp++ = aside.take();
        return fail(message::too_few_arguments, activation);
    }
    const Outcome outcome = call_top(activation, {.own_names = false});
    if (outcome != Outcome::next) return outcome;
    return push(activation, aside.take());
}

Outcome end_function(Activation&) { return Outcome::end; }

namespace {

// Copies of the slots from the frame's base up, behind the record that tells where the run had got to.
DataElement* continuation_of(const Activation& activation, const DataElement* top) {
    const auto slots = static_cast<std::size_t>(top - activation.frame_base + 1);
    DataElement* const block = allocate_items(slots + 1);
    DataElement* const cell = activation.pending_condition != nullptr ? activation.pending_condition : activation.cell;
    const auto locals = static_cast<std::uint32_t>(activation.argument_floor - activation.frame_base);
    new (block) ContinuationRecord{.instruction = static_cast<std::uint32_t>(Instruction::YIELD),
                                   .frame_base = activation.frame_base,
                                   .program_counter = cell,
                                   .cell = static_cast<std::uint32_t>(cell - activation.code),
                                   .top = static_cast<std::uint32_t>(slots - 1),
                                   .locals = locals,
                                   .locals_again = locals};
    for (std::size_t i = 0; i < slots; ++i) {
        block[i + 1] = activation.frame_base[i];
        referencepoint(block[i + 1]);
    }
    return block;
}

}  // namespace

Outcome yield(Activation& activation) {
    DataElement& top = *activation.sp;
    if (activation.sp < activation.argument_floor || top.rank != kind::FUNCTION)
        return fail(message::cannot_execute, activation);
    DataElement* const stream = copyfun(top);
    Owner own(top);
    reference(own.record.text);
    own.record.data_pointer = stream;
    stream->continuation = continuation_of(activation, activation.sp - 1);
    std::swap(top, own.record);
    return Outcome::end;
}

Outcome yield_to(Activation& activation) {
    if (activation.sp->rank != kind::FUNCTION) return fail(message::cannot_yield_to, activation);
    return call_top(activation);
}

namespace {

// The numbers that LOOP gives its function, one after the other, in one block as long as nobody keeps it.
class Counter {
public:
    // Writes the number to a slot of the stack that holds nothing.
    void put(DataElement& slot, std::int64_t value) {
        if (last.record.data_pointer == nullptr || !sole_holder(items_of(last.record))) {
            dereferencepoint(last.record);
            last.record = constant(tag::integer);
        }
        items_of(last.record)->integer = value;
        referencepoint(last.record);
        fill_scalar(slot, items_of(last.record));
    }

private:
    Owner last;
};

// One pass with the counter on top: the stack must come back to where it stood before.
Outcome counted_pass(Activation& activation, Entered& function, bool takes_counter, Counter& counter, std::int64_t i) {
    const DataElement* const before = activation.sp;
    if (takes_counter) {
        if (is_full(activation)) return fail(message::stack_full, activation);
        counter.put(activation.sp[1], i);
        ++activation.sp;
    }
    const Outcome outcome = function();
    if (outcome != Outcome::next) return outcome;
    if (activation.sp == before) return Outcome::next;
    while (activation.sp > before) drop_top(activation);
    return fail(message::loop_leaves_other_count, activation);
}

}  // namespace

Outcome loop(Activation& activation) {
    const bool counts = !is_instruction(activation.cell->modifier, Instruction::DISCARD);
    const DataElement& count = activation.sp[-1];
    if (activation.sp->rank != kind::FUNCTION) return fail(message::no_function_for_loop, activation);
    if (count.rank != 0 || items_of(count)->tag != tag::integer || items_of(count)->integer < 0)
        return fail(message::no_loop_count, activation);
    const std::int64_t passes = items_of(count)->integer;
    const Owner function(*activation.sp--);
    const int arguments = function.record.depth;
    // A pass of LOOP takes the arguments below the count for others; what REPEAT has done stays done.
    const std::ptrdiff_t exchanged = counts ? std::clamp<std::ptrdiff_t>(arguments - 1, 0, activation.height() - 1) : 0;
    StackAsFound found(activation, exchanged + 1);
    dereferencepoint(*activation.sp--);
    Counter counter;
    if (passes != 0 && function.record.locals != 0) return fail(message::loop_with_locals, activation);
    Entered body(activation, static_cast<DataElement*>(function.record.data_pointer),
                 {.own_names = false, .in_callers_frame = !counts});
    for (std::int64_t i = 1; i <= passes; ++i) {
        if (arguments > 0 && activation.sp - activation.argument_floor + 1 < arguments - 1)
            return fail(message::too_few_arguments, activation);
        if (counts && arguments < 0) return fail(message::loop_of_open_arguments, activation);
        if (!counts) found.let_go();
        if (i > 1) body.again();
        const Outcome outcome = counts ? counted_pass(activation, body, arguments > 0, counter, i) : body();
        if (outcome != Outcome::next) return outcome;
        heed_attention();  // a body of no cells does not
    }
    operations += static_cast<double>(passes);
    found.let_go();
    return Outcome::next;
}

}  // namespace ondrel
