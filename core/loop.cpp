#include "core/loop.h"

#include <cerrno>
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

// Results that cannot be written are reported once a sentence. When nobody reads them any more, that is the end.
void flush_results() {
    if (std::fflush(stdout) == 0 && !std::ferror(stdout)) return;
    const bool reader_gone = errno == EPIPE || errno == EBADF;
    std::clearerr(stdout);
    exception(103);
    if (reader_gone) endprocess = true;
}

DataElement* sp = stack;

void run_one_sentence(bool quiet) {
    if (!quiet) std::printf("\n\nOndrel [%ld]> ", static_cast<long>(sp - stack));
    flush_results();
    if (endprocess || fill(instructions, &variables, stdin, nullptr) == 0) return;
    call_for(calls::interrupt, false);
    decide_watching();
    operators = operations = 0;
    running = 1;
    sp = machine(instructions, sp);
    running = 0;
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
}

}  // namespace ondrel
