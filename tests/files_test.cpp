// Files, as the user of a program meets them: each test has a folder of its own, in which the program starts.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <sstream>
#include <thread>

#include "files/paths.h"
#include "tests/process.h"

namespace ondrel {
namespace {

namespace fs = std::filesystem;

void put(const fs::path& path, std::string_view text) { std::ofstream(path, std::ios::binary) << text; }

class Files : public testing::Test {
protected:
    Files() {
        fs::create_directories(folder / "inner");
        put(outside, "1 2 3");
        fs::create_symlink(outside, folder / "leak");
        fs::create_directory_symlink("..", folder / "up");
        fs::create_symlink("inner/target", folder / "link");
        fs::create_directory_symlink("inner", folder / "nearby");
    }
    ~Files() override { fs::remove_all(base); }

    // What the program prints of these sentences, without the time; it must end by itself.
    std::string run(std::string_view sentences, Launch launch = {}) const {
        launch.arguments.push_back("-q");
        launch.directory = folder;
        const Result result = run_program(sentences, launch);
        EXPECT_EQ(result.exit_code, 0) << result.output;
        EXPECT_FALSE(result.timed_out);
        return result.output.substr(0, result.output.find("--- Spent"));
    }
    // Whether the sentence says this number and ends there, also out of a function, and the prompt lives on.
    void expect_error(int number, const std::string& sentence, const Launch& launch = {}) const {
        const std::string said =
            run("CLEAR 1 2 : " + sentence + " ; ! 'went on' PRINT .\nCOUNTSTACK 'left' TELL PRINT .\n", launch);
        EXPECT_TRUE(contains(said, std::to_string(number) + " - ")) << sentence << ": " << said;
        EXPECT_TRUE(contains(said, "Exception processing:...") && !contains(said, "went on"))
            << sentence << ": " << said;
        EXPECT_TRUE(contains(said, "left")) << sentence << ": " << said;
    }
    std::size_t entries() const {
        return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
    }

    const fs::path base = fs::temp_directory_path() / ("ondrel" + std::to_string(getpid()));
    const fs::path folder = base / "folder", outside = base / "outside";
};

TEST(Paths, AreJudgedByTheirText) {
    for (const char* const allowed :
         {"a", "a/b", "a/../b", "a/b/../../c", "a//b", "./a", "..", "a/..", ".a/b", "...", "", "a/.../../b"})
        EXPECT_TRUE(checkpath(allowed)) << allowed;
    for (const char* const refused : {"/", "/a", "../b", "a/../../b", "./../b", "//a", ".a/../b", "a/../../a/b", "../"})
        EXPECT_FALSE(checkpath(refused)) << refused;

    const auto stays_below = [](const std::string& path) {
        std::istringstream components(path);
        int depth = path.starts_with('/') ? -1 : 0;
        for (std::string one; depth >= 0 && std::getline(components, one, '/') && !components.eof();)
            depth += one == ".." ? -1 : one.starts_with('.') || one.empty() ? 0 : 1;
        return depth >= 0;
    };
    std::vector<std::string> paths{""};  // of up to nine letters out of three
    for (std::size_t i = 0; paths[i].size() < 9; ++i)
        for (const char letter : {'a', '.', '/'}) paths.push_back(paths[i] + letter);
    for (const std::string& path : paths) EXPECT_EQ(checkpath(path.c_str()), stays_below(path)) << path;
}

TEST_F(Files, LinksDoNotLeadOut) {
    put(folder / "inner/target", "here");
    const fs::path before = fs::current_path();
    fs::current_path(folder);
    struct {
        const char* path;
        bool reached, by_steps;
    } const cases[]{{"inner/target", true, true},    {"inner/../inner/target", true, true},
                    {"./inner//target", true, true}, {"link", true, false},
                    {"nearby/target", true, false},  {"leak", false, false},
                    {"up/outside", false, false},    {"nearby/../../outside", false, false},
                    {"../outside", false, false},    {"inner/../..", false, false}};
    for (const auto& [path, reached, by_steps] : cases) {
        for (const bool steps : {false, true}) {
            errno = 0;
            const Descriptor opened = steps ? open_by_steps(path, O_RDONLY, 0) : open_beneath(path, O_RDONLY, 0);
            EXPECT_EQ(static_cast<bool>(opened), steps ? by_steps : reached) << path;
            if (!opened) {
                EXPECT_EQ(errno, EXDEV) << path;
            }
        }
    }
    fs::current_path(before);
}

// A folder and a link out of it change places all the time.
TEST_F(Files, AnExchangeMeanwhileLeadsNowhereElse) {
    put(folder / "inner/target", "here");
    fs::create_directories(base / "away");
    put(base / "away/target", "gone");
    fs::create_directory_symlink("../away", folder / "other");
    const fs::path before = fs::current_path();
    fs::current_path(folder);
    std::atomic<bool> over = false;
    std::thread exchange([&over] {
        while (!over) ASSERT_EQ(renameat2(AT_FDCWD, "inner", AT_FDCWD, "other", RENAME_EXCHANGE), 0);
    });
    for (const bool steps : {false, true}) {
        int reached = 0, refused = 0;
        for (int tries = 0; tries < 100'000 && (tries < 2'000 || reached == 0 || refused == 0); ++tries) {
            const Descriptor opened =
                steps ? open_by_steps("inner/target", O_RDONLY, 0) : open_beneath("inner/target", O_RDONLY, 0);
            char found[4] = "";
            ++(opened ? reached : refused);
            if (opened) {
                ASSERT_EQ(read(opened.get(), found, sizeof found), 4);
                ASSERT_EQ(std::string_view(found, 4), "here");
            }
        }
        EXPECT_GT(reached, 0);
        EXPECT_GT(refused, 0);
    }
    over = true;
    exchange.join();
    fs::current_path(before);
}

// What each verb says of a name that is no text, that is no vector, and of a file that cannot be had.
const struct {
    const char* verb;
    int no_text, no_vector, no_file;
    bool writes = false;
} verbs[]{{"READ", 701, 702, 710},
          {"TEXTREAD", 701, 702, 710},
          {"LOAD", 715, 716, 710},
          {"0 OPEN", 706, 707, 712},
          {"WRITE", 703, 704, 711, true},
          {"SAVE", 708, 709, 713, true},
          {"DUMPSTACK", 721, 722, 723, true},
          {"REMEMBER", 724, 725, 726, true},
          {"APPEND", 706, 707, 712, true},
          {"TEXTWRITE", 706, 707, 712, true},
          {"TEXTAPPEND", 706, 707, 712, true}};

TEST_F(Files, NamesThatAreNone) {
    for (const auto& [verb, no_text, no_vector, no_file, writes] : verbs) {
        const std::string name(verb);
        expect_error(no_text, "5 " + name);
        expect_error(no_text, "('a' 5) " + name);
        expect_error(no_vector, "'ab'[1 2] " + name);
        for (const char* const refused : {"'/etc/passwd' ", "'../outside' ", "'leak' ", "'up/outside' "})
            expect_error(720, refused + name);
        for (const char* const impossible : {"'inner' ", "'..' ", "'inner/..' ", "'nowhere/file' ", "'link/file' ",
                                             "'x'[10000] ", "('a' 'b')'ab' POP 0 ENASCII CATENATE "})
            expect_error(no_file, impossible + name);
    }
    EXPECT_EQ(contents(outside), "1 2 3");
    EXPECT_EQ(entries(), 5U) << "something was left behind";
}

TEST_F(Files, WhatIsNoUsualFile) {
    ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
    const int opened = open((folder / "pipe").c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_EQ(write(opened, "7 8 +\n", 6), 6);
    Process reader({.arguments = {"-q"}, .directory = folder});
    reader.send("'sent' PRINT 'pipe' READ PRINT .\n");
    EXPECT_TRUE(reader.wait_for("sent"));
    reader.listen(0.2 * time_scale);
    close(opened);
    reader.finish();
    EXPECT_TRUE(contains(reader.output, " 15")) << reader.output;

    Process waiting({.arguments = {"-q"}, .directory = folder});
    waiting.send("'sent' PRINT 'pipe' READ .\n");
    EXPECT_TRUE(waiting.wait_for("sent"));
    waiting.signal(SIGINT);
    waiting.send("'alive' PRINT .\n");
    waiting.finish();
    EXPECT_TRUE(contains(waiting.output, "alive")) << waiting.output;

    const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{.sun_family = AF_UNIX, .sun_path = "socket"};
    const fs::path before = fs::current_path();
    fs::current_path(folder);
    ASSERT_EQ(bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    fs::current_path(before);
    expect_error(710, "'socket' READ");
    expect_error(711, "'socket' WRITE");
    close(listener);

    const Launch anywhere{.arguments = {"-u"}};
    for (const auto& [verb, no_text, no_vector, no_file, writes] : verbs)
        for (const char* const path : {"/dev/full", "/proc/new", "/proc/version"})
            if (writes) expect_error(no_file, "'" + std::string(path) + "' " + verb, anywhere);
    EXPECT_EQ(run("'/dev/null' TEXTREAD SHAPE PRINT .\n", anywhere), " 0\n\n-\n\n");
}

TEST_F(Files, NoRoomAndNoHandles) {
    put(folder / "file", "old");
    put(folder / "other", "5");
    for (const auto& [verb, no_text, no_vector, no_file, writes] : verbs) {
        if (!writes) continue;
        expect_error(no_file, "(1 2 3)[40000] DUP @x SET 'file' " + std::string(verb), {.file_size = 8192});
        EXPECT_EQ(contents(folder / "file"), "old") << verb;
    }
    EXPECT_EQ(entries(), 7U) << "something was left behind";
    for (const auto& [verb, no_text, no_vector, no_file, writes] : verbs) {
        const std::string said = run("0 @f SET 100 : 'other' f OPEN @f SET ; REPEAT .\n1 'file' " + std::string(verb) +
                                         " .\nCLEAR 0 @f SET 'other' READ PRINT .\n",
                                     {.handles = 20});
        EXPECT_TRUE(contains(said, "712 - ")) << verb << said;
        EXPECT_TRUE(contains(said, std::to_string(no_file) + " - ")) << verb << said;
        EXPECT_TRUE(contains(said, " 5\n")) << verb << said;
        EXPECT_EQ(contents(folder / "file"), "old") << verb;
    }
}

TEST_F(Files, AnInterruptEndsWhatIsRead) {
    put(folder / "endless", "'sent' PRINT 2000000000 : ; REPEAT .");
    put(folder / "outer", "1 'endless' READ 2 .");
    Process reader({.arguments = {"-q"}, .directory = folder});
    for (int i = 0; i < 3; ++i) {
        reader.send("'outer' READ .\n");
        EXPECT_TRUE(reader.wait_for("sent"));
        reader.signal(SIGINT);
        reader.send("COUNTSTACK PRINT 'alive' PRINT .\n");
        EXPECT_TRUE(reader.wait_for("alive"));
    }
    reader.finish();
    EXPECT_EQ(reader.exit_code, 0) << reader.output;
}

TEST_F(Files, WriteAppendAndRead) {
    EXPECT_EQ(run("(1 2.5 'x' (3 4)) 'v' WRITE 'v' READ EXACTMATCH PRINT .\n"
                  "CLEAR 'one' 't' TEXTWRITE POP 'two' 't' TEXTAPPEND POP 't' TEXTREAD PRINT .\n"
                  "(1 2)[2 2] 't' TEXTWRITE POP 't' TEXTREAD PRINT 'it' 't' APPEND POP 't' TEXTREAD PRINT .\n"
                  "(1 2) '' WRITE PRINT .\n"),
              " T\n\n-\nonetwo\n\n-\n 1 2\n 1 2\n 1 2\n 1 2 'it'\n\n-\n ( 1 2 )\n 1 2\n\n-\n\n");
    put(folder / "empty", "");
    put(folder / "one", "x");
    put(folder / "bytes", std::string("a\0\xff\n'", 5));
    put(folder / "huge", "");
    fs::resize_file(folder / "huge", (std::uintmax_t{1} << 32) + 5);  // more than a value can hold
    expect_error(146, "'huge' TEXTREAD");
    EXPECT_EQ(run("'empty' TEXTREAD SHAPE PRINT 'one' TEXTREAD RANK PRINT 'bytes' TEXTREAD DEASCII PRINT .\n"),
              " 0\n 0\n 97 0 255 10 39\n\n-\n\n");
    put(folder / "program", "1 2 +\n'second' READ .\n\"a comment\" 4");
    put(folder / "second", "10 * .\n");
    EXPECT_EQ(run("'program' READ + PRINT .\n"), " 34\n\n-\n\n");
    put(folder / "failing", "5 (1 2) (1 2 3) + 'never' PRINT .\n");
    EXPECT_TRUE(contains(run("'failing' READ .\nCOUNTSTACK PRINT .\n"), "17 - "));
#ifdef ONDREL_CHECKS  // what the sentences of a file take, by the clock of tests, counts for READ, too
    put(folder / "counted", "1 2 + . 3 * .");
    const Launch timed{.arguments = {"-it"}, .environment = {"ONDREL_CLOCK=1"}, .directory = folder};
    EXPECT_TRUE(contains(run_program("'counted' READ .", timed).output, "READ:\t\t  0.167    op/S\t\t\t  12.000 S,"));
#endif
    put(folder / "circle", "'circle' READ .");
    EXPECT_TRUE(contains(run("'circle' READ .\n'alive' PRINT .\n", {.handles = 1000}), "alive"));
}

TEST_F(Files, StayOpenAsValues) {
    put(folder / "x", "1");
    put(folder / "y", "2");
    for (const char* const none : {"5", "()", "'x'", "(1 2)", ": ;", "@f", "'x' 0 OPEN 5 CATENATE", "((1 2) 3)"})
        for (const char* const verb : {" CLOSE", " REWIND"}) expect_error(727, none + std::string(verb));

    const std::string files = "'x' 5 OPEN @f SET f 'y' 'x' 0 OPEN OPEN CATENATE @g SET f g CATENATE ENCLOSE @h SET ";
    EXPECT_EQ(run(files + "f SHAPE PRINT g SHAPE PRINT f PRINT g PRINT f DISASSEMBLE PRINT .\n"),
              "\n 2\n ???\n ??? ???\n ???\n\n-\n\n");
    EXPECT_EQ(run(files + "h CLOSE f CLOSE h REWIND f 7 OPEN POP h 7 OPEN CLOSE COUNTSTACK PRINT .\n"), " 0\n\n-\n\n");
    EXPECT_EQ(run(files + "f f EXACTMATCH PRINT f 'x' 5 OPEN EXACTMATCH PRINT f f MATCH PRINT .\n"),
              " T\n F\n 1\n\n-\n\n");
    std::string told;
    for (const char* const name : {"f", "h", "g"})
        told += std::string("Left out, as it can not be saved: an open file in ") + name + '\n';
    EXPECT_EQ(run(files + "5 @n SET 'w' SAVE 'w' TEXTREAD PRINT .\n"), told + " 5 @\x02n\x03 SET\n.\n.\n\n\n-\n\n");

    // Each of these opens more than there are handles, and holds few.
    const Launch few{.handles = 24};
    for (const char* const holds_one :
         {"'x' 0 OPEN POP", "'x' 0 OPEN @f SET", "'x' 0 OPEN DUP CATENATE @f SET f CLOSE", "'x' 0 OPEN CLOSE",
          "'x' 0 OPEN ENCLOSE DUP @f SET 0 OPEN REWIND", "'x' 'y' 0 OPEN OPEN POP", "5 @f SET f 'x' 0 OPEN POP POP",
          "'x' 0 OPEN 1000 RESHAPE REVERSE POP"})
        EXPECT_EQ(run("100 : " + std::string(holds_one) + " ; REPEAT 'done' PRINT .\n", few), "done\n\n-\n\n");
    const std::string chain =
        run("0 @f SET 100 : 'x' f OPEN @f SET ; REPEAT .\n"
            "CLEAR 0 @f SET 'x' 0 OPEN @f SET 100000 : f CLOSE 'x' f OPEN @f SET ; REPEAT 0 @f SET .\n"
            "'x' READ PRINT .\n",
            few);
    EXPECT_TRUE(contains(chain, "712 - ")) << chain;
    EXPECT_TRUE(contains(chain, " 1\n")) << chain;

    Process gone({.arguments = {"-q"}, .directory = folder});
    gone.send("'x' 0 OPEN @f SET 'open' PRINT .\n");
    EXPECT_TRUE(gone.wait_for("open"));
    fs::remove(folder / "x");
    gone.send("f 5 OPEN .\nCOUNTSTACK PRINT f CLOSE f REWIND 'alive' PRINT .\n");
    gone.finish();
    EXPECT_TRUE(contains(gone.output, "712 - ")) << gone.output;
    EXPECT_TRUE(contains(gone.output, " 2\nalive")) << gone.output;
}

constexpr const char* workspace =
    "5 @x SET (1 2 (3 'four')) @deep SET 'text' @_t SET 1i2 @#odd SET 'abcdef'[2 3] @page SET\n"
    "VARS 2 DYADIC @&1 SET \"a comment\" &1 + DUP 3 > CHECK 'small' ?N ; OPERATOR @f SET\n"
    ": x 1 + @x SET ; OPERATOR @step SET 3l4 @o SET #PI @circle SET () @none SET @unset POP\n";

TEST_F(Files, AWorkspaceComesBackByteForByte) {
    const std::string made = run(std::string(workspace) + "CLEAR (1 2) 'three' 4.5 'first' SAVE .\n");
    run("99 @x SET 1 2 3 'first' LOAD 'second' SAVE .\n");
    const std::string uses = " LOAD . step x PRINT deep PRINT 2 9 f PRINT .\n";
    EXPECT_EQ(run("'first'" + uses), run("'second'" + uses));
    EXPECT_TRUE(contains(run("'first'" + uses), " 6\n 1 2  ( 3 'four' ) \n 11\n"));
    EXPECT_NE(contents(folder / "first"), "") << made;
    EXPECT_EQ(contents(folder / "first"), contents(folder / "second"));
    // Two names that fall into one bucket, each of which is made while the other's function is read.
    run(": speed7 ; @amount SET : amount ; @speed7 SET 'first' SAVE 'first' LOAD 'second' SAVE .\n");
    EXPECT_TRUE(contains(contents(folder / "first"), "amount ;"));
    EXPECT_EQ(contents(folder / "first"), contents(folder / "second"));
    put(folder / "nothing", "");
    EXPECT_TRUE(contains(run("5 @x SET 1 2 'nothing' LOAD COUNTSTACK PRINT x .\n"), "23 - "));
}

// Names that are spelled like the words that a workspace is told with.
TEST_F(Files, AWorkspaceKeepsTheSystemsWords) {
    const std::string words[]{"SUM",     "+",           "SET", "AT", "ENASCII", "OPERATOR",
                              "MONADIC", "NEW CONTEXT", "?Y",  ";",  "WRAP"};
    std::string sentences =
        "MONADIC DUP SUM SWAP 0 CHECK RETURN ?Y + // + 'no' ?Y ; OPERATOR @f SET .\n"
        ": NEW CONTEXT (1 2 3) (1 1 1) MONADIC SUM ; WRAP MASK ; OPERATOR @g SET .\n";
    for (const std::string& word : words) sentences += "7 '" + word + "' :: AT :: SET .\n";
    sentences += "8 '$x' :: AT :: SET '.y' :: AT @place :: SET .\n";
    const std::string uses = "(1 2 3) f :: PRINT g :: PRINT '$x' GET :: PRINT 9 place :: SET '.y' GET :: PRINT .\n";
    run(sentences + "'first' SAVE .\n");
    const std::string said = run("'first' LOAD .\n" + uses + "'.y' FORGET 'second' SAVE .\n");
    EXPECT_TRUE(contains(said, " 12\n 6 6 6\n 8\n 9\n")) << said;
    EXPECT_EQ(contents(folder / "first"), contents(folder / "second"));
    put(folder / "inside", ": (1 2 3) SUM ; OPERATOR @a SET : (1 2 3) SUM ; OPERATOR @b SET 7 @\x02$SUM\x03 SET .\n");
    run(": NEW CONTEXT 'inside' READ 'third' SAVE ; ! .\n");
    EXPECT_EQ(run("'third' LOAD .\na PRINT b PRINT .\n"), "\n-\n 6\n 6\n\n-\n\n");
    EXPECT_TRUE(contains(run("'first' LOAD .\n'+' GET 'OPERATOR' GET :: + :: PRINT .\n"), " 14\n"));
}

TEST_F(Files, AStackComesBackWhole) {
    put(folder / "x", "1");
    const std::string deep = "[. 1 2 .] 300 : [. SWAP 7 .] ; REPEAT ";
    const struct {
        std::string values, above;
    } cases[]{{"5 'text' :: [. 1 2 (3 4) :: [. ", ".] ,"}, {"2000 : 7 ; REPEAT ", "COUNTSTACK"}, {"50 3 ", "+"}};
    for (const auto& [values, above] : cases) {
        const std::string height = "COUNTSTACK 'high' TELL PRINT " + above + " 'top' TELL PRINT .\n";
        const std::string before = run(values + height), after = run(values + "'w' SAVE CLEAR 'w' LOAD .\n" + height);
        EXPECT_TRUE(contains(before, "high") && contains(before, "top")) << before;
        EXPECT_EQ(before.substr(before.find("high")), after.substr(after.find("high"))) << values;
    }
    // An open file leaves its place, and says so; what nests deeper than any literal comes back too.
    const std::string file = run("50 'x' 0 OPEN 3 'w' SAVE CLEAR 'w' LOAD .\nCOUNTSTACK PRINT + + PRINT .\n");
    EXPECT_TRUE(contains(file, " 3\n 53\n") && contains(file, ": an open file in element 2 of the stack\n")) << file;
    EXPECT_EQ(run("4 @b SET " + deep + "@a SET 5 @c SET 1 2 'w' SAVE CLEAR 'w' LOAD .\na DEPTH b c + + + + PRINT .\n"),
              "\n\n 2 312\n\n-\n\n");
    // Sentences end by cells: many verbs, names that are told by codes, bodies that fill their room.
    const auto many = [](int n, const auto& sentence) {
        std::string text;
        for (int i = 0; i < n; ++i) text += sentence(std::to_string(i)) + " .\n";
        return text;
    };
    std::string body;
    for (int i = 0; i < 1020; ++i) body += " 1";
    const std::string full = many(600, [](const std::string& i) { return ": 1 ; OPERATOR @run" + i + " SET"; }) +
                             many(300, [](const std::string& i) { return i + " '.name" + i + "' AT SET"; }) +
                             many(9, [&](const std::string& i) { return ":" + body + " ; @body" + i + " SET"; });
    const std::string came =
        run(full + "'w' SAVE WIPE 'w' LOAD run599 '.name299' GET + PRINT body8 ! COUNTSTACK PRINT .\n");
    EXPECT_TRUE(contains(came, " 300\n") && contains(came, " 1020\n")) << came;
    // Names of two tables, neither of which fills a sentence by itself.
    std::string names;
    for (int i = 0; i < 200; ++i) names += "1 @a" + std::to_string(i) + " SET 2 @$b" + std::to_string(i) + " SET .\n";
    put(folder / "names", names);
    EXPECT_TRUE(
        contains(run(": NEW CONTEXT 'names' READ 'w' SAVE ; ! .\n'w' LOAD .\na199 b199 + b0 + PRINT .\n"), " 5\n"));
}

// A shadowed name gives way to the one that is in force; what RESULT keeps is no name, and goes along if it is small.
TEST_F(Files, WhatASaveTells) {
    put(folder / "inside", "5 @\x02$x\x03 SET 'w' SAVE .");
    EXPECT_TRUE(contains(run("4 @x SET : NEW CONTEXT 'inside' READ ; ! .\n'w' LOAD x PRINT .\n"), " 5\n"));
    const std::string memory = "2 MONADIC 7 * ; RESULT 100 MONADIC 1000 RESHAPE ; RESULT CLEAR 6 @x SET ";
    EXPECT_EQ(run(memory + "VARIABLES PRINT 'w' SAVE WIPE 'w' LOAD VARIABLES SHAPE PRINT .\n"), " 'x'\n 2\n\n-\n\n");
    EXPECT_TRUE(contains(contents(folder / "w"), " 14 @\x02"));
    for (const char* const listed : {"T", "#PI", "#NIL", "1p2 2p3 ..]", "[.", "'a' ATOM"})
        EXPECT_EQ(run(std::string(listed) + " 'w' WRITE 'w' APPEND 'w' APPEND CLEAR 'w' READ COUNTSTACK PRINT .\n")
                      .substr(0, 3),
                  " 3\n")
            << listed << contents(folder / "w");
}

TEST_F(Files, NamesOfAnyBytesComeBack) {
    constexpr int special[]{0, 2, 3, 10, 16, 34, 36, 37, 39, 46, 59, 64, 95, 96};
    std::mt19937 random(9);
    std::string names, made, read;
    for (int i = 0; i < 400; ++i) {
        std::string name = "(";
        for (std::size_t k = 0; k < 1 + random() % 6; ++k)
            name += ' ' + std::to_string(random() % 2 ? special[random() % std::size(special)] : 1 + random() % 255);
        name += " 90 ) ENASCII ";
        made += std::to_string(i) + ' ' + name + "AT SET .\n";
        read += name + "GET TELL ";
        if (i % 50 == 49) read += ".\n";
    }
    const std::string before = run(made + "'one' SAVE .\n'' PRINT 'read' PRINT .\n" + read);
    const std::string after = run("'one' LOAD 'two' SAVE .\n'' PRINT 'read' PRINT .\n" + read);
    const auto behind = [](const std::string& said) { return said.substr(said.find("read")); };
    EXPECT_EQ(behind(before), behind(after));
    EXPECT_EQ(contents(folder / "one"), contents(folder / "two"));
}

// Cut anywhere, or with bytes changed: something is read, and the prompt lives.
TEST_F(Files, ADamagedWorkspaceDoesNoHarm) {
    run(std::string(workspace) + "CLEAR (1 2) 'three' 'whole' SAVE .\n");
    const std::string whole = contents(folder / "whole");
    ASSERT_GT(whole.size(), 100U);
    std::mt19937 random(3);
    int files = 0;
    const auto damage = [&](const std::string& text) { put(folder / ("damaged" + std::to_string(files++)), text); };
    for (std::size_t i = 0; i < whole.size(); ++i) damage(whole.substr(0, i));
    for (int i = 0; i < 2000; ++i) {
        std::string damaged = whole;
        for (int k = 0; k < 1 + i % 9; ++k) damaged[random() % damaged.size()] = static_cast<char>(random());
        damage(damaged);
    }
    // What is read may wait for what is typed, and end the process: the next one goes on behind it.
    int processes = 0;
    for (int next = 0; next < files && !HasFailure(); ++processes) {
        std::string sentences;
        for (int i = next; i < files; ++i)
            sentences +=
                "CLEAR 'damaged" + std::to_string(i) + "' LOAD .\nCLEAR '<" + std::to_string(i) + ">' PRINT .\n";
        const Result result = run_program(sentences, {.arguments = {"-q"}, .directory = folder});
        EXPECT_EQ(result.exit_code, 0);
        EXPECT_FALSE(result.timed_out);
        const std::size_t last = result.output.rfind('<');
        const int reached = last == result.output.npos ? next : std::atoi(result.output.c_str() + last + 1);
        next = reached + 1;
    }
    EXPECT_LT(processes, 20);
}

// Killed at any moment, a save leaves the old file or the new one, whole.
TEST_F(Files, ASaveThatIsKilledLosesNothing) {
    const std::string fills = "CLEAR (1 2 3)[3000] @a SET (4 5)[2000] @b SET ";
    run(fills + "1 'state' SAVE .\n");
    const std::string one = contents(folder / "state");
    run(fills + "2 'state' SAVE .\n");
    const std::string two = contents(folder / "state");
    ASSERT_NE(one, two);
    std::mt19937 random(11);
    constexpr int tries = 40;
    for (int i = 0; i < tries; ++i) {
        Process saving({.arguments = {"-q"}, .directory = folder});
        saving.send(fills + "\n" + "1000 : CLEAR 1 'state' SAVE CLEAR 2 'state' SAVE ; REPEAT .\n");
        usleep(static_cast<useconds_t>(random() % static_cast<unsigned>(10000 * time_scale)));
        saving.signal(SIGKILL);
        saving.finish();
        const std::string left = contents(folder / "state");
        EXPECT_TRUE(left == one || left == two) << "cut to " << left.size() << " bytes";
    }
    // What was left in between goes with the next save, but for what a living process has in hand.
    for (const char* const name : {".ondrel-0123abcd", ".ondrel-89abcdef", ".ondrel-of a user"}) put(folder / name, "");
    const int held = open((folder / ".ondrel-89abcdef").c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_EQ(flock(held, LOCK_EX), 0);
    run("3 'state' SAVE .\n");
    close(held);
    EXPECT_EQ(entries(), 8U);
}

// A sentence that fails, in whatever way, costs what it would have made, and nothing behind it.
TEST_F(Files, AWorkspaceComesBackAroundWhatFails) {
    const std::string in_verbs = "(1 2) (1 2 3) + @lost SET .\n7 'x' RESHAPE .\n'nowhere' READ .\n5 6 'x' EACH .\n";
    put(folder / "w", "1 @a SET .\nundefined .\n2 @b SET .\n" + std::string(9999, '+') + " .\n10 .\n20 .\n");
    put(folder / "v", "1 @a SET .\n" + in_verbs + "2 @b SET .\n30 .\n1i2j3k4 4000000000 RESHAPE .\n" + in_verbs + "40");
    const std::string uses = " LOAD 'went on' PRINT .\nCOUNTSTACK PRINT a b + PRINT PRINT PRINT .\n";
    const std::string after_w = run("9 @old SET 5 'w'" + uses), after_v = run("'v'" + uses);
    const std::string told = "The file was not loaded whole: 2 names and 2 stack elements came back.\n";
    EXPECT_TRUE(contains(after_w, told + "went on\n\n\n 20 2\n 3\n 20\n 10\n")) << after_w;
    EXPECT_TRUE(contains(after_v, told + "\nException processing:... 2\n 3\n 40\n 30\n")) << after_v;
    // In a function its stack goes with it; a LOAD within is a part of the sentence that asks for it.
    put(folder / "circle", "6 @c SET . 'circle' LOAD . 'circle' READ . 7 @d SET .");
    const std::string said =
        run(": 'v' LOAD ; ! .\na b + PRINT COUNTSTACK PRINT .\n'circle' LOAD .\nd PRINT .\n", {.handles = 99});
    EXPECT_TRUE(contains(said, "2 names and 0 stack elements") && contains(said, " 3\n 0\n")) << said;
    EXPECT_TRUE(contains(said, "2 names and 0 stack elements came back.\n\nException") && contains(said, " 7\n"));
    EXPECT_TRUE(contains(run("'v' READ .\nCOUNTSTACK PRINT a PRINT b .\n"), " 0\n 1\n\n23 - ")) << "a program ends";
    // An interrupt ends it, and so do a byte that ends every text, and a file that cannot be read.
    put(folder / "endless", "1 @a SET . 2 . 'sent' PRINT 2000000000 : ; REPEAT .");
    Process reader({.arguments = {"-q"}, .directory = folder});
    reader.send("'endless' LOAD .\n");
    EXPECT_TRUE(reader.wait_for("sent"));
    reader.signal(SIGINT);
    EXPECT_TRUE(reader.wait_for("loaded whole: 1 names and 1 stack elements came back.\n")) << reader.output;
    put(folder / "cut", std::string("1 @a SET .\n\0 2 @b SET .", 24));
    EXPECT_TRUE(contains(run("'cut' LOAD .\n"), "loaded whole: "));
    for (const char* const verb : {" READ", " TEXTREAD", " LOAD"})
        expect_error(710, "'/proc/self/mem'" + std::string(verb), {.arguments = {"-u"}});
}

// What the process has open itself is written as it stands, in the order of all that goes there.
TEST_F(Files, WhatIsOpenIsWrittenDirectly) {
    for (const bool to_file : {false, true})
        for (const char* const path : {"/dev/stdout", "/dev/fd/1", "/proc/self/fd/1", "/dev/stderr"}) {
            Launch launch{.arguments = {"-u"}};
            const int file = open((folder / "out").c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
            if (to_file) launch.output = launch.error = file;
            const std::string to = "'" + std::string(path) + "' ";
            const std::string said = run("'a' PRINT 5 " + to + "SAVE " + to + "TEXTAPPEND 'b' PRINT .\n", launch);
            EXPECT_TRUE((to_file ? contents(folder / "out") : said).starts_with("a\n.\n 5\n.\n 5b\n")) << path << said;
            close(file);
        }
    expect_error(713, "5 '/dev/fd/0' SAVE", {.arguments = {"-u"}});
}

TEST_F(Files, AFileKeepsItsLinkAndItsPermissions) {
    put(folder / "inner/target", "old");
    ASSERT_EQ(chmod((folder / "inner/target").c_str(), 0640), 0);
    run("7 'link' WRITE .\n");
    EXPECT_TRUE(fs::is_symlink(folder / "link"));
    EXPECT_EQ(contents(folder / "inner/target"), " 7\n");
    EXPECT_EQ(fs::status(folder / "inner/target").permissions(), fs::perms(0640));
    // A superuser can give a new file away. Others write into one that is another's, or whose folder takes no new one.
    const std::string target = folder / "inner/target";
    const bool is_superuser = geteuid() == 0;
    for (const mode_t of_folder : {0777, 0555})
        for (const char* const value : {"(1 2)[100000]", "5"})
            for (const uid_t user : {65534, 0}) {
                ASSERT_TRUE(!is_superuser || chown(target.c_str(), 12345, 23456) == 0);
                ASSERT_EQ(chmod(target.c_str(), 0646), 0);
                ASSERT_EQ(chmod((folder / "inner").c_str(), of_folder), 0);
                struct stat before {};
                ASSERT_EQ(stat(target.c_str(), &before), 0);
                const std::string sentence = std::string(value) + " 'link' SAVE CLEAR 'link' LOAD 1 RESHAPE PRINT .\n";
                const std::string said = run(sentence, {.user = is_superuser ? user : 0});
                EXPECT_TRUE(said.starts_with(*value == '5' ? " 5\n" : " 1\n")) << escaped(said);
                struct stat after {};
                ASSERT_EQ(stat(target.c_str(), &after), 0);
                EXPECT_TRUE(after.st_uid == before.st_uid && after.st_gid == before.st_gid) << user << of_folder;
                EXPECT_EQ(after.st_mode, before.st_mode);
            }
    ASSERT_EQ(chmod((folder / "inner").c_str(), 0755), 0);
    fs::remove(folder / "inner/target");
    run("8 'link' WRITE .\n");  // a link to what is not there yet
    EXPECT_EQ(contents(folder / "inner/target"), " 8\n");
    // The text of a link is the kernel's to judge: a hidden folder counts for nothing in that of a path.
    fs::create_directory(folder / ".hidden");
    fs::create_symlink("../inner/target", folder / ".hidden/link");
    run("9 '.hidden/link' WRITE .\n");
    EXPECT_EQ(contents(folder / "inner/target"), " 9\n");
    // No more files can be opened, and then again.
    const std::string said =
        run("'held' 'x' TEXTWRITE CLEAR 300 : 1 'x' WRITE 'x' READ POP POP ; REPEAT 'x' READ PRINT .\n");
    EXPECT_TRUE(contains(said, " 1\n")) << said;
}

}  // namespace
}  // namespace ondrel
