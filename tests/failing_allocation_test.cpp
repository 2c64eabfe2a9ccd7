// Each allocation of a sentence failed in turn, until the sentence runs through. Whatever fails, 27 is said, what stood
// on the stack before stands there still, and no block is lost.
#include "data/allocator.h"

#ifdef ONDREL_CHECKS

#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "core/machine.h"
#include "core/stack.h"
#include "data/blocks.h"
#include "tests/evaluator.h"
#include "tests/threads.h"
#include "translator/scanner.h"

namespace ondrel {
namespace {

namespace fs = std::filesystem;

std::string text_of(DataElement& value) {
    char* text = nullptr;
    std::size_t length = 0;
    std::FILE* const memory = open_memstream(&text, &length);
    dump(memory, "", value);
    std::fclose(memory);
    std::string result(text, length);
    std::free(text);
    return result;
}

std::vector<std::string> stack_texts(const Evaluator& evaluator) {
    std::vector<std::string> texts;
    for (DataElement* slot = stack + 1; slot <= evaluator.sp; ++slot) texts.push_back(text_of(*slot));
    return texts;
}

// One sentence. Nothing of it is left when its translation fails.
std::string run_one(Evaluator& evaluator, const char* sentence) {
    static std::array<DataElement, sentence_cells> cells;
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    if (fill(cells.data(), &variables, nullptr, &sentence) > 0) {
        evaluator.sp = machine(cells.data(), evaluator.sp);
        cleanup(cells.data());
    } else {
        EXPECT_STREQ(sentence, "");
    }
    const std::string errors = testing::internal::GetCapturedStderr();
    return errors + testing::internal::GetCapturedStdout();
}

struct Work {
    const char* sentence;
    std::uint32_t threads;
};
class FailingAllocation : public testing::TestWithParam<Work> {
protected:
    FailingAllocation() {
        fs::create_directories(folder);
        fs::current_path(folder);
    }
    ~FailingAllocation() override {
        fs::current_path(started_in);
        fs::remove_all(folder);
    }
    const fs::path started_in = fs::current_path(),
                   folder = fs::temp_directory_path() / ("ondrel-memory" + std::to_string(getpid()));
};

TEST_P(FailingAllocation, LosesNothing) {
    const auto [sentence, by_threads] = GetParam();
    Evaluator evaluator;
    const Threads threads(by_threads);
    const char* const before = "(1 2 3) (1 (2 'x') 3l4 #PI) 'abc' .";
    const std::int64_t empty = live_blocks;
    const auto prepare = [&] {
        evaluator.clear();
        A_Problem = PrintOut = false;
        run_one(evaluator, before);
    };

    prepare();
    const std::vector<std::string> kept = stack_texts(evaluator);
    ASSERT_EQ(kept.size(), 3U);
    const std::string expected_words = run_one(evaluator, sentence);
    const std::vector<std::string> expected = stack_texts(evaluator);

    constexpr int most = 20'000;
    int n = 1;
    for (bool failed = true; failed && n < most && !HasFailure(); ++n) {
        prepare();
        fail_countdown = n;
        const std::string words = run_one(evaluator, sentence);
        failed = fail_countdown == 0;
        fail_countdown = 0;
        const std::vector<std::string> texts = stack_texts(evaluator);
        if (!failed) {
            EXPECT_EQ(words, expected_words);
            EXPECT_EQ(texts, expected);
            break;
        }
        EXPECT_NE(words.find("27 - out of main storage."), std::string::npos) << "allocation " << n << ": " << words;
        ASSERT_GE(texts.size(), kept.size()) << "allocation " << n;
        const bool discarded = words.find("Discarding the bad TOS value") != std::string::npos;
        for (std::size_t i = 0; i < kept.size(); ++i) {
            const bool top = i + 1 == texts.size();
            if (discarded && top)
                EXPECT_TRUE(evaluator.sp->type & ISEMPTY) << "allocation " << n;
            else
                EXPECT_EQ(texts[i], kept[i]) << "allocation " << n;
        }
        evaluator.clear();
        EXPECT_EQ(live_blocks, empty) << "allocation " << n << " of " << sentence;
        live_blocks = empty;
    }
    EXPECT_LT(n, most);
    EXPECT_GT(n, 1) << "the sentence allocates nothing";
    evaluator.clear();
    A_Problem = PrintOut = false;
    EXPECT_EQ(live_blocks, empty);
    // And the interpreter goes on.
    EXPECT_EQ(evaluator.run("1 2 + ."), "\n\n 3");
}

std::vector<Work> by_threads(std::uint32_t threads, std::initializer_list<const char*> sentences) {
    std::vector<Work> all;
    for (const char* const sentence : sentences) all.push_back({sentence, threads});
    return all;
}

// What is handed out, and what workers allocate.
INSTANTIATE_TEST_SUITE_P(
    ByWorkers, FailingAllocation,
    testing::ValuesIn(by_threads(3, {"(1 2 3)[40] 1 + 3 / 2.5 * (1 2.5 1i2)[40] + (1 2)[40] * .",
                                     "(9223372036854775807 1)[40] 1 + (1l2)[30] (1l2 3.5 #PI)[30] * .",
                                     "(1 (2 3) (4 (5 6)) 7) 2 * ABS (1 2 (3 4) 5) SQRT 20 INTERVAL 2i3 INTERVAL .",
                                     "(1 2 3 4 5 6) (1 1 1 1 1 99) CIRCULAR 1 2 .",
                                     "(1 2 3 4 5 6) 2 + (1 2 3 4 5 6) name ."})));

INSTANTIATE_TEST_SUITE_P(
    Sentences, FailingAllocation,
    testing::ValuesIn(by_threads(
        1, {"1 2.5 'text' 'c' (1 2 3) () '' `(1 2) .",
            "(1 (2 'abc' (3.5 'd' ('it''s' 1))) 1i2 (4))[3 2] .",
            "#PI -#SQRT2 #SIN T (#PI 1 #E F) (#PI #PI)[2 2] .",
            "(1 2 3 4 5 6)[2 3] 'abcdef'[3 2] (1 (2 3)[2 2] ('ab'[3] 4)) (1 'a' 2.5) (3 3) RESHAPE 2 RESHAPE .",
            "1 2 + 3.5 * 4 - 2 / 7 MAX 1i2 * 1j2 + 1 - .",
            "(1 2 3)[1000] (4 5 6)[1000] + 2.5 * (1 2 3)[1000] - (1.5 2)[1000] MIN .",
            "(1 2.5 1i2)[100] (1 2 3)[100] * (7 1l2)[100] + (1 2.5)[100] - .",
            "(1 (2 3) (4 (5 6))) (10 (20 30) (40 (50 60))) + 1.5 * (1 2 3) - (1 (2 3) 4) (5 6 (7 8)) + .",
            "1l2 (1l2 3l4 5o6)[10] * 1l2m3 + (1l2 3.5 #PI)[4] * 2l1 + .",
            "(1 2.5 'x' 1i2 (1l2 'abc'))[2000] PRINT (1 2)[30 40] TELL 'text'[5000] OUTPUT .",
            "d1p90 1p2 + 1q2 3 * (1i2 3i4) POLAR 1p2 * (1i2 3i4) POLAR CARTESIAN 1r2u3 1p1 - .",
            "(9223372036854775807 1)[500] (1 2)[500] + (1 2 3)[300] (2 2 4)[300] / (1 0)[9] (0 1)[9] / .",
            "(1 2 3)[300] 1 + 2.5 + 1i2 + 1j2 + 1l2 + .",
            "(1 2 3) (1 2) + .",
            "1 'a' + .",
            "name \"a comment\" SQRT .",
            "(1 'a. b (' ('c. '' )d'[2] 3)[1 2]) \"c. d\" \x02n. m and more of it.\x03 @.x `('e.')` : 4 'f. g' ; 'h.'[3] .",
            "(1 2 3) @xs SET xs xs + @$ys SET ys 2 * @_zs ASSIGN (1 (2 3)) AT GET VARS FNS .",
            "VARS 2 DYADIC @&1 SET @&2 SET &1 &2 - %l @%l @.n SET .n ; OPERATOR @f SET 5 3 f (1 2) 1 f + .",
            "0 10 MONADIC DUP 3 - CHECK : 'big' POP ; ?Y + ; LOOP 3 : 1 [. 2 (3 4) 'five' .] ; REPEAT .",
            "'1 2 + . : 3 ; OPERATOR @three SET three (4 5) .' EXECUTE NEWCONTEXT 1 @$a SET NEWLARGECONTEXT $a .",
            "DYADIC + ; @g SET 1 (2 3) @g GET RESULT 1 (2 3) @g GET RESULT 4 5 @g GET REEVALUATE .",
            "MONADIC DUP 'text' \"note\" ; DUP DISASSEMBLE EXECUTE OPERATOR '1 . (2 3) DUP' ASSEMBLE .",
            "1 2 3 DYADIC (1 2) + SWAP RIGHT ; DIP : 1 : 2 ; YIELD ; EXECUTE @h SET @h FORGET COUNTSTACK .",
            "1.5 CHECK 2 ?Y 'no' ?N 1.5 'x' IF 7 SEED TIME POP \x02"
            "a b\x03 .",
            "[. 1p2 5 ATOM (1 2) 0.5 LOGICAL .] DUP DISASSEMBLE EXECUTE 'file' DUMPSTACK .",
            "(0j1 0k1) (0j-1 0j0) * @q SET q PRINT q FIRSTONE .",
            "+ // ?Y 2 .",
            "(1 2 3 4 5 6)[3 2] TRANSPOSE FIRST (1 (2 'x') 3l4) ENLIST REVERSE (1 2) (3 4 5) CATENATE SUM .",
            "(1 2 3) MONADIC DUP 2 RESHAPE ; EACH (1 2.5 3l1) MONADIC 2 > ; EACH (1 'x' (1 2)) MONADIC ; EACH .",
            "(1 2 3) (1 1 1) MONADIC SUM ; MASK (1.5 'x' (1 2)) (1 2 1) MONADIC ; REFLECT MASK (3l4 1) (1) MONADIC ; "
            "MASK .",
            "(1 (2 'x') 3l4) 'file' WRITE 'file' READ 'file' REMEMBER 'text' 'file' TEXTWRITE 'file' TEXTREAD .",
            "'text' 'file' TEXTWRITE POP 'file' (1 (2 'x')) OPEN DUP CATENATE @f SET f CLOSE f 5 OPEN REWIND 'file' f "
            "OPEN .",
            "'abc' DEASCII ENASCII (65 (66 'x') 3l1) ENASCII ((1 2) (3 4 5 6 7)) ENCAPSULATE DUP DECAPSULATE .",
            "(1 2)[3 99999999999999999999] (1 (2)[-1]) ."})));

}  // namespace
}  // namespace ondrel

#endif
