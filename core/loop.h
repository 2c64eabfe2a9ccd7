// The interactive loop: prompt, one sentence, its result, again.
#pragma once

namespace ondrel {

// Reads sentences from the standard input and runs them until the process is to end. `quiet`: no prompt. The values
// that are left on the stack at the end are given back.
void interactive_loop(bool quiet);

}  // namespace ondrel
