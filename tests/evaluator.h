// The interpreter inside the test process: sentences in, what they print out. It keeps its stack from call to call.
#pragma once

#include <string>
#include <string_view>

#include "data/dataelement.h"

namespace ondrel {

struct Evaluator {
    DataElement* sp;  // the top of the value stack; below its first slot when empty

    Evaluator();
    ~Evaluator();

    // Runs every sentence of the text. The result is what came on the standard output and the standard error together,
    // the top of the stack shown at the end of each sentence included.
    std::string run(std::string_view text);

    long height() const;
    void clear();  // the stack, and all names
};

}  // namespace ondrel
