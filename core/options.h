// The command line, and the settings that it leaves behind.
#pragma once

#include <cstdint>

namespace ondrel {

extern bool timing;                 // -t: the time of each sentence
extern bool performance;            // -p: its speed
extern bool processor_performance;  // -pp: its speed by the processor's
extern std::uint64_t MHz;           // of the processor, as -pp gives it
extern bool opstime;                // -i and its kin: the time of each instruction, and a report at the end
extern bool flops;                  // -if, -it: with floating-point operations
extern bool terse_ops;              // -it: one line for each instruction
extern bool just_summary;           // -is: none

struct Options {
    bool quiet = false;
};

// Reads the arguments from the last to the first. May print a report and end the process: with exit code 0, or with 1
// after an option that lacks its number.
Options read_options(int count, char** arguments);

// The name, version and build of the system, on standard output.
void print_version();

}  // namespace ondrel
