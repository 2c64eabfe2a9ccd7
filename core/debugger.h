// The debugger inside: the trace of cells before they run, and the prompt at which a program stands still meanwhile.
//
// Four switches: `local_trace` and `local_step` of a run, which end with it, and two for all runs. `stepping` is above
// them all: RUN and BREAK at the prompt turn it off, and every error on again.
#pragma once

#include "core/activation.h"

namespace ondrel {

extern bool Trace, Step;  // every run is traced, and stepped

// Whether each cell is looked at, as the global switches and the options say. A switch of a run has each looked at
// until this is asked again: before the next sentence, when the run has ended.
void decide_watching();

// Before the cell at `activation.cell` runs: its line of the trace, and the Inspect prompt, where sentences work on
// this run's stack and frame.
void show_cell(Activation& activation);

// A cell of TRACE, STEP or RUN.
bool turns_watching(const DataElement& cell);

Outcome trace(Activation& activation);
Outcome step(Activation& activation);
Outcome run_on(Activation& activation);  // RUN

}  // namespace ondrel
