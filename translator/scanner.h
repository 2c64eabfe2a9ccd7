// The translator: one sentence of source text into a stream of instruction cells.
#pragma once

#include <cstdio>

#include "data/dataelement.h"

namespace ondrel {

inline constexpr int sentence_cells = 1024;  // of one sentence, the END cell included

// Translates one sentence into `buffer`, which has room for sentence_cells cells and holds none that own anything.
// The bytes come one at a time from `stream`, or, if that is null, from the text at `*text`, which is moved behind the
// last byte taken; no more are taken than the sentence needs. It ends with the token . or END, and at the end of the
// input, where an ENDPROCESS cell is added; with `line` also at the end of the line.
//
// Returns the number of cells, the END cell included, or 0 if there is nothing to run: a sentence of too many cells,
// no memory, or BREAK. Mistakes are reported and the sentence goes on.
int fill(DataElement* buffer, std::FILE* stream, const char** text, bool line);

// Gives back what the cells of a stream hold.
void cleanup(DataElement* stream);

}  // namespace ondrel
