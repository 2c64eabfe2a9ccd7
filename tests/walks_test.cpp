// What takes long heeds an interrupt in time.
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

}  // namespace
}  // namespace ondrel
