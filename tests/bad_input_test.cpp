// What no reasonable person types, through the real program: each time it says what is wrong and goes on, or ends as it
// should, and takes no more time than its length deserves.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "tests/process.h"

namespace ondrel {
namespace {

// Of the processor's time, and of the best of some runs: on a loaded machine the same work costs several times as much.
constexpr double most_seconds = 0.5 * time_scale;
constexpr int most_runs = 4;

// A sanitizer's own maps exceed any limit on the data.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr std::size_t memory_limit = 0;
#else
constexpr std::size_t memory_limit = std::size_t{2} << 30;
#endif

std::string repeated(std::string_view text, std::size_t times) {
    std::string all;
    all.reserve(text.size() * times);
    for (std::size_t i = 0; i < times; ++i) all += text;
    return all;
}

// The end of an output, for the report of a failure.
std::string tail(const std::string& text) {
    return escaped(text.substr(text.size() - std::min<std::size_t>(text.size(), 600)));
}

void expect_orderly(const Result& run, const std::string& what) {
    EXPECT_FALSE(run.timed_out) << what;
    EXPECT_EQ(run.exit_code, 0) << what << ": " << tail(run.output) << tail(run.error);
    EXPECT_TRUE(contains(run.output, "--- Good bye. (999) ---")) << what << ": " << tail(run.output);
    EXPECT_FALSE(contains(run.output, "blocks were not given back")) << what << ": " << tail(run.output);
    EXPECT_FALSE(contains(run.output, "SEGMENTATION")) << what;
    EXPECT_LT(run.cpu_seconds, most_seconds) << what;
}

Result run_in_time(const std::string& input) {
    const Launch launch{.memory = memory_limit};
    Result run = run_program(input, launch);
    for (int i = 1; i < most_runs && run.cpu_seconds > most_seconds && !run.timed_out; ++i)
        run = run_program(input, launch);
    return run;
}

// The input does something wrong, and the next sentence is answered.
Result expect_alive(const std::string& input, const std::string& what) {
    const Result run = run_in_time(input + "\n70 7 + .\n");
    expect_orderly(run, what);
    EXPECT_TRUE(contains(run.output, "\n\n 77\n\nOndrel [")) << what << ": " << tail(run.output);
    return run;
}

Result expect_end(const std::string& input, const std::string& what) {
    const Result run = run_in_time(input);
    expect_orderly(run, what);
    return run;
}

void expect_message(const Result& run, const char* message, const std::string& what) {
    EXPECT_EQ(count(run.output, message), 1U) << what << ": " << tail(run.output);
}

// ---- long

constexpr std::size_t million = 1'000'000;

TEST(BadInput, ManyParentheses) {
    expect_message(expect_end(repeated("(", million), "open"), "807 - programme storage full.", "open");
    const std::string closed = repeated("(", million) + "1" + repeated(")", million) + " .";
    expect_message(expect_alive(closed, "closed"), "807 - programme storage full.", "closed");
    expect_alive("(" + repeated("(1)", 100'000) + ") TELL .", "beside each other");
    expect_alive(repeated(")", million) + " .", "only closing");
    expect_alive("(1 2)" + repeated("[", million) + " 2 ] .", "brackets");
}

TEST(BadInput, TextsWithoutEnd) {
    expect_end("'" + repeated("a", 10 * million), "a text");
    expect_end("('" + repeated("ab", 5 * million), "a nested text");
    expect_end("\"" + repeated("a", 10 * million), "a comment");
    expect_end("\xBC" + repeated("a\xBC ", 3 * million), "a bracketed comment");
    expect_end("(" + repeated("1 ", million), "a literal");
    expect_end("(1 2)[" + repeated("2 ", million), "a shape");
    expect_end("\x02" + repeated("a b", 3 * million), "a quoted name");
    expect_end("'abc'" + repeated(" ", 3 * million), "blanks before a shape that never comes");
    expect_end("FIRST" + repeated("\n", 3 * million), "blanks before a second word that never comes");
    expect_end("1 2 +", "a sentence");
}

TEST(BadInput, LongNumbers) {
    for (const char* digits : {"1", "9", "0"}) expect_alive(repeated(digits, million) + " .", "digits");
    expect_alive("1." + repeated("7", million) + " .", "a fraction");
    expect_alive("1e" + repeated("7", million) + " .", "an exponent");
    expect_alive("1e-" + repeated("7", million) + " .", "a negative exponent");
    expect_alive("1i" + repeated("7", million) + "j2 .", "a component");
    expect_alive("(1 " + repeated("7", million) + ") .", "an item");
    expect_message(expect_alive("0#" + repeated("1", million) + " .", "binary digits"), "809 - ", "binary digits");
    expect_message(expect_alive("(1 2)[" + repeated("7", million) + "] .", "a dimension"), "1100 - ", "a dimension");
    expect_alive(repeated("1i", million) + " .", "pieces of a complex number");
    expect_alive("(" + repeated("1.", million) + ") TELL .", "points");
    expect_alive("(" + repeated("1 ", million) + ") TELL .", "items");
}

TEST(BadInput, LongWordsAndSentences) {
    expect_message(expect_alive(repeated("a", million) + " .", "a name"), "23 - ", "a name");
    expect_alive("_" + repeated("a", million) + " .", "a scoped name");
    expect_alive("\x02" + repeated("a b ", million) + "\x03 .", "a quoted name");
    expect_alive(repeated("END", 1000) + " .", "ends");
    for (const char* token : {"1 ", "+ ", "DUP ", "a ", "'ab' ", "(1) ", "\"c\" ", "SQRT ", "#PI "})
        expect_message(expect_alive(repeated(token, million) + " .", token), "807 - programme storage full.", token);
    expect_alive(repeated("\n \t\r", million) + " .", "blanks");
    expect_alive("\"" + repeated("a", 10 * million) + "\" .", "a comment");
}

// Words that rewrite the cell before them take no cell of their own: a sentence of them has no limit.
TEST(BadInput, ManyWordsOfOneCell) {
    expect_alive("+ " + repeated("// ", 200'000) + ".", "reductions");
    expect_alive("+ " + repeated("?Y ", 200'000) + ".", "conditions");
    expect_alive("1 " + repeated("?Y ", million) + ".", "conditions of a value");
}

TEST(BadInput, ManyNames) {
    std::string names;
    for (int i = 0; i < 100'000; ++i) {
        const std::string name = "n" + std::to_string(i);
        names += "1 @" + name + " SET " + name + (i % 100 == 99 ? " POP .\n" : " POP\n");
    }
    expect_alive(names, "names");
    const std::string name(million, 'a');
    expect_alive("5 @" + name + " SET " + name + " . : " + name + " ; DISASSEMBLE AT GET .", "a name of a megabyte");
    expect_alive("1 " + repeated("@", million) + " 2 .", "addresses");
}

TEST(BadInput, ManyDefinitions) {
    expect_message(expect_alive(repeated(": ", million) + ".", "definitions"), "807 - ", "definitions");
    expect_alive(repeated(": ", 1000) + ".", "open definitions");
    expect_alive(repeated(": ", 1000) + repeated("; ", 1500) + ".", "closed definitions");
    expect_message(expect_alive(": " + repeated("1 ", 1023) + "; .", "a body"), "807 - ", "a body");
    const std::string longest = ": " + repeated("1 ", 1022) + "; EXECUTE COUNTSTACK .";
    expect_message(expect_alive(longest, "1,022 cells"), "\n 1022\n", "1,022 cells");
    expect_alive(": " + repeated("@x ", 600) + "; .", "addresses in a body");
    expect_alive("ARGS 99999999999999999999 VARS 99999999999999999999 FUNCTION ; EXECUTE .", "counts");
    expect_alive("VARS 65535 NILADIC &65535 ; EXECUTE .", "locals");
}

// ---- strange

TEST(BadInput, EveryByteAlone) {
    constexpr std::string_view openers = "\"'(\x02\xBC\xCD";  // these wait for their end, or read the next line
    const auto opens = [&](int byte) { return contains(openers, std::string(1, static_cast<char>(byte))); };
    std::string input;
    for (int byte = 1; byte < 256; ++byte)
        if (!opens(byte))
            (input += static_cast<char>(byte)) += " .\n" + std::to_string(1'000'000 + byte) + " 1000 + .\n";
    const Result run = expect_end(input, "bytes");
    for (int byte = 1; byte < 256; ++byte)
        EXPECT_TRUE(opens(byte) || contains(run.output, "\n\n " + std::to_string(1'001'000 + byte) + "\n"))
            << "behind byte " << byte;

    for (const char c : openers) expect_end(std::string(1, c) + " .\n", "an opening byte");
    const Result nul = expect_end(std::string("70 7 + .\n \0 1 2 + .", 19), "NUL");
    EXPECT_TRUE(contains(nul.output, "\n\n 77\n"));
    EXPECT_FALSE(contains(nul.output, "\n\n 3\n"));
    expect_end(std::string(1, '\0'), "NUL alone");
}

TEST(BadInput, Nesting) {
    const auto nest = [](std::size_t depth) { return repeated("(", depth) + "5" + repeated(")", depth) + " ."; };
    EXPECT_FALSE(contains(expect_alive(nest(255), "255").output, "807 - "));
    expect_alive(nest(256), "256");
    for (const std::size_t depth : {std::size_t{258}, std::size_t{300}, std::size_t{70'000}})
        expect_message(expect_alive(nest(depth), "deeper"), "807 - programme storage full.", "deeper");
    const std::string opened = repeated("(", 255) + "'a", closed = "b'" + repeated(")", 255) + " .";
    expect_alive(opened + closed, "a text inside");
    expect_alive(opened + "'[2 " + repeated(")", 300) + "] " + repeated(")", 300) + " .", "a shape inside");
}

TEST(BadInput, Shapes) {
    for (const char* shape : {"0", "0 0 0", "5 0", "0 9223372036854775807", "-1", "2 -3", "-9223372036854775807", "1.5",
                              "-", "'a'", "a", "(2)", "", " ", "#PI", "1e3", "0 4294967296 4294967296"})
        for (const char* data : {"(1 2)", "'ab'", "()", "''", "(1 (2 'ab'))"}) {
            const std::string text = std::string(data) + '[' + shape + "] .";
            expect_alive(text, text);
        }
}

// More items than a value can have, or than the machine has memory for.
TEST(BadInput, HugeShapes) {
    for (const char* shape :
         {"4294967295", "4294967296", "4294967297", "9223372036854775807", "65536 65536", "65536 65535", "2147483648 2",
          "65536 65536 65536 65536", "4294967296 4294967296", "4294967296 4294967297", "3037000500 3037000500",
          "9223372036854775807 2", "9223372036854775807 9223372036854775807", "4611686018427387904 4", "9e18 9e18 9e18",
          "1e19", "1e300", "2 99999999999999999999"})
        for (const char* form : {"(1 2)[%]", "(1 2) (%) RESHAPE", "(3 (1 2)[%] 4)"}) {
            std::string text = form;
            text.replace(text.find('%'), 1, shape);
            const Result run = expect_alive(text + " .", text);
            // A value too large for its own number of items, or for the memory, or a dimension too large for a number;
            // what is no integer is none of these to RESHAPE.
            bool told = false;
            for (const char* message : {"27 - out of", "146 - result", "1100 - A shape", "113 - right"})
                told |= contains(run.output, message);
            EXPECT_TRUE(told) << text << ": " << tail(run.output);
        }
}

TEST(BadInput, TheStackFilledAndOneMore) {
    std::string input;
    for (int i = 0; i < 16; ++i) input += repeated("1 ", 1000) + ".\n";
    input += repeated("1 ", 584) + ".\n";
    Result run = expect_end(input + "2 .\n", "one more");
    EXPECT_TRUE(contains(run.output, "\n\n 1\n\nOndrel [16584]> ")) << tail(run.output);
    expect_message(run, "806 - stack full.", "one more");
    EXPECT_EQ(count(run.output, "Ondrel [16584]> "), 2U);
    run = expect_end(input + "(1 (2 'abc')) 3 .\n+ .\n'still' .\n", "a nested value more");
    EXPECT_EQ(count(run.output, "806 - stack full."), 1U);
    EXPECT_TRUE(contains(run.output, "\n\n 2\n\nOndrel [16583]> \n\nstill\n\nOndrel [16584]> ")) << tail(run.output);
}

// ---- streams

struct Descriptor {
    int number;
    Descriptor(const char* path, int flags) : number(open(path, flags | O_CLOEXEC)) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() { close(number); }
};

void expect_quiet_end(const Result& run, const char* what) {
    EXPECT_FALSE(run.timed_out) << what;
    EXPECT_GE(run.exit_code, 0) << what << ": killed by a signal";
    EXPECT_LT(run.exit_code, 3) << what << ": " << tail(run.error);
    EXPECT_LT(run.error.size(), 5000U) << what << ": " << tail(run.error);
    EXPECT_FALSE(contains(run.error, "SEGMENTATION")) << what;
    EXPECT_LT(run.cpu_seconds, most_seconds) << what;
}

// The sentences go on, for what else they do; and no file gets the number of a stream that is closed.
TEST(BadInput, OutputThatGoesNowhere) {
    const std::string file = testing::TempDir() + "ondrel" + std::to_string(getpid()), name = "'" + file + "' ";
    const std::string input = name +
                              "0 OPEN @f SET .\n1 2 + .\n(1 2 3) PRINT 1000 RESHAPE .\n+ .\n(1 2)[100000] .\n"
                              "name .\n'on' " +
                              name + "TEXTAPPEND .\n";
    const auto goes_on = [&](const Launch& launch, const char* what) {
        std::ofstream(file) << "x";
        const Result run = run_program(input, launch, 30);
        expect_quiet_end(run, what);
        EXPECT_EQ(contents(file), "xon") << what;
        std::filesystem::remove(file);
        return run;
    };
    for (const bool quiet : {false, true}) {
        Launch launch{.arguments = {"-u"}, .merged = false};
        if (quiet) launch.arguments.push_back("-q");
        launch.output = closed;
        goes_on(launch, "closed");
        const Descriptor full("/dev/full", O_WRONLY);
        launch.output = full.number;
        EXPECT_NE(goes_on(launch, "full").error, "") << "results are lost and nobody is told";
        int ends[2];
        ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
        close(ends[0]);
        launch.output = ends[1];
        goes_on(launch, "reader gone");
        close(ends[1]);
        launch.output = to_test;
        launch.error = closed;
        EXPECT_TRUE(contains(goes_on(launch, "no errors").output, "\n\non\n"));
    }
}

TEST(BadInput, InputThatCannotBeRead) {
    const Descriptor directory(".", O_RDONLY | O_DIRECTORY), write_only("/dev/null", O_WRONLY);
    for (const int input : {closed, directory.number, write_only.number}) {
        const Result run = run_program("", {.input = input}, 30);
        expect_orderly(run, "input");
        EXPECT_EQ(count(run.output, "Ondrel [0]> "), 1U) << tail(run.output);
    }
}

}  // namespace
}  // namespace ondrel
