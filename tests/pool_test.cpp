// The pool: how items are divided among threads, and that no verb gives anything else for being worked on by several.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>

#include "core/actions.h"
#include "core/stack.h"
#include "tests/evaluator.h"
#include "tests/palette.h"
#include "tests/threads.h"
#include "tests/values.h"

namespace ondrel {
namespace {

// ---- the division

struct Division {
    std::uint32_t items, threads, threshold;
    std::vector<std::pair<std::uint32_t, std::uint32_t>> stretches;
};

TEST(Split, DividesAsStated) {
    const std::int64_t before = MIN_PARALLEL;
    const Division divisions[]{
        {5006, 5, 5005, {{0, 1000}, {1001, 2001}, {2002, 3002}, {3003, 4003}, {4004, 5005}}},
        {20000, 5, 5005, {{0, 3999}, {4000, 7999}, {8000, 11999}, {12000, 15999}, {16000, 19999}}},
        {30000, 5, 5005, {{0, 5003}, {5004, 11252}, {11253, 17501}, {17502, 23750}, {23751, 29999}}},
        {30000, 3, 3003, {{0, 3001}, {3002, 16499}, {16500, 29999}}},
        {2003, 2, 2002, {{0, 1000}, {1001, 2002}}},
        {4000000000, 2, 2002, {{0, 1999999999}, {2000000000, 3999999999}}},
    };
    for (const auto& [items, threads, threshold, stretches] : divisions) {
        MIN_PARALLEL = threshold;
        for (std::uint32_t i = 0; i < threads; ++i) {
            EXPECT_EQ(LOWER(items, threads, i), stretches[i].first) << items << " items, thread " << i;
            EXPECT_EQ(UPPER(items, threads, i), stretches[i].second) << items << " items, thread " << i;
        }
    }
    MIN_PARALLEL = before;
}

// Also where there are hardly more items than threads, so that some threads get none.
TEST(Split, GivesEveryItemToOneThread) {
    const std::int64_t before = MIN_PARALLEL;
    std::mt19937 random(11);
    for (int round = 0; round < 20000; ++round) {
        const auto threads = static_cast<std::uint32_t>(2 + random() % (round % 2 == 0 ? 12 : 1024));
        const auto items = static_cast<std::uint32_t>(threads + random() % (round % 3 == 0 ? 10 : 400000));
        MIN_PARALLEL = std::max<std::int64_t>(threads, random() % (2 * items));
        std::uint64_t next = 0;
        for (std::uint32_t i = 0; i < threads; ++i) {
            const std::uint64_t first = LOWER(items, threads, i), last = UPPER(items, threads, i);
            if (first > last) continue;
            ASSERT_EQ(first, next) << items << " items, " << threads << " threads, from " << MIN_PARALLEL << " on";
            next = last + 1;
        }
        ASSERT_EQ(next, items) << threads << " threads, from " << MIN_PARALLEL << " on";
    }
    MIN_PARALLEL = before;
}

// Also of a threshold that was set for fewer threads than there are now.
TEST(Split, HandsEveryItemToOneThread) {
    const Threads threads;
    for (std::uint32_t p = 2; p <= 1 + most_workers; ++p)
        for (const std::int64_t threshold : {1, 2, 5, 40})
            for (const std::uint32_t n : {p, p + 1, 2 * p + 1, 37U, 40U, 41U, 99U}) {
                processors = p;
                MIN_PARALLEL = threshold;
                std::vector<std::uint8_t> visits(n);
                spread(n, {}, [&](std::uint32_t, Stretch stretch) {
                    for (std::size_t i = stretch.first; i < stretch.end; ++i) ++visits[i];
                });
                ASSERT_EQ(std::ranges::count(visits, 1), n) << p << " threads, from " << threshold << " on";
            }
}

// ---- every scalar verb

bool same_items(const DataElement& left, const DataElement& right);

bool same(const DataElement& left, const DataElement& right) {
    return left.rank == right.rank && left.type == right.type && left.depth == right.depth &&
           left.elements == right.elements &&
           std::equal(left.shape_pointer, left.shape_pointer + left.rank, right.shape_pointer) &&
           same_items(left, right);
}

bool same_items(const DataElement& left, const DataElement& right) {
    if (left.elements == 0) return true;
    const void *const l = left.data_pointer, *const r = right.data_pointer;
    if (header(l).head != header(r).head) return false;
    if (is_packed(l)) return std::memcmp(l, r, left.elements * item_width(header(l).head)) == 0;
    for (std::uint32_t i = 0; i < left.elements; ++i) {
        const DataElement a = item_at(l, i), b = item_at(r, i);
        const bool equal = a.head == b.head && (a.tag == tag::subarray   ? same(*a.nested, *b.nested)
                                                : a.tag == tag::octonion ? std::memcmp(a.octonion, b.octonion, 64) == 0
                                                                         : std::memcmp(&a, &b, sizeof a) == 0);
        if (!equal) return false;
    }
    return true;
}

// Many items of a group in turn, or of all groups and some nested ones among them.
Value repeated(const std::vector<Item>& items, std::size_t n) {
    Value value{{static_cast<std::int64_t>(n)}, {}};
    for (std::size_t i = 0; i < n; ++i) value.items.push_back(items[i % items.size()]);
    return value;
}

std::vector<DataElement> operands(std::size_t n) {
    std::vector<DataElement> made;
    std::vector<Item> numbers, all;
    for (const Group& group : small_palette()) {
        made.push_back(build(repeated(group, n), Layout::packed));
        all.insert(all.end(), group.begin(), group.end());
        if (group[0].tag >= tag::integer) numbers.insert(numbers.end(), group.begin(), group.end());
    }
    numbers.push_back(subarray(vector_value(numbers)));
    made.push_back(build(repeated(numbers, n), Layout::items));
    made.push_back(build(repeated(all, n), Layout::items));
    // Integers nearly all, so that a loop stops late; and one scalar of each kind for the other side.
    Value late = repeated({integer(6)}, n);
    late.items[n - n / 7] = integer(INT64_MAX);
    made.push_back(build(late, Layout::packed));
    for (const Group& group : small_palette()) made.push_back(build(scalar_value(group[0]), Layout::items));
    return made;
}

struct Ran {
    int error;
    DataElement result;  // of an error the topmost operand
    std::ptrdiff_t height;
};

Ran run_verb(std::size_t number, const DataElement& left, const DataElement& right) {
    DataElement cell{};
    cell.rank = kind::OPERATOR;
    cell.type = ISOPERATOR;
    cell.depth = static_cast<std::int16_t>(number);
    Activation activation{.cell = &cell,
                          .sp = stack,
                          .argument_floor = stack + 1,
                          .frame_base = stack + 1,
                          .tables = &variables,
                          .code = &cell,
                          .cells = 1};
    for (const DataElement* operand : {&left, &right}) {
        *++activation.sp = *operand;
        referencepoint(*operand);
    }
    Ran outcome{};
    outcome.error = error_of([&] {
        actions[number](activation);
        wait_for_coprocessors();
    });
    outcome.height = activation.sp - stack;
    outcome.result = *activation.sp;
    while (--activation.sp > stack) dereferencepoint(*activation.sp);
    return outcome;
}

bool draws(std::size_t number) {
    using enum Instruction;
    return std::ranges::count(std::array{BOOLEAN, PROBABLY, ROLL, RANDOM}, static_cast<Instruction>(number)) != 0;
}

// One to eight workers in turn. Each verb meets every operand, dyadic ones beside another one each time.
TEST(Pool, EveryScalarVerbGivesWhatOneThreadGives) {
    constexpr std::size_t items = 10000;
    const Evaluator evaluator;
    const Threads threads;
    std::vector<DataElement> values = operands(items);
    std::uint32_t turn = 0;
    for (std::size_t number = 0; number < Instructions.size(); ++number) {
        if (scalar_operands(static_cast<std::uint16_t>(number)) == 0 || draws(number)) continue;
        for (std::size_t i = 0; i < values.size() && !testing::Test::HasFailure(); ++i) {
            const DataElement& left = values[i];
            const DataElement& right = values[(i + number) % values.size()];
            const std::uint32_t workers = 1 + turn++ % most_workers;
            SCOPED_TRACE(std::string(Instructions[number].name) + " of operands " + std::to_string(i) + ", " +
                         std::to_string((i + number) % values.size()) + ", workers: " + std::to_string(workers));
            const std::int64_t blocks = blocks_out();
            Ran alone = run_verb(number, left, right);
            Threads::use(1 + workers, turn % 3 == 0 ? 9000 : 0);
            Ran together = run_verb(number, left, right);
            Threads::use(1, 0);
            EXPECT_EQ(together.error, alone.error);
            EXPECT_EQ(together.height, alone.height);
            EXPECT_TRUE(same(together.result, alone.result));
            dereferencepoint(alone.result);
            dereferencepoint(together.result);
            EXPECT_EQ(blocks_out(), blocks) << "blocks not given back";
        }
    }
    for (DataElement& value : values) dereferencepoint(value);
}

// The ends of runs and grids of some 10,000 items. Steps and ends are whole or halves, so that no real is rounded.
TEST(Pool, EveryIntervalIsWhatOneThreadGives) {
    const Evaluator evaluator;
    const Threads threads;
    const std::vector<Value> ends{
        scalar_value(integer(10007)),
        scalar_value(integer(-9001)),
        vector_value({integer(INT64_MAX - 9999), integer(INT64_MAX)}),
        vector_value({integer(5), integer(-40000), integer(-4)}),
        vector_value({real(0.5), real(-9000)}),
        vector_value({real(1e17), real(2e17), real(1e13)}),
        scalar_value(hypercomplex({-101, 97})),
        vector_value({hypercomplex({0.5, 3}), hypercomplex({40, -300}), hypercomplex({0.5, -2})}),
        vector_value({hypercomplex({1, 2}, form::polar), hypercomplex({90, 100}, form::polar)}),
        scalar_value(hypercomplex({10, -10, 12, 9})),
        vector_value({hypercomplex({1, 1, 1, 0}), hypercomplex({20, 25, 21, 0})}),
        scalar_value(hypercomplex({3, 2, 3, 4, 3, -3, 4, 5})),
        scalar_value(hypercomplex({6, 5, -6, 7, 8, 0, 0, 0})),
    };
    constexpr auto interval = static_cast<std::size_t>(Instruction::INTERVAL);
    DataElement below = build(scalar_value(integer(7)), Layout::items);
    for (const Value& value : ends) {
        DataElement operand = build(value, Layout::packed);
        Ran alone = run_verb(interval, below, operand);
        for (std::uint32_t workers = 1; workers <= most_workers; ++workers) {
            SCOPED_TRACE(describe(value) + ", workers: " + std::to_string(workers));
            Threads::use(1 + workers, workers % 2 == 0 ? 1001 * (1 + workers) : 0);
            Ran together = run_verb(interval, below, operand);
            Threads::use(1, 0);
            EXPECT_EQ(together.error, 0);
            EXPECT_GT(together.result.elements, 5000U);
            EXPECT_TRUE(same(together.result, alone.result));
            dereferencepoint(together.result);
        }
        dereferencepoint(alone.result);
        dereferencepoint(operand);
    }
    dereferencepoint(below);
}

}  // namespace
}  // namespace ondrel
