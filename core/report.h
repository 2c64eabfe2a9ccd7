// The last report of a process: how often, how fast and how steadily each instruction ran.
#pragma once

namespace ondrel {

// Prints what -i and its kin have gathered on the standard output; nothing if they have not been given, or no
// instruction has run.
void report_instructions();

}  // namespace ondrel
