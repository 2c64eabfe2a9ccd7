// Errors of both roads, inside constructs inside constructs: afterwards the next sentence works, and nothing is lost.
#include <gtest/gtest.h>

#include <array>
#include <string>
#include <string_view>

#include "data/allocator.h"
#include "tests/evaluator.h"

namespace ondrel {
namespace {

// Each runs what stands for the star; in a text, quotes are doubled.
constexpr auto constructs = std::to_array<std::string_view>({
    ": * ; EXECUTE",
    "1 2 VARS 2 DYADIC (1 2) @&1 SET * &1 ; EXECUTE",
    "MONADIC * ; OPERATOR @f SET 3 f",
    "'*' EXECUTE",
    "'1 . * . 2' ASSEMBLE EXECUTE POP EXECUTE",
    "2 MONADIC POP * ; LOOP",
    "2 : * ; REPEAT",
    "(1 2) (3 4) : * ; DIP",
    "(1 2) MONADIC * ; RESULT",
    "1 CHECK : * ; ?Y",
    "NEWCONTEXT (1 2) @$c SET * $c",
    "[. 1 (2 3) * .]",
    "NILADIC 4 @.own SET * .own ; YIELDTO",
});

constexpr auto errors = std::to_array<std::string_view>({
    "unknown",
    "CLEAR +",
    "-1 JUMP",
    "5 EXECUTE",
    "1 2 SET",
    "1 2 ?Y",
    "(1 2) (1 2 3) +",
    "'a' 2 *",
    "&1",
    "(1 2) (1 'a') RESHAPE",
    "0 JUMP",
    "RETURN",
    "OFF",
    "BREAK",
    "1 : 2 ; YIELD",
    ": 1 .",
});

std::string doubled(std::string_view text) {
    std::string result;
    for (const char c : text) result.append(c == '\'' ? 2 : 1, c);
    return result;
}

std::string within(std::string_view construct, const std::string& text) {
    const std::size_t at = construct.find('*');
    const bool in_text = construct.substr(0, at).find('\'') != std::string_view::npos;
    return std::string(construct.substr(0, at)) + (in_text ? doubled(text) : text) +
           std::string(construct.substr(at + 1));
}

TEST(Constructs, SurviveErrorsAtTheThirdLevel) {
    Evaluator interpreter;
#ifdef ONDREL_CHECKS
    const std::int64_t blocks = live_blocks;
#endif
    for (const std::string_view outer : constructs)
        for (const std::string_view middle : constructs)
            for (std::size_t i = 0; i < constructs.size() * errors.size(); ++i) {
                const std::string sentence =
                    within(outer, within(middle, within(constructs[i % constructs.size()],
                                                        std::string(errors[i / constructs.size()]))));
                interpreter.run("(7 8) " + sentence + " .");
                ASSERT_EQ(interpreter.run("1 2 + ."), "\n\n 3") << sentence;
                interpreter.clear();
#ifdef ONDREL_CHECKS
                ASSERT_EQ(live_blocks, blocks) << sentence;
#endif
            }
}

}  // namespace
}  // namespace ondrel
