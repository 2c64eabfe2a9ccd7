// The clock that all times are taken from.
//
// In builds with checks, with the environment variable ONDREL_CLOCK set to a number of seconds, it is no clock: each
// reading comes so much after the one before. So a report comes out the same each time, in a test or a transcript.
#pragma once

namespace ondrel {

// Seconds since some moment; never goes back.
double read_clock();

// Seconds that the process has had of its processors so far, in its own work and in the system's for it.
struct ProcessorTime {
    double user, system;
};
ProcessorTime processor_time();

}  // namespace ondrel
