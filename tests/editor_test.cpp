// EDIT and TEXTEDIT, with scripts in the editor's place.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "tests/process.h"

namespace ondrel {
namespace {

namespace fs = std::filesystem;

// A folder with an editor in it that runs the commands, the file's name in $1; gone with the object.
class Editor {
public:
    explicit Editor(const std::string& commands) {
        char name[] = "/tmp/editor_testXXXXXX";
        folder = mkdtemp(name);
        std::ofstream(script()) << "#!/bin/sh\n" << commands << '\n';
        fs::permissions(script(), fs::perms::owner_all);
    }
    Editor(const Editor&) = delete;
    Editor& operator=(const Editor&) = delete;
    ~Editor() { fs::remove_all(folder); }

    fs::path script() const { return folder / "editor"; }
    fs::path path(const char* name) const { return folder / name; }
    std::string directory() const { return folder.string(); }
    std::string read(const char* name) const {
        std::ifstream file(path(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    // What the sentences print, of a program that has this editor.
    std::string run(const std::string& input) const {
        const Launch launch{.arguments = {"-q"}, .environment = {"EDITOR=" + script().string()}};
        const Result result = run_program(input, launch);
        EXPECT_EQ(result.exit_code, 0) << result.output;
        EXPECT_FALSE(contains(result.output, "not given back")) << result.output;
        return result.output.substr(0, result.output.rfind("\n--- Spent"));
    }

private:
    fs::path folder;
};

TEST(Edit, TakesTheTextThatTheEditorLeft) {
    EXPECT_EQ(Editor("echo new text > $1").run("'old' TEXTEDIT ."), "\n\nnew text");
    EXPECT_EQ(Editor("tr a-z A-Z < $1 > $1.new; echo >> $1.new; mv $1.new $1").run("'two\nlines' TEXTEDIT ."),
              "\n\nTWO\nLINES");
    EXPECT_EQ(Editor("echo a > $1").run("TEXTEDIT 'abc' = ."), "\n\n T F F") << "one character is a scalar";
    EXPECT_EQ(Editor("echo > $1").run("'old' TEXTEDIT 1 2 + ."), "\n\n 3");
    EXPECT_EQ(Editor(": > $1").run("7 'old' TEXTEDIT POP ."), "\n\n 7");
    EXPECT_EQ(Editor("printf 'a\\000\\377b\\n' > $1").run("TEXTEDIT 'b' = ."), "\n\n F F F T");
}

TEST(Edit, ShowsTheValueAsItIsAskedFor) {
    const Editor editor("cp $1 $(dirname $0)/shown");
    EXPECT_EQ(editor.run("(1 2.5 (3 'x')) TEXTEDIT ."), "\n\n 1 2.5 ( 3 'x' ");
    EXPECT_EQ(editor.read("shown"), " 1 2.5 ( 3 'x' )");
    EXPECT_EQ(editor.run("(1 2.5 (3 'x')) EDIT ."), "\n\n 1 2.5 ( 3 'x' )");
    EXPECT_EQ(editor.read("shown"), " ( 1 2.5 ( 3 'x' ) )");
    EXPECT_EQ(editor.run("EDIT ."), "\n-\n");
    EXPECT_EQ(editor.read("shown"), "");
}

TEST(Edit, EvaluatesWhatTheEditorLeft) {
    EXPECT_EQ(Editor("echo '1 2 + . 10 * .' > $1").run("5 'old' EDIT ."), "\n\n 30");
    EXPECT_EQ(Editor("echo '7 @x SET . x x' > $1").run("EDIT * ."), "\n\n 49") << "the last sentence has no point";
    EXPECT_EQ(Editor("sed 's/1/100/' $1 > $1.new; mv $1.new $1").run("MONADIC 1 + ; EDIT @f SET 5 f EXECUTE ."),
              "\n\n 105");
    EXPECT_EQ(Editor("echo '1 2 3' > $1").run("VARS 1 MONADIC @&1 SET EDIT &1 ; OPERATOR @g SET 9 g COLLECT ."),
              "\n\n 1 2 3 9")
        << "in the frame of the function";
    const std::string wrong = Editor("echo 'undefined 1 . 2 3 + .' > $1").run("EDIT 40 + .");
    EXPECT_TRUE(contains(wrong, "23 - this name has no meaning yet.")) << wrong;
    EXPECT_TRUE(wrong.ends_with("\n\n 45")) << wrong << "the sentences behind a mistake run";
}

TEST(Edit, KeepsAValueThatHasNotBeenEdited) {
    const Editor editor("");
    const Launch launch{.arguments = {"-q"}, .environment = {"EDITOR=:"}, .directory = editor.directory()};
    EXPECT_TRUE(run_program("7 'editor' 0 OPEN EDIT CLOSE .", launch).output.starts_with("\n\n 7\n"));
}

TEST(Edit, ComesBackWhateverTheEditorDoes) {
    for (const char* commands : {"rm $1", "rm $1; mkdir $1.x; mv $1.x $1; kill -9 $$"}) {
        const std::string output = Editor(commands).run("'kept' TEXTEDIT . .");
        EXPECT_TRUE(output.ends_with("\n\nkept")) << commands << output;
    }
    EXPECT_TRUE(contains(Editor("rm $1").run("'kept' EDIT ."), "710 - cannot open the file to READ."));
    EXPECT_TRUE(Editor("kill -9 $$").run("'kept' TEXTEDIT .").ends_with("\n\nkept"));
    EXPECT_EQ(Editor("kill -INT $PPID; exit 3").run("'kept' TEXTEDIT ."), "\n\nkept");
    const Result none =
        run_program("'kept' TEXTEDIT .", {.arguments = {"-q"}, .environment = {"EDITOR=/no/such/editor"}});
    EXPECT_TRUE(contains(none.output, "\n\nkept\n")) << none.output;
}

// An editor at a terminal has it to itself, an interrupt too.
TEST(Edit, LendsTheTerminalToTheEditor) {
    const Editor editor("trap 'echo edited > $1; exit' INT; echo ready; while :; do sleep 0.01; done");
    Process process({.environment = {"EDITOR=" + editor.script().string()}, .terminal = true});
    process.send("'draft' TEXTEDIT .\n");
    ASSERT_TRUE(process.wait_for("ready")) << process.output;
    process.send("\x03");
    EXPECT_TRUE(process.wait_for("\r\n\r\nedited\r\n\r\nOndrel [1]> ")) << process.output;
    process.send("\x04");
    process.finish();
    EXPECT_EQ(process.exit_code, 0);
}

// Its name cannot be foreseen, nobody else may read it, and it is gone afterwards.
TEST(Edit, KeepsTheFileToItself) {
    const Editor editor("stat -c %a $1 >> $(dirname $0)/modes; echo $1 >> $(dirname $0)/names; echo x > $1");
    editor.run("'a' TEXTEDIT TEXTEDIT . undefined EDIT .");
    EXPECT_EQ(editor.read("modes"), "600\n600\n");
    std::istringstream names(editor.read("names"));
    std::string first, second;
    names >> first >> second;
    EXPECT_NE(first, second);
    for (const std::string& name : {first, second}) {
        EXPECT_FALSE(name.empty());
        EXPECT_FALSE(fs::exists(name)) << name;
    }
}

// Without EDITOR, or with an empty one, it is vi; the editor's shell leads back to the program.
TEST(Edit, FallsBackOnVi) {
    const Editor tools("");
    fs::rename(tools.script(), tools.path("vi"));
    std::ofstream(tools.path("vi")) << "#!/bin/sh\necho $SHELL > $1\n";
    fs::create_symlink(ONDREL_PROGRAM, tools.path("Ondrel"));
    const std::string program = tools.path("Ondrel").string();
    const Result result =
        run_program("TEXTEDIT .",
                    {.arguments = {"-q"}, .environment = {"EDITOR=", "PATH=" + tools.directory() + ":/usr/bin:/bin"}});
    EXPECT_TRUE(result.output.starts_with("\n\n" + program + "\n")) << result.output;
}

}  // namespace
}  // namespace ondrel
