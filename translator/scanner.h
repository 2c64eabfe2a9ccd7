// The translator: one sentence of source text into a stream of instruction cells.
#pragma once

#include <cstdio>

#include "translator/emission.h"

namespace ondrel {

// What the end of a line is in a sentence: a blank; its end; or, as long as `stepping` is on, its end with an
// ENDPROCESS cell, which at the prompt of the stepper goes on to the next cell.
enum class Newline { blank, ends, steps };

// Translates one sentence into `buffer`, which has room for sentence_cells cells and holds none that own anything.
// Its names are looked up in `tables`; the last cell holds the table of those that are its own, if it has any (the
// cell's `local_table`), which is to be in force while it runs. The bytes come one at a time from `stream`, or, if that
// is null, from the text at `*text`, which is moved behind the last byte taken; no more are taken than the sentence
// needs. It ends with the token . or END, and at the end of the input, where an ENDPROCESS cell is added; what the end
// of a line does says `newline`. `locals` slots of the frame that it will run in may be named, and so may the names in
// the table `names_around`, if there is one, of the function that it will run in.
//
// Returns the number of cells, the END cell included, or 0 if there is nothing to run: a sentence of too many cells,
// no memory, or BREAK. Mistakes are reported and the sentence goes on.
int fill(DataElement* buffer, const Chain* tables, std::FILE* stream, const char** text,
         Newline newline = Newline::blank, std::uint16_t locals = 0, const Table* names_around = nullptr);

// Gives back what the cells of a sentence hold.
void cleanup(DataElement* stream);

}  // namespace ondrel
