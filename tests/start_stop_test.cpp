// The process around the sentences: its options, what it says when it starts and when it ends.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <string>

#include "tests/process.h"

namespace ondrel {
namespace {

using Arguments = std::vector<std::string>;

Result run(const Arguments& arguments, std::string_view input = "") {
    return run_program(input, {.arguments = arguments});
}

// With every digit of the time spent as 0, and without the line on the build.
std::string normalised(std::string text) {
    if (const std::size_t spent = text.rfind("--- Spent: "); spent != std::string::npos)
        std::replace_if(
            text.begin() + static_cast<std::ptrdiff_t>(spent), text.end(), [](char c) { return c >= '0' && c <= '9'; },
            '0');
    const std::size_t compiled = text.find("\n Compiled on: ");
    const std::size_t end = compiled == std::string::npos ? compiled : text.find("\n\n\n", compiled);
    if (end != std::string::npos) text.replace(compiled, end + 3 - compiled, "(compiled)");
    return text;
}

constexpr const char* spent = "--- Spent: 00:00:00.000000 ---\n\n";

std::string heading() {
    return "\n\n-- Ondrel 0.8 version n0.0 smp0.7 [build 4] 64-bit --\n\n";  // a notice stands behind it
}

const std::string usage_text = std::string("Usage: ") + ONDREL_PROGRAM +
                               R"( -h -v -vv -q -u -c<arg> -c -th<arg> -t -p -pp<arg> -i{f,t,s} 

Where:
	-h 	This usage message
	-v 	Print version information.
	-vv 	Print version and other (possibly) interesting information.

	-q 	Quiet, non-interactive mode:
		no copyright notice, or any other text,
		except error messages.

	-u 	Unconstrain the access to files in directories of higher
		hierarchical position. Any file the user has permissions
		to read/write/append to will be accepted.

	-c<number of processors>
	-c 	for automatic selection of <number of processors>
		Use SMP with <number of processors>.
	-th<threads per processor>
		Specify number of threads per processor (SMP only)
		The default is 4.

	-t 	Print process timing information.
	-p 	Print performance information.
	-pp<processor speed in MHz>
		Print processor performance information.
	-i 	Print summary of instruction timings when exiting
		(if not quiet).
	-if 	Print full summary of instruction timings,
		including floating point performance, when exiting
		(if not quiet).
	-it 	Print terse operations/S per instruction,
		when exiting (if not quiet).
	-is 	Print just the summary of average operation timings
		when exiting (if not quiet).

)";

constexpr const char* internals_text = R"(Structure sizes:
	 data element (common size): 40
	 ascii: 24
	 unicode: 24
	 integer: 24
	 real: 24
	 complex: 32
	 quaternion: 40
	 octonion: 88
	 file: 40
	 continuation: 40
	 subarray: 24
	 filler: 16

Individual element sizes (precisions):
	 character: 1
	 integer: 8
	 real: 8
	 complex: 16
	 quaternion: 32
	 octonion: 64

Computer internal integer sizes:
	 unsigned char: 1
	 unsigned short int: 2
	 unsigned int: 4
	 unsigned long int: 8

(All sizes are in bytes.)

Computer implementation precision data:
	Greatest INTEGER value = 9223372036854775807

	Greatest integer REAL value = 9007199254740991
	REAL value precision = 1e-15
		precision in decimal numbers = 15.59 digits
		eps = 1.11022e-16
		omega = 1.79769e+308


)";

TEST(StartStop, TellsItsUse) {
    const Result help = run({"-h"}, "1 2 + .");
    EXPECT_EQ(help.output, usage_text);
    EXPECT_EQ(help.exit_code, 0);
}

TEST(StartStop, VersionReport) {
    const Result report = run({"-v"}, "1 2 + .");
    const std::string text = normalised(report.output);
    EXPECT_TRUE(text.starts_with(heading())) << text;
    EXPECT_TRUE(text.ends_with("\n\n(compiled)")) << text;
    EXPECT_EQ(report.output.find("Single processor"), std::string::npos) << text;
    EXPECT_EQ(report.exit_code, 0);
}

TEST(StartStop, InternalsReport) {
    const Result report = run({"-vv"}), version = run({"-v"});
    EXPECT_EQ(report.output, version.output + internals_text);
    EXPECT_EQ(report.exit_code, 0);
}

TEST(StartStop, GreetsAndTakesItsLeave) {
    char memory[64];
    std::snprintf(memory, sizeof memory, "Available memory: %lg MiB\n",
                  static_cast<double>(sysconf(_SC_PHYS_PAGES)) * static_cast<double>(sysconf(_SC_PAGESIZE)) / 1048576);
    const std::string greeting = std::string("Single processor\n\n") + memory + "\n\n--- Hello. (0) ---";
    const std::string farewell = std::string("\n--- Good bye. (999) ---\n\n") + spent;
    for (const char* input : {"1 2 + .\n", "1 2 + .\nQUIT .\n", "1 2 + .\nENDPROCESS . 5 7 + .\n", "1 2 + . OFF 3 ."}) {
        const Result run_through = run({}, input);
        const std::string text = normalised(run_through.output);
        EXPECT_TRUE(text.starts_with(heading())) << text;
        const std::size_t end = text.find("Single processor");
        ASSERT_NE(end, std::string::npos) << text;
        EXPECT_EQ(text.substr(end), greeting + "\n\nOndrel [0]> \n\n 3\n\nOndrel [1]> " + farewell) << input;
        EXPECT_EQ(run_through.exit_code, 0);
    }
    const Result greeted = run_program("", {.merged = false});
    EXPECT_EQ(greeted.error, "\n--- Hello. (0) ---");
}

TEST(StartStop, IsQuiet) {
    EXPECT_EQ(normalised(run({"-q"}, "1 2 + .\n'text' .\n.").output), std::string("\n\n 3\n\ntext\n\ntext\n") + spent);
    EXPECT_EQ(normalised(run({"-q"}, "").output), std::string("\n") + spent);
    EXPECT_EQ(normalised(run({"-q"}, ". QUIT .").output), std::string("\n-\n\n") + spent);
    const Result wrong = run_program("1 + .\n2 .", {.arguments = {"-q"}, .merged = false});
    EXPECT_EQ(normalised(wrong.output), std::string("\n\n 2\n") + spent);
    EXPECT_TRUE(wrong.error.starts_with("\n800 - not enough arguments on stack for the reqested operation.\n"))
        << wrong.error;
#ifndef ONDREL_CHECKS  // a clock of the test is not for what is delivered
    EXPECT_TRUE(contains(run_program("", {.environment = {"ONDREL_CLOCK=1000"}}).output, "--- Spent: 00:00:00"));
#endif
}

TEST(StartStop, LeavesValuesOfEveryKindCleanly) {
    const Result run_through = run({}, "1 'a' (1 (2 'abc' 1l2)) 1l2 #PI (1 2)[100 100] () '' `(1 2) .");
    EXPECT_EQ(run_through.output.find("not given back"), std::string::npos) << run_through.output;
    EXPECT_EQ(run_through.exit_code, 0);
}

enum class Does { usage, version, internals, quiet, ordinary };

Does what(const Arguments& arguments) {
    const std::string output = run(arguments, "1 2 + .").output;
    if (output == usage_text) return Does::usage;
    const bool ran = output.find("\n\n 3") != std::string::npos;
    if (ran) return output.find("Ondrel") == std::string::npos ? Does::quiet : Does::ordinary;
    return output.find("Structure sizes") == std::string::npos ? Does::version : Does::internals;
}

// Words are read from the last to the first, the bytes of a word from left to right. A dash waits for the next letter
// of the table, in an earlier word if need be.
TEST(StartStop, ScansItsOptions) {
    const std::vector<std::pair<Arguments, Does>> cases{
        {{}, Does::ordinary},
        {{"-q"}, Does::quiet},
        {{"q"}, Does::ordinary},
        {{"h"}, Does::ordinary},
        {{""}, Does::ordinary},
        {{"-"}, Does::ordinary},
        {{"--q"}, Does::quiet},
        {{"-xq"}, Does::quiet},  // what is no option leaves the dash
        {{"-x", "q"}, Does::ordinary},
        {{"q", "-x"}, Does::quiet},
        {{"q", "-"}, Does::quiet},
        {{"-", "q"}, Does::ordinary},
        {{"q", "word", "-"}, Does::quiet},
        {{"-qh"}, Does::quiet},  // the q has used it up
        {{"-q-h"}, Does::usage},
        {{"-uq"}, Does::ordinary},
        {{"-qu"}, Does::quiet},
        {{"u", "-q"}, Does::quiet},
        {{"-q", "u"}, Does::quiet},
        {{"-q", "u-"}, Does::quiet},
        {{"q", "u-"}, Does::quiet},
        {{"q", "-u"}, Does::ordinary},
        {{"-Q"}, Does::ordinary},
        {{"v"}, Does::ordinary},  // as a u: files from anywhere
        {{"vector"}, Does::ordinary},
        {{"have"}, Does::ordinary},
        {{"-qv"}, Does::quiet},
        {{"v", "-q"}, Does::quiet},
        {{"v", "-"}, Does::version},
        {{"-v", "-h"}, Does::usage},
        {{"-h", "-v"}, Does::version},
        {{"-h", "-vv"}, Does::internals},
        {{"-vv", "-v"}, Does::version},
        {{"-q", "-v"}, Does::version},
        {{"-vq"}, Does::version},
        {{"-hv"}, Does::usage},
        {{"-h", "-q"}, Does::usage},
        {{"\xFF\x80 -q"}, Does::quiet},
    };
    for (const auto& [arguments, expected] : cases) {
        std::string words;
        for (const std::string& argument : arguments) words += '[' + escaped(argument) + ']';
        EXPECT_EQ(static_cast<int>(what(arguments)), static_cast<int>(expected)) << words;
    }
}

// The count, the program's own name included, is a signed byte.
TEST(StartStop, LooksAtNoMoreThanAByteOfWords) {
    Arguments arguments(126, "word");
    arguments[0] = "-q";
    EXPECT_EQ(what(arguments), Does::quiet);
    arguments.push_back("-q");
    EXPECT_EQ(what(arguments), Does::ordinary);
    arguments.assign(200, "-h");
    EXPECT_EQ(what(arguments), Does::ordinary);
}

// The lines on the machine, between the version and the memory.
std::string machine_lines(const Arguments& arguments) {
    const std::string text = normalised(run(arguments, "").output);
    const std::size_t from = text.find("(compiled)");
    if (from == std::string::npos) return text;
    const std::size_t begin = from + std::string_view("(compiled)").size();
    return text.substr(begin, text.find("\n\n", begin) - begin);
}

TEST(StartStop, SizesThePool) {
    const std::string all = std::to_string(sysconf(_SC_NPROCESSORS_CONF));
    const auto pool = [](const std::string& workers, long slots) {
        return "Processors: " + workers + ", Threads: " + std::to_string(slots);
    };
    EXPECT_EQ(machine_lines({}), "Single processor");
    EXPECT_EQ(machine_lines({"-th3"}), "Single processor");  // no pool to have threads
    EXPECT_EQ(machine_lines({"-c1"}), pool("1", 2));
    EXPECT_EQ(machine_lines({"-c2", "-th3"}), pool("2", 7));
    EXPECT_EQ(machine_lines({"-th3", "-c2"}), pool("2", 7));
    EXPECT_EQ(machine_lines({"-c"}), pool(all, std::stol(all) + 1));
    EXPECT_EQ(machine_lines({"-c0"}), pool(all, std::stol(all) + 1));
    EXPECT_EQ(machine_lines({"-c-4"}), pool(all, std::stol(all) + 1));
    EXPECT_EQ(machine_lines({"-c99999999999999999999"}), pool("1024", 1025));
    EXPECT_EQ(machine_lines({"-c1000", "-th1000"}), pool("1", 1025));
    EXPECT_EQ(machine_lines({"-pp3000"}), "Single processor, Clock: 3000 MHz");
    EXPECT_EQ(machine_lines({"-pp", "3000"}), "Processor speed must be given for -pp option\n");
    EXPECT_EQ(machine_lines({"-c2-pp3000"}), pool("2", 3) + "\nCumulative clock: 3000 MHz");
}

// An option that goes on, and what stops it.
// A thread takes room for its stack, so that there is an end to them.
TEST(StartStop, GoesOnWithTheThreadsThatItGets) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "needs all the memory that it can get";
#endif
    const std::string input = "0 SERIAL 99 PARALLEL (1 2 3)[20] 1 + .\n";
    const Result run = run_program(input, {.arguments = {"-c8"}, .memory = std::size_t{900} << 20});
    EXPECT_TRUE(contains(run.output, "--- Hello. (0) ---, Succeeded to start ")) << run.output;
    EXPECT_TRUE(contains(run.output, "\n\n 2 3 4 2 3 4 2 3 4 2 3 4 2 3 4 2 3 4 2 3\n")) << run.output;
    EXPECT_EQ(run.exit_code, 0);
    const Result quiet = run_program(input, {.arguments = {"-c8", "-q"}, .memory = std::size_t{900} << 20});
    EXPECT_FALSE(contains(quiet.output, "Succeeded")) << quiet.output;
    EXPECT_TRUE(contains(quiet.output, "started processors (")) << quiet.output;
}

TEST(StartStop, ReadsWhatGoesWithAnOption) {
    for (const char* word : {"-th", "-th0", "-thx", "-th-1"}) {
        const Result refused = run({word}, "1 2 + .");
        EXPECT_EQ(refused.output, "The number of threads must be given for -th option\n") << word;
        EXPECT_EQ(refused.exit_code, 1) << word;
    }
    for (const char* word : {"-pp", "-pp0", "-pp-3", "-ppx"}) {
        const Result refused = run({word}, "1 2 + .");
        EXPECT_EQ(refused.output, "Processor speed must be given for -pp option\n") << word;
        EXPECT_EQ(refused.exit_code, 1) << word;
    }
    for (const std::string word : {"-tx", "-tq", "-pq", "-ix", "-t-", "-i9"}) {
        const Result refused = run({word}, "1 2 + .");
        EXPECT_EQ(refused.output, "Unrecognised option: -" + word.substr(2, 1) + "\n\n" + usage_text) << word;
        EXPECT_EQ(refused.exit_code, 0) << word;
    }
    const std::vector<std::pair<Arguments, Does>> cases{
        {{"-c4q"}, Does::ordinary},                                   // the number has used the dash up
        {{"-cq"}, Does::quiet},                                       // no number has not
        {{"q", "-c"}, Does::quiet},                                   // nor for the word read next
        {{"-th2-q"}, Does::quiet},                                    // the scan goes on behind a number
        {{"-t", "q"}, Does::ordinary},                                // the end of the word is the option's
        {{"-itq"}, Does::ordinary},    {{"t", "-p-q"}, Does::usage},  // p wants no dash behind it
    };
    for (const auto& [arguments, expected] : cases) {
        if (expected == Does::usage)
            EXPECT_TRUE(contains(run(arguments).output, "Unrecognised option: --\n")) << arguments.front();
        else
            EXPECT_EQ(static_cast<int>(what(arguments)), static_cast<int>(expected)) << arguments.front();
    }
}

// The reports that -q takes away are those of the end; the time of a sentence was asked for.
TEST(StartStop, ReportsByOption) {
    for (const char* quiet : {"", "-q"})
        for (const char* sentence : {"", "-t", "-p", "-pp1000"})
            for (const char* last : {"", "-i", "-if", "-it", "-is"}) {
                const std::string what = std::string(quiet) + ' ' + sentence + ' ' + last;
                const std::string text = run({quiet, sentence, last}, "1 2 + .").output;
                const auto expect = [&](const char* part, bool there) {
                    EXPECT_EQ(contains(text, part), there) << what << " and " << part << '\n' << escaped(text);
                };
                const std::string_view option = last;
                expect("--> \t\xE4t = ", std::string_view(sentence) == "-t");
                expect("-->\tExecuted 3 operators, 1 operations.\n", std::string_view(sentence) == "-p");
                expect("-->\tProcessor performance: ", std::string_view(sentence) == "-pp1000");
                const bool reports = !option.empty() && *quiet == '\0';
                expect("\n\nExecution timing", reports);
                expect("\nADD:\t\t", reports && option != "-is");
                expect(" fp/op", reports && (option == "-if" || option == "-it"));
                expect(" sdev,  1.000    ops\n", reports && option != "-it" && option != "-is");
                EXPECT_TRUE(contains(text, "\n\n 3\n")) << what;
            }
    EXPECT_FALSE(contains(run({"-i"}, "1 2 3 .").output, "Execution timing")) << "no instruction but the end's ran";
}

}  // namespace
}  // namespace ondrel
