// The last report of a process, of records made up for it: every quantity at both sides of each step of its units.
#include "core/report.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "core/debugger.h"
#include "core/options.h"
#include "core/timing.h"
#include "data/instructions.h"
#include "tests/evaluator.h"
#include "tests/process.h"
#include "tests/threads.h"

namespace ondrel {
namespace {

class Report : public testing::Test {
protected:
    Report() {
        opstime = flops = true;
        verbs = 1;
    }
    ~Report() override {
        opstime = flops = processor_performance = terse_ops = just_summary = false;
        InstructionTiming = {};
        verbs = 0;
        MHz = 0;
    }

    static InstructionTime& record(Instruction instruction = Instruction::ADD) {
        return InstructionTiming[static_cast<std::size_t>(instruction)];
    }

    static std::string printed() {
        char* text = nullptr;
        std::size_t length = 0;
        std::FILE* const out = std::exchange(stdout, open_memstream(&text, &length));
        report_instructions();
        std::fclose(std::exchange(stdout, out));
        const std::string report(text, length);
        std::free(text);
        return report;
    }

    static void expect_shown(std::initializer_list<const char*> parts, const InstructionTime& row) {
        record() = row;
        const std::string report = printed();
        for (const char* part : parts) EXPECT_TRUE(contains(report, part)) << escaped(part) << " is not in\n" << report;
    }
};

// Items that are moved count once, however much lies in them; integers are counted up without floating-point
// operations.
TEST_F(Report, CountsWhatAVerbWorksOn) {
    using enum Instruction;
    const struct {
        const char* sentence;
        Instruction instruction;
        double items, flops;
    } works[] = {{"((1 2) 3 (4 5)) ENCLOSE .", ENCLOSE, 1, 0},
                 {"((1 2) 3 (4 5)) ENLIST .", ENLIST, 5, 0},
                 {"((1 2) 3) (4 (5 6)) CATENATE .", CATENATE, 4, 0},
                 {"1000 INTERVAL .", INTERVAL, 1000, 0},
                 {"(0.5 999.5) INTERVAL .", INTERVAL, 1000, 1000},
                 {"4i3 INTERVAL .", INTERVAL, 12, 24},
                 {"(1 2.5 3.5) (1 2.5) MATCH .", MATCH, 3, 1},
                 {"((1 2) 3) (1 (2 3 4)) MATCH .", MATCH, 7, 0},
                 {"1i2 1i2 EXACTMATCH .", MATCH, 1, 2},
                 {"(1.5 2.5) (1.5 2.5 3.5) EXACTMATCH .", MATCH, 3, 0}};
    const Threads pool;  // whose threads the operations are put down to
    decide_watching();
    for (const auto& [sentence, instruction, items, operations_of_reals] : works) {
        InstructionTiming = {};
        Evaluator().run(sentence);
        EXPECT_EQ(record(instruction).count, items) << sentence;
        EXPECT_EQ(record(instruction).flops, operations_of_reals) << sentence;
    }
    opstime = false;
    decide_watching();
}

TEST_F(Report, ChoosesTheUnitOfARate) {
    expect_shown({"ADD:\t\t  1.000 Gop/S\t  1.000 Gflop/S\t   1.000 S,"}, {1, 1, 1e9, 1e9});
    expect_shown({"ADD:\t\t999.999  Mop/S\t999.999 Mflop/S\t"}, {1, 1, 999999499, 999999499});
    expect_shown({"\t  1.000  Mop/S\t  1.000 Mflop/S\t"}, {1, 1, 1e6, 1e6});
    expect_shown({"\t999.999   Kop/S\t999.999 Kflop/S\t"}, {1, 1, 999999, 999999});
    expect_shown({"\t  1.000   Kop/S\t  1.000 Kflop/S\t"}, {1, 1, 1000, 1000});
    expect_shown({"\t999.000    op/S\t999.000  flop/S\t"}, {1, 1, 999, 999});
    terse_ops = true;
    expect_shown({"\t  1.000 Gop/S\t\t  1.000 Gflop/S  \t   1.000 S,\t 100.000 %t\t   1.000  fp/op\n"},
                 {1, 1, 1e9, 1e9});
    expect_shown({"\t\t  1.000  Mflop/S \t"}, {1, 1, 1e6, 1e6});
    expect_shown({"\t\t  1.000   Kflop/S\t"}, {1, 1, 1000, 1000});
    expect_shown({"\t\t  1.000    flop/S\t"}, {1, 1, 1, 1});
}

TEST_F(Report, ChoosesTheUnitOfATime) {
    expect_shown({"\t\t 999.000   nS,\t", "\n\t 999.000   nS avg,"}, {999e-9, 0, 1, 0});
    expect_shown({"\t\t   1.000  uS,\t", "\n\t   1.000  uS  avg,"}, {1e-6, 0, 1, 0});
    expect_shown({"\t\t 999.000  uS,\t", "\n\t 999.000  uS  avg,"}, {999e-6, 0, 1, 0});
    expect_shown({"\t\t   1.000 mS,\t", "\n\t   1.000 mS   avg,"}, {0.001, 0, 1, 0});
    expect_shown({"\t\t 999.000 mS,\t", "\n\t 999.000 mS   avg,"}, {0.999, 0, 1, 0});
    expect_shown({"\t\t   1.000 S,\t", "\n\t   1.000 S    avg,"}, {1, 0, 1, 0});
    expect_shown({"\t\t  59.999 S,\t"}, {59.999, 0, 1, 0});
    expect_shown({"\t\t       1:0.000 m:S,\t", "\n\t  60.000 S    avg,"}, {60, 0, 1, 0});
    expect_shown({"\t\t     100:1.500 m:S,\t"}, {6001.5, 0, 1, 0});
}

// The deviation is that of the runs: the root of the mean square less the square of the mean.
TEST_F(Report, TellsHowSteadyItWas) {
    expect_shown({"   2.000 S    avg,   1.000 S    sdev,  2.000    ops"}, {4, 1 + 9, 2, 0});
    expect_shown({"   2.000 mS   avg,   1.000 mS   sdev,"}, {0.004, 10e-6, 2, 0});
    expect_shown({"   2.000  uS  avg,   1.000  uS  sdev,"}, {4e-6, 10e-12, 2, 0});
    expect_shown({"   2.000   nS avg,   1.000   nS sdev,"}, {4e-9, 10e-18, 2, 0});
    expect_shown({" 100.000 mS   avg,   0.000   nS sdev,"},
                 {0.3, 0.03 - 1e-17, 3, 0});  // rounded below no spread at all
}

TEST_F(Report, ChoosesTheUnitOfACount) {
    expect_shown({"sdev,  1.000 Gops\n", "fp/op\t\t        1.000 Gfpops  \n"}, {1, 1, 1e9, 1e9});
    expect_shown({"sdev,  1.000  Mops\n", "fp/op\t\t        1.000  Mfpops \n"}, {1, 1, 1e6, 1e6});
    expect_shown({"sdev,  1.000   Kops\n", "fp/op\t\t        1.000   Kfpops\n"}, {1, 1, 1000, 1000});
    expect_shown({"sdev,999.000    ops\n", "fp/op\t\t      999.000    fpops\n"}, {1, 1, 999, 999});
}

TEST_F(Report, TellsFlopsForOperations) {
    expect_shown({"\n\t   3.000  fp/op"}, {1, 1, 10, 30});
    expect_shown({"\n\t   0.002  fp/op"}, {1, 1, 999, 2});
    expect_shown({"\n\t  1.000   m.fp/op"}, {1, 1, 1000, 1});
    expect_shown({"\n\t  1.000  u.fp/op"}, {1, 1, 1e6, 1});
    expect_shown({"\n\t  1.000 n.fp/op"}, {1, 1, 1e9, 1});
}

TEST_F(Report, TellsCycles) {
    processor_performance = true;
    MHz = 1000;
    expect_shown({"\n\t  1.00 Gcy/op       1.000 S    avg,", "\n\t  1.00 Gcy/fp       1.000  fp/op",
                  "Summary:\t  1.00 Gcy/op\t  1.000 S    avg,", "\nRaw timing:\t"},
                 {1, 1, 1, 1});
    expect_shown({"\n\t  1.00  Mcy/op   ", "\n\t  1.00  Mcy/fp   ", "Summary:\t  1.00  Mcy/op\t"}, {0.001, 0, 1, 1});
    expect_shown({"\n\t  1.00   Kcy/op  ", "\n\t  1.00   Kcy/fp  ", "Summary:\t  1.00   Kcy/op\t"}, {1e-6, 0, 1, 1});
    expect_shown({"\n\t999.00     cy/op ", "\n\t999.00     cy/fp ", "Summary:\t999.00     cy/op\t"}, {999e-9, 0, 1, 1});
}

TEST_F(Report, SumsUp) {
    record(Instruction::NIHIL) = {1000, 1000, 1000, 1000};  // belongs to no instruction
    record(Instruction::MULTIPLY) = {3, 9, 1, 5};
    record(Instruction::LESS) = {7, 7, 0, 7};  // ran, and counts nothing
    expect_shown(
        {"\t  25.000 %t", "MULTIPLY:\t", "\t  75.000 %t", "Summary:\t  2.000 S    avg,   1.000 S    sdev, n=2\n",
         "\t\t  0.500    op/S,     1.500    flop/S,   6.000    fpops\n", "\treal:\t  4.000 S\n\n"},
        {1, 1, 1, 1});
    EXPECT_FALSE(contains(printed(), "LESS"));
    just_summary = true;
    EXPECT_TRUE(contains(printed(), "\n\nExecution timing:\n-------------------------------\nSummary:\t"));
}

TEST_F(Report, TellsVerbsASecond) {
    const auto expect_verbs = [](double count, const char* line) {
        verbs = count;
        expect_shown({line}, {2, 4, 1, 0});
    };
    expect_verbs(1, "verbs per second:     2.000    S/v,       1    verbs\n");
    expect_verbs(2, "verbs per second:     1.000    v/S,       2    verbs\n");
    expect_verbs(2000, "verbs per second:     1.000   Kv/S,   2.000   Kverbs\n");
    expect_verbs(2e6, "verbs per second:     1.000  Mv/S,   2.000  Mverbs\n");
    expect_verbs(2e9, "verbs per second:     1.000 Gv/S,   2.000 Gverbs\n");
}

TEST_F(Report, IsSilentWhenNothingWasCounted) {
    EXPECT_EQ(printed(), "");
    record() = {1, 1, 1, 1};
    opstime = false;
    EXPECT_EQ(printed(), "");
}

}  // namespace
}  // namespace ondrel
