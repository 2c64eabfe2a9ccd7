// Runs within runs: functions, and sentences of a text. A frame is laid out on the value stack before, and put in order
// after; what a function leaves above its floor is its result.
#pragma once

#include <cstdio>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "core/activation.h"
#include "core/native_stack.h"
#include "translator/scanner.h"

namespace ondrel {

// The depth of runs within runs beyond which 806 is raised, and all of them unwind to the prompt.
inline constexpr int deepest_level = 50000;

// How a function is entered, and what is to be known about it afterwards.
struct CallOptions {
    bool own_names = true;          // its table goes before the chain in force
    bool in_callers_frame = false;  // it may take whatever its caller may
};

// 806, unwinding, when there are too many runs within runs.
inline void check_depth(const Activation& caller) {
    if (caller.level >= deepest_level || native_stack_is_short()) [[unlikely]]
        raise(message::stack_full, caller.site());
}

// A link for the table of a stream's own names, which the cell that ends it holds, if it has any; and the chain with
// it.
inline Chain own_names(const DataElement& last_cell, const Chain* outside) {
    return {static_cast<Table*>(last_cell.local_table), outside};
}
// The table of the function that runs, if it has one: a text that runs inside it sees its names.
inline const Table* names_of_function(const Activation& activation) {
    const DataElement* const header = activation.header;
    return header == nullptr ? nullptr : static_cast<const Table*>(header[header->elements].local_table);
}
inline const Chain* in_force(const Chain& names) { return names.table != nullptr ? &names : names.previous; }

// Moves the arguments at `base` up to make room for the locals. False if they do not fit.
bool lay_out(Activation& callee, DataElement* base, std::ptrdiff_t locals);
// Gives back the locals, and moves what lies above them down.
void leave_frame(Activation& activation);
// Leaves the frame as it stands: its slots are nobody's locals any more.
void give_up_frame(const Activation& activation);

// The tables that CONTEXT has made go with the run that made them.
void release_contexts(Activation& activation);
// An error unwinds out of a run: the caller's stack reaches as far as both do, and what lies above is given back.
void settle(Activation& caller, Activation& callee);
// Gives a stream back whose last holder has been its run.
void release_function(DataElement* stream);

// A function entered, to be run once or again and again. The stream is kept alive meanwhile.
class Entered {
public:
    Entered(Activation& outer, DataElement* function, CallOptions options)
        : caller(outer),
          stream(function),
          callee(inside(outer, function + 1, function->elements)),
          own_frame(function->depth >= 0 && !options.in_callers_frame) {
        callee.header = function;
        auto* const own = static_cast<Table*>(function[function->elements].local_table);
        if (own != nullptr && options.own_names && outer.tables->table != own)
            callee.tables = new (&names) Chain(own, outer.tables);
        tables = callee.tables;
        reference_alone(function);
    }
    ~Entered() {
        if (inside_run) settle(caller, callee);
        if (callee.contexts != nullptr) release_contexts(callee);
        if (sole_holder_alone(stream)) [[unlikely]]
            release_function(stream);
        else
            release_alone(stream);
    }
    Entered(const Entered&) = delete;
    Entered& operator=(const Entered&) = delete;

    // Runs it on what is on top of the caller's stack: as `call` does.
    Outcome operator()() {
        check_depth(caller);
        callee.sp = caller.sp;
        if (own_frame) {
            DataElement* const base = caller.sp - stream->depth + 1;
            if (base < caller.argument_floor) return fail(message::too_few_arguments, caller);
            callee.frame_base = base;
            callee.argument_floor = base + stream->locals;
            if (stream->locals != 0 && !lay_out(callee, base, stream->locals)) return fail(message::stack_full, caller);
        }
        inside_run = true;
        const Outcome outcome = run(callee);
        inside_run = false;
        ended = outcome == Outcome::end;
        if (stream->locals != 0) ended ? leave_frame(callee) : give_up_frame(callee);
        caller.sp = callee.sp;
        return Outcome::next;
    }
    // Makes it ready for another run.
    void again() {
        if (callee.contexts != nullptr) release_contexts(callee);
        callee.tables = tables;
        callee.cell = callee.code;
        callee.decision = -1;
        callee.locals = 0;
        callee.local_trace = callee.local_step = false;
    }
    bool complete() const { return ended; }

private:
    Activation& caller;
    DataElement* const stream;
    union {
        Chain names;  // made where it is in force
    };
    Activation callee;
    const Chain* tables;  // in force at the start of a run
    bool own_frame, inside_run = false, ended = false;
};

// The stack as a verb has found it that runs a function again and again. If the verb does not come to its end, what is
// new on top goes, and the topmost `exchanged` elements, which the function may take for others, are put back.
class StackAsFound {
public:
    explicit StackAsFound(Activation& activation, std::ptrdiff_t exchanged = 0);
    ~StackAsFound();
    StackAsFound(const StackAsFound&) = delete;
    StackAsFound& operator=(const StackAsFound&) = delete;

    void let_go() { is_wanted = false; }

private:
    Activation& activation;
    DataElement* const untouched;
    std::vector<DataElement> kept;
    bool is_wanted = true;
};

// Calls the function of this stream, whose arguments are on top of the stack. The stream is kept alive while it runs.
// 800 if there are too few, 806 if its locals do not fit: `abandon`, with the stack as it was. Otherwise `next`,
// however the function ended.
Outcome call(Activation& caller, DataElement* stream);

// Takes the function off the top of the stack and calls it.
Outcome call_top(Activation& caller, CallOptions options = {});

// A sentence that is not the prompt's, translated and owned. Empty if there was nothing to run.
class Sentence {
public:
    // As `fill`.
    Sentence(const Chain* tables, const Table* names_around, std::FILE* stream, const char** text,
             Newline newline = Newline::blank, std::uint16_t locals = 0);

    bool was_translated() const { return translated; }  // else there were mistakes that leave nothing to run
    bool runs() const { return count != 0; }
    bool ends_input() const;                       // there was nothing left to translate
    std::uint32_t cells() const { return count; }  // without the one that ends it
    DataElement* first() { return stream.get(); }
    DataElement* take() { return stream.release(); }

private:
    struct Cleanup {
        void operator()(DataElement* cells) const;
    };
    std::unique_ptr<DataElement, Cleanup> stream;  // an item block
    std::uint32_t count = 0;
    bool translated = false;
};

// A sentence that is typed while a run waits for it, in its names. At the prompt of the stepper an interrupt asks for
// nothing.
Sentence typed_sentence(const Activation& activation, Newline newline, const std::string& prompt = {},
                        std::uint16_t locals = 0);

// Runs the sentence in the frame of the caller, or in an empty one above its stack. The outcome of that run.
Outcome run_inside(Activation& caller, Sentence& sentence, bool own_frame = false);

// Runs a text, or what is left of a stream, sentence by sentence, in the caller's frame.
void run_text(Activation& caller, const std::string& text);
void run_stream(Activation& caller, std::FILE* stream);

}  // namespace ondrel
