// The page of all words is what the tables say, and what it says of the verbs is what they do.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <vector>

#include "data/messages.h"
#include "tests/evaluator.h"
#include "tests/process.h"

namespace ondrel {
namespace {

TEST(ReferencePage, IsWhatTheTablesSay) {
    Process writer({}, ONDREL_REFERENCE);
    writer.finish();
    EXPECT_EQ(writer.output, contents(ONDREL_DOCUMENTS "/reference.md")) << "script/reference makes it anew";
}

struct Verb {
    std::string word;
    std::vector<std::string> takes, leaves;
    std::set<int> messages;
};

std::vector<std::string> words_of(const std::string& text) {
    std::istringstream words(text);
    return {std::istream_iterator<std::string>(words), {}};
}

std::vector<Verb> verbs_of_the_page() {
    std::vector<Verb> verbs;
    std::ifstream page(ONDREL_DOCUMENTS "/reference.md");
    const std::regex row(R"(^\| `([A-Z0-9_ ]+)` \| .* \| ([^|]*)-- ?([^|]*) \| ([0-9 ]*) \| ([^|]*) \|$)");
    for (std::string line; std::getline(page, line);) {
        std::smatch found;
        if (!std::regex_match(line, found, row)) continue;
        const std::string note = found[5];
        Verb verb{
            (note.ends_with("verb before") ? "+ " : "") + found[1].str(), words_of(found[2]), words_of(found[3]), {}};
        for (const std::string& number : words_of(found[4])) verb.messages.insert(std::stoi(number));
        verbs.push_back(verb);
    }
    return verbs;
}

// Not those that read what is typed, end the process, wait, or change what the tests after them find.
const std::set<std::string> left_out{"INPUT",    "QUOTEDIN", "ENDPROCESS", "SLEEP", "EDIT",   "TEXTEDIT", "TRACE",
                                     "TRACEALL", "STEP",     "STEPALL",    "RUN",   "RUNALL", "PARALLEL", "SERIAL",
                                     "JUMP",     "RETURN",   "WIPE",       "SEED",  "YIELD",  "YIELDTO"};

// Of each kind something, but names that files could have.
const std::vector<std::string> operands{"0",
                                        "-3",
                                        "0.5",
                                        "2i1",
                                        "'/out'",
                                        "()",
                                        "(1 0 1)",
                                        "((1 2) (3 'x'))",
                                        "(1 2 3 4)[2 2]",
                                        "'abcd'[2 2]",
                                        "MONADIC 1 + ;",
                                        "@somewhere",
                                        "(1 2) ENCLOSE",
                                        "T"};

std::vector<std::string> choices(const std::vector<std::string>& takes) {
    std::vector<std::string> all{""};
    for (std::size_t i = 0; i < takes.size(); ++i) {
        std::vector<std::string> longer;
        for (const std::string& before : all)
            for (std::size_t k = 0; k<operands.size(); k += takes.size()> 2 ? 3 : 1)
                longer.push_back(before + operands[k] + " ");
        all = longer;
    }
    return all;
}

TEST(ReferencePage, IsWhatTheVerbsDo) {
    std::map<std::string, int> numbers;
    for (int number = 0; number < 2000; ++number) numbers.emplace(errors(number), number);
    const std::set<int> of_any{27, 200, 800, 806}, of_what_is_run{17, 23, 994};
    const std::regex height("<< ([0-9]+)>>");
    std::size_t checked = 0;
    Evaluator evaluator;
    for (const Verb& verb : verbs_of_the_page()) {
        if (left_out.contains(verb.word)) continue;
        const auto any = [](const std::vector<std::string>& values) {
            return std::ranges::find(values, "...") != values.end();
        };
        // DUMPSTACK leaves a name that is empty.
        const bool counts = !any(verb.takes) && !any(verb.leaves) && verb.word != "DUMPSTACK";
        const bool runs = any(verb.leaves) || std::ranges::find(verb.takes, "function") != verb.takes.end();
        const std::string expected = std::to_string(1 + verb.leaves.size());
        std::string sentences;
        for (const std::string& choice : choices(verb.takes))
            sentences += "CLEAR 'below' " + choice + verb.word + " COUNTSTACK '<<' TELL TELL '>>' TELL .\n";
        const std::string said = evaluator.run(sentences);
        std::istringstream lines(said);
        for (std::string line; std::getline(lines, line);)
            if (const auto found = numbers.find(line); found != numbers.end()) {
                EXPECT_TRUE(of_any.contains(found->second) || verb.messages.contains(found->second) ||
                            (runs && of_what_is_run.contains(found->second)))
                    << verb.word << " says " << line;
            }
        const auto ends = std::sregex_iterator(said.begin(), said.end(), height);
        for (auto end = ends; counts && end != std::sregex_iterator(); ++end, ++checked)
            ASSERT_EQ((*end)[1], expected) << verb.word;
        evaluator.clear();
    }
    EXPECT_GT(checked, 1000U);
}

}  // namespace
}  // namespace ondrel
