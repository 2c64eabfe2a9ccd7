// What the system measures of itself: the time and the work of each sentence and of each instruction. Work is counted
// where cells are looked at; no clock is read unless an option has asked for it.
#pragma once

#include <array>

#include "core/activation.h"

namespace ondrel {

// All in seconds, or counts that may pass the integers.
extern double operators;   // cells run in the present sentence
extern double operations;  // items worked on in the present sentence
extern double flopos;      // floating-point operations of the present cell: an estimate
extern double verbs;       // cells run in all sentences
extern double tval;        // the latest reading of the clock
extern double prevtime;    // the reading at the start of what the sentence's reports are about
extern double duration;    // of the last run of the machine
extern double starttime;   // the reading at the start of the process

struct InstructionTime {
    double time, squares;  // seconds, and the sum of their squares run by run
    double count;          // items worked on, or 1 for a run that worked on none
    double flops;
};
extern std::array<InstructionTime, Instructions.size()> InstructionTiming;  // by instruction number

// Whether each cell is looked at, for the counts.
bool counts_cells();

// A sentence of the prompt or of the stepper begins, and is over: it prints what -p, -pp and -t ask for.
void start_sentence();
void report_sentence();

// ---- the account of a cell; with -i its time too

// A run of the machine within an instruction of another: what it does counts for its own instructions alone.
class AccountedRun {
public:
    AccountedRun();
    ~AccountedRun();
    AccountedRun(const AccountedRun&) = delete;
    AccountedRun& operator=(const AccountedRun&) = delete;

private:
    double time_outside, entry;
};

// While it stands, runs of the machine count for the instruction that makes them, too.
class OwnAccount {
public:
    OwnAccount();
    ~OwnAccount();
    OwnAccount(const OwnAccount&) = delete;
    OwnAccount& operator=(const OwnAccount&) = delete;

private:
    double time, work;
};

// The instruction at `activation.cell`, from before it runs.
class AccountedInstruction {
public:
    explicit AccountedInstruction(const Activation& activation);
    // It has run, and has left its result at `top`.
    void finish(const DataElement* top);

private:
    Instruction instruction;
    bool counts_items = false;   // of its result
    double looked_at = 0;        // items that a mask is applied to, or that are folded or matched
    double compared = 0;         // reals, by MATCH
    std::uint32_t operands = 0;  // the kinds of item that it works on
};

// A cell that is no instruction has run: its time is nobody's.
void pass_time();

}  // namespace ondrel
