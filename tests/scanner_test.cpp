// The scanner through its one door, `fill`: on texts in memory and on streams that count what is taken from them.
#include "translator/scanner.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

#include "data/allocator.h"
#include "data/blocks.h"
#include "data/instructions.h"
#include "tests/evaluator.h"
#include "tests/process.h"
#include "translator/vocabulary.h"

namespace ondrel {
namespace {

using Cells = std::vector<std::string>;

std::string name_of(int instruction) {
    const auto i = static_cast<std::size_t>(instruction);
    return i < Instructions.size() ? std::string(Instructions[i].name) : "no instruction";
}

std::string describe_item(const DataElement& item) {
    std::ostringstream text;
    text.precision(17);
    if (item.marks & mark::hidden) text << "hidden ";
    switch (item.tag) {
        case tag::ascii: text << '\'' << static_cast<char>(item.ascii) << '\''; break;
        case tag::integer: text << item.integer; break;
        case tag::real: text << "real " << item.real; break;
        case tag::subarray: text << "nested"; break;
        default: text << "tag " << item.tag;
    }
    return text.str();
}

// What a cell is, in words: an operator with its instructions and its spelling, a name, or the items of a value.
std::string describe(const DataElement& cell) {
    if (cell.type == 0) return "END";
    if (cell.rank == kind::VARIABLE) return std::string("name ") + cell.text;
    if (cell.rank == kind::OPERATOR) {
        std::string text = name_of(cell.depth);
        if (cell.modifier != 0) text += '/' + name_of(cell.modifier);
        return text + ' ' + cell.text;
    }
    std::string text;
    for (std::uint32_t i = 0; i < cell.elements; ++i)
        text += (i == 0 ? "" : " ") + describe_item(item_at(cell.data_pointer, i));
    return text.empty() ? "empty" : text;
}

std::array<DataElement, sentence_cells> buffer;

Cells take_cells(int count) {
    Cells cells;
    for (int i = 0; i < count; ++i) cells.push_back(describe(buffer[static_cast<std::size_t>(i)]));
    if (count > 0) cleanup(buffer.data());
    return cells;
}

// One sentence of the text, and where the next begins.
Cells scan(const char*& text, Newline newline = Newline::blank) {
    return take_cells(fill(buffer.data(), &variables, nullptr, &text, newline));
}
Cells scan_one(const std::string& text, Newline newline = Newline::blank) {
    const char* position = text.c_str();
    return scan(position, newline);
}

class Scanner : public testing::Test {
protected:
    Evaluator tables_made;
#ifdef ONDREL_CHECKS
    const std::int64_t blocks = live_blocks;
    ~Scanner() override {
        tables_made.clear();
        EXPECT_EQ(live_blocks, blocks) << "blocks of a scanned sentence were not given back";
    }
#endif
};

// A stream that hands out a byte at a time and knows how many.
struct CountingStream {
    std::string text;
    std::size_t taken = 0;
    std::FILE* stream;

    explicit CountingStream(std::string bytes) : text(std::move(bytes)) {
        const auto read = [](void* self, char* into, std::size_t size) -> ssize_t {
            auto& from = *static_cast<CountingStream*>(self);
            if (from.taken == from.text.size() || size == 0) return 0;
            *into = from.text[from.taken++];
            return 1;
        };
        stream = fopencookie(this, "r", {.read = read, .write = nullptr, .seek = nullptr, .close = nullptr});
        std::setvbuf(stream, nullptr, _IONBF, 0);
    }
    CountingStream(const CountingStream&) = delete;
    CountingStream& operator=(const CountingStream&) = delete;
    ~CountingStream() { std::fclose(stream); }

    Cells scan(Newline newline = Newline::blank) {
        return take_cells(fill(buffer.data(), &variables, stream, nullptr, newline));
    }
};

// ---- what is taken from the input

TEST_F(Scanner, TakesNoByteMoreThanTheSentenceNeeds) {
    struct Case {
        const char* taken;
        bool line;
        std::size_t cells;
    };
    for (const auto& [taken, line, cells] : {Case{"1 2 + .\n", false, 4},
                                             {"1 2 + . ", false, 4},
                                             {"1 2 +\n\n\n.\n", false, 4},
                                             {"1 2 + END\n", false, 4},
                                             {"1 2 + END ", false, 4},
                                             {"DUP.\n", false, 2},
                                             {"1 .5 .\n", false, 3},
                                             {"'abc'.\n", false, 2},
                                             {"(1 (2 3)) .\n", false, 2},
                                             {"(1 2 3 4)[2 2].\n", false, 2},
                                             {"\"a comment.\n with . points\" .\n", false, 2},
                                             {"name.\n", false, 2},
                                             {"\x02 a quoted . name\x03.\n", false, 2},
                                             {".\n", false, 1},
                                             {"1 2 +\n", true, 4},
                                             {"(1 2)\n", true, 2},
                                             {"(1\n2)\n", true, 2},
                                             {"\"two\nlines\" 1\n", true, 3},
                                             {"DUP\n", true, 2},
                                             {"name\n", true, 2},
                                             {"1.\n", true, 2},
                                             {"\n", true, 1}}) {
        CountingStream stream(std::string(taken) + "~rest");
        EXPECT_EQ(stream.scan(line ? Newline::ends : Newline::blank).size(), cells) << taken;
        EXPECT_EQ(stream.taken, std::string_view(taken).size()) << taken;
        EXPECT_EQ(std::getc(stream.stream), '~') << taken;
    }
}

TEST_F(Scanner, LosesTheByteBehindASentenceEndUnlessItIsANewline) {
    for (const char* text : {"1 . + 2 .", "1 .\n+ 2 .", "1 END + 2 .", "1 END\n+ 2 .", "1 .++ 2 ."}) {
        const char* position = text;
        EXPECT_EQ(scan(position), (Cells{"1", "END"})) << text;
        EXPECT_EQ(scan(position), (Cells{"ADD +", "2", "END"})) << text;
        CountingStream stream(text);
        EXPECT_EQ(stream.scan(), (Cells{"1", "END"})) << text;
        EXPECT_EQ(stream.scan(), (Cells{"ADD +", "2", "END"})) << text;
    }
    const char* position = "1 .+ 2 .";
    scan(position);
    EXPECT_EQ(scan(position), (Cells{"2", "END"}));
    for (const char* const text : {"1 ENDS 2 .", "1 END32 ."}) {
        position = text;
        EXPECT_EQ(scan(position), (Cells{"1", "END"}));
        EXPECT_EQ(scan(position), (Cells{"2", "END"}));
        CountingStream stream(text);
        EXPECT_EQ(stream.scan(), (Cells{"1", "END"})) << text;
        EXPECT_EQ(stream.scan(), (Cells{"2", "END"})) << text;
    }
}

TEST_F(Scanner, StepsOnAtTheEndOfALineWhileStepping) {
    const Cells steps{"1", "2", "ENDPROCESS ", "END"};
    stepping = true;
    EXPECT_EQ(scan_one("1 2\n3 .", Newline::steps), steps);
    EXPECT_EQ(scan_one("\n3 .", Newline::steps), (Cells{"ENDPROCESS ", "END"}));
    EXPECT_EQ(scan_one("1 2 .\n3 .", Newline::steps), (Cells{"1", "2", "END"}));
    EXPECT_EQ(scan_one("1 RUN 2\n3 .", Newline::steps), (Cells{"1", "2", "3", "END"}));
    EXPECT_FALSE(stepping);
    EXPECT_EQ(scan_one("1 RUN\n2 .", Newline::steps), (Cells{"1", "RUN RUN", "2", "END"}));
    stepping = true;
    EXPECT_EQ(scan_one("1 BREAK 2\n3 .", Newline::steps), Cells{});
    EXPECT_FALSE(stepping);
}

TEST_F(Scanner, EndsTheLineOnlyInASentence) {
    EXPECT_EQ(scan_one("1\n2 .", Newline::ends), (Cells{"1", "END"}));
    EXPECT_EQ(scan_one("1\n2 ."), (Cells{"1", "2", "END"}));
    EXPECT_EQ(scan_one("(1\n2) 3\n4", Newline::ends), (Cells{"1 2", "3", "END"}));
    EXPECT_EQ(scan_one("('a\nb')  3\n4", Newline::ends), (Cells{"nested", "3", "END"}));
    EXPECT_EQ(scan_one("\"x\ny\" 3\n4", Newline::ends), (Cells{"NOOP/CONTEXT x\ny", "3", "END"}));
    EXPECT_EQ(scan_one("1 . 2\n", Newline::ends), (Cells{"1", "END"}));
}

TEST_F(Scanner, EndsAtANulEverywhereAndAtTheLastByteInMemoryOnly) {
    const std::string nul = std::string("1 ") + '\0' + " 2 .";
    EXPECT_EQ(scan_one(nul), (Cells{"1", "ENDPROCESS ", "END"}));
    EXPECT_EQ(CountingStream(nul).scan(), (Cells{"1", "ENDPROCESS ", "END"}));

    const char* position = "1 \xFF 2 .";
    const char* const ending = position + 2;
    EXPECT_EQ(scan(position), (Cells{"1", "ENDPROCESS ", "END"}));
    EXPECT_EQ(position, ending);
    EXPECT_EQ(CountingStream("1 \xFF 2 .").scan(), (Cells{"1", "name \xFF", "2", "END"}));
    EXPECT_EQ(CountingStream("'a\xFF' .").scan(), (Cells{"'a' '\xFF'", "END"}));
}

// ---- words

struct Word {
    std::string spelling;
    Cells cells;  // what it makes, behind the verb that it may rewrite
    bool rewrites;
    bool word_end;
};

std::string name_of(Instruction instruction) { return name_of(static_cast<int>(instruction)); }

std::string hidden(std::uint32_t tag, double value) {
    DataElement item{};
    item.head = make_head(tag, form::selector, mark::hidden);
    if (tag == tag::real)
        item.real = value;
    else
        item.integer = static_cast<std::int64_t>(value);
    return describe_item(item);
}

// The cells of every spelling of the rows that write instructions, as they would stand alone in a sentence.
std::vector<Word> words() {
    std::vector<Word> all;
    for (const TokenRow& row : sentence_rows) {
        Cells before, behind;
        if (row.action == TokenAction::selector)
            before = {hidden(tag::integer, row.value)};
        else if (row.action == TokenAction::exponent)
            before = {hidden(tag::real, row.value)};
        else if (row.action == TokenAction::pair)
            behind = {name_of(row.second) + ' '};
        else if (row.action != TokenAction::instruction && row.action != TokenAction::combine)
            continue;
        const bool rewrites = row.action == TokenAction::combine;
        const bool qualified = row.action == TokenAction::instruction && row.second != Instruction::NIHIL;
        std::istringstream spellings{std::string(row.spellings)};
        for (std::string spelling; std::getline(spellings, spelling, ' ');) {
            std::erase(spelling, '\t');
            Word word{spelling, before, rewrites, row.word_end};
            word.cells.push_back(name_of(row.instruction) +
                                 (rewrites    ? "/ADD + "
                                  : qualified ? '/' + name_of(row.second) + ' '
                                              : " ") +
                                 spelling);
            word.cells.insert(word.cells.end(), behind.begin(), behind.end());
            all.push_back(word);
        }
    }
    return all;
}

Cells with(Cells cells, std::initializer_list<const char*> more) {
    cells.insert(cells.end(), more.begin(), more.end());
    return cells;
}

bool is_plain_word(const std::string& spelling) {
    return spelling.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789") ==
           std::string::npos;
}

TEST_F(Scanner, ReadsEveryWordBeforeABlankAndBeforeAPoint) {
    ASSERT_GT(words().size(), 570U);
    for (const Word& word : words()) {
        const std::string before = word.rewrites ? "+ " : "";
        for (const char* behind : {" .", ".\n", "\n.", "\t.", " \"\".", "\r."}) {
            Cells expected = word.cells;
            if (std::string_view(behind) == " \"\".") expected.push_back("NOOP/CONTEXT ");
            expected.push_back("END");
            EXPECT_EQ(scan_one(before + word.spelling + behind), expected) << escaped(word.spelling + behind);
        }
    }
}

// Before a letter, a digit or _ a word is none, but for the few that need no word end.
TEST_F(Scanner, AsksForAWordEnd) {
    for (const Word& word : words()) {
        if (word.rewrites || word.spelling == "ENDPROCESS") continue;  // this begins with END, which ends the sentence
        for (const std::string behind : {"x", "_", "7"}) {
            if (word.spelling == "-" && behind == "7") continue;  // a number
            const std::string text = word.spelling + behind;
            const Cells cells = scan_one(text + " .");
            if (!word.word_end) {
                const std::string rest = behind == "7" ? "7" : "name " + behind;
                EXPECT_EQ(cells, with(word.cells, {rest.c_str(), "END"})) << escaped(text);
            } else if (is_plain_word(word.spelling)) {
                EXPECT_EQ(cells, (Cells{"name " + text, "END"})) << text;
            } else {
                EXPECT_NE(cells[0], word.cells[0]) << escaped(text);
            }
        }
    }
}

// The end of the input is no word end.
TEST_F(Scanner, ReadsAWordAtTheEndOfTheInputAsAName) {
    for (const Word& word : words()) {
        if (word.rewrites || word.spelling == "ENDPROCESS") continue;
        tables_made.clear();  // a name of this spelling would come before the word
        const Cells cells = scan_one(word.spelling);
        tables_made.clear();
        EXPECT_EQ(cells, CountingStream(word.spelling).scan()) << escaped(word.spelling);
        if (!word.word_end)
            EXPECT_EQ(cells, with(word.cells, {"ENDPROCESS ", "END"})) << escaped(word.spelling);
        else if (is_plain_word(word.spelling))
            EXPECT_EQ(cells, (Cells{"name " + word.spelling, "ENDPROCESS ", "END"})) << word.spelling;
        else
            EXPECT_NE(cells[0], word.cells[0]) << escaped(word.spelling);
    }
}

// Two words without a blank between them, where the grammar lets them meet: the longest word wins.
TEST_F(Scanner, PrefersTheLongestWord) {
    EXPECT_EQ(scan_one("*** ."), (Cells{"POWER **", "MULTIPLY *", "END"}));
    EXPECT_EQ(scan_one("~== ~= ~~ ~ ."), (Cells{"NOTIDENTICAL ~==", "NOTEQUIVALENT ~=", "WITHOUT ~~", "NOT ~", "END"}));
    EXPECT_EQ(scan_one("+ /// ."), (Cells{"REDUCE/ADD + //", "DIVIDE /", "END"}));
    EXPECT_EQ(scan_one("/../[] ."), (Cells{"REPLICATEAXIS /../[]", "END"}));
    EXPECT_EQ(scan_one("/... ."), (Cells{"DIVIDE /", "INTERVAL ..", "END"}));
    EXPECT_EQ(scan_one("vvalue ."), (Cells{"OR v", "OR v", "name alue", "END"}));
    EXPECT_EQ(scan_one(".][.] ."), (Cells{"DISPERSE/MARK .][.", "name ]", "END"}));
    EXPECT_EQ(scan_one("3-5 3 - 5 3 -5 ."), (Cells{"3", "-5", "3", "SUBTRACT -", "5", "3", "-5", "END"}));
    EXPECT_EQ(scan_one("1.5.5 .5. "), (Cells{"real 1.5", "real 0.5", "real 0.5", "END"}));
    EXPECT_EQ(scan_one("#SIN 1 # 2 ."), (Cells{"1", "1", "NOTEQUIVALENT #", "2", "END"}));
    EXPECT_EQ(scan_one("+ \xAB/ + \xAB/[] \xAB.\xAB ."),
              (Cells{"REDUCENWISE/ADD + \xAB/", "REDUCENWISEAXIS/ADD + \xAB/[]", "INNERPRODUCT \xAB.\xAB", "END"}));
}

TEST_F(Scanner, JoinsTheWordsOfADoubleName) {
    for (const char* gap : {"", " ", "\n", "\t", "  \n\t", "\"", "|", " | "}) {
        const std::string word = std::string("FIRST") + gap + "ELEMENT";
        EXPECT_EQ(scan_one(word + " ."), (Cells{"FIRST/FIRST " + word, "END"})) << word;
    }
    EXPECT_EQ(scan_one("FIRST ELEMENTS ."), (Cells{"FIRST FIRST", "name ELEMENTS", "END"}));
    EXPECT_EQ(scan_one("NEW SMALL CONTEXT ."), (Cells{"CONTEXT/SMALL NEW SMALL CONTEXT", "END"}));
    EXPECT_EQ(scan_one("LSB OPEN MSB OPEN ."), (Cells{"OPEN/SMALL LSB OPEN", "OPEN MSB OPEN", "END"}));
    EXPECT_EQ(scan_one("REDUCING REST EXACT MATCH ."),
              (Cells{"REST/REDUCE REDUCING REST", "MATCH/EXACT EXACT MATCH", "END"}));
}

// ---- limits

TEST_F(Scanner, RefusesASentenceOfMoreCellsThanTheBufferHas) {
    const auto ones = [](int n) {
        std::string text;
        for (int i = 0; i < n; ++i) text += "1 ";
        return text;
    };
    EXPECT_EQ(scan_one(ones(1022) + ".").size(), 1023U);
    EXPECT_EQ(scan_one(ones(1023) + ".").size(), 1024U);
    // The last of a word's cells is the one that does not fit.
    for (const std::string& text :
         {ones(1024) + ". 2 .", ones(5000) + ". 2 .", ones(1022) + "SQRT . 2 .", ones(1022) + "ROOT . 2 .",
          ones(1023) + "name . 2 .", ones(1023) + "'text' . 2 .", ones(1023) + "(1 (2 'abc')) . 2 ."}) {
        const char* position = text.c_str();
        testing::internal::CaptureStderr();
        const Cells cells = scan(position);
        const std::string errors = testing::internal::GetCapturedStderr();
        EXPECT_TRUE(cells.empty());
        const std::size_t first = errors.find("807 - programme storage full.");
        EXPECT_NE(first, std::string::npos);
        EXPECT_EQ(errors.find("807 - programme storage full.", first + 1), std::string::npos) << "said twice";
        EXPECT_EQ(scan(position), (Cells{"2", "END"}));
    }
    testing::internal::CaptureStderr();
    EXPECT_TRUE(scan_one(ones(1023)).empty()) << "ENDPROCESS has no cell left";
    testing::internal::GetCapturedStderr();
}

// Every construct that the scanner knows, cut off at every byte. Whatever stands open is closed or dropped.
TEST_F(Scanner, SurvivesTheEndOfTheInputAnywhere) {
    const std::string text =
        "1 -2.5e-3 \xAF\x37 1e400 #r1i-2 1j2k3 1l2o3 dr1p90 1q2 r1u3v4 0#01|1 `0#01000001` #PI -#SQRT2 #SIN T F #NIL "
        "'it''s `0#01000001` text'[2 3] 'a' '' (1 (2 'bc' (3.5 'd' '''' ''''))[3] 1i2 #PI)[2 -1] `(1 2 3) () (5) "
        "(1 2)[99999999999999999999] (1 2 3)[2 'x] + \\\\ 5 // FIRST | ELEMENT SQRT ROOT WRAP MASK REFLECT x "
        "plain_name a(b)c _scoped $local .inner \x02 any bytes . \x03 @address %label &3 \xB0\xAB\xB3 \"a comment\" "
        "\xBC another \xBC ?Y ?N : :: ; CHECK \xC6\x37 == ~== END";
    testing::internal::CaptureStderr();
    testing::internal::CaptureStdout();
    std::vector<std::string> wrong;
    for (std::size_t length = 0; length <= text.size(); ++length) {
        const std::string cut = text.substr(0, length);
        for (const bool in_memory : {true, false}) {
            CountingStream stream(cut);
            const char* position = cut.c_str();
            const int count = in_memory ? fill(buffer.data(), &variables, nullptr, &position)
                                        : fill(buffer.data(), &variables, stream.stream, nullptr);
            if (count == 0) continue;
            const DataElement& last = buffer[static_cast<std::size_t>(count - 1)];
            const bool ends = last.type == 0;
            const bool says_so = count >= 2 && (&last)[-1].rank == kind::OPERATOR &&
                                 (&last)[-1].depth == static_cast<std::int16_t>(Instruction::ENDPROCESS);
            const bool sentence_end = length == text.size() || cut.ends_with('.');
            if (!ends || !(says_so || sentence_end)) wrong.push_back(cut);
            cleanup(buffer.data());
        }
#ifdef ONDREL_CHECKS
        tables_made.clear();
        if (live_blocks != blocks) wrong.push_back("(blocks lost) " + cut);
        live_blocks = blocks;
#endif
    }
    testing::internal::GetCapturedStdout();
    testing::internal::GetCapturedStderr();
    EXPECT_TRUE(wrong.empty()) << wrong.size() << " cuts, the first: " << escaped(wrong.front());
    const char* next = "2 .";
    EXPECT_EQ(scan(next), (Cells{"2", "END"})) << "nothing of a cut sentence is left over";
}

}  // namespace
}  // namespace ondrel
