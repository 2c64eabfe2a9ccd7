#include "core/programs.h"

#include <algorithm>
#include <string>
#include <utility>

#include "core/calls.h"
#include "data/texts.h"
#include "translator/emission.h"
#include "translator/printing.h"
#include "translator/sentences.h"

namespace ondrel {
namespace {

// A function in its caller's frame whose body is the sentence; it takes over what the cells hold.
DataElement function_of(Sentence& sentence) {
    const std::size_t body = sentence.cells();
    DataElement function{};
    function.rank = kind::FUNCTION;
    function.type = ISFUNCTION;
    function.depth = -1;
    function.elements = static_cast<std::uint32_t>(body + 2);
    Owner made(function);
    made.record.text = stringdup(":");
    OwnedText closing(stringdup(";"));
    DataElement* const cells = allocate_items(body + 3);
    made.record.data_pointer = cells;
    cells[0] = made.record;
    --cells[0].elements;
    reference(made.record.text);
    std::copy_n(sentence.first(), body + 1, cells + 1);
    release(sentence.take());
    DataElement& end = cells[body + 1];
    cells[body + 2] = {};
    void* const names =
        std::exchange(end, operator_cell(Instruction::FUNCTIONEND, Instruction::NIHIL, closing.release())).local_table;
    end.local_table = names;
    return made.take();
}

// What a sentence stands for as a program: the one function that it defines, or a function that runs it.
DataElement program_of(Sentence& sentence) {
    DataElement& first = *sentence.first();
    if (sentence.cells() != 1 || first.rank != kind::FUNCTION) return function_of(sentence);
    return std::exchange(first, operator_cell(Instruction::NOOP, Instruction::NIHIL, nullptr));
}

}  // namespace

// The sentence that is added at the end is left out if it is empty and not the only one.
Outcome assemble(Activation& activation) {
    const DataElement& top = *activation.sp;
    if (!is_text(top) || top.rank > 1) return fail(message::cannot_assemble, activation);
    const std::string text = characters_of(top, " .");
    dereferencepoint(*activation.sp--);
    const char* position = text.c_str();
    const char* const end = position + text.size();
    for (int made = 0; position < end; ++made) {
        const char* const before = position;
        Sentence sentence(activation.tables, nullptr, nullptr, &position);
        if (position == before) break;
        if (!sentence.was_translated() || (!sentence.runs() && made > 0 && position >= end)) continue;
        if (const Outcome outcome = push(activation, program_of(sentence)); outcome != Outcome::next) return outcome;
    }
    return Outcome::next;
}

Outcome disassemble(Activation& activation) {
    DataElement& top = *activation.sp;
    const bool display = activation.cell->modifier == static_cast<std::uint16_t>(Instruction::TEXTWRITE);
    const DataElement text =
        make_text(display ? text_of(top) : readable_text(top, activation.tables), activation.site());
    dereferencepoint(top);
    top = text;
    return Outcome::next;
}

Outcome make_operator(Activation& activation) {
    DataElement& top = *activation.sp;
    if (top.rank != kind::FUNCTION) return Outcome::next;
    if (!sole_holder(top.data_pointer)) {
        DataElement* const own = copyfun(top);
        release(std::exchange(top.data_pointer, own));
    }
    auto* const header = static_cast<DataElement*>(top.data_pointer);
    header->type |= ISOPERATOR;
    release(std::exchange(header[top.elements].text, nullptr));  // the key was that of another function
    top.type = header->type;
    return Outcome::next;
}

}  // namespace ondrel
