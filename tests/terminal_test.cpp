// The program at a terminal, as a person types at it.
#include <gtest/gtest.h>

#include <csignal>
#include <string>

#include "tests/process.h"

namespace ondrel {
namespace {

constexpr const char *control_c = "\x03", *control_d = "\x04";

std::string tail(const std::string& text) {
    return escaped(text.substr(text.size() - std::min<std::size_t>(text.size(), 800)));
}

// The terminal writes a newline as two bytes, and shows what is typed.
struct Terminal : Process {
    Terminal() : Process({.terminal = true}) {}
    testing::AssertionResult shows(std::string_view text) {
        if (wait_for(text)) return testing::AssertionSuccess();
        return testing::AssertionFailure() << escaped(text) << " did not come:\n" << tail(output);
    }
};

TEST(Terminal, TakesASentenceOverSeveralLines) {
    Terminal terminal;
    ASSERT_TRUE(terminal.shows("--- Hello. (0) ---\r\n\r\nOndrel [0]> "));
    terminal.send("1 2\n");
    ASSERT_TRUE(terminal.shows("1 2\r\n"));
    terminal.send("+\n\n");
    ASSERT_TRUE(terminal.shows("+\r\n\r\n"));
    terminal.listen(0.2);
    EXPECT_EQ(terminal.output.find(" 3"), std::string::npos) << "a line's end is no sentence's end";
    terminal.send(".\n");
    ASSERT_TRUE(terminal.shows(".\r\n\r\n\r\n 3\r\n\r\nOndrel [1]> "));
    terminal.send("4 . 5 6 + .\n");
    ASSERT_TRUE(terminal.shows("\r\n\r\n 4\r\n\r\nOndrel [2]> \r\n\r\n 11\r\n\r\nOndrel [3]> "));
    terminal.send("'a text\nof two lines' .\n");
    ASSERT_TRUE(terminal.shows("\r\n\r\na text\r\nof two lines\r\n\r\nOndrel [4]> "));
    terminal.send("QUIT .\n");
    ASSERT_TRUE(terminal.shows("--- Good bye. (999) ---"));
    terminal.finish();
    EXPECT_EQ(terminal.exit_code, 0);
}

TEST(Terminal, InterruptsARunningSentence) {
    Terminal terminal;
    ASSERT_TRUE(terminal.shows("Ondrel [0]> "));
    // Longer than a line of a terminal may be, so it is typed in several.
    std::string sentence = "7 'begun' PRINT (1 2 3) 2000000 RESHAPE\n";
    for (int i = 0; i < 45; ++i) sentence += "2 + 2 + 2 + 2 + 2 + 2 + 2 + 2 + 2 + 2 +\n";
    terminal.send(sentence + ".\n");
    ASSERT_TRUE(terminal.shows("\r\nbegun\r\n"));
    terminal.send(control_c);
    ASSERT_TRUE(terminal.shows("\r\n** User interrupt. **\r\n"));
    ASSERT_TRUE(terminal.shows("Ondrel ["));
    terminal.send("70 7 + .\n");
    ASSERT_TRUE(terminal.shows("\r\n\r\n 77\r\n\r\nOndrel ["));
    terminal.send("(1 2 3) 3000000 RESHAPE PRINT .\n");
    ASSERT_TRUE(terminal.shows(" 1 2 3 1 2 3"));
    terminal.send(control_c);
    ASSERT_TRUE(terminal.shows("\r\n** User interrupt. **\r\n"));
    ASSERT_TRUE(terminal.shows("Ondrel ["));
    terminal.send("70 7 + undefined .\n");  // what was only shown is whole
    ASSERT_TRUE(terminal.shows("undefined\r\n\r\nOndrel ["));
    terminal.send("PRINT .\n");
    ASSERT_TRUE(terminal.shows(" 77\r\n"));
    terminal.send(control_d);
    ASSERT_TRUE(terminal.shows("--- Good bye. (999) ---"));
    terminal.finish();
    EXPECT_EQ(terminal.exit_code, 0);
}

TEST(Terminal, IsNotKilledWhileItStarts) {
    for (int i = 0; i < 20; ++i) {
        Terminal terminal;
        ASSERT_TRUE(terminal.shows("-- Ondrel"));
        terminal.signal(i % 2 == 0 ? SIGINT : SIGQUIT);
        terminal.send("5 6 + .\n");
        ASSERT_TRUE(terminal.shows(" 11\r\n"));
    }
}

TEST(Terminal, IgnoresAnInterruptAtThePrompt) {
    Terminal terminal;
    ASSERT_TRUE(terminal.shows("Ondrel [0]> "));
    for (int i = 0; i < 5; ++i) {
        terminal.send(control_c);
        ASSERT_TRUE(terminal.shows("^C"));
    }
    terminal.send("1 2\n");
    ASSERT_TRUE(terminal.shows("1 2\r\n"));
    terminal.listen(0.1);  // until the line has been read: an interrupt discards what waits to be
    terminal.send(control_c);
    ASSERT_TRUE(terminal.shows("^C"));
    terminal.send("+ .\n");
    ASSERT_TRUE(terminal.shows("\r\n\r\n 3\r\n\r\nOndrel [1]> "));
    EXPECT_EQ(terminal.output.find("interrupt"), std::string::npos) << tail(terminal.output);
    terminal.send(control_d);
    ASSERT_TRUE(terminal.shows("\r\n--- Good bye. (999) ---\r\n\r\n--- Spent: "));
    terminal.finish();
    EXPECT_EQ(terminal.exit_code, 0);
}

// A stay in a function: its locals looked at and changed, cell by cell, on with BREAK, and an editor that is a script.
TEST(Terminal, StepsThroughAFunction) {
    Terminal terminal;
    ASSERT_TRUE(terminal.shows("Ondrel [0]> "));
    terminal.send("VARS 1 DYADIC @&1 SET STEP 10 * &1 + ; OPERATOR @scaled SET .\n");
    ASSERT_TRUE(terminal.shows("Ondrel [0]> "));
    terminal.send("4 2 scaled .\n");
    ASSERT_TRUE(terminal.shows("\r\nTrace ( 1:  4):\t . SCALAR:\t\t 10\r\nInspect [1]: "));
    terminal.send("&1 .\n");
    ASSERT_TRUE(terminal.shows("&1 .\r\n\r\n\r\n 2\r\nInspect [2]: "));
    terminal.send(control_c);
    ASSERT_TRUE(terminal.shows("^C"));
    terminal.send("100 + @&1 SET .\n");
    ASSERT_TRUE(terminal.shows("\r\n\r\n 4\r\nInspect [1]: "));
    terminal.send("\n");
    ASSERT_TRUE(terminal.shows("\r\nTrace ( 1:  5):\t . OPERATOR:\t\t*\r\nInspect [2]: "));
    terminal.send("\n");
    ASSERT_TRUE(terminal.shows("\r\nTrace ( 1:  6):\t . STACK VARIABLE:\t&1\r\nInspect [1]: "));
    terminal.send("BREAK\n");
    ASSERT_TRUE(terminal.shows("\r\n\r\n 142\r\n\r\nOndrel [1]> "));
    terminal.send("CLEAR 5 6 scaled .\n");
    ASSERT_TRUE(terminal.shows("Inspect [1]: "));
    terminal.send("RUN\n1 2 .\n");
    ASSERT_TRUE(terminal.shows("\r\n\r\n 56\r\n\r\nOndrel [1]> "));
    terminal.send("STEP 1 2 .\n");
    ASSERT_TRUE(terminal.shows("Inspect [1]: "));
    terminal.send(control_d);  // the end of the input goes on by one cell
    ASSERT_TRUE(terminal.shows("SCALAR:\t\t 2\r\nInspect [2]: "));
    terminal.send(control_d);
    ASSERT_TRUE(terminal.shows("\r\n\r\n 2\r\n\r\nOndrel [3]> "));
    terminal.send("5 6 + .\n");
    ASSERT_TRUE(terminal.shows("\r\n\r\n 11\r\n\r\nOndrel [4]> "));
    terminal.send(control_d);
    ASSERT_TRUE(terminal.shows("--- Good bye. (999) ---"));
    terminal.finish();
    EXPECT_EQ(terminal.exit_code, 0);
}

// The end of the input in the middle of a line hands over what was typed; the next one ends the input.
TEST(Terminal, EndsAtTheEndOfTheInput) {
    Terminal terminal;
    ASSERT_TRUE(terminal.shows("Ondrel [0]> "));
    terminal.send("1 2 + .");
    ASSERT_TRUE(terminal.shows("1 2 + ."));
    terminal.send(control_d);
    terminal.listen(0.1);
    terminal.send(control_d);
    ASSERT_TRUE(terminal.shows("\r\n\r\n 3\r\n\r\nOndrel [1]> "));
    terminal.send(control_d);
    ASSERT_TRUE(terminal.shows("--- Good bye. (999) ---"));
    terminal.finish();
    EXPECT_EQ(terminal.exit_code, 0);
}

}  // namespace
}  // namespace ondrel
