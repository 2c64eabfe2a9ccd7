#include "core/loop.h"

#include <cstdio>

#include "core/debugger.h"
#include "core/machine.h"
#include "core/stack.h"
#include "core/timing.h"
#include "data/blocks.h"
#include "translator/scanner.h"

namespace ondrel {
namespace {

DataElement instructions[sentence_cells];

// Results that cannot be written are lost, which is reported; the sentences go on, for what else they do.
void flush_results() {
    if (std::fflush(stdout) == 0 && !std::ferror(stdout)) return;
    std::clearerr(stdout);
    exception(message::cannot_be_written);
}

DataElement* sp = stack;

void run_one_sentence(bool quiet) {
    if (!quiet) std::printf("\n\nOndrel [%ld]> ", static_cast<long>(sp - stack));
    flush_results();
    give_back_rest();
    if (fill(instructions, &variables, stdin, nullptr) == 0) return;
    decide_watching();
    operators = operations = 0;
    running = 1;
    sp = machine(instructions, sp);
    running = 0;
    call_for(calls::interrupt, false);  // one that came too late
    cleanup(instructions);
    flush_results();
    verbs += operators;
}

}  // namespace

void interactive_loop(bool quiet) {
    sigjmp_buf recovery;
    fault_jump = &recovery;
    sigsetjmp(recovery, 0);  // a fault outside a sentence comes back to the prompt
    while (!endprocess) run_one_sentence(quiet);
    fault_jump = nullptr;
    while (sp > stack) dereferencepoint(*sp--);
    give_back_rest();
}

}  // namespace ondrel
