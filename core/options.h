// The command line.
#pragma once

namespace ondrel {

extern bool constraindirectories;  // file names must stay within the directory where the process began

struct Options {
    bool quiet = false;
};

// Reads the arguments from the last to the first. May print a report and end the process with exit code 0.
Options read_options(int count, char** arguments);

// The name, version and build of the system, on standard output.
void print_version();

}  // namespace ondrel
