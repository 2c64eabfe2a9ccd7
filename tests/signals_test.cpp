// Interrupts and faults, sent to the real program at the prompt and while it works.
#include <gtest/gtest.h>

#include <cmath>
#include <csignal>
#include <random>
#include <string>

#include "tests/process.h"

namespace ondrel {
namespace {

std::string tail(const std::string& text) {
    return escaped(text.substr(text.size() - std::min<std::size_t>(text.size(), 800)));
}

// Types a sentence and sees its answer.
testing::AssertionResult answers(Process& process) {
    process.send("70 7 + .\n");
    if (process.wait_for("\n\n 77\n\nOndrel [")) return testing::AssertionSuccess();
    return testing::AssertionFailure() << tail(process.output) << tail(process.error);
}

std::string verbs(const char* text, int times) {
    std::string all;
    for (int i = 0; i < times; ++i) all += text;
    return all;
}

// Few cells and large arrays: in place and into new blocks, widening, item by item, nested, and printing.
const std::string long_sentences[]{
    "(1 2 3) 200000 RESHAPE " + verbs("2 + 3 - ", 20) + "1 RESHAPE TELL .\n",
    "(1.5 2 3) 200000 RESHAPE (1 2) 200000 RESHAPE " + verbs("2 * 0.5 + ", 10) + "+ 1 RESHAPE TELL .\n",
    "(1 2 3) 100000 RESHAPE 2.5 * 1i2 + 1j2 * 1l2 + 1 RESHAPE TELL .\n",
    "(1 2.5 1i2 1l2) 50000 RESHAPE " + verbs("2 + ", 4) + "1 RESHAPE TELL .\n",
    "(9223372036854775807 1) 200000 RESHAPE 1 + 5 / 1 RESHAPE TELL .\n",
    "(1 (2 3) (4 (5 6))) 30000 RESHAPE 2 + 3.5 * 1 RESHAPE TELL .\n",
    "(1 2.5 1i2) 100000 RESHAPE TELL .\n",
    "(1 (2 'abc') 'x') 30000 RESHAPE TELL .\n",
    "'some text ' 500000 RESHAPE TELL .\n",
    "(1 2 3) (300 400) RESHAPE .\n",
    "(1 2 3) 4000000 RESHAPE 1 RESHAPE TELL .\n",
    "((1 2) 3 ('ab' 4)) 60000 RESHAPE DUP ENLIST POP DUP 'x' CATENATE MATCH 1 RESHAPE TELL .\n",
    "((1 2) (3.5 4)) 60000 RESHAPE DUP REVERSE DUP EXACT MATCH POP ENCAPSULATE DECAPSULATE REST 1 RESHAPE TELL .\n",
    "('ab' (7 8)) 60000 RESHAPE ENASCII DEASCII (3 20000) RESHAPE TRANSPOSE FIRST DUP AT FORGET 1 RESHAPE TELL .\n",
    "(1 2 3) 300000 RESHAPE DUP MONADIC 1 + ; @f SET @f GET RESULT POP DUP 1 == DUP POP COMPRESS CATENATE TELL .\n",
    "(5 (6 7)) 9000 RESHAPE (1 2 1) MONADIC POP 1 ; MASK POP MONADIC 7 CATENATE ; EACH TELL .\n",
};

TEST(Signals, AnInterruptComesBackToThePrompt) {
    constexpr int processes = 3, rounds = 25;
    std::mt19937 random(3);
    std::uniform_real_distribution<double> moment(0, 0.02 * std::min(time_scale, 4.0));
    int interrupted = 0;
    for (int i = 0; i < processes && !testing::Test::HasFailure(); ++i) {
        const bool by_workers = i % 2 == 1;
        Process process({.arguments = by_workers ? std::vector<std::string>{"-c3"} : std::vector<std::string>{}});
        ASSERT_TRUE(process.wait_for("Ondrel [0]> ")) << tail(process.output);
        for (int round = 0; round < rounds; ++round) {
            const std::string& sentence = long_sentences[random() % std::size(long_sentences)];
            process.send(sentence);
            process.listen(moment(random));
            process.signal(random() % 4 == 0 ? SIGQUIT : SIGINT);
            ASSERT_TRUE(answers(process)) << "after an interrupt in " << sentence;
        }
        process.finish();
        EXPECT_EQ(process.exit_code, 0) << tail(process.output);
        EXPECT_TRUE(contains(process.output, "--- Good bye. (999) ---")) << tail(process.output);
        EXPECT_FALSE(contains(process.output, "not given back")) << tail(process.output);
        for (std::size_t at = 0; (at = process.output.find("\n** User interrupt. **\n", at)) != std::string::npos; ++at)
            ++interrupted;
    }
    EXPECT_GT(interrupted, processes) << "hardly a sentence was met while it ran";
}

// At any moment: in a run, in printing, traced, at the Inspect prompt, in an editor and under the clocks of a report.
TEST(Signals, TwoThousandInterruptsLeaveTheStateWhole) {
    constexpr int rounds = time_scale > 1 ? 400 : 2000;
    const std::string sentences[]{
        "(1 2 3) 100000 RESHAPE " + verbs("2 + 3 - ", 40) + "POP .\n",
        "(1 2.5 1i2 (3 4)) 9000 RESHAPE 2 * TELL .\n",
        "1 6000 DYADIC + ; LOOP 300 down .\n",
        "TRACEALL 150 down RUNALL .\n",
        "STEPALL 2 down .\n\n\n5 MONADIC 2000 MONADIC POP ; LOOP POP ; LOOP .\n\n",
        "STEP (1 2 3) 9000 RESHAPE 1 + TELL .\n\n\n",
        "'text' TEXTEDIT .\n",
        "'undefined 2 .' EXECUTE 9 MONADIC 2000 MONADIC POP ; LOOP POP ; LOOP .\n",
    };
    Process process({.arguments = {"-i", "-t"}, .environment = {"EDITOR=sleep 0.002; :"}});
    process.send("'kept' @word SET MONADIC DUP 1 - CHECK RETURN ?N 1 - down ; OPERATOR @down SET .\n");
    ASSERT_TRUE(process.wait_for("Ondrel [0]> "));
    std::mt19937 random(7);
    constexpr double shortest = 0.00003, longest = 0.003;  // seconds; evenly on the scale of machines and their speeds
    std::uniform_real_distribution<double> moment(std::log(shortest), std::log(longest));
    for (int round = 0; round < rounds; ++round) {
        const std::string& sentence = sentences[random() % std::size(sentences)];
        process.send(sentence);
        process.listen(std::exp(moment(random)));
        process.signal(random() % 2 == 0 ? SIGINT : SIGQUIT);
        process.send("BREAK\nRUNALL .\nBREAK\nCLEAR .\n");
        ASSERT_TRUE(answers(process)) << "after " << round << " interrupts, the last in " << sentence;
    }
    process.send("word PRINT 6 down .\n");
    EXPECT_TRUE(process.wait_for("kept\n")) << tail(process.output);
    EXPECT_TRUE(process.wait_for("\n\n 1\n")) << tail(process.output);
    process.finish();
    EXPECT_EQ(process.exit_code, 0) << tail(process.output);
    EXPECT_GT(count(process.output, "** User interrupt. **"), rounds / 5U);
    EXPECT_FALSE(contains(process.output, "not given back")) << tail(process.output);
}

TEST(Signals, AnInterruptAtThePromptDoesNothing) {
    Process process({});
    ASSERT_TRUE(process.wait_for("Ondrel [0]> "));
    process.send("1 2\n");
    for (int i = 0; i < 20; ++i) {
        process.listen(0.01);
        process.signal(i % 2 == 0 ? SIGINT : SIGQUIT);
    }
    process.send("+ .\n");
    EXPECT_TRUE(process.wait_for("\n\n 3\n\nOndrel [1]> ")) << tail(process.output);
    EXPECT_TRUE(answers(process));
    process.finish();
    EXPECT_FALSE(contains(process.output, "interrupt")) << tail(process.output);
    EXPECT_EQ(process.exit_code, 0);
}

// What was on top may be half done: an empty vector stands for it, and what lies below is untouched.
TEST(Signals, AnInterruptTakesTheTopAndNoMore) {
    Process process({});
    process.send("'kept' (1 2 3) .\n");
    ASSERT_TRUE(process.wait_for("\n\n 1 2 3\n\nOndrel [2]> "));
    process.send("(1 2 3) 2000000 RESHAPE " + verbs("2 + ", 450) + ".\n");
    do {  // until the sentence has been read an interrupt does nothing
        ASSERT_TRUE(process.running() && !contains(process.output, "Ondrel [3]")) << tail(process.output);
        process.signal(SIGINT);
    } while (!process.wait_for("\n** User interrupt. **\n", 0.05));
    ASSERT_TRUE(process.wait_for("\nException processing:...\n-- - Discarding the bad TOS value...\n\n\nOndrel ["))
        << tail(process.output);
    ASSERT_TRUE(process.wait_for("]> "));
    process.send("PRINT .\n");  // the empty vector
    // Between two verbs the array was on top, before a sum its other argument.
    if (contains(process.output, "Ondrel [4]> ")) process.send("1 RESHAPE TELL .\n");
    process.send("PRINT .\n");
    EXPECT_TRUE(process.wait_for("\n\nOndrel [2]>  1 2 3\n\n\nkept\n\nOndrel [1]> ")) << tail(process.output);
    process.finish();
    EXPECT_EQ(process.exit_code, 0) << tail(process.output);
    EXPECT_FALSE(contains(process.output, "not given back")) << tail(process.output);
}

// The most that the address sanitizer clears, where a fault jumps out of the calls on it.
constexpr std::size_t of_one_jump = std::size_t{32} << 20;

TEST(Signals, TheThirdFaultEndsTheProcess) {
#if defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "the sanitizer keeps a fault back that is sent while the program waits";
#endif
    Process process({.stack = of_one_jump});
    ASSERT_TRUE(process.wait_for("Ondrel [0]> "));
    process.send("'kept' .\n");
    ASSERT_TRUE(process.wait_for("Ondrel [1]> "));
    for (int i = 0; i < 2; ++i) {
        ASSERT_TRUE(process.wait_for_sleep());
        process.signal(SIGSEGV);
        ASSERT_TRUE(process.wait_for("\nSEGMENTATION VIOLATION\n")) << tail(process.output);
        ASSERT_TRUE(answers(process)) << "after " << i + 1;
    }
    EXPECT_FALSE(contains(process.output, "SERIOUS"));
    ASSERT_TRUE(process.wait_for_sleep());
    process.signal(SIGSEGV);
    EXPECT_TRUE(
        process.wait_for("\nSEGMENTATION VIOLATION\n\n--- SERIOUS INTERNAL ERROR ---\n--- PROCESSING STOPPED --- \n"))
        << tail(process.output);
    process.finish(30);
    EXPECT_FALSE(process.timed_out);
    EXPECT_EQ(process.exit_code, 3);
}

TEST(Signals, TwoFaultsAreSurvived) {
#if defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "the sanitizer keeps a fault back that is sent while the program waits";
#endif
    Process process({.stack = of_one_jump});
    process.send("'kept' .\n");
    ASSERT_TRUE(process.wait_for("Ondrel [1]> "));
    for (int i = 0; i < 2; ++i) {
        ASSERT_TRUE(process.wait_for_sleep());
        process.signal(SIGSEGV);
        ASSERT_TRUE(process.wait_for("\nSEGMENTATION VIOLATION\n"));
        ASSERT_TRUE(process.wait_for("Ondrel [1]> ")) << tail(process.output);
    }
    process.send(".\n");
    EXPECT_TRUE(process.wait_for("\n\nkept\n\nOndrel [1]> ")) << tail(process.output);
    process.send("QUOTEDIN .\n");  // the wait that the faults jumped out of heeds the key as before
    for (int i = 0; i < 1000 && !process.wait_for("\n** User interrupt. **\n", 0.05); ++i) process.signal(SIGINT);
    EXPECT_TRUE(answers(process));
    process.finish();
    EXPECT_EQ(process.exit_code, 0);
    EXPECT_TRUE(contains(process.output, "** User")) << tail(process.output);
}

}  // namespace
}  // namespace ondrel
