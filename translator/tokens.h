// The longest match of the vocabulary against the source, by a tree over the bytes of all spellings.
#pragma once

#include "translator/vocabulary.h"

namespace ondrel {

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

// Whether the bytes are the spelling of a constant.
bool names_constant(Vocabulary vocabulary, std::string_view text);

// Whether the bytes are one of the words of a token of several.
bool is_part_of_token(std::string_view text);

// Whether a token begins these bytes, with a blank behind them.
bool begins_token(std::string_view text);

}  // namespace ondrel
