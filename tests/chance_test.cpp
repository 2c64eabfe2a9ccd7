// Chance as a user meets it: which numbers follow a seed, and that they are spread as each verb says.
//
// The tests of spread compare counts with what is expected by chi-square. At its fixed seed a test always ends the same
// way; of sound generators a comparison would refuse about one in 500: half of these for counts that are too far from
// the expectation, half for counts that are too near, as those of draws that are not independent may be.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <iterator>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "tests/evaluator.h"
#include "tests/threads.h"
#include "tests/values.h"

namespace ondrel {
namespace {

using Numbers = std::vector<double>;

// All numbers on the stack after the sentence, the lowest first, and of a hypercomplex number the components.
Numbers numbers_of(const std::string& sentence) {
    Evaluator evaluator;
    evaluator.run(sentence + " 'shown' .");  // a number that is shown is lowered to the kind that shows as much
    Numbers numbers;
    for (const DataElement* slot = evaluator.sp - evaluator.height() + 1; slot < evaluator.sp; ++slot)
        for (const Item& item : read(*slot).items) {
            if (component_count(item.tag) == 0)
                numbers.push_back(static_cast<double>(item.integer));
            else
                numbers.insert(numbers.end(), item.parts.begin(), item.parts.begin() + component_count(item.tag));
        }
    return numbers;
}

std::string times(std::size_t n, const std::string& words) {
    std::string text;
    for (std::size_t i = 0; i < n; ++i) text += words + " ";
    return text;
}

// ---- which numbers

struct Sequence {
    std::string seed;
    Numbers draws, rolled, probable, dealt;
};

// Made in Python, with integers of any length: draws by x = 48271 * x % (2**31 - 1) from x = seed, the seed 0 standing
// for 123456789; and with its doubles, for r = draw * 4.656612875245797e-10: int(1000.0 * r) + 1 rolled, int(r < 0.3)
// probable, and 1 + int(draw * 10 / 2**31) dealt, without those that had come before.
const Sequence sequences[] = {
    {"1",
     {48271,      182605794,  1291394886, 1914720637, 2078669041, 407355683,  1105902161,
      854716505,  564586691,  1596680831, 192302371,  1203428207, 1250328747, 1738531149,
      1271135913, 1098894339, 1882556969, 2136927794, 1559527823, 2075782095},
     {1, 86, 602, 892, 968, 190, 515, 399, 263, 744, 90, 561, 583, 810, 592, 512, 877, 996, 727, 967},
     {1, 1, 0, 0, 0, 1, 0, 0, 1, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0},
     {1, 7, 9, 10, 2, 6, 4, 3, 8}},
    {"123456789",
     {115541394,  283598515,  1523151587, 652633738, 1845549155, 291648857,  1426670162,
      1289797906, 2136310349, 1819611286, 227740559, 295734496,  1076054807, 1054618708,
      1399801733, 1403984435, 1443729859, 144711345, 1744514451, 180814410},
     {54, 133, 710, 304, 860, 136, 665, 601, 995, 848, 107, 138, 502, 492, 652, 654, 673, 68, 813, 85},
     {1, 1, 0, 0, 0, 1, 0, 0, 0, 0, 1, 1, 0, 0, 0, 0, 0, 1, 0, 1},
     {1, 2, 8, 4, 9, 7, 10, 6, 5}},
};
constexpr const char* modulus = "2147483647";  // RANDOM of it shows the draws themselves

// Draw by draw, as an array and as components, the draws are the same.
void check_sequence(const std::string& seed, const Sequence& expected) {
    const auto check = [&](const std::string& value, const std::string& verb, const Numbers& numbers) {
        SCOPED_TRACE(seed + " SEED " + value + " " + verb);
        EXPECT_EQ(numbers_of(seed + " SEED " + times(numbers.size(), value + " " + verb)), numbers);
        EXPECT_EQ(numbers_of(seed + " SEED (" + times(numbers.size(), value) + ")" + verb), numbers) << "as an array";
    };
    const std::string range = modulus;
    check(range, "RANDOM", expected.draws);
    check(range + ".0", "RANDOM", expected.draws);
    EXPECT_EQ(numbers_of(seed + " SEED (" + times(10, range + "i" + range) + ") RANDOM"), expected.draws);
    check("1000", "ROLL", expected.rolled);
    check("1000.0", "ROLL", expected.rolled);
    check("0.3", "PROBABLY", expected.probable);
    EXPECT_EQ(numbers_of(seed + " SEED " + times(20, "0.3 CHECK 1 ?Y 0 ?N")), expected.probable);
    EXPECT_EQ(numbers_of(seed + " SEED 10 9 DEAL"), expected.dealt);
}

TEST(Chance, TheNumbersThatFollowASeed) {
    for (const Sequence& sequence : sequences) check_sequence(sequence.seed, sequence);
    check_sequence("0", sequences[1]);
}

// The standard library has the same generator.
TEST(Chance, ALongArray) {
    std::minstd_rand other(4711);
    Numbers expected(150'000);
    std::generate(expected.begin(), expected.end(),
                  [&] { return static_cast<double>(other()) * 4.656612875245797e-10; });
    EXPECT_EQ(numbers_of("4711 SEED 1.0 150000 RESHAPE RANDOM"), expected);
}

// A die without faces draws nothing, and its NaN among integers costs no other one a second draw: neither in the
// stretch of any thread, nor behind it.
TEST(Chance, OneDrawForEachDie) {
    const Threads pool;
    constexpr std::uint32_t dice = 20'000, period = 18, blank = 9;
    const auto draw = [](std::minstd_rand& stream, double range) {
        return static_cast<double>(stream()) * 4.656612875245797e-10 * range;
    };
    for (const std::uint32_t threads : {1U, 3U, 8U}) {
        SCOPED_TRACE(threads);
        Threads::use(threads, 0);
        const Numbers found =
            numbers_of("4711 SEED (" + times(blank, "6") + "0 " + times(period - blank - 1, "6") + ")" +
                       std::to_string(dice) + " RESHAPE ROLL 2147483647 RANDOM");
        ASSERT_EQ(found.size(), dice + 1);
        std::uint32_t at = 0;
        for (std::uint32_t thread = 0; thread < threads; ++thread) {
            std::minstd_rand own(4711 + thread * 22925);
            for (const auto end = thread + 1 == threads ? dice : LOWER(dice, threads, thread + 1); at < end; ++at) {
                ASSERT_EQ(std::isnan(found[at]), at % period == blank) << at;
                if (at % period == blank) continue;
                ASSERT_EQ(found[at], 1 + std::trunc(draw(own, 6))) << at;
            }
            if (thread != 0) continue;
            EXPECT_EQ(found.back(), draw(own, 2147483647));
        }
    }
}

TEST(Chance, SeedsRepeatARun) {
    const std::string run = " SEED 10 5 DEAL (6 'z' 2.5) ROLL (0.5 1i1) PROBABLY 0.5 BOOLEAN 1 RANDOM";
    const Numbers once = numbers_of("77" + run);
    EXPECT_EQ(once.size(), 13u);
    EXPECT_EQ(numbers_of("77" + run), once);
    EXPECT_NE(numbers_of("78" + run), once);
    EXPECT_EQ(numbers_of("0.5" + run), numbers_of("500000" + run));
    EXPECT_EQ(numbers_of("(0.5)" + run), numbers_of("4295467296" + run)) << "the low 32 bits count";
    EXPECT_EQ(numbers_of("-1" + run), numbers_of("4294967295" + run));

    const std::string stands_still = std::string(modulus) + " SEED ";
    EXPECT_EQ(numbers_of(stands_still + "(9 9 9) RANDOM 9 RANDOM"), Numbers(4, 9));
    EXPECT_EQ(numbers_of(stands_still + "0.5 PROBABLY 9 RANDOM"), (Numbers{0, 9}));
    EXPECT_EQ(numbers_of(stands_still + "9 RANDOM CLEAR 77" + run), once);
}

// ---- how they are spread

// By Wilson and Hilferty: the chi-square value of so many degrees of freedom that lies z deviations from the middle.
double chi_square_at(double degrees, double z) {
    const double spread = 2 / (9 * degrees);
    return degrees * std::pow(1 - spread + z * std::sqrt(spread), 3);
}

// Holds how often each cell comes up against its probability: each group of so many numbers falls into one.
void check_spread(const std::string& what, const Numbers& numbers, std::size_t group, const Numbers& probabilities,
                  const std::function<double(const double*)>& cell_of) {
    constexpr double one_in_a_thousand = 3.090232306167813;  // deviations of the normal distribution
    SCOPED_TRACE(what);
    ASSERT_EQ(numbers.size() % group, 0u);
    Numbers counts(probabilities.size());
    for (std::size_t i = 0; i < numbers.size(); i += group) {
        const double cell = cell_of(&numbers[i]);
        ASSERT_TRUE(cell >= 0 && cell < static_cast<double>(counts.size())) << "in no cell: " << numbers[i];
        ++counts[static_cast<std::size_t>(cell)];
    }
    double chi_square = 0;
    for (std::size_t k = 0; k < counts.size(); ++k) {
        const double expected = probabilities[k] * static_cast<double>(numbers.size() / group);
        ASSERT_GE(expected, 5) << "too few for the test, in cell " << k;
        chi_square += (counts[k] - expected) * (counts[k] - expected) / expected;
    }
    const double degrees = static_cast<double>(counts.size() - 1);
    EXPECT_LT(chi_square, chi_square_at(degrees, one_in_a_thousand)) << "uneven, degrees of freedom: " << degrees;
    EXPECT_GT(chi_square, chi_square_at(degrees, -one_in_a_thousand)) << "too even, degrees of freedom: " << degrees;
}
Numbers evenly(std::size_t cells) { return Numbers(cells, 1 / static_cast<double>(cells)); }

// So many repetitions of the words in one run, in sentences that are short enough.
Numbers repeated(std::size_t n, const std::string& words) {
    constexpr std::size_t at_once = 100;
    Numbers numbers;
    for (std::size_t i = 0; i < n; i += at_once)
        std::ranges::copy(numbers_of(times(at_once, words)), std::back_inserter(numbers));
    return numbers;
}

TEST(Chance, RollIsEven) {
    numbers_of("1 SEED");
    const auto rolls = [](const std::string& die) { return numbers_of(die + " 30000 RESHAPE ROLL"); };
    for (const std::string die : {"6", "6.0", "-6", "-6.0"})
        check_spread(die, rolls(die), 1, evenly(6),
                     [&die](const double* face) { return (die[0] == '-' ? -*face : *face) - 1; });
    check_spread("2.5", rolls("2.5"), 1, {0.4, 0.4, 0.2}, [](const double* face) { return *face - 1; });
    check_spread("'A'", rolls("'A'"), 1, evenly(34), [](const double* code) { return *code - ' '; });
    check_spread("6i4", rolls("6i4"), 2, evenly(24), [](const double* faces) { return faces[0] * 4 + faces[1] - 5; });
}

TEST(Chance, RandomIsEven) {
    numbers_of("2 SEED");
    const auto draws = [](const std::string& limit) { return numbers_of(limit + " 50000 RESHAPE RANDOM"); };
    check_spread("1.0", draws("1.0"), 1, evenly(50), [](const double* number) { return *number * 50; });
    check_spread("-2.5", draws("-2.5"), 1, evenly(50), [](const double* number) { return *number * -20; });
    check_spread("10", draws("10"), 1, evenly(50), [](const double* number) { return *number * 5; });
    check_spread("two components of four", draws("2i-3j0.5k1"), 4, evenly(64),
                 [](const double* parts) { return std::floor(parts[1] * -8 / 3) + 8 * std::floor(parts[2] * 16); });
}

TEST(Chance, DealIsEven) {
    numbers_of("3 SEED");
    const Numbers hands = repeated(20'000, "10 3 DEAL");
    check_spread("the first", hands, 3, evenly(10), [](const double* hand) { return hand[0] - 1; });
    for (const std::size_t other : {1, 2})
        check_spread("the first and one behind it", hands, 3, evenly(90), [other](const double* hand) {
            if (hand[other] == hand[0]) return -1.0;
            return (hand[0] - 1) * 9 + hand[other] - (hand[other] > hand[0] ? 2 : 1);
        });
}

// Truth values, each true with this probability: how many of four are.
void check_truths(const std::string& what, const Numbers& truths, double probability) {
    const double p = probability, q = 1 - p;
    check_spread(what, truths, 4,
                 {q * q * q * q, 4 * p * q * q * q, 6 * p * p * q * q, 4 * p * p * p * q, p * p * p * p},
                 [](const double* four) { return std::accumulate(four, four + 4, 0.0); });
}

TEST(Chance, ProbabilitiesAreKept) {
    numbers_of("4 SEED");
    check_truths("PROBABLY", numbers_of("0.3 40000 RESHAPE PROBABLY"), 0.3);
    check_truths("PROBABLY of truth degrees", numbers_of("0.8 40000 RESHAPE LOGICAL PROBABLY"), 0.8);
    check_truths("PROBABLY of components", numbers_of("0.3i0.3j0.3k0.3 10000 RESHAPE PROBABLY"), 0.3);
    check_truths("BOOLEAN", numbers_of("0.5 40000 RESHAPE BOOLEAN"), 0.5);
    check_truths("CHECK", repeated(20'000, "0.3 CHECK 1 ?Y 0 ?N"), 0.3);
    check_truths("CHECK of a complex number", repeated(20'000, "0.3i0.3 CHECK 1 ?Y 0 ?N"), 0.6);
    Numbers kept;
    for (std::size_t four = 4; four <= 20'000; four += 4) {
        kept.resize(kept.size() + numbers_of(times(4, "0.3 1 IF")).size(), 1);  // what is not kept becomes empty
        kept.resize(four, 0);
    }
    check_truths("IF", kept, 0.3);
}

}  // namespace
}  // namespace ondrel
