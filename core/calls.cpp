#include "core/calls.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "core/stack.h"

namespace ondrel {

void settle(Activation& caller, Activation& callee) {
    leave_frame(callee);
    while (callee.sp > caller.sp) dereferencepoint(*callee.sp--);
    caller.sp = callee.sp;
    release_contexts(callee);
}

namespace {

DataElement empty_local() {
    DataElement slot{};
    slot.rank = kind::VARIABLE;
    return slot;
}

}  // namespace

bool lay_out(Activation& callee, DataElement* base, std::ptrdiff_t locals) {
    static std::uint64_t last_owner = 0;
    if (callee.sp + locals > stack + stack_slots) return false;
    std::move_backward(base, callee.sp + 1, callee.sp + 1 + locals);
    std::fill_n(base, locals, empty_local());
    std::fill_n(slot_owners + (base - stack), locals, ++last_owner);
    callee.sp += locals;
    callee.locals = static_cast<std::uint16_t>(locals);
    return true;
}

void release_contexts(Activation& activation) {
    while (activation.contexts != nullptr) {
        Context* const context = std::exchange(activation.contexts, activation.contexts->before);
        release_table(context->link.table);
        release(context);
    }
}

void give_up_frame(const Activation& activation) {
    std::fill_n(slot_owners + (activation.argument_floor - activation.locals - stack), activation.locals, 0);
}

void leave_frame(Activation& activation) {
    give_up_frame(activation);
    const std::ptrdiff_t locals = std::exchange(activation.locals, 0);
    if (locals == 0) return;
    DataElement* const base = activation.argument_floor - locals;
    for (DataElement* slot = base; slot < activation.argument_floor; ++slot) dereferencepoint(*slot);
    std::move(activation.argument_floor, activation.sp + 1, base);
    activation.sp -= locals;
}

void release_function(DataElement* stream) {
    DataElement function{};
    function.rank = kind::FUNCTION;
    function.data_pointer = stream;
    dereferencepoint(function);
}

StackAsFound::StackAsFound(Activation& outer, std::ptrdiff_t exchanged)
    : activation(outer), untouched(outer.sp - exchanged), kept(untouched + 1, outer.sp + 1) {
    for (const DataElement& element : kept) referencepoint(element);
}

StackAsFound::~StackAsFound() {
    while (is_wanted && activation.sp > untouched) dereferencepoint(*activation.sp--);
    for (DataElement& element : kept)
        if (is_wanted)
            *++activation.sp = element;
        else
            dereferencepoint(element);
}

Outcome call(Activation& caller, DataElement* stream) { return Entered(caller, stream, {})(); }

Outcome call_top(Activation& caller, CallOptions options) {
    const Owner function(*caller.sp--);
    return Entered(caller, static_cast<DataElement*>(function.record.data_pointer), options)();
}

// ---- sentences

Sentence::Sentence(const Chain* tables, const Table* names_around, std::FILE* source, const char** text,
                   Newline newline, std::uint16_t locals)
    : stream(allocate_items(sentence_cells)) {
    *stream = {};
    const int filled = fill(stream.get(), tables, source, text, newline, locals, names_around);
    if (filled == 0 && calls_for(calls::unwinding)) throw Interrupted{};  // the sentences around it are left too
    if (filled == 0) return;
    translated = true;
    count = static_cast<std::uint32_t>(filled) - 1;
    auto* const cut = Reallocate(stream.get(), static_cast<std::size_t>(filled) * sizeof(DataElement));
    static_cast<void>(stream.release());
    stream.reset(static_cast<DataElement*>(cut));
}

bool Sentence::ends_input() const { return translated && is_instruction(*stream, Instruction::ENDPROCESS); }

void Sentence::Cleanup::operator()(DataElement* cells) const {
    cleanup(cells);
    release(cells);
}

namespace {

struct Waiting {
    Waiting() { running = 0; }
    Waiting(const Waiting&) = delete;
    Waiting& operator=(const Waiting&) = delete;
    ~Waiting() { running = 1; }
};

}  // namespace

Sentence typed_sentence(const Activation& activation, Newline newline, const std::string& prompt,
                        std::uint16_t locals) {
    std::optional<Waiting> waiting;
    if (newline == Newline::steps) waiting.emplace();
    std::fputs(prompt.c_str(), stdout);
    std::fflush(stdout);
    return {activation.tables, names_of_function(activation), stdin, nullptr, newline, locals};
}

namespace {

struct Settled {
    Activation &caller, &callee;
    bool unwinding = true;
    ~Settled() {
        if (unwinding) settle(caller, callee);
    }
};

}  // namespace

Outcome run_inside(Activation& caller, Sentence& sentence, bool own_frame) {
    check_depth(caller);
    const Chain names = own_names(sentence.first()[sentence.cells()], caller.tables);
    Activation callee = inside(caller, sentence.first(), sentence.cells());
    callee.tables = in_force(names);
    if (own_frame) callee.frame_base = callee.argument_floor = caller.sp + 1;
    Settled settled{caller, callee};
    const Outcome outcome = run(callee);
    settled.unwinding = false;
    caller.sp = callee.sp;
    release_contexts(callee);
    return outcome;
}

void run_text(Activation& caller, const std::string& text) {
    const char* position = text.c_str();
    const char* const end = position + text.size();
    while (position < end) {
        const char* const before = position;
        Sentence sentence(caller.tables, names_of_function(caller), nullptr, &position);
        if (sentence.runs()) run_inside(caller, sentence);
        if (position == before) return;  // a byte that ends every text
    }
}

void run_stream(Activation& caller, std::FILE* stream) {
    for (;;) {
        Sentence sentence(caller.tables, names_of_function(caller), stream, nullptr);
        if (sentence.ends_input()) return;
        if (sentence.runs()) run_inside(caller, sentence);
    }
}

}  // namespace ondrel
