// Failure: reporting by number, and the one way of leaving work.
//
// A report never unwinds by itself. The machine's own errors report and then end their stream by an outcome; an error
// inside a verb, in the translator's memory, an interrupt and the end of the process report and throw Unwind, which
// only `fill` and the level-0 activation of `machine` catch. Owners on the way give back what they hold.
#pragma once

#include <atomic>
#include <csetjmp>
#include <csignal>
#include <cstdio>

#include "data/dataelement.h"
#include "data/messages.h"

namespace ondrel {

// Thrown to leave a sentence or a translation; what there is to say has been said.
struct Unwind {};
struct Interrupted : Unwind {};  // the user wants the prompt back

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

// Reports, then throws Unwind. A worker reports nothing: it notes the number.
[[noreturn]] void raise(int number, Site site);

// Where a worker notes the error that ended its work; null on the main thread.
extern thread_local int* worker_error;

// Reports 27 and throws Unwind: an allocation failed.
[[noreturn]] void out_of_memory();

// Sets `endprocess` and throws Unwind: nothing is printed.
[[noreturn]] void end_of_process();

// What there is to look at besides the work, as bits of `attention`. SIGINT and SIGQUIT only ask: the cycle, long loops
// and printing look at points where nothing is half done.
namespace calls {
inline constexpr int interrupt = 1,  // an interrupt waits
    watch = 2,                       // each cell is traced, stepped or timed
    hand_off = 4,                    // workers have a value on the stack in hand
    give_up = 8,                     // the workers' work is no longer wanted
    unwinding = 16;                  // an interrupt has been heeded, and the sentence is being left
}
extern std::atomic<int> attention;
inline bool calls_for(int what) { return (attention.load(std::memory_order_relaxed) & what) != 0; }
void call_for(int what, bool on);

extern volatile std::sig_atomic_t running;  // a sentence runs; an interrupt at any other time is ignored

// Reports an interrupt that waits and throws Unwind; a worker, also where its work is no longer wanted, does that
// alone.
void heed_interrupt();

inline void heed_attention() {
    if (calls_for(calls::interrupt | calls::give_up)) [[unlikely]]
        heed_interrupt();
}

// Faults report, and jump to the recovery point in force.
extern sigjmp_buf* fault_jump;

void arm_signals();

// Defined above this folder, in parallel/pool: what workers have in hand is finished first, so that their errors come
// before what the main thread has to report.
void wait_for_coprocessors();

// Defined above this folder, in translator/printing: a cell or value in an error report.
void dump(std::FILE* stream, const char* prefix, DataElement& element);

}  // namespace ondrel
