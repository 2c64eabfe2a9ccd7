#include "core/loop.h"

#include <cerrno>
#include <cstdio>

#include "core/machine.h"
#include "core/stack.h"
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

}  // namespace

void interactive_loop(bool quiet) {
    DataElement* sp = stack;
    while (!endprocess) {
        if (!quiet) std::printf("\n\nOndrel [%ld]> ", static_cast<long>(sp - stack));
        flush_results();
        if (endprocess || fill(instructions, stdin, nullptr, false) == 0) continue;
        attention = 0;
        running = 1;
        sp = machine(instructions, stack + 1, sp, 0);
        running = 0;
        cleanup(instructions);
        flush_results();
    }
    while (sp > stack) dereferencepoint(*sp--);
}

}  // namespace ondrel
