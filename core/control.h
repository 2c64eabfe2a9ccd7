// The verbs that decide what runs next: conditions, jumps, loops, calls, text that runs.
#pragma once

#include "core/activation.h"
#include "translator/emission.h"

namespace ondrel {

Outcome check(Activation& activation);
// Notes a decision. A RETURN under a condition behind it, the usual end of a recursion, is carried out at once.
Outcome decide(Activation& activation, bool yes);
Outcome conditional(Activation& activation);  // IF_YES, IF_NO
// Whether the condition of an IF_YES or IF_NO cell is met by a decision.
inline bool is_met(const DataElement& cell, std::int32_t decision) {
    return (decision != 0) == (cell.depth == static_cast<std::int16_t>(Instruction::IF_YES));
}
// Whether the cell holds an instruction under a condition, and the decision lets it run.
inline bool runs_embedded(const DataElement& cell, std::int32_t decision) {
    const bool conditional = cell.depth == static_cast<std::int16_t>(Instruction::IF_YES) ||
                             cell.depth == static_cast<std::int16_t>(Instruction::IF_NO);
    return conditional && cell.modifier != function_below && decision >= 0 && is_met(cell, decision);
}
Outcome if_value(Activation& activation);
Outcome jump(Activation& activation);
Outcome loop(Activation& activation);  // and REPEAT
Outcome execute(Activation& activation);
Outcome end_function(Activation& activation);  // RETURN too
Outcome yield(Activation& activation);
Outcome yield_to(Activation& activation);
Outcome dip(Activation& activation);  // and DEEP

}  // namespace ondrel
