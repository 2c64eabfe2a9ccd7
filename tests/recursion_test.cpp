// Depth: calls without an end come back to the prompt with 806, deep calls and deep values work, whatever stack the
// process was given.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <cstdio>
#include <string>

#include "tests/process.h"

namespace ondrel {
namespace {

struct Case {
    const char* name;
    std::string sentences;
    int errors;       // of number 806
    const char* top;  // what the last sentence shows
};

// The address sanitizer has larger frames, and stays on the stack that it was given.
class Recursion : public testing::TestWithParam<const char*> {
protected:
    void SetUp() override {
#if defined(__SANITIZE_ADDRESS__)
        GTEST_SKIP();
#endif
    }
};

// The shell sets the limit, since it also holds for what the process may raise it to.
Process& run(Process& process, const std::string& input) {
    process.send(input);
    process.finish(60 * time_scale);
    return process;
}

TEST_P(Recursion, EndsAtThePrompt) {
    const Case cases[] = {
        {"direct", ": a ; OPERATOR @a SET 1 a . CLEAR 1 .", 1, "\n\n 1\n"},
        {"that keeps its argument", "MONADIC DUP a ; OPERATOR @a SET 1 a . CLEAR 2 .", 1, "\n\n 2\n"},
        {"whose callers go on", ": : 1 a ; EXECUTE ; OPERATOR @a SET : a CLEAR 'on' ; EXECUTE .", 1, "\n\non\n"},
        {"with locals", "VARS 3 MONADIC @&1 SET &1 a ; OPERATOR @a SET 1 a . CLEAR 3 .", 1, "\n\n 3\n"},
        {"mutual", ": b ; OPERATOR @a SET : a ; OPERATOR @b SET a . 4 .", 1, "\n\n 4\n"},
        {"of a text", "'t EXECUTE' @t SET t EXECUTE . 5 .", 1, "\n\n 5\n"},
        {"through RESULT", "MONADIC 1 + @a GET RESULT ; @a SET 1 @a GET RESULT . CLEAR 6 .", 1, "\n\n 6\n"},
        {"through LOOP", "MONADIC POP 2 @a GET LOOP ; @a SET 1 @a GET LOOP . 7 .", 1, "\n\n 7\n"},
        {"through DIP", ": 1 @a GET DIP ; @a SET 1 @a GET DIP . CLEAR 8 .", 1, "\n\n 8\n"},
        {"that branches", ": 1 a a ; OPERATOR @a SET a . CLEAR 9 .", 16585, "\n\n 9\n"},
        {"10,000 deep", "MONADIC DUP CHECK RETURN ?N 1 - a 1 + ; OPERATOR @a SET 10000 a .", 0, "\n\n 10000\n"},
        {"two runs at each of 22,000 levels", "MONADIC DUP CHECK : 1 - a ; ?Y ; OPERATOR @a SET 22000 a .", 0,
         "\n\n 0\n"},
    };
    for (const Case& test : cases) {
        Process process({.arguments = {"-c", std::string("ulimit -s ") + GetParam() + "; exec " ONDREL_PROGRAM " -q"}},
                        "/bin/sh");
        run(process, test.sentences);
        EXPECT_EQ(process.exit_code, 0) << test.name << process.error.substr(0, 500);
        EXPECT_EQ(count(process.output, "806 - "), static_cast<std::size_t>(test.errors)) << test.name;
        EXPECT_NE(process.output.find(test.top), std::string::npos)
            << test.name << ": " << process.output.substr(0, 500);
        EXPECT_EQ(process.output.find("VIOLATION"), std::string::npos) << test.name;
        EXPECT_EQ(process.output.find("not given back"), std::string::npos) << test.name;
    }
}

// A context at each level, with and without names of their own, that are found near or far, by texts too; on the way back
// as well. The time is that of the processor, as others are at work.
TEST(Contexts, AtEachLevelTakeTimeInProportion) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "the sanitizers run on the system's stack, which has no room for so many calls";
#endif
    for (const std::string body : {"a", "1 @$x SET $x _x POP POP a", "$q POP a", "1 @.x SET @$y GET POP 5 @$y SET a",
                                   "1 @$x SET '1 @.t SET $x .t + $q + POP' EXECUTE 'a' EXECUTE", "BASICCONTEXT $q POP a",
                                   "n 1 - @n SET 1 @$x SET n CHECK : a ; ?Y $x $q + POP"}) {
        rusage before{}, after{};
        getrusage(RUSAGE_CHILDREN, &before);
        Process process({.arguments = {"-q"}});
        run(process, "20000 @n SET 2 @q SET : NEWCONTEXT " + body + " ; OPERATOR @a SET a . CLEAR 'end' .");
        getrusage(RUSAGE_CHILDREN, &after);
        EXPECT_NE(process.output.find("\nend\n"), std::string::npos) << body;
        const auto seconds = after.ru_utime.tv_sec - before.ru_utime.tv_sec;
        EXPECT_LE(static_cast<double>(seconds), 2 * time_scale) << body;
    }
}

// A value of 32,767 levels is made, copied, added to, printed, keyed and given back; one more is refused, also to DECAPSULATE.
TEST_P(Recursion, OfAValueToItsGreatestDepth) {
    const std::string nest = "(1 2) 32766 : @inner SET [. inner 3 .] ; REPEAT @nest SET #NIL @inner SET ";
    Process process({.arguments = {"-c", std::string("ulimit -s ") + GetParam() + "; exec " ONDREL_PROGRAM " -q"}},
                    "/bin/sh");
    run(process, nest +
                     "nest 1 + DISASSEMBLE POP nest nest + POP [. nest 4 .] . nest DECAPSULATE . CLEAR "
                     "0 MONADIC POP 5 ; @f SET nest @f GET RESULT . @nest FORGET .");
    EXPECT_EQ(process.exit_code, 0) << process.error.substr(0, 500);
    EXPECT_EQ(count(process.output, "994 - "), 2U) << process.output.substr(0, 1000);
    EXPECT_EQ(process.output.find("VIOLATION"), std::string::npos);
    EXPECT_NE(process.output.find("\n\n 5\n"), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(Stacks, Recursion, testing::Values("8192", "unlimited"));

}  // namespace
}  // namespace ondrel
