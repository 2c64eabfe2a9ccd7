// Failure: reporting by number, and the one way of leaving work.
//
// A report never unwinds by itself. The machine's own errors report and then end their stream by an outcome; an error
// inside a verb, in the translator's memory, an interrupt and the end of the process report and throw Unwind, which
// only `fill` and the level-0 activation of `machine` catch. Owners on the way give back what they hold.
#pragma once

#include <csetjmp>
#include <csignal>
#include <cstdio>

#include "data/dataelement.h"
#include "data/messages.h"

namespace ondrel {

// Thrown to leave a sentence or a translation; what there is to say has been said.
struct Unwind {};

// Where a verb works, for its reports: the top of the value stack and the instruction cell.
struct Site {
    DataElement* top = nullptr;
    DataElement* cell = nullptr;
};

extern bool endprocess;  // the process is to end
extern bool A_Problem;   // after an interrupt or 27: the value on top may be half done
extern bool PrintOut;    // a value is being printed
extern bool stepping;    // what is traced or stepped is shown: every error above 0 wakes it

// Reports error `number` (above 0) with the cell at `site`, and the stack's top after A_Problem, on standard error;
// or, for 0, writes the greeting there. Returns to the caller.
void exception(int number, Site site = {});

// Reports, then throws Unwind.
[[noreturn]] void raise(int number, Site site);

// Reports 27 and throws Unwind: an allocation failed.
[[noreturn]] void out_of_memory();

// Sets `endprocess` and throws Unwind: nothing is printed.
[[noreturn]] void end_of_process();

// Signals. SIGINT and SIGQUIT only ask: the cycle, long loops and printing look at `attention` at points where
// nothing is half done. Faults report, and jump to the recovery point in force.
extern volatile std::sig_atomic_t attention;  // an interrupt waits, or the cycle is watched
extern volatile std::sig_atomic_t running;    // a sentence runs; an interrupt at any other time is ignored
extern bool cycle_watched;                    // each cell is traced, stepped or timed; written by `watch_cycle`
extern sigjmp_buf* fault_jump;

void arm_signals();

// Whether the cycle is to look closer at each cell from now on.
void watch_cycle(bool on);

// Reports an interrupt that waits and throws Unwind.
void heed_interrupt();
// An interrupt from before a run is none of its.
void forget_interrupt();

inline void heed_attention() {
    if (attention) [[unlikely]]
        heed_interrupt();
}

// Defined above this folder, in translator/printing: a cell or value in an error report.
void dump(std::FILE* stream, const char* prefix, DataElement& element);

}  // namespace ondrel
