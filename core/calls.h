// Runs within runs: functions, and sentences of a text. A frame is laid out on the value stack before, and put in order
// after; what a function leaves above its floor is its result.
#pragma once

#include <cstdio>
#include <string>
#include <utility>

#include "core/activation.h"

namespace ondrel {

// The depth of runs within runs beyond which 806 is raised, and all of them unwind to the prompt.
inline constexpr int deepest_level = 50000;

// How a function is entered, and what is to be known about it afterwards.
struct CallOptions {
    bool own_names = true;          // its table goes before the chain in force
    bool in_callers_frame = false;  // it may take whatever its caller may
};

// Calls the function of this stream, whose arguments are on top of the stack. The stream is kept alive while it runs.
// 800 if there are too few, 806 if its locals do not fit: `abandon`, with the stack as it was. Otherwise `next`,
// however the function ended; `complete` is set if it came to its end.
Outcome call(Activation& caller, DataElement* stream, CallOptions options = {}, bool* complete = nullptr);

// Takes the function off the top of the stack and calls it.
Outcome call_top(Activation& caller, CallOptions options = {}, bool* complete = nullptr);

// Gives back the locals, and moves what lies above them down.
void leave_frame(Activation& activation);

// The tables that CONTEXT has made go with the run that made them.
void release_contexts(Activation& activation);

// A sentence that is not the prompt's, translated and owned. Empty if there was nothing to run.
class Sentence {
public:
    // As `fill`, in the names that are in force.
    Sentence(const Chain* tables, std::FILE* stream, const char** text, bool line);
    ~Sentence();
    Sentence(const Sentence&) = delete;
    Sentence& operator=(const Sentence&) = delete;

    std::uint32_t cells() const { return count; }  // without the one that ends it
    DataElement* first() { return stream; }
    DataElement* take() { return std::exchange(stream, nullptr); }

private:
    DataElement* stream = nullptr;  // an item block
    std::uint32_t count = 0;
};

// Runs the sentence in the frame of the caller, or in an empty one above its stack.
void run_inside(Activation& caller, Sentence& sentence, bool own_frame = false);

// Runs a text sentence by sentence, in the caller's frame.
void run_text(Activation& caller, const std::string& text);

}  // namespace ondrel
