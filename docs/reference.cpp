// Writes docs/reference.md, on the standard output, from the tables of instructions, tokens and messages.
#include <algorithm>
#include <array>
#include <cstdio>
#include <map>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "data/instructions.h"
#include "data/messages.h"
#include "translator/vocabulary.h"

namespace ondrel {
namespace {

struct Effect {
    std::string_view action, stack, messages;
};

constexpr Effect effect(Class needed, std::string_view action, std::string_view stack = {},
                        std::string_view messages = {}) {
    if (!stack.empty() || action == "unimplemented") return {action, stack, messages};
    if (needed == Class::monadic_scalar) return {action, "value -- result", "994"};
    if (needed == Class::dyadic_scalar) return {action, "left right -- result", "17 994"};
    return {action, {}, {}};
}

constexpr auto effects = std::to_array<Effect>({
#define INSTRUCTION(number, name, code, needed, traits, action, ...) \
    effect(Class::needed, #action __VA_OPT__(, ) __VA_ARGS__),
#include "data/instructions.def"
});

constexpr const Effect& effect_of(Instruction instruction) { return effects[static_cast<std::size_t>(instruction)]; }

std::string in_code(std::string_view text) {
    std::string code = "`";
    for (const char c : text) code += c == '|' ? "\\|" : std::string(1, c);
    return code + "`";
}

bool is_ascii(std::string_view text) {
    return std::ranges::all_of(text, [](char c) { return static_cast<unsigned char>(c) < 128; });
}

// Bytes above 127 as their two digits, and the others as they are.
std::string bytes_of(std::string_view text) {
    std::string all;
    for (const char c : text) {
        char digits[4];
        std::snprintf(digits, sizeof digits, "%02X", static_cast<unsigned char>(c));
        if (!all.empty()) all += ' ';
        all += is_ascii({&c, 1}) ? in_code({&c, 1}) : digits;
    }
    return all;
}

std::vector<std::string> parts_of(std::string_view text) {
    std::vector<std::string> parts;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(' '), text.size());
        std::string part(text.substr(0, end));
        std::ranges::replace(part, '\t', ' ');  // a gap
        parts.push_back(part);
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return parts;
}

std::string joined(const std::vector<std::string>& parts, std::string_view between) {
    std::string all;
    for (const std::string& part : parts) {
        if (!all.empty()) all += between;
        all += part;
    }
    return all;
}

// All ways to write one thing: words and signs, and the bytes of the old glyphs.
struct Spellings {
    std::vector<std::string> words, glyphs;

    void add(const TokenRow& row) {
        for (const std::string& spelling : parts_of(row.spellings))
            (is_ascii(spelling) ? words : glyphs).push_back(spelling);
    }
    // The instruction's own name if it has it, else the first.
    std::string name(std::string_view instruction) const {
        return std::ranges::find(words, instruction) != words.end() ? std::string(instruction) : words.front();
    }
    std::string others(std::string_view name) const {
        std::vector<std::string> shown;
        for (const std::string& word : words)
            if (word != name) shown.push_back(in_code(word));
        return joined(shown, " ");
    }
    std::string bytes() const {
        std::vector<std::string> shown;
        for (const std::string& glyph : glyphs) shown.push_back(bytes_of(glyph));
        return joined(shown, ", ");
    }
};

// ---- verbs

// What tells one verb from another: synonyms can stand in several rows.
using Verb = std::tuple<TokenAction, Instruction, Instruction, double>;

bool is_verb(const TokenRow& row) {
    switch (row.action) {
        case TokenAction::instruction:
        case TokenAction::selector:
        case TokenAction::exponent:
        case TokenAction::pair:
        case TokenAction::combine:
        case TokenAction::condition:
        case TokenAction::run: return true;
        default: return false;
    }
}

// What the verb's cell, or the last of its cells, does, and what else there is to know of it.
struct Meaning {
    Effect effect;
    std::string note;
};

Meaning meaning_of(const TokenRow& row) {
    const std::string name(ondrel::row(row.instruction).name);
    const Effect& own = effect_of(row.instruction);
    const std::string_view second = row.second == Instruction::NIHIL ? "" : ondrel::row(row.second).name;
    char number[32];
    std::snprintf(number, sizeof number, "%.10g", row.value);
    switch (row.action) {
        case TokenAction::selector:
        case TokenAction::exponent: return {{own.action, "value -- result", own.messages}, number + (" " + name)};
        case TokenAction::pair: return {effect_of(row.second), name + ", then " + std::string(second)};
        case TokenAction::combine: return {own, name + " of the verb before"};
        case TokenAction::condition: return {own, name + " for what stands before"};
        default: return {own, second.empty() ? name : name + " with " + std::string(second)};
    }
}

struct Entry {
    Spellings spellings;
    Meaning meaning;
    std::string name;
};

std::vector<Entry> verbs() {
    std::map<Verb, Entry> found;
    for (const TokenRow& row : sentence_rows) {
        if (!is_verb(row)) continue;
        Entry& entry = found[{row.action, row.instruction, row.second, row.value}];
        entry.spellings.add(row);
        entry.meaning = meaning_of(row);
        entry.name = entry.spellings.name(ondrel::row(row.instruction).name);
    }
    std::vector<Entry> sorted;
    for (const auto& [verb, entry] : found) sorted.push_back(entry);
    std::ranges::sort(sorted, {}, &Entry::name);
    return sorted;
}

void put_verbs(const std::vector<Entry>& all) {
    std::puts(
        "\n## Verbs\n\n"
        "| Verb | Also | Bytes | Stack | Messages | Instruction |\n|---|---|---|---|---|---|");
    for (const auto& [spellings, meaning, name] : all) {
        if (meaning.effect.stack.empty()) continue;
        std::printf("| %s | %s | %s | %s | %s | %s |\n", in_code(name).c_str(), spellings.others(name).c_str(),
                    spellings.bytes().c_str(), std::string(meaning.effect.stack).c_str(),
                    std::string(meaning.effect.messages).c_str(), meaning.note.c_str());
    }
}

void put_idle(const std::vector<Entry>& all, std::string_view action, const char* heading) {
    std::printf("\n## %s\n\n| Word | Also | Bytes |\n|---|---|---|\n", heading);
    for (const auto& [spellings, meaning, name] : all)
        if (meaning.effect.stack.empty() && meaning.effect.action == action)
            std::printf("| %s | %s | %s |\n", in_code(name).c_str(), spellings.others(name).c_str(),
                        spellings.bytes().c_str());
}

// ---- other words

std::string purpose_of(const TokenRow& row) {
    switch (row.action) {
        case TokenAction::modify_mask: return "the edges of the `MASK` that must follow (982)";
        case TokenAction::leave: return "gives up the sentence";
        case TokenAction::system_word: return "the next word is the system's own, whatever you have named so";
        case TokenAction::address: return "the address of the name that follows";
        case TokenAction::open_definition:
            if (row.value < 0) return "begins a function that works on the stack as it is";
            return "begins a function of so many arguments: " + std::to_string(static_cast<int>(row.value));
        case TokenAction::close_definition: return "ends a function";
        case TokenAction::sentence_end: return "ends a sentence, and runs it";
        case TokenAction::comment: return "begins a comment, up to the next `\"`";
        case TokenAction::text: return "begins and ends a text";
        case TokenAction::vector: return "begins a literal, up to `)`";
        case TokenAction::enclosed: return "begins an enclosed literal, up to ``)` ``";
        case TokenAction::nil: return "an empty vector";
        default: return {};
    }
}

void put_other_words() {
    std::puts(
        "\n## Other words\n\nThe header of a function is one of the words below, or `ARGS 4 FUNCTION` and so on for "
        "more\n"
        "arguments; `VARS 2` before it gives the function so many slots of its own.\n\n| Word | Also | Bytes | Meaning "
        "|\n|---|---|---|---|");
    for (const TokenRow& row : sentence_rows) {
        const std::string purpose = purpose_of(row);
        if (purpose.empty()) continue;
        Spellings spellings;
        spellings.add(row);
        const std::string name = spellings.words.front();
        std::printf("| %s | %s | %s | %s |\n", name == "`(" ? "`` `( ``" : in_code(name).c_str(),
                    spellings.others(name).c_str(), spellings.bytes().c_str(), purpose.c_str());
    }
}

// ---- constants

void put_constants() {
    std::puts(
        "\n## Constants\n\nThose with a sign before them have the negative value.\n\n"
        "| Constant | Also | Value |\n|---|---|---|");
    for (const std::span<const TokenRow> rows : {constant_rows, sentence_rows})
        for (const TokenRow& row : rows) {
            const bool truth = row.action == TokenAction::truth_constant;
            if (!truth && row.action != TokenAction::real_constant && row.action != TokenAction::selector_constant)
                continue;
            std::vector<std::string> spellings = parts_of(row.spellings);
            const std::string name = in_code(spellings.front());
            spellings.erase(spellings.begin());
            std::ranges::transform(spellings, spellings.begin(), in_code);
            std::printf("| %s | %s | %.17g%s |\n", name.c_str(), joined(spellings, " ").c_str(), row.value,
                        truth ? ", a truth" : "");
        }
}

// ---- messages

void put_messages() {
    constexpr int highest = 2000;
    std::puts("\n## Messages\n\n| Number | Text |\n|---|---|");
    for (int number = 0; number < highest; ++number) {
        if (number != message::farewell && errors(number) == errors(message::farewell)) continue;
        std::string text;
        for (const char c : std::string_view(errors(number)))
            text += c == '|' ? "\\|" : c == '\n' ? " " : c == '<' ? "&lt;" : std::string(1, c);
        std::printf("| %d | %s |\n", number, text.c_str());
    }
}

}  // namespace
}  // namespace ondrel

int main() {
    using namespace ondrel;
    std::puts(
        "# Reference\n\n"
        "Every word that the system knows, with all ways to write it. `script/reference` makes this page from the\n"
        "tables of the program; [language.md](language.md) explains the words.\n\n"
        "**Bytes** are glyphs of an older encoding, in base 16; a character stands for itself. **Stack** tells what a\n"
        "verb takes off the stack, `--`, and what it leaves there, the top on the right; `...` is any number of "
        "values. **Messages** are the numbers\n"
        "that it can say, besides those that anything can: 27 and 806 (no room), 800 (too few values), and, of verbs\n"
        "that work item by item, 200 (a mark). A blank within a word is any run of blanks, or nothing.");
    const std::vector<Entry> all = verbs();
    put_verbs(all);
    put_other_words();
    put_constants();
    put_idle(all, "no_action", "Words that pass over the stack");
    put_idle(all, "unimplemented", "Words that say 993");
    put_messages();
}
