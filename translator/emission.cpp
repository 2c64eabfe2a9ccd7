#include "translator/emission.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <utility>

#include "data/blocks.h"
#include "data/errors.h"
#include "data/walks.h"

namespace ondrel {

constexpr std::size_t most_levels = 16584, most_names = 512;
constexpr std::ptrdiff_t first_room = 16;  // cells of a new body; it doubles as it fills

Level returnstack[most_levels];
std::size_t pcsp = 1;
DataElement* cursor;
bool dropping;
bool ondrel_op = false;

namespace {

DataElement* pctop;             // behind the last cell that there is room for
const DataElement* grown_cell;  // whose text is its own, and of the known length `grown`
std::size_t grown;
std::array<bool, most_names> varstack;
std::size_t varsp;

// The first cell that runs.
DataElement* first_cell() { return level().cells + (inside_function() ? 1 : 0); }

// ---- effects

void collect_effects(Instruction instruction, Instruction second) {
    using enum Instruction;
    constexpr std::pair<traits::Traits, std::uint32_t> effects[]{{traits::in_and_out, INOUT},
                                                                 {traits::draws, ISPROBABLE},
                                                                 {traits::makes_code, GLOBAL},
                                                                 {traits::changes_names, GLOBALCHANGE}};
    for (const auto& [trait, effect] : effects)
        if (row(instruction).has(trait)) add_effect(effect);
    if (instruction == DISASSEMBLE && second == TEXTWRITE) add_effect(INOUT);
    if ((instruction == ASSIGN || instruction == SET) && varsp > 0 && varstack[--varsp]) add_effect(GLOBALCHANGE);
}

// ---- levels

void set_cursor(DataElement* cell, DataElement* top) {
    cursor = cell;
    pctop = top;
    *cursor = {};
    grown_cell = nullptr;
}

void enter_sentence() {
    pcsp = 1;
    set_cursor(level().cells, level().cells + sentence_cells);
}

void leave_level() {
    cursor = level().below;
    pctop = level().below_top;
    --pcsp;
}

void drop_level() {
    dereferencepoint(*cursor);
    while (cursor > first_cell()) dereferencepoint(*--cursor);
    if (level().own.table != nullptr) release_table(std::exchange(level().own.table, nullptr));
    if (inside_function()) {
        level().cells[1] = {};
        dereferencepoint(level().header);  // with its block
        leave_level();
    }
}

void refuse_sentence() {
    if (!dropping) {
        exception(message::programme_full, {nullptr, cursor > first_cell() ? cursor - 1 : cursor});
    }
    dropping = true;
}

// A level has come to the end of its room, which a body may have more of.
void make_room() {
    const std::ptrdiff_t used = cursor - level().cells;
    const std::ptrdiff_t most = sentence_cells + (inside_function() ? 1 : 0);  // a header cell is none of the body
    if (used >= most) {
        refuse_sentence();
        --cursor;  // the last one that was written
        return drop_stream();
    }
    --cursor;  // what can be given back if there is no memory
    const std::ptrdiff_t room = std::min(2 * used, most);
    level().cells =
        static_cast<DataElement*>(Reallocate(level().cells, static_cast<std::size_t>(room) * sizeof(DataElement)));
    level().header.data_pointer = level().cells;
    set_cursor(level().cells + used, level().cells + room);
}

}  // namespace

void begin_stream(DataElement* buffer, const Chain* tables, std::uint16_t locals, const Table* around) {
    returnstack[0] = {buffer, nullptr, nullptr, {}, locals, {nullptr, tables}, tables, around};
    dropping = false;
    varsp = 0;
    enter_sentence();
}

int end_stream() {
    *cursor = {};
    cursor->local_table = std::exchange(level().own.table, nullptr);
    return static_cast<int>(cursor - level().cells) + 1;
}

void drop_stream() {
    while (inside_function()) drop_level();
    drop_level();
    level().tables = level().own.previous;
    enter_sentence();
}

void report(int number) {
    if (!dropping) exception(number, {nullptr, cursor});
}

void overflow() {
    refuse_sentence();
    drop_stream();
}

void open_level_for(const DataElement& header) {
    if (dropping) return;
    if (pcsp + 1 >= most_levels) return overflow();
    DataElement* const cells = allocate_items(first_room);
    const Chain* const tables = level().tables;
    returnstack[pcsp++] = {cells, cursor, pctop, header, header.locals, {nullptr, tables}, tables, nullptr};
    level().header.data_pointer = cells;
    cells[0] = {};
    cells[0].rank = kind::FUNCTION;
    set_cursor(cells + 1, cells + first_room);
}

// The header cell of the stream shares the text with the value and points at its own block.
void close_level_with(char* text) {
    if (dropping) return release(text);
    if (!inside_function()) {
        release(text);
        std::fflush(stdout);
        std::fputs("[Quorl] error: No FUNCTION pending!\n", stderr);
        return;
    }
    Level& body = level();
    emit_value(operator_cell(Instruction::FUNCTIONEND, Instruction::NIHIL, text));
    if (dropping) return;
    cursor[-1].local_table = std::exchange(body.own.table, nullptr);
    const auto cells = static_cast<std::size_t>(cursor - body.cells) + 1;  // cell 0, the body, the two that close it
    DataElement function = body.header;
    function.elements = static_cast<std::uint32_t>(cells - 1);
    auto* const stream = static_cast<DataElement*>(Reallocate(body.cells, cells * sizeof(DataElement)));
    function.data_pointer = stream;
    stream[0] = function;
    --stream[0].elements;
    reference(function.text);
    leave_level();
    emit_value(function);
}

void advance() {
    grown_cell = nullptr;
    if (++cursor >= pctop)
        make_room();
    else
        *cursor = {};
}

void emit_value(const DataElement& value) {
    *cursor = value;
    advance();
}

DataElement operator_cell(Instruction instruction, Instruction second, char* text) {
    DataElement cell{};
    cell.rank = kind::OPERATOR;
    cell.type = ISOPERATOR;
    cell.text = text;
    cell.depth = static_cast<std::int16_t>(instruction);
    cell.modifier = static_cast<std::uint16_t>(second);
    return cell;
}

DataElement name_cell(std::int32_t rank, std::uint32_t type, Instruction scope, std::string_view name, Entry* entry) {
    DataElement cell{};
    cell.rank = rank;
    cell.type = type;
    cell.depth = 1;
    cell.modifier = static_cast<std::uint16_t>(scope);
    cell.elements = checked_count(name.size());
    if (entry == nullptr) {
        cell.text = stringdup(name);
        return cell;
    }
    cell.text = entry->name;
    cell.data_pointer = entry;
    referencepoint(cell);
    return cell;
}

bool is_shadowed(std::string_view spelling) { return !ondrel_op && checkmeaning(level().tables, spelling) != nullptr; }

namespace {

// Writes the user's name of this spelling, if there is one that counts.
bool emit_users_name(std::string_view spelling) {
    Entry* const entry = std::exchange(ondrel_op, false) ? nullptr : checkmeaning(level().tables, spelling);
    if (entry == nullptr) return false;
    emit_value(name_cell(kind::VARIABLE, ISVARIABLE | ISOPERATOR, Instruction::SGIG, spelling, entry));
    return true;
}

}  // namespace

bool oper(char* text, Instruction instruction, Instruction second) {
    if (emit_users_name(text)) {
        release(text);
        return false;
    }
    emit_value(operator_cell(instruction, second, text));
    collect_effects(instruction, second);
    return true;
}

std::size_t text_length(const DataElement& cell) { return &cell == grown_cell ? grown : std::strlen(cell.text); }

// A text that has been grown before is the cell's own, of known length: any number of words behind one verb take a time
// in proportion.
void grow_text(DataElement& cell, std::string_view word) {
    const std::size_t length = text_length(cell);
    const std::size_t longer = length + 1 + word.size();
    if (&cell == grown_cell) {
        cell.text = static_cast<char*>(Reallocate(cell.text, longer + 1));
    } else {
        char* const text = static_cast<char*>(allocate_block(header(cell.text).head, longer + 1));
        std::memcpy(text, cell.text, length);
        release(cell.text);
        cell.text = text;
    }
    cell.text[length] = ' ';
    *std::ranges::copy(word, cell.text + length + 1).out = '\0';
    grown_cell = &cell;
    grown = longer;
}

// Takes the word that the text was last grown by off again.
void cut_last_word(DataElement& cell) {
    grown = std::string_view(cell.text, text_length(cell)).rfind(' ');
    cell.text[grown] = '\0';
    grown_cell = &cell;
}

// Without a verb the cell before is lost.
void combine(std::string_view spelling, Instruction instruction) {
    if (emit_users_name(spelling)) return;
    if (cursor > first_cell()) --cursor;
    DataElement& verb = *cursor;
    if (verb.rank != kind::OPERATOR) {
        report(instruction == Instruction::OUTERPRODUCT ? message::nothing_before_outerproduct
                                                        : message::nothing_before_reduce);
        dereferencepoint(verb);
        verb = {};
        return;
    }
    grow_text(verb, spelling);
    verb.modifier = static_cast<std::uint16_t>(verb.depth);
    verb.depth = static_cast<std::int16_t>(instruction);
    advance();
    grown_cell = dropping ? nullptr : cursor - 1;
}

// A function is run or dropped by a cell of its own, and so is what lies on the stack when a body begins with the
// condition: the cell before is then the function's own header. What does nothing under one condition does nothing
// under two: the later one takes the place of the earlier, so that the last word of the text is always the condition's.
void make_conditional(char* spelling, Instruction instruction) {
    if (emit_users_name(spelling)) return;
    if (cursor == first_cell() && !inside_function())
        return report(instruction == Instruction::IF_YES ? message::no_check_before_yes : message::no_check_before_no);
    DataElement& cell = cursor[-1];
    if (cell.rank == kind::FUNCTION) {
        DataElement conditional = operator_cell(instruction, Instruction::NIHIL, spelling);
        conditional.type = ISFUNCTION;
        conditional.modifier = function_below;
        return emit_value(conditional);
    }
    if (cell.rank == kind::OPERATOR) {
        if (cell.type & CONDITIONAL && cell.modifier == static_cast<std::uint16_t>(Instruction::NOOP)) {
            cut_last_word(cell);
        } else {
            cell.elements = cell.modifier;
            cell.modifier = static_cast<std::uint16_t>(cell.depth);
        }
        grow_text(cell, spelling);
        cell.depth = static_cast<std::int16_t>(instruction);
    }
    cell.type |= CONDITIONAL | (instruction == Instruction::IF_YES ? YES : 0);
}

void push_name(bool global) {
    if (!inside_function()) return;
    if (varsp == most_names) return report(message::too_many_names);
    varstack[varsp++] = global;
}

Table* own_table() {
    Level& here = level();
    if (here.own.table == nullptr) {
        here.own = {makesmallhashtab(), here.own.previous};
        here.tables = &here.own;
    }
    return here.own.table;
}

}  // namespace ondrel
