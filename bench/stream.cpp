#include "bench/stream.h"

#include <cstdlib>
#include <string>

#include "core/machine.h"
#include "core/stack.h"
#include "data/blocks.h"
#include "translator/tokens.h"

namespace ondrel {

void start_interpreter() {
    static const bool tables = (make_token_tables(), true);
    static_cast<void>(tables);
}

Stream::Stream(std::string_view text) {
    start_interpreter();
    const std::string copy(text);
    const char* position = copy.c_str();
    count = fill(cells, nullptr, &position, false);
    if (count == 0) std::abort();
}

Stream::~Stream() { cleanup(cells); }

void Stream::run() {
    DataElement* sp = machine(cells, stack + 1, stack, 1);
    while (sp > stack) dereferencepoint(*sp--);
}

}  // namespace ondrel
