#include "translator/tokens.h"

#include <algorithm>
#include <array>
#include <ranges>
#include <string>
#include <vector>

#include "data/blocks.h"
#include "translator/bytes.h"
#include "translator/source.h"

namespace ondrel {
namespace {

// A node stands for the bytes that lead to it; `token` tells what they spell. Its children are a chain of siblings.
struct Node {
    unsigned char byte = 0;
    int token = -1;
    int child = -1, sibling = -1;
    int gap = -1;  // the node behind a run of gap bytes; such a node leads to itself
};

struct Tree {
    std::vector<Node> nodes{Node{}};
    std::array<int, 256> first{};  // the children of the root, by byte; 0: none
};

std::vector<Token> tokens;
std::vector<std::string_view> parts;  // of spellings that have gaps
Tree sentence_tree, constant_tree;

bool is_gap(int c) { return c == ' ' || c == '\t' || c == '\n' || c == '"' || c == '|'; }

int find_child(const Tree& tree, int node, int byte) {
    if (node == 0) return tree.first[static_cast<std::size_t>(byte)];
    int child = tree.nodes[static_cast<std::size_t>(node)].child;
    while (child >= 0 && tree.nodes[static_cast<std::size_t>(child)].byte != byte)
        child = tree.nodes[static_cast<std::size_t>(child)].sibling;
    return child < 0 ? 0 : child;
}

int add_node(Tree& tree, unsigned char byte) {
    tree.nodes.push_back(Node{.byte = byte});
    return static_cast<int>(tree.nodes.size()) - 1;
}

int add_child(Tree& tree, int parent, unsigned char byte) {
    if (const int child = find_child(tree, parent, byte)) return child;
    const int child = add_node(tree, byte);
    if (parent == 0) {
        tree.first[byte] = child;
    } else {
        tree.nodes[static_cast<std::size_t>(child)].sibling = tree.nodes[static_cast<std::size_t>(parent)].child;
        tree.nodes[static_cast<std::size_t>(parent)].child = child;
    }
    return child;
}

int add_gap(Tree& tree, int parent) {
    if (const int gap = tree.nodes[static_cast<std::size_t>(parent)].gap; gap >= 0) return gap;
    const int gap = add_node(tree, ' ');
    tree.nodes[static_cast<std::size_t>(gap)].gap = gap;
    tree.nodes[static_cast<std::size_t>(parent)].gap = gap;
    return gap;
}

void add_spelling(Tree& tree, int node, std::string_view rest, int token) {
    for (; !rest.empty(); rest.remove_prefix(1)) {
        if (rest[0] == '\t') {
            rest.remove_prefix(1);
            add_spelling(tree, add_gap(tree, node), rest, token);
            return add_spelling(tree, node, rest, token);
        }
        node = add_child(tree, node, static_cast<unsigned char>(rest[0]));
    }
    tree.nodes[static_cast<std::size_t>(node)].token = token;
}

void add_parts(std::string_view spelling) {
    if (spelling.find('\t') == spelling.npos) return;
    for (const auto part : std::views::split(spelling, '\t')) parts.emplace_back(part.begin(), part.end());
}

// The text that a cell of this token shows, in a permanent block that all such cells share.
char* permanent_text(std::string_view spelling) {
    std::string text(spelling);
    std::erase(text, '\t');
    char* const block = stringdup(text);
    header(block).count = -1;
    return block;
}

void add_rows(Tree& tree, std::span<const TokenRow> rows) {
    for (const TokenRow& row : rows)
        for (std::size_t at = 0; at < row.spellings.size();) {
            const std::size_t end = std::min(row.spellings.find(' ', at), row.spellings.size());
            const std::string_view spelling = row.spellings.substr(at, end - at);
            tokens.push_back(
                {&row, permanent_text(spelling), spelling[0] == '-' && spelling.size() > 1 && spelling[1] == '#'});
            add_spelling(tree, 0, spelling, static_cast<int>(tokens.size()) - 1);
            add_parts(spelling);
            at = end + 1;
        }
}

// The longest token at the start of the bytes that `byte_at` gives; -1 at their end.
template <class ByteAt>
TokenMatch longest_match(const Tree& tree, ByteAt byte_at) {
    TokenMatch longest;
    int node = 0;
    for (std::size_t at = 0;;) {
        const int c = byte_at(at);
        if (c < 0) return longest;
        const int gap = tree.nodes[static_cast<std::size_t>(node)].gap;
        const int next = gap >= 0 && is_gap(c) ? gap : find_child(tree, node, c);
        if (next == 0) return longest;
        node = next;
        ++at;
        const Node& here = tree.nodes[static_cast<std::size_t>(node)];
        if (here.token >= 0) {
            const Token& token = tokens[static_cast<std::size_t>(here.token)];
            if (!token.row->word_end) {
                longest = {&token, at, at};
            } else if (const int behind = byte_at(at); behind >= 0 && !is_word(behind)) {
                longest = {&token, at, at + 1};
            }
        }
        if (here.child < 0 && here.gap < 0) return longest;
    }
}

}  // namespace

void make_token_tables() {
    add_rows(sentence_tree, sentence_rows);
    add_rows(sentence_tree, constant_rows);
    add_rows(constant_tree, constant_rows);
}

namespace {

const Tree& tree_of(Vocabulary vocabulary) {
    return vocabulary == Vocabulary::sentence ? sentence_tree : constant_tree;
}

// The longest token that begins the text, which a blank follows.
TokenMatch match_text(Vocabulary vocabulary, std::string_view text) {
    return longest_match(tree_of(vocabulary), [text](std::size_t at) {
        return at < text.size() ? static_cast<unsigned char>(text[at]) : at == text.size() ? ' ' : -1;
    });
}

bool is_constant(TokenAction action) {
    return action == TokenAction::real_constant || action == TokenAction::selector_constant ||
           action == TokenAction::truth_constant;
}

}  // namespace

TokenMatch match_token(Vocabulary vocabulary) {
    return longest_match(tree_of(vocabulary), [](std::size_t at) { return peek_in_line(at); });
}

bool names_constant(Vocabulary vocabulary, std::string_view text) {
    const TokenMatch match = match_text(vocabulary, text);
    return match.token != nullptr && match.length == text.size() && is_constant(match.token->row->action);
}

bool is_part_of_token(std::string_view text) { return std::ranges::find(parts, text) != parts.end(); }

bool begins_token(std::string_view text) { return match_text(Vocabulary::sentence, text).token != nullptr; }

}  // namespace ondrel
