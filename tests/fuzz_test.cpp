// Random sentences, run inside the process: every word of the vocabulary but those that wait, read, write or go on
// without end, on values of every kind, form, mark and nest. Nothing is known of what they give; but nothing may crash,
// every value that comes up is sound (builds with checks look after each instruction), and all blocks come back.
//
// ONDREL_FUZZ=1000000 runs so many.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "core/actions.h"
#include "data/allocator.h"
#include "tests/evaluator.h"
#include "tests/values.h"
#include "translator/vocabulary.h"

namespace ondrel {
namespace {

bool is_safe(const TokenRow& row) {
    using enum Instruction;
    static constexpr Instruction others[] = {
        INPUT,  QUOTEDIN, SLEEP, WAIT,   EDIT,      STEP,       TRACE,    RUN,  JUMP, LOOP,     ENDPROCESS, PARALLEL,
        SERIAL, READ,     WRITE, APPEND, TEXTWRITE, TEXTAPPEND, TEXTREAD, LOAD, SAVE, REMEMBER, DUMPSTACK,  OPEN};
    const auto action_of = [](Instruction instruction) { return actions[static_cast<std::size_t>(instruction)]; };
    return std::ranges::find(others, row.instruction) == std::end(others) &&
           (row.instruction == NIHIL || action_of(row.instruction) != action_of(NIHIL));  // which is not built
}

// Words that stand apart by blanks; a tab in one stands for a blank.
std::vector<std::string> words(const std::string& text) {
    std::vector<std::string> all;
    std::istringstream in(text);
    for (std::string word; std::getline(in, word, ' '); all.push_back(word)) std::ranges::replace(word, '\t', ' ');
    return all;
}

std::vector<std::string> spellings(std::span<const TokenRow> rows, TokenAction first, TokenAction last) {
    std::string all;
    for (const TokenRow& row : rows)
        if (row.action >= first && row.action <= last && is_safe(row)) all += std::string(row.spellings) + ' ';
    return words(all);
}

class Sentences {
public:
    explicit Sentences(std::uint64_t seed) : random_(seed) {}

    // Some literals, then verbs; now and then a verb too many, or none, so that values pile up and are taken by later
    // sentences.
    std::string next() {
        std::string text;
        for (std::size_t i = below(4); i > 0; --i) {
            text += literal() + ' ';
            if (below(4) == 0) text += pick(verbs) + ' ';
        }
        for (std::size_t i = below(5); i > 0; --i) text += verb() + ' ';
        return text + ".\n";
    }

private:
    static const inline auto verbs = spellings(sentence_rows, TokenAction::instruction, TokenAction::modify_mask);
    static const inline auto constants =
        spellings(constant_rows, TokenAction::real_constant, TokenAction::truth_constant);
    static const inline auto components = words(
        "0 0 1 1 -1 2 3 -7 0.5 -2.5 0.0 -0.0 Inf -Inf NaN 1e-320 1e30 1e200 4294967296 4611686018427387904 "
        "9223372036854775807 -9223372036854775808");

    std::size_t below(std::size_t n) { return std::uniform_int_distribution<std::size_t>(0, n - 1)(random_); }
    const std::string& pick(const std::vector<std::string>& words) { return words[below(words.size())]; }

    // Of one, two, four or eight components, of which some are left out.
    std::string number(bool in_list) {
        const std::size_t n = std::size_t{1} << below(4);
        const bool polar = !in_list && below(2) == 0;
        std::string made;
        for (const char prefix : {'#', 'r', 'd'})
            if (n > 1 && below(4) == 0) made += prefix;
        made += pick(components);
        for (std::size_t k = 1; k < n; ++k)
            if (below(3) != 0 || k + 1 == n) made += (polar ? "pqrstuv" : "ijklmno")[k - 1] + pick(components);
        return made;
    }

    std::string item(bool in_list = true) {
        switch (below(8)) {
            case 0: return pick(constants);
            case 1: return std::string("0#01000001") + (below(2) == 0 ? "1" : "");
            case 2: return std::string("'") + "ab \xc8"[below(4)] + "'";
            default: return number(in_list);
        }
    }

    std::string text() {
        std::string made = "'";
        for (std::size_t i = below(7); i > 0; --i) made += "abc .5+\xfe\n"[below(9)];
        return made + "'";
    }

    std::string shape() {
        std::string made = "[";
        for (std::size_t i = below(4); i > 0; --i) made += std::to_string(below(4)) + ' ';
        return made + "]";
    }

    // Of one kind or mixed; lengths are few, so that operands often fit each other.
    std::string list(int depth) {
        std::string made = "(";
        const bool uniform = below(2) == 0;
        const std::string same = item();
        for (std::size_t i = below(5); i > 0; --i) {
            if (depth > 0 && below(4) == 0)
                made += (below(3) == 0 ? text() : list(depth - 1)) + ' ';
            else
                made += (uniform ? same : item()) + ' ';
        }
        made += ")";
        return below(4) == 0 ? made + shape() : made;
    }

    std::string function() {
        std::string made = pick({"MONADIC ", "DYADIC ", "NILADIC ", ": ", "VARS 1 MONADIC @&1 SET &1 "});
        for (std::size_t i = 1 + below(2); i > 0; --i) made += verb() + ' ';
        return made + ";" + (below(4) == 0 ? " VERB" : "");
    }

    std::string literal() {
        switch (below(10)) {
            case 0: return text() + (below(3) == 0 ? shape() : "");
            case 1: return "`" + list(1);
            case 2:
            case 3: return item(false);
            case 4: return below(2) == 0 ? "@name" : "name";
            case 5: return below(2) == 0 ? function() : "#NIL";
            default: return list(3);
        }
    }

    std::string verb() {
        switch (below(8)) {
            case 0: return pick({"2", "(2 3)", "(2 0 1)", "7", "()"}) + " RESHAPE";
            case 1:
                return pick({"ENLIST", "EACH", "MASK", "@name SET", "ENCLOSE", "COLLECT", "ENCAPSULATE", "CATENATE"});
            default: return pick(verbs);
        }
    }

    std::mt19937_64 random_;
};

TEST(Fuzz, RandomSentences) {
    const char* const wanted = std::getenv("ONDREL_FUZZ");
    const long count = wanted != nullptr ? std::atol(wanted) : 100'000;
    const std::size_t limit = std::exchange(most_memory, std::size_t{1} << 30);  // or a machine's whole would be filled
    Evaluator evaluator;
    evaluator.run("1 2 ADD .\n");
    evaluator.clear();
    const std::int64_t blocks = blocks_out();
    Sentences sentences(1);
    std::string recent;  // what the values on the stack came from
    for (long i = 0; i < count; ++i) {
        const std::string sentence = sentences.next();
        recent += sentence;
        evaluator.run(sentence);
        if (i % 16 != 0) continue;
        evaluator.clear();
        ASSERT_EQ(blocks_out(), blocks) << "after\n" << recent;
        recent.clear();
    }
    most_memory = limit;
}

}  // namespace
}  // namespace ondrel
