// One run of a stream of cells: what the actions of instructions work on.
//
// A frame is a run of slots of the value stack: local slots from `frame_base` on, then arguments and whatever is pushed
// from `argument_floor` on. A function that works in its caller's frame, and a text, have the caller's.
#pragma once

#include <cstdint>

#include "core/stack.h"
#include "data/blocks.h"
#include "data/errors.h"
#include "data/instructions.h"
#include "translator/symbols.h"
#include "verbs/scalar/dyadic.h"

namespace ondrel {

// What an action leaves the machine to do: go on; end the stream, with the frame put in order; end it as it stands; or
// give it up after an error of the machine's own, which has been reported.
enum class Outcome { next, end, stop, abandon };

// A table that CONTEXT has pushed; its run holds it.
struct Context {
    Chain link;
    Context* before;
};

struct Activation {
    DataElement* cell;  // the one that is run
    DataElement* sp;
    DataElement* argument_floor;  // the lowest slot that counts as an argument
    DataElement* frame_base;      // LOCAL cells count from here
    const Chain* tables;          // in which names are looked up
    DataElement* code;            // the first cell; JUMP counts from it, as 1
    std::uint32_t cells;          // of the stream, without the one that ends it
    std::uint16_t locals = 0;     // slots below the floor that this run gives back at its end
    bool local_trace = false, local_step = false;
    bool fuses = true;              // usual sequences of cells may run as one
    bool is_watched = false;        // each cell is looked at
    std::int32_t decision = -1;     // of the last CHECK in this run: 0 or 1; before one, -1
    int level = 0;                  // 0: a sentence at the prompt
    DataElement* header = nullptr;  // of the function that runs, whose effects are noted there; null outside
    DataElement* pending_condition =
        nullptr;  // the conditional cell whose instruction is running, in a cell of its own
    Context* contexts = nullptr;

    Site site() const { return {sp, cell}; }
    // Elements in the frame.
    std::ptrdiff_t height() const { return sp - argument_floor + 1; }
};

// A run in the frame of another one, of a stream of `cells` cells and the one that ends it.
inline Activation inside(const Activation& outer, DataElement* code, std::uint32_t cells) {
    return {.cell = code,
            .sp = outer.sp,
            .argument_floor = outer.argument_floor,
            .frame_base = outer.frame_base,
            .tables = outer.tables,
            .code = code,
            .cells = cells,
            .level = outer.level + 1,
            .header = outer.header};
}

// Reports an error of the machine's own.
Outcome fail(int number, const Activation& activation);

// Makes room for one more value, or reports 806.
inline bool is_full(const Activation& activation) { return activation.sp > stacktop; }
Outcome push(Activation& activation, const DataElement& owned);

// The verb of arithmetic behind a number in the stream that may take both without looking further, if a value like the
// number is below it. Null if `literal` is not that.
inline LiteralForm* literal_form_behind(const DataElement& below, const DataElement* literal) {
    return literal->rank == 0 && below.type == literal->type ? literal_form_of(literal[1]) : nullptr;
}
// A plain number with a verb of arithmetic behind it goes straight into the verb, if that finds another one on the
// stack. Then the verb's cell is the one that has been run. False, with nothing done, if `literal` is not that.
inline bool goes_into_verb(Activation& activation, DataElement* literal) {
    if (activation.sp < activation.argument_floor) return false;
    LiteralForm* const form = literal_form_behind(*activation.sp, literal);
    if (form == nullptr || !run_literal_form(form, *activation.sp, *items_of(*literal))) return false;
    activation.cell = literal + 1;
    return true;
}

// ---- defined above, in the machine, which actions enter again

// Walks the stream to its end or to an error.
Outcome run(Activation& activation);
// Runs the instruction of the OPERATOR cell at `activation.cell`, checks of its class first; where each cell is looked
// at, as a cell like others.
Outcome run_operator(Activation& activation);
// Runs a sentence in the frame of `activation` as the prompt does: errors end here, and the top of the stack is shown.
void run_sentence(Activation& activation);

}  // namespace ondrel
