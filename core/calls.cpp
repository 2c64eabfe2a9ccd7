#include "core/calls.h"

#include <algorithm>
#include <utility>

#include "core/native_stack.h"
#include "core/stack.h"
#include "translator/scanner.h"

namespace ondrel {
namespace {

// A run inside another one. However it ends, the caller's stack reaches as far as this one's: or, when an error
// unwinds, only as far as both do, and what lies above is given back.
struct Run {
    Activation& caller;
    Activation callee;

    Run(Activation& outer, DataElement* code, std::uint32_t cells)
        : caller(outer), callee(inside(outer, code, cells)) {}
    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;

    ~Run() {
        if (unwinding) {
            leave_frame(callee);
            while (callee.sp > caller.sp) dereferencepoint(*callee.sp--);
        }
        caller.sp = callee.sp;
        release_contexts(callee);
    }

    Outcome operator()() {
        const Outcome outcome = run(callee);
        unwinding = false;
        if (outcome == Outcome::end) leave_frame(callee);
        return outcome;
    }

private:
    bool unwinding = true;
};

void check_depth(const Activation& caller) {
    if (caller.level >= deepest_level || native_stack_is_short()) [[unlikely]]
        raise(806, caller.site());
}

// A stream that runs must outlive its name and its value.
struct Held {
    DataElement* stream;
    explicit Held(DataElement* held) : stream(held) { reference(stream); }
    Held(const Held&) = delete;
    Held& operator=(const Held&) = delete;
    ~Held() {
        if (sole_holder(stream)) {
            DataElement function{};
            function.rank = kind::FUNCTION;
            function.data_pointer = stream;
            dereferencepoint(function);
        } else {
            release(stream);
        }
    }
};

DataElement empty_local() {
    DataElement slot{};
    slot.rank = kind::VARIABLE;
    return slot;
}

// Moves the arguments at `base` up to make room for the locals. False if they do not fit.
bool lay_out(Activation& callee, DataElement* base, std::ptrdiff_t locals) {
    if (callee.sp + locals > stack + stack_slots) return false;
    std::move_backward(base, callee.sp + 1, callee.sp + 1 + locals);
    std::fill_n(base, locals, empty_local());
    callee.sp += locals;
    callee.locals = static_cast<std::uint16_t>(locals);
    return true;
}

}  // namespace

void release_contexts(Activation& activation) {
    while (activation.contexts != nullptr) {
        Context* const context = std::exchange(activation.contexts, activation.contexts->before);
        release_table(context->link.table);
        release(context);
    }
}

void leave_frame(Activation& activation) {
    const std::ptrdiff_t locals = std::exchange(activation.locals, 0);
    if (locals == 0) return;
    DataElement* const base = activation.argument_floor - locals;
    for (DataElement* slot = base; slot < activation.argument_floor; ++slot) dereferencepoint(*slot);
    std::move(activation.argument_floor, activation.sp + 1, base);
    activation.sp -= locals;
}

Outcome call(Activation& caller, DataElement* stream, CallOptions options, bool* complete) {
    check_depth(caller);
    const DataElement& header = *stream;
    const bool own_frame = header.depth >= 0 && !options.in_callers_frame;
    DataElement* const base = caller.sp - header.depth + 1;
    if (own_frame && base < caller.argument_floor) return fail(800, caller);

    const Held held(stream);
    auto* const table = static_cast<Table*>(stream[header.elements].local_table);
    const Chain names{table, caller.tables};
    {
        Run run(caller, stream + 1, header.elements);
        Activation& callee = run.callee;
        callee.header = stream;
        if (options.own_names && table != nullptr && caller.tables->table != table) callee.tables = &names;
        if (own_frame) {
            callee.frame_base = base;
            callee.argument_floor = base + header.locals;
            if (header.locals != 0 && !lay_out(callee, base, header.locals)) return full_stack(caller);
        }
        const Outcome outcome = run();
        if (complete != nullptr) *complete = outcome == Outcome::end;
    }
    return Outcome::next;
}

Outcome call_top(Activation& caller, CallOptions options, bool* complete) {
    Owner function(*caller.sp--);
    return call(caller, static_cast<DataElement*>(function.record.data_pointer), options, complete);
}

// ---- sentences

Sentence::Sentence(const Chain* tables, std::FILE* source, const char** text, bool line) {
    static DataElement buffer[sentence_cells];
    const int filled = fill(buffer, tables, source, text, line);
    if (filled == 0) return;
    try {
        stream = allocate_items(static_cast<std::size_t>(filled));
    } catch (...) {
        cleanup(buffer);
        throw;
    }
    std::copy_n(buffer, filled, stream);
    count = static_cast<std::uint32_t>(filled) - 1;
}

Sentence::~Sentence() {
    if (stream == nullptr) return;
    cleanup(stream);
    release(stream);
}

void run_inside(Activation& caller, Sentence& sentence, bool own_frame) {
    check_depth(caller);
    auto* const table = static_cast<Table*>(sentence.first()[sentence.cells()].local_table);
    const Chain names{table, caller.tables};
    Run run(caller, sentence.first(), sentence.cells());
    if (table != nullptr) run.callee.tables = &names;
    if (own_frame) run.callee.frame_base = run.callee.argument_floor = caller.sp + 1;
    run();
}

void run_text(Activation& caller, const std::string& text) {
    const char* position = text.c_str();
    const char* const end = position + text.size();
    while (position < end) {
        const char* const before = position;
        Sentence sentence(caller.tables, nullptr, &position, false);
        if (sentence.cells() != 0) run_inside(caller, sentence);
        if (position == before) return;  // a byte that ends every text
    }
}

}  // namespace ondrel
