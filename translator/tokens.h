// What the scanner knows of the vocabulary: rows of spellings with what each does, and the longest match over them.
#pragma once

#include <span>
#include <string>
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
    leave,        // gives the sentence up
    nothing,
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

struct Token {
    const TokenRow* row;
    char* text;  // permanent
    bool negated;
};

struct TokenMatch {
    const Token* token = nullptr;
    std::size_t length = 0;
    std::size_t weight = 0;  // the length with the byte that was needed as word end
};

enum class Vocabulary { sentence, constants };

// Builds the tables; once, before the first sentence.
void make_token_tables();

// The longest token that begins at the next byte of the source.
TokenMatch match_token(Vocabulary vocabulary);

}  // namespace ondrel
