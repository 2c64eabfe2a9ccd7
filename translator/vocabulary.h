// The vocabulary: what can be written in a sentence besides numbers and names. Nothing else knows a token.
#pragma once

#include <span>
#include <string_view>

#include "data/instructions.h"

namespace ondrel {

// What a token does besides, or instead of, writing an OPERATOR cell.
enum class TokenAction {
    instruction,  // one cell: `instruction`, qualified by `second`
    selector,     // behind a hidden integer
    exponent,     // behind a hidden real
    pair,         // `instruction`, then a cell of `second` with empty text
    combine,      // rewrites the OPERATOR cell before: that verb qualifies `instruction`
    condition,    // makes the cell before conditional
    modify_mask,  // waits for MASK
    run,          // `instruction`, unless the user has a name of that spelling
    leave,        // gives the sentence up, unless the user has a name of that spelling
    system_word,  // the next keyword is the system's own
    address,      // a name follows
    open_definition,
    close_definition,
    sentence_end,
    comment,
    text,
    vector,
    enclosed,
    nil,
    real_constant,
    selector_constant,
    truth_constant,
};

struct TokenRow {
    std::string_view spellings;
    TokenAction action;
    Instruction instruction, second;
    double value;
    bool word_end;  // the next byte must be no letter, digit or _
};

// Every rule of a sentence but the constants; then those, which can also stand among the items of a literal. Spellings
// in a row are synonyms, apart by blanks. A tab in a spelling stands for a gap: nothing, or any run of blanks, tabs,
// newlines, double quotes and bars. A constant whose spelling begins with - has the negated value.
extern const std::span<const TokenRow> sentence_rows, constant_rows;

// Whether the spelling is that of a token that changes the cell before it.
bool changes_cell_before(std::string_view spelling);

}  // namespace ondrel
