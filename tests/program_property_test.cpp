// Functions made at random: each is listed, taken back once as a function and once as a text that runs, and must give
// the same answers, print the same and be listed the same.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "tests/evaluator.h"

namespace ondrel {
namespace {

// What a body may be made of: pieces that make sense, which leave the stack at least as high as they found it and one
// number, or more, on top; and single cells of any sort, which mostly end in an error. A text has no quotes in it, and
// no NaN a sign: a listing does not tell these.
class Grammar {
public:
    explicit Grammar(unsigned seed) : random(seed) {}

    std::string function(int depth) {
        static const std::vector<std::string> headers = {":",
                                                         "FUNCTION",
                                                         "NEADIC",
                                                         "MONADIC",
                                                         "DYADIC",
                                                         "ARGS 1 FUNCTION",
                                                         "VARS 2 DYADIC",
                                                         "VARS 1 ARGS 2 FUNCTION",
                                                         "ARGS 2 VARS 3 FUNCTION"};
        const std::string header = pick(headers);
        const bool locals = header.find("VARS") != std::string::npos;
        std::string text = header + (locals ? " @&1 ASSIGN" : "");
        const int label = labels++;
        if (chance(4)) text += " 0 @%l" + std::to_string(label) + " JUMP 1 'unreached' %l" + std::to_string(label);
        for (int pieces = roll(8); pieces >= 0; --pieces) text += " " + piece(depth, locals);
        if (chance(2)) text += " 0.5 CHECK";
        for (int cells = roll(8); cells > 0; --cells) text += " " + cell(locals) + conditions();
        return text + (chance(5) ? " FUNCTIONEND" : " ;");
    }

private:
    std::mt19937 random;
    int labels = 0;

    int roll(int sides) { return static_cast<int>(random() % static_cast<unsigned>(sides)); }
    bool chance(int one_in) { return roll(one_in) == 0; }
    const std::string& pick(const std::vector<std::string>& words) {
        return words[static_cast<std::size_t>(roll(static_cast<int>(words.size())))];
    }

    std::string number() {
        static const std::vector<std::string> numbers = {"1",      "-7",   "2.5",   "1e300", "0.1",   "1i2",
                                                         "-1j2k3", "#1o2", "d2p90", "1p.5",  "inf",   "nan",
                                                         "#PI",    "-#E",  "T",     "F",     "0#101", "0#1010101010"};
        return pick(numbers);
    }

    std::string value() {
        static const std::vector<std::string> values = {"'text'",      "'c'",
                                                        "(1 2 3)",     "(1.5 'x' (2 'deep'))",
                                                        "#NIL",        "(1 2 3 4)[2 2]",
                                                        "`(1 2)",      "('ab' 1i2)",
                                                        "'abcd'[2 2]", "(1 2)[2]",
                                                        "'`0#101'",    "((1 2)(3 'q'))[2]",
                                                        "()"};
        return chance(2) ? number() : pick(values);
    }

    std::string conditions() {
        static const std::vector<std::string> words = {"", "", "", " ?Y", " IF_NO", " ?N ?Y", " ?N ?Y ?Y"};
        return pick(words);
    }

    std::string cell(bool locals) {
        static const std::vector<std::string> cells = {
            ":: [.",      "..]",      ".]",     ":: []", "MARK",           "+",           "+ //",      "* SCAN",
            "::DUP",      "SIN",      "SWAP",   "CLEAR", "\xDA",           "\xC1\xC0",    "0 CHECK",   "$b",
            ".c",         "_never",   "@a",     "@_b",   "@\x02odd ;\x03", "\x02$x\x03",  "5 @.c SET", "%here",
            "@%here",     "\"a ?N\"", "\"\"",   "NOOP",  "WRAP MASK",      ": 1 ;",       "OPERATOR",  "RESULT",
            "NEWCONTEXT", "PRINT",    "FORGET", "SQRT",  ":: [][]",        "COUNTTOMARK", "{"};
        if (locals && chance(4)) return chance(2) ? "@&1" : "&1";
        return chance(3) ? value() : pick(cells);
    }

    std::string piece(int depth, bool locals) {
        switch (roll(14)) {
            case 0: return value();
            case 1: return number() + " " + number() + " +";
            case 2: return "DUP [. SWAP 2 .] SWAP POP";
            case 3: return locals ? "&1 @&1 SET &1" : "3 @.own SET .own";
            case 4: return "global @$free SET $free _other";
            case 5: return "\x02two words\x03 @\x02two words\x03 GET POP";
            case 6: return "\"a comment; of . anything\"";
            case 7:
                return std::to_string(roll(2)) + " CHECK " + value() + (chance(2) ? " ?Y " : " ?N ") + "5 " +
                       (chance(2) ? "IF_YES" : "?N") + " 4 6 - ?Y ?N";
            case 8: return "1 CHECK " + nested(depth) + " ?N " + number();
            case 9: return "0 3 DYADIC + ; LOOP";
            case 10: return "1 2 : 2 * ; REPEAT";
            case 11: return "'1 2 + PRINT' EXECUTE " + number();
            case 12: return number() + " " + number() + " " + nested(depth) + " EXECUTE " + number();
            default: return "square SWAP POP 4 square @square GET POP NOOP";
        }
    }

    std::string nested(int depth) { return depth > 2 ? ": 1 ;" : function(depth + 1); }
};

const char* const names =
    "5 @global SET 6 @_other SET 7 @\x02two words\x03 SET : DUP * ; OPERATOR @square SET MONADIC ; @same SET . ";

// All that the function prints and leaves, with two numbers under it and the same draws of chance.
std::string answers(Evaluator& interpreter, const std::string& sentences) {
    interpreter.clear();
    interpreter.run(names);
    interpreter.run("CLEAR 7 SEED 11 12 .");
    return interpreter.run(sentences + " EXECUTE COUNTSTACK . [. SWAP .] POP DISASSEMBLE . POP DISASSEMBLE . ");
}

TEST(Programs, AreTakenBackFromTheirListing) {
    Evaluator interpreter;
    for (unsigned seed = 1; seed <= 400; ++seed) {
        const std::string function = Grammar(seed).function(0);
        const std::string expected = answers(interpreter, function);
        EXPECT_EQ(answers(interpreter, function + " DISASSEMBLE EXECUTE"), expected) << function;
        EXPECT_EQ(answers(interpreter, function + " DISASSEMBLE ASSEMBLE"), expected) << function;
        const std::string listing = interpreter.run("CLEAR " + function + " DISASSEMBLE .");
        EXPECT_EQ(interpreter.run("EXECUTE DISASSEMBLE ."), listing) << function;
        EXPECT_EQ(listing.find("error"), std::string::npos) << function;
        if (HasFailure()) break;
    }
}

}  // namespace
}  // namespace ondrel
