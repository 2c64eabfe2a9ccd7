#include "tests/evaluator.h"

#include <cstdio>
#include <cstdlib>

#include "core/machine.h"
#include "core/native_stack.h"
#include "core/stack.h"
#include "data/blocks.h"
#include "translator/scanner.h"
#include "translator/symbols.h"
#include "translator/tokens.h"

namespace ondrel {
namespace {

// Both standard streams of this process, caught in one text for as long as it lives.
struct Capture {
    char* text = nullptr;
    std::size_t length = 0;
    std::FILE* const memory = open_memstream(&text, &length);
    std::FILE *const out = stdout, *const error = stderr;

    Capture() { stdout = stderr = memory; }
    ~Capture() {
        stdout = out;
        stderr = error;
        std::fclose(memory);
        std::free(text);
    }
    std::string so_far() {
        std::fflush(memory);
        return {text, length};
    }
};

}  // namespace

Evaluator::Evaluator() : sp(stack) {
    static const bool tables = (make_token_tables(), true);
    static_cast<void>(tables);
    endprocess = A_Problem = PrintOut = false;
    make_system_variables();
    measure_present_stack();
}

Evaluator::~Evaluator() {
    clear();
    wipe_all_tables();
}

std::string Evaluator::run(std::string_view text) {
    static DataElement cells[sentence_cells];
    const std::string copy(text);
    const char* position = copy.c_str();
    Capture capture;
    for (const char* before = nullptr; *position != '\0' && position != before;) {  // a byte 255 ends every text
        before = position;
        if (fill(cells, &variables, nullptr, &position) == 0) continue;
        sp = machine(cells, sp);
        cleanup(cells);
        give_back_rest();
    }
    endprocess = false;  // the end of a text is not the end of the test
    return capture.so_far();
}

long Evaluator::height() const { return sp - stack; }

void Evaluator::clear() {
    while (sp > stack) dereferencepoint(*sp--);
    hashwipe(variables.table);
}

}  // namespace ondrel
