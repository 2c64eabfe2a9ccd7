#include "core/debugger.h"

#include <cstdio>
#include <string>

#include "core/calls.h"
#include "core/timing.h"
#include "translator/printing.h"

namespace ondrel {

bool Trace = false, Step = false;

namespace {

bool acts_on_all(const Activation& activation) {
    return activation.cell->modifier == static_cast<std::uint16_t>(Instruction::REST);
}

const char* trace_label(std::int32_t rank) {
    if (rank == 0) return ":\t . SCALAR:\t\t";
    if (rank == kind::FUNCTION) return ":\t . FUNCTION:\t\t";
    return rank > 0 ? ":\t . SPACE:\t\t" : ":\t";
}

void print_trace(const Activation& activation) {
    // An instruction under a condition runs in a cell of its own, but has the place of the cell that it stands in.
    const DataElement* const place =
        activation.pending_condition != nullptr ? activation.pending_condition : activation.cell;
    std::printf("\nTrace (%2d:%3ld)", activation.level, static_cast<long>(place - activation.code + 1));
    if (!activation.local_step) std::printf(" [%2ld]", static_cast<long>(activation.height()));
    DataElement& cell = *activation.cell;
    PrintOut = true;
    disass(stdout, trace_label(cell.rank), 0, cell.rank > 0, cell);
    PrintOut = false;
    if (cell.rank == kind::OPERATOR && row(cell).has(traits::asks)) std::fputs("\n-> ", stdout);
    std::fflush(stdout);
}

// A sentence that has been typed here runs as one of the prompt, in the frame of the run that stands still.
void run_inspection(Activation& activation, Sentence& sentence) {
    check_depth(activation);
    const Chain names = own_names(sentence.first()[sentence.cells()], activation.tables);
    Activation inspection = inside(activation, sentence.first(), sentence.cells());
    inspection.level = 0;
    inspection.tables = in_force(names);
    call_for(calls::interrupt, false);
    run_sentence(inspection);
    release_contexts(inspection);
    activation.sp = inspection.sp;
}

// Sentence by sentence, until one is empty, or RUN or BREAK.
void inspect(Activation& activation) {
    while (stepping && !endprocess) {
        const std::string prompt = "\nInspect [" + std::to_string(activation.height()) + "]: ";
        const auto locals = static_cast<std::uint16_t>(activation.argument_floor - activation.frame_base);
        Sentence sentence = typed_sentence(activation, Newline::steps, prompt, locals);
        std::clearerr(stdin);  // the end of the input ends this stay; at a terminal more may come
        if (!stepping) return;
        if (!sentence.runs()) continue;
        stepping = false;
        run_inspection(activation, sentence);
        stepping = true;
    }
}

}  // namespace

void decide_watching() { call_for(calls::watch, Trace || Step || counts_cells()); }

void show_cell(Activation& activation) {
    if (stepping && (activation.local_trace || Trace)) print_trace(activation);
    if (stepping && (activation.local_step || Step) && !endprocess) {
        inspect(activation);
        endprocess = false;  // only the end of the stay at this cell
        pass_time();         // which is nobody's
    }
}

bool turns_watching(const DataElement& cell) { return cell.rank == kind::OPERATOR && row(cell).has(traits::watches); }

Outcome trace(Activation& activation) {
    if (acts_on_all(activation)) Trace = true;
    stepping = activation.local_trace = true;
    call_for(calls::watch, true);
    return Outcome::next;
}

Outcome step(Activation& activation) {
    if (acts_on_all(activation)) Step = true;
    activation.local_step = true;
    return trace(activation);
}

Outcome run_on(Activation& activation) {
    if (acts_on_all(activation)) Trace = Step = false;
    stepping = activation.local_trace = activation.local_step = false;
    decide_watching();
    return Outcome::next;
}

}  // namespace ondrel
