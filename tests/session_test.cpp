// Sessions and examples: each file is a test, found when the tests are run.
//
// A session (sessions/NAME.session) reads like a transcript. Lines that begin with "> " are typed; consecutive ones are
// one block. What follows, up to the next such line or a comment line ("## "), is what must come back on both standard
// streams, newlines at its beginning and end left out. "[n]" at the end of a line, behind two blanks or alone, is a
// prompt with n values on the stack: a block runs as many sentences as it has such lines, and one if it has none. \xNN
// is that byte. "17 ..." with a cell behind it is the report of error 17 there, as it stands at length in the sessions
// control and reshape; "..." at its end too, that an exception was processed. A first line "## run with: WORDS" gives
// arguments, and NAME=value the environment, of the run.
//
// The fences of a document (docs/NAME.md) that have no kind are one session. Besides, it may show what is typed at a
// terminal and what comes back, in fences of the kind "transcript"; behind that word stand arguments and environment of
// the run, or "more", when it goes on with the run of the fence before. What is typed stands behind a prompt.
//
// An example (examples/NAME.ond) runs with -q, and its output must be NAME.out byte for byte, the time left out.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

#include "data/messages.h"
#include "tests/process.h"

namespace ondrel {
namespace {

namespace fs = std::filesystem;

std::string trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of('\n');
    if (first == std::string_view::npos) return {};
    return std::string(text.substr(first, text.find_last_not_of('\n') - first + 1));
}

// What one sentence brings: the text, and the number in the prompt behind it, if it is to be compared.
struct Reply {
    std::string text;
    std::string height;

    std::string shown() const {
        const std::string words = escaped(trimmed(text));
        if (height.empty()) return words;
        return words + (words.empty() ? "" : "\n") + '[' + height + ']';
    }
};

struct Block {
    int line;
    std::string input;
    std::vector<Reply> expected;
};

// Takes the height off the end of a line: nothing where there is none.
std::string take_height(std::string& line) {
    const std::size_t bracket = line.rfind('[');
    if (bracket == line.npos || line.back() != ']') return {};
    const std::string height = line.substr(bracket + 1, line.size() - bracket - 2);
    const bool behind = bracket > 2 && line.substr(bracket - 2, 2) == "  " && line[bracket - 3] != ' ';
    if (height.empty() || height.find_first_not_of("0123456789") != height.npos || (bracket != 0 && !behind)) return {};
    line.resize(behind ? bracket - 2 : 0);
    return height;
}

std::string at_length(std::string line) {
    constexpr std::string_view dots = " ...";
    const std::size_t gap = line.find(dots);
    if (gap == 0 || gap == line.npos || line.find_first_not_of("0123456789") != gap) return line;
    const bool exception = line.ends_with(dots) && line.size() > gap + dots.size();
    if (exception) line.replace(line.size() - dots.size(), dots.size(), "\nException processing:...");
    return errors(std::stoi(line)) + std::string("\n\nInstruction:\n") + line.substr(gap + dots.size());
}

// Where sessions and documents write their files; it goes with the test process.
const fs::path& scratch() {
    static const struct Folder {
        fs::path path = fs::temp_directory_path() / ("ondrel-sessions" + std::to_string(getpid()));
        Folder() { fs::create_directories(path); }
        ~Folder() { fs::remove_all(path); }
    } folder;
    return folder.path;
}

Launch launch_with(const std::string& text) {
    Launch launch;
    launch.directory = scratch();
    std::istringstream words(text);
    for (std::string word; words >> word;)
        (word.find('=') == word.npos ? launch.arguments : launch.environment).push_back(word);
    return launch;
}

// Only builds with checks have the clock that a run may ask for.
bool can_run(const Launch& launch) {
#ifdef ONDREL_CHECKS
    return true;
#endif
    return std::ranges::none_of(launch.environment, [](const auto& word) { return word.starts_with("ONDREL_CLOCK="); });
}

Launch launch_of(const fs::path& path) {
    constexpr std::string_view heading = "## run with: ";
    std::ifstream file(path, std::ios::binary);
    std::string line;
    return std::getline(file, line) && line.starts_with(heading) ? launch_with(line.substr(heading.size()))
                                                                 : launch_with("");
}

// The lines of a session. Of a document only its examples are; the others are comments, so that the numbers stay.
std::string session_of(const fs::path& path) {
    if (path.extension() != ".md") return contents(path);
    std::ifstream file(path, std::ios::binary);
    std::string text;
    bool fenced = false, example = false;
    for (std::string line; std::getline(file, line); text += '\n') {
        const bool edge = line.starts_with("```");
        if (edge) {
            fenced = !fenced;
            example = fenced && line == "```";
        }
        text += example && !edge ? line : "##";
    }
    return text;
}

std::vector<Block> read_session(const fs::path& path) {
    std::vector<Block> blocks;
    std::istringstream file(session_of(path));
    std::string line, words;
    const auto end_reply = [&](const std::string& height) {
        if (!blocks.empty()) blocks.back().expected.push_back({unescaped(words), height});
        words.clear();
    };
    const auto end_block = [&] {
        if (!trimmed(words).empty() || (!blocks.empty() && blocks.back().expected.empty())) end_reply("");
        words.clear();
    };
    bool typing = false;
    for (int number = 1; std::getline(file, line); ++number) {
        if (line.starts_with("> ")) {
            if (!typing) {
                end_block();
                blocks.push_back({number, {}, {}});
            }
            blocks.back().input += unescaped(line.substr(2)) + '\n';
            typing = true;
            continue;
        }
        typing = false;
        if (line == "##" || line.starts_with("## ")) continue;
        const std::string height = take_height(line);
        words += at_length(line) + '\n';
        if (!height.empty()) end_reply(height);
    }
    end_block();
    return blocks;
}

// The replies of a run: what came before each prompt, the greeting first and the farewell, without a prompt, last.
std::vector<Reply> split_at_prompts(std::string_view output) {
    constexpr std::string_view before = "\n\nOndrel [", behind = "]> ";
    std::vector<Reply> replies;
    std::size_t from = 0;
    for (std::size_t at = 0; (at = output.find(before, at)) != std::string_view::npos;) {
        const std::size_t number = at + before.size(), end = output.find_first_not_of("0123456789", number);
        if (end != std::string_view::npos && output.substr(end).starts_with(behind)) {
            replies.push_back(
                {std::string(output.substr(from, at - from)), std::string(output.substr(number, end - number))});
            from = end + behind.size();
        }
        at = end;
    }
    replies.push_back({std::string(output.substr(from)), {}});
    return replies;
}

// The clock's own line, in whatever build, says nothing.
std::string without_time(const std::string& output) { return output.substr(0, output.rfind("--- Spent: ")); }

// Documents leave out blank lines, and blanks at the ends of others.
std::string without_blank_lines(const std::string& text) {
    std::istringstream lines(text);
    std::string kept;
    for (std::string line; std::getline(lines, line);)
        if (const std::size_t last = line.find_last_not_of(' '); last != line.npos)
            kept += line.substr(0, last + 1) + '\n';
    return kept;
}

std::string shown(const std::vector<Reply>& replies) {
    std::string text;
    for (const Reply& reply : replies) text += reply.shown() + '\n';
    return text;
}

class Session : public testing::Test {
public:
    explicit Session(fs::path path) : path_(std::move(path)) {}

    static bool takes(const fs::path& path) { return path.extension() != ".md" || contains(session_of(path), "\n> "); }
    void TestBody() override { replay("", {}); }

protected:
    // With arguments besides the session's own, and behind a sentence that leaves nothing.
    void replay(const std::string& first, const std::vector<std::string>& arguments) {
        const std::vector<Block> blocks = read_session(path_);
        ASSERT_FALSE(blocks.empty()) << path_ << " types nothing";
        std::string input = first;
        for (const Block& block : blocks) input += block.input;
        Launch launch = launch_of(path_);
        if (!can_run(launch)) GTEST_SKIP();
        launch.arguments.insert(launch.arguments.end(), arguments.begin(), arguments.end());
        const Result run = run_program(input, launch);

        std::vector<Reply> replies = split_at_prompts(without_time(run.output));
        const Reply farewell = replies.back();
        replies.pop_back();
        std::size_t next = first.empty() ? 1 : 2;  // behind the greeting
        for (const Block& block : blocks) {
            const bool ended = next + block.expected.size() > replies.size();
            std::vector<Reply> actual(
                replies.begin() + static_cast<std::ptrdiff_t>(std::min(next, replies.size())),
                ended ? replies.end() : replies.begin() + static_cast<std::ptrdiff_t>(next + block.expected.size()));
            for (std::size_t i = 0; i < actual.size(); ++i)
                if (block.expected[i].height.empty()) actual[i].height.clear();
            if (ended) actual.push_back(farewell);
            next += block.expected.size();
            if (seen(actual) == seen(block.expected)) continue;
            ADD_FAILURE_AT(path_.c_str(), block.line) << "typed:\n"
                                                      << escaped(block.input) << "expected:\n"
                                                      << shown(block.expected) << "actual:\n"
                                                      << shown(actual);
            if (++failures_ == most_failures || ended) break;
        }
        const bool ended_early = next == replies.size() + 1;  // the last sentence was the end of the process
        if (failures_ == 0 && next != replies.size() && !ended_early)
            ADD_FAILURE_AT(path_.c_str(), blocks.back().line)
                << "more sentences ran than the session has: " << replies.size() - next << " more replies at the end";
        EXPECT_FALSE(run.timed_out) << path_;
        EXPECT_EQ(run.exit_code, 0) << path_ << " ended with:\n" << escaped(farewell.text);
        EXPECT_EQ(run.output.find("blocks were not given back"), std::string::npos) << path_ << " ended with:\n"
                                                                                    << escaped(farewell.text);
    }

private:
    std::string seen(const std::vector<Reply>& replies) const {
        return path_.extension() == ".md" ? without_blank_lines(shown(replies)) : shown(replies);
    }

    static constexpr int most_failures = 5;  // the rest of a session that has lost its step says nothing more
    fs::path path_;
    int failures_ = 0;
};

// What a session prints does not depend on who computes it, unless chance does, or it tells of the pool itself. With
// two workers all of four items and more is handed out, with eight of them all of ten items and more.
template <bool many>
class WorkersSession : public Session {
public:
    using Session::Session;
    static bool takes(const fs::path& path) { return !contains(contents(path), "## threads as they are"); }
    void TestBody() override {
        replay("0 SERIAL .\n", many ? std::vector<std::string>{"-c4", "-th2"} : std::vector<std::string>{"-c2"});
    }
};

class Example : public testing::Test {
public:
    explicit Example(fs::path path) : path_(std::move(path)) {}

    void TestBody() override {
        const fs::path expected = fs::path(path_).replace_extension(".out");
        ASSERT_TRUE(fs::exists(expected)) << expected;
        const Result run = run_program(contents(path_), {.arguments = {"-q"}});
        EXPECT_EQ(escaped(without_time(run.output)), escaped(without_time(contents(expected)))) << path_;
        EXPECT_EQ(run.exit_code, 0) << path_;
        EXPECT_FALSE(run.timed_out) << path_;
    }

private:
    fs::path path_;
};

// The end of a prompt that a line of a transcript begins with, else 0.
std::size_t prompt_length(std::string_view line) {
    for (const std::string_view prompt : {"Ondrel [", "Inspect ["}) {
        if (!line.starts_with(prompt)) continue;
        const std::size_t end = line.find_first_not_of("0123456789", prompt.size());
        if (end != line.npos && (line.substr(end).starts_with("]> ") || line.substr(end).starts_with("]: ")))
            return end + 3;
    }
    return 0;
}

class Document : public testing::Test {
public:
    explicit Document(fs::path path) : path_(std::move(path)) {}

    static bool takes(const fs::path& path) { return contains(contents(path), fence); }

    void TestBody() override {
        std::ifstream file(path_, std::ios::binary);
        std::string line, heading, shown;
        while (std::getline(file, line)) {
            if (!line.starts_with(fence)) continue;
            if (line != std::string(fence) + " more") {
                replay(heading, shown);
                heading = line.substr(fence.size());
                shown.clear();
            }
            while (std::getline(file, line) && line != "```") shown += line + '\n';
            shown += "\n\n";
        }
        replay(heading, shown);
    }

private:
    static constexpr std::string_view fence = "```transcript";
    fs::path path_;

    void replay(const std::string& heading, const std::string& shown) const {
        if (shown.empty() || !can_run(launch_with(heading))) return;
        std::vector<std::string> typed;
        std::istringstream lines(shown);
        for (std::string line; std::getline(lines, line);)
            if (const std::size_t prompt = prompt_length(line)) typed.push_back(line.substr(prompt));
        std::string input;
        for (const std::string& sentence : typed) input += sentence + '\n';
        const Result run = run_program(input, launch_with(heading));
        std::istringstream output(run.output.substr(std::min(run.output.find("Ondrel [0]> "), run.output.size())));
        std::string at_terminal;
        auto next = typed.begin();
        for (std::string line; std::getline(output, line);) {
            at_terminal += line;
            if (prompt_length(line) == line.size() && !line.empty()) {
                if (next == typed.end()) break;
                at_terminal += *next++;
            }
            at_terminal += '\n';
        }
        const std::string expected = without_blank_lines(shown), actual = without_blank_lines(at_terminal);
        EXPECT_EQ(escaped(actual.substr(0, expected.size())), escaped(expected)) << path_;
    }
};

template <class Kind>
bool takes(const fs::path& path) {
    if constexpr (requires { Kind::takes(path); })
        return Kind::takes(path);
    else
        return true;
}

template <class Kind>
void register_files(const char* suite, const char* directory, const char* extension) {
    if (!fs::is_directory(directory)) return;
    std::vector<fs::path> paths;
    for (const auto& entry : fs::directory_iterator(directory))
        if (entry.path().extension() == extension && takes<Kind>(entry.path())) paths.push_back(entry.path());
    std::sort(paths.begin(), paths.end());
    for (const fs::path& path : paths) {
        std::string name = path.stem();
        std::replace_if(
            name.begin(), name.end(), [](char c) { return !std::isalnum(static_cast<unsigned char>(c)); }, '_');
        testing::RegisterTest(suite, name.c_str(), nullptr, nullptr, path.c_str(), 1,
                              [path]() -> testing::Test* { return new Kind(path); });
    }
}

const bool registered = [] {
    register_files<Session>("Session", ONDREL_SESSIONS, ".session");
    register_files<WorkersSession<false>>("SessionWithTwoWorkers", ONDREL_SESSIONS, ".session");
    register_files<WorkersSession<true>>("SessionWithEightWorkers", ONDREL_SESSIONS, ".session");
    register_files<Session>("Guide", ONDREL_DOCUMENTS, ".md");
    register_files<Document>("Document", ONDREL_DOCUMENTS, ".md");
    register_files<Example>("Example", ONDREL_EXAMPLES, ".ond");
    return true;
}();

}  // namespace
}  // namespace ondrel
