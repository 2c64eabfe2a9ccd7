// The interpreter: walks a stream of cells from left to right against the value stack.
#pragma once

#include "data/dataelement.h"
#include "data/errors.h"

namespace ondrel {

// What an action leaves the machine to do.
enum class Outcome { next, end, abandon };

// One run of a stream. Actions work on it: they take their operands from `sp` and leave `sp` where the stack ends.
struct Activation {
    DataElement* cell;  // the one that is run
    DataElement* sp;
    DataElement* argument_floor;  // the lowest slot that counts as an argument
    int level;                    // 0: a sentence at the prompt

    Site site() const { return {sp, cell}; }
};

// Carries an instruction out. An error of the machine's own is reported and answered by `abandon`; one inside a verb
// throws Unwind.
using Action = Outcome (*)(Activation&);

// Runs the stream at `code` and returns the new stack top. At level 0 it shows the top of the stack at the end, and
// is the recovery point of all that goes on below.
DataElement* machine(DataElement* code, DataElement* argument_floor, DataElement* top, int level);

}  // namespace ondrel
