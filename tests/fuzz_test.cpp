// Random sentences, run inside the process. Nothing is known of what they give; but nothing may crash, every value that
// comes up is sound (builds with checks look after each instruction), and all blocks come back.
#include <gtest/gtest.h>

#include <random>
#include <string>

#include "tests/evaluator.h"
#include "tests/values.h"

namespace ondrel {
namespace {

class Sentences {
public:
    explicit Sentences(std::uint64_t seed) : random_(seed) {}

    // Up to three literals, then verbs; now and then a verb too many, or none, so that values pile up and are taken by
    // later sentences.
    std::string next() {
        std::string text;
        const std::size_t literals = below(4);
        for (std::size_t i = 0; i < literals; ++i) {
            text += literal() + " ";
            if (below(4) == 0) text += pick(monadic) + " ";
        }
        const std::size_t verbs = below(3) + (literals > 1 ? 1 : 0);
        for (std::size_t i = 0; i < verbs; ++i) text += verb() + " ";
        return text + ".\n";
    }

private:
    using Words = std::initializer_list<const char*>;
    static constexpr Words dyadic = {"ADD", "SUBTRACT", "MULTIPLY", "DIVIDE", "RESIDUE", "MINIMUM", "MAXIMUM"};
    static constexpr Words monadic = {"PRINT", "OUTPUT", "POLAR", "CARTESIAN", "DEG", "RAD"};
    static constexpr Words scalars = {"0",
                                      "1",
                                      "-1",
                                      "2",
                                      "3",
                                      "-7",
                                      "9223372036854775807",
                                      "-9223372036854775808",
                                      "4611686018427387904",
                                      "1e30",
                                      "0.5",
                                      "-2.5",
                                      "3.0",
                                      "1.0e308",
                                      "1.0e-320",
                                      "Inf",
                                      "-Inf",
                                      "NaN",
                                      "0.0",
                                      "-0.0",
                                      "T",
                                      "F",
                                      "#PI",
                                      "-#E",
                                      "#SIN",
                                      "0#1011",
                                      "0#000000001010",
                                      "`0#1000001`",
                                      "'a'",
                                      "' '",
                                      "''",
                                      "()",
                                      "#NIL",
                                      "1i2",
                                      "#1i2",
                                      "r3i-4",
                                      "0i0",
                                      "1i0",
                                      "1iInf",
                                      "1p2",
                                      "d2p90",
                                      "r1p1",
                                      "0p1",
                                      "-1p0.3",
                                      "1i2j3k4",
                                      "#0j1",
                                      "1k1",
                                      "2p0.3q0.4r0.5",
                                      "1iNaNj2k3",
                                      "1i2j3k4l5m6n7o8",
                                      "#0o1",
                                      "1l-1",
                                      "2p1q1r1s1t1u1v1",
                                      "1e200i1e200"};
    static constexpr Words items = {"0",
                                    "1",
                                    "-1",
                                    "2",
                                    "3",
                                    "9223372036854775807",
                                    "-9223372036854775808",
                                    "1e30",
                                    "0.5",
                                    "-2.5",
                                    "3.0",
                                    "Inf",
                                    "NaN",
                                    "0.0",
                                    "T",
                                    "F",
                                    "#PI",
                                    "#SIN",
                                    "0#1011",
                                    "'a'",
                                    "'b'",
                                    "1i2",
                                    "#1i2",
                                    "1i0",
                                    "1i2j3k4",
                                    "1j0",
                                    "#0j1",
                                    "1i2j3k4l5m6n7o8",
                                    "0o1"};
    static constexpr Words shapes = {"[2]", "[3]",   "[4]",     "[2 2]",     "[2 3]", "[3 2]", "[1]", "[1 1]",
                                     "[0]", "[0 2]", "[2 1 2]", "[2 2 2 2]", "[]",    "[7]",   "[-1]"};

    static constexpr Words new_shapes = {"0",
                                         "1",
                                         "5",
                                         "2.0",
                                         "(2 3)",
                                         "(2 2 2)",
                                         "(3 0)",
                                         "()",
                                         "(4)",
                                         "-1",
                                         "'a'",
                                         "(2 'a')",
                                         "2.5",
                                         "1i0",
                                         "2i1",
                                         "3j0",
                                         "2l0",
                                         "(1 2.0 1i0)",
                                         "(1 1)[1 1]",
                                         "9223372036854775807",
                                         "(4294967296 4294967296)",
                                         "((2) 3)",
                                         "NaN",
                                         "Inf",
                                         "1p0",
                                         "T",
                                         "0#11",
                                         "1e30"};

    std::size_t below(std::size_t n) { return std::uniform_int_distribution<std::size_t>(0, n - 1)(random_); }
    std::string pick(Words words) { return words.begin()[below(words.size())]; }

    // A shape that a verb gave could be one of billions of items, so RESHAPE always has one of its own.
    std::string verb() {
        switch (below(8)) {
            case 0: return pick(monadic);
            case 1: return pick(new_shapes) + " RESHAPE";
            default: return pick(dyadic);
        }
    }

    std::string text() {
        std::string made = "'";
        for (std::size_t i = below(7); i > 0; --i) made += "abc xyz"[below(7)];
        return made + "'";
    }

    // Of one kind or mixed; lengths are few, so that operands often fit each other.
    std::string list(int depth) {
        std::string made = "(";
        const bool uniform = below(2) == 0;
        const std::string item = pick(items);
        for (std::size_t i = 1 + below(4); i > 0; --i) {
            if (depth > 0 && below(4) == 0)
                made += (below(3) == 0 ? text() : list(depth - 1)) + " ";
            else
                made += (uniform ? item : pick(items)) + " ";
        }
        made += ")";
        return below(3) == 0 ? made + pick(shapes) : made;
    }

    std::string literal() {
        switch (below(8)) {
            case 0: return text() + (below(3) == 0 ? pick(shapes) : "");
            case 1: return "`" + list(1);
            case 2:
            case 3: return pick(scalars);
            default: return list(3);
        }
    }

    std::mt19937_64 random_;
};

TEST(Fuzz, RandomSentences) {
    Evaluator evaluator;
    evaluator.run("1 2 ADD .\n");
    evaluator.clear();
    const std::int64_t blocks = blocks_out();
    Sentences sentences(1);
    std::string recent;  // what the values on the stack came from
    for (int i = 0; i < 100'000; ++i) {
        const std::string sentence = sentences.next();
        recent += sentence;
        evaluator.run(sentence);
        if (i % 16 != 0) continue;
        evaluator.clear();
        ASSERT_EQ(blocks_out(), blocks) << "after\n" << recent;
        recent.clear();
    }
}

}  // namespace
}  // namespace ondrel
