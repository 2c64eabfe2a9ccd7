// A walk over a value heeds an interrupt in time, however long or wide the value is, and ends where its stack does.
#include <gtest/gtest.h>

#include <csignal>

#include "tests/process.h"

namespace ondrel {
namespace {

TEST(Walks, EndAnInterruptedWaitAtOnce) {
    Process process({});
    for (const char* const sentence :
         {"QUOTEDIN .\n", "1 INPUT .\n", "'INPUT 3' EXECUTE .\n", "(1 2) MONADIC POP INPUT ; EACH .\n"}) {
        process.send(sentence);
        process.listen(0.3 * time_scale);
        process.signal(SIGINT);
        EXPECT_TRUE(process.wait_for("** User interrupt. **", 20)) << sentence;
        process.send("70 7 + .\n");
        EXPECT_TRUE(process.wait_for("\n\n 77\n", 20)) << sentence;
    }
    process.send("CLEAR INPUT .\n(5 6) FIRST\n");  // and no line behind that one is waited for
    EXPECT_TRUE(process.wait_for("\n\n 5\n\nOndrel [1]> ", 20)) << process.output;
    process.finish();
    EXPECT_FALSE(contains(process.output, "not given back")) << process.output;
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
// Without room for the large stack a walk that goes too deep says 806, and everything is given back all the same.
TEST(Walks, EndWhereTheStackDoes) {
    for (const char* const kibibytes : {"8192", "1024"}) {
        const std::string limits = std::string("ulimit -s ") + kibibytes + "; ulimit -v 900000; exec ";
        Process process({.arguments = {"-c", limits + ONDREL_PROGRAM " -q"}}, "/bin/sh");
        process.send(
            "(1 2) 32766 : @inner SET [. inner 3 .] ; REPEAT @nest SET #NIL @inner SET nest 1 + . nest nest + . "
            "nest SIN . nest ENLIST POP . nest nest MATCH POP . nest nest EXACT MATCH POP . nest DISASSEMBLE POP . "
            "nest PRINT . nest ENASCII POP . nest DECAPSULATE POP . nest CLOSE . nest 0 MONADIC 5 ; RESULT . "
            "nest GET . CLEAR 70 7 + .\n");
        process.finish(60 * time_scale);
        EXPECT_GE(count(process.output, "806 - stack full."), 5U) << process.output.substr(0, 1000);
        EXPECT_TRUE(contains(process.output, "\n\n 77\n")) << process.output.substr(0, 1000);
        EXPECT_FALSE(contains(process.output, "VIOLATION") || contains(process.output, "not given back"));
        EXPECT_EQ(process.exit_code, 0);
    }
}
#endif

}  // namespace
}  // namespace ondrel
