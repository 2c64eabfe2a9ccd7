// The stream that is being written: cells at a cursor, in a pile of levels. The outermost level is the sentence, whose
// cells go to the caller's buffer; each definition that is open is one more, with a block of its own.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "data/dataelement.h"
#include "data/instructions.h"
#include "translator/symbols.h"

namespace ondrel {

inline constexpr int sentence_cells = 1024;  // of one sentence, or of one body with the cells that close it

struct Level {
    DataElement* cells;              // where the level's cells stand; a definition's begin with its header cell
    DataElement *below, *below_top;  // cursor and room of the level below
    DataElement header;    // of a definition: the value that it will be, with the effects that its body may have
    std::uint16_t locals;  // slots that &n may name
    Chain own;             // its own table, once a local name has made one; held by the level
    const Chain* tables;   // in which its names are looked up
    const Table* around;   // of a sentence inside a function: that function's own names, or null
};

extern Level returnstack[];
extern std::size_t pcsp;     // levels open; 1: the sentence alone
extern DataElement* cursor;  // the cell to be written next, zeroed
extern bool dropping;        // the sentence has outgrown its room: what follows is read and forgotten
extern bool ondrel_op;       // the next keyword is the system's own, whatever names there are

inline Level& level() { return returnstack[pcsp - 1]; }
inline bool inside_function() { return pcsp > 1; }

void begin_stream(DataElement* buffer, const Chain* tables, std::uint16_t locals, const Table* around);
// Writes the last cell, which holds the sentence's own table of names, and returns the number of cells.
int end_stream();
// Gives back all that has been written, on all levels.
void drop_stream();

// Reports the mistake with the cell at the cursor; those in a sentence that will not run are not worth a message.
void report(int number);
// 807, once; the sentence will not run.
void overflow();

// Opens a level for the body of this function. Raises 27; 807 when there are too many.
void open_level_for(const DataElement& header);
// Ends the body and makes the function a cell of the level below. Takes over the text for the closing cell.
void close_level_with(char* text);

// The cell at the cursor is finished.
void advance();
void emit_value(const DataElement& value);

// In a conditional cell, in place of the instruction: the function on top of the stack.
inline constexpr auto function_below = static_cast<std::uint16_t>(-5);

// A cell of the name, bound to the entry if there is one. `scope` tells how it will be looked up.
DataElement name_cell(std::int32_t rank, std::uint32_t type, Instruction scope, std::string_view name, Entry* entry);
DataElement operator_cell(Instruction instruction, Instruction second, char* text);
// A keyword: the instruction, or the user's name of that spelling. True if it was the instruction. Takes over the text.
bool oper(char* text, Instruction instruction, Instruction second = Instruction::NIHIL);
// True if the user has given the spelling a meaning, unless the system's own has been asked for.
bool is_shadowed(std::string_view spelling);

// The cell before takes one more word into its text, apart by a blank.
void grow_text(DataElement& cell, std::string_view word);
// REDUCE and its kin take the verb before them as their second instruction: 79 or 74 if there is none. A name of the
// user's goes before, here and below.
void combine(std::string_view spelling, Instruction instruction);
// IF_YES or IF_NO makes the cell before conditional.
void make_conditional(char* spelling, Instruction instruction);

// Marks the function being defined, if any.
inline void add_effect(std::uint32_t effect) {
    if (inside_function()) level().header.type |= effect;
}
// One byte for each name in address or variable form inside a function; ASSIGN and SET take one off and learn from it
// whether they change a global. 808 when there are too many.
void push_name(bool global);

// The innermost table, made now if the level has none of its own.
Table* own_table();

}  // namespace ondrel
