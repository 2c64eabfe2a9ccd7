// INTERVAL against a plain one: a run by adding up, a grid by counting.
#include "verbs/array/interval.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <random>
#include <string>

#include "core/stack.h"
#include "data/system_variables.h"
#include "tests/palette.h"
#include "tests/threads.h"
#include "translator/symbols.h"

namespace ondrel {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN(), inf = std::numeric_limits<double>::infinity();

class Interval : public testing::Test {
protected:
    Interval() { make_system_variables(); }
    ~Interval() override { wipe_all_tables(); }

    static void set_origin(std::int64_t origin) { items_of(*quads[index_origin])->integer = origin; }
    static void set_tolerance(double tolerance) { items_of(*quads[comparison_tolerance])->real = tolerance; }

    // The result, or nothing with the number of the error; the operand then stands as it was.
    static Value run(const Value& operand, Layout layout, int& error) {
        DataElement* sp = stack;
        *++sp = build(operand, layout);
        DataElement held = *sp;
        referencepoint(held);
        error = error_of([&] { interval(sp, nullptr); });
        EXPECT_EQ(sp, stack + 1);
        Value result;
        if (error == 0)
            result = read(*sp);
        else
            EXPECT_TRUE(identical(read(*sp), operand)) << "the error left " << describe(read(*sp));
        EXPECT_TRUE(identical(read(held), operand));
        dereferencepoint(held);
        dereferencepoint(*sp);
        return result;
    }

    static void expect(const Value& operand, const Value& expected) {
        for (const Layout layout : {Layout::items, Layout::packed}) {
            SCOPED_TRACE(describe(operand));
            const std::int64_t blocks = blocks_out();
            int error = 0;
            const Value result = run(operand, layout, error);
            EXPECT_EQ(error, 0);
            EXPECT_TRUE(identical(result, expected)) << describe(result) << " and not " << describe(expected);
            EXPECT_EQ(blocks_out(), blocks);
        }
    }
    static void expect_error(const Value& operand, int number) {
        for (const Layout layout : {Layout::items, Layout::packed}) {
            SCOPED_TRACE(describe(operand));
            const std::int64_t blocks = blocks_out();
            int error = 0;
            run(operand, layout, error);
            EXPECT_EQ(error, number);
            EXPECT_EQ(blocks_out(), blocks);
        }
    }

    // Runs, which have the form of cartesian numbers but for one that is alone.
    static Value integers(const std::vector<std::int64_t>& values) {
        std::vector<Item> items;
        for (const std::int64_t value : values)
            items.push_back(integer(value, values.size() == 1 ? form::number : form::cartesian));
        return vector_value(items);
    }
    static Value reals(const std::vector<double>& values) {
        std::vector<Item> items;
        for (const double value : values) {
            items.push_back(real(value));
            items.back().form = values.size() == 1 ? form::number : form::cartesian;
        }
        return vector_value(items);
    }
    static Value two(const Item& a, const Item& b) { return vector_value({a, b}); }
    static Value three(const Item& a, const Item& b, const Item& c) { return vector_value({a, b, c}); }
};

TEST_F(Interval, Counts) {
    expect(scalar_value(integer(3)), integers({1, 2, 3}));
    expect(vector_value({integer(-3)}), integers({-1, -2, -3}));
    expect(scalar_value(integer(1)), integers({1}));
    expect(scalar_value(real(2 + 1e-16)), integers({1, 2}));
    expect(scalar_value(integer(0)), {{0}, {}});
    expect(scalar_value(real(-1e-16)), {{0}, {}});
    expect({{0}, {}}, scalar_value(integer(0)));
    set_origin(0);
    expect(scalar_value(integer(3)), integers({0, 1, 2}));
    expect(scalar_value(integer(-3)), integers({0, -1, -2}));
    set_origin(INT64_MIN);
    expect(scalar_value(integer(-2)), integers({INT64_MIN, INT64_MAX}));
    set_origin(1);
    for (const double value : {2.5, -0.5, nan, inf, -inf, 9.3e18}) expect_error(scalar_value(real(value)), 153);
    for (const std::int64_t value : {std::int64_t{1} << 32, INT64_MAX, INT64_MIN})
        expect_error(scalar_value(integer(value)), 146);
    set_tolerance(0.25);
    expect(scalar_value(real(2.9)), integers({1, 2, 3}));
    expect(two(real(0.9), real(3.1)), integers({1, 2, 3}));
    expect(two(real(0.5), real(3.1)), reals({0.5, 1.5, 2.5}));  // as they stand
}

TEST_F(Interval, RunsFromOneEndToTheOther) {
    expect(two(integer(-1), integer(1)), integers({-1, 0, 1}));
    expect(two(integer(4), real(1.5)), reals({4, 3, 2}));
    expect(two(real(1.5), integer(4)), reals({1.5, 2.5, 3.5}));
    expect(two(integer(3), integer(3)), integers({3}));
    expect(two(real(0.5), real(0.5)), reals({0.5}));
    expect(three(integer(1), integer(6), integer(2)), integers({1, 3, 5}));
    expect(three(integer(6), integer(1), integer(-2)), integers({6, 4, 2}));
    expect(three(integer(INT64_MIN), integer(INT64_MAX), integer(INT64_MAX)), integers({INT64_MIN, -1, INT64_MAX - 1}));
    expect(two(integer(INT64_MAX - 1), integer(INT64_MAX)), integers({INT64_MAX - 1, INT64_MAX}));
    expect(three(real(1e300), real(-1e300), real(-1e300)), reals({1e300, 0, -1e300}));
    for (const auto& [from, to, step] : {std::tuple{1, 5, 0}, {1, 5, -1}, {5, 1, 1}, {3, 3, -1}, {3, 3, 0}}) {
        expect_error(three(integer(from), integer(to), integer(step)), 158);
        expect_error(three(real(from + 0.5), real(to + 0.5), real(step)), 158);
    }
    for (const double bad : {nan, inf, -inf}) {
        expect_error(two(integer(1), real(bad)), 158);
        expect_error(two(real(bad), integer(1)), 158);
        expect_error(three(integer(1), integer(2), real(std::isnan(bad) ? bad : 0)), 158);
    }
    expect(three(integer(1), integer(2), real(inf)), reals({1}));
    expect_error(two(integer(0), integer(std::int64_t{1} << 32)), 146);
    expect_error(two(integer(INT64_MIN), integer(INT64_MAX)), 146);
    expect_error(three(real(0.5), real(1e18), real(0.5)), 146);
}

// Whether the sums are exact or not, each item is the one before and the step, across the stretches of the loop too.
TEST_F(Interval, AddsUpAsReals) {
    std::mt19937_64 random(5);
    const std::vector<double> steps{0.5, 0.1, 3, 1e-3, 0.75, 1e15, -0.25, -0.3, 0x1p-40, 1.0 / 3};
    for (const double step : steps)
        for (const std::size_t n : {std::size_t{2}, std::size_t{100}, std::size_t{65537}}) {
            const double from = std::ldexp(static_cast<double>(static_cast<std::int64_t>(random())),
                                           -62 + static_cast<int>(random() % 8));
            std::vector<double> values{from};
            while (values.size() < n) values.push_back(values.back() + step);
            const double to = from + (static_cast<double>(n) - 0.5) * step;
            if (std::trunc(std::fabs((to - from) / step)) + 1 != static_cast<double>(n)) continue;
            expect(three(real(from), real(to), real(step)), reals(values));
        }
}

// Whoever makes them: a hand-off that the clock finds not worth its time leaves the same roundings.
TEST_F(Interval, RoundsAlikeWhateverTheClockSays) {
    const Threads pool;
    const auto made = [](const Value& operand, std::uint32_t threads, double worth) {
        Threads::use(threads, 0);
        shortest_work = worth;
        DataElement* sp = stack;
        *++sp = build(operand, Layout::items);
        DataElement cell{};
        interval(sp, &cell);
        wait_for_coprocessors();
        const Value result = read(*sp);
        dereferencepoint(*sp);
        return result;
    };
    for (const Value& operand : {three(real(0.1), real(3000), real(0.1)),
                                 three(hypercomplex({0.1, 0.1}), hypercomplex({30, 10}), hypercomplex({0.1, 0.1}))}) {
        const Value handed_off = made(operand, 3, 0);
        EXPECT_TRUE(identical(made(operand, 3, 1e9), handed_off));
        EXPECT_FALSE(identical(made(operand, 1, 0), handed_off)) << "this operand shows nothing";
    }
    shortest_work = 0;
}

TEST_F(Interval, Characters) {
    const auto text = [](const std::string& characters) {
        std::vector<Item> items;
        for (const char c : characters) items.push_back(character(static_cast<unsigned char>(c)));
        return vector_value(items);
    };
    expect(scalar_value(character('#')), text(" !\"#"));
    expect(scalar_value(character(' ')), text(" "));
    expect(two(character('a'), character('d')), text("abcd"));
    expect(two(character(0xFF), character(0xFD, form::binary)), text("\xFF\xFE\xFD"));
    expect(two(character('\x02'), character(0)), text(std::string("\x02\x01\0", 3)));
    expect_error(scalar_value(character(0x1F)), 158);
    expect_error(two(character('a'), integer(3)), 156);
    expect_error(three(character('a'), character('c'), character('a')), 155);
    expect_error(three(character('a'), integer(1), real(1)), 155);
}

TEST_F(Interval, RefusesWhatIsNoEnd) {
    expect_error(vector_value({integer(1), integer(2), integer(3), integer(4)}), 154);
    expect_error({{2, 2}, {integer(1), integer(2), integer(3), integer(4)}}, 154);
    expect_error(two(integer(1), subarray(vector_value({integer(1), integer(2)}))), 154);
    expect_error(two(integer(1), character('a')), 142);
    expect_error(two(hypercomplex({1, 2}), character('a')), 142);
    expect_error(two(integer(1), hypercomplex({1, 2})), 157);
    expect_error(two(hypercomplex({1, 2}), real(1)), 157);
    expect_error(two(hypercomplex({1, 2}), hypercomplex({1, 2, 0, 0})), 157);
}

// ---- grids

Item number(const std::vector<double>& parts, std::uint16_t of_form) {
    Item item;
    item.tag = parts.size() == 2 ? tag::complex : parts.size() == 4 ? tag::quaternion : tag::octonion;
    item.form = of_form;
    std::copy(parts.begin(), parts.end(), item.parts.begin());
    return item;
}

TEST_F(Interval, CountsAGrid) {
    const auto cell = [](double re, double im) { return number({re, im}, form::number); };
    expect(scalar_value(cell(2, -3)),
           {{2, 3}, {cell(1, -1), cell(2, -1), cell(1, -2), cell(2, -2), cell(1, -3), cell(2, -3)}});
    expect(scalar_value(number({1, 1}, form::cartesian)), {{1, 1}, {cell(1, 1)}});
    expect(scalar_value(cell(3, 0)), integers({1, 2, 3}));
    expect(scalar_value(hypercomplex({-2, 0, 0, 0, 0, 0, 0, 0})), integers({-1, -2}));
    expect(scalar_value(cell(0, 3)), {{0, 3}, {}});
    expect(scalar_value(hypercomplex({2, 0, 1, 0})), {{2, 0, 1}, {}});
    expect_error(scalar_value(cell(2.5, 1)), 153);
    expect_error(scalar_value(cell(1, nan)), 153);
    expect_error(scalar_value(cell(65536, 65536)), 146);
    expect_error(scalar_value(cell(9e18, 9e18)), 146);
    set_origin(0);
    expect(scalar_value(cell(1, 2)), {{1, 2}, {cell(0, 0), cell(0, 1)}});
}

// Every axis by itself, and their product, the first one fastest.
TEST_F(Interval, SpansAGrid) {
    std::mt19937 random(9);
    for (int round = 0; round < 400; ++round) {
        const std::size_t components = std::size_t{2} << random() % 3, used = 1 + random() % components;
        const bool with_step = random() % 2 == 0;
        std::vector<double> from(components), to(components), step(components);
        for (std::size_t k = 0; k < used; ++k) {
            from[k] = static_cast<double>(random() % 5) / 2 - 1;
            to[k] = from[k] + (random() % 2 == 0 ? 0.75 : -1.25) * static_cast<double>(random() % 3);
            step[k] = from[k] <= to[k] ? 0.5 : -0.75;
            if (!with_step) step[k] = from[k] <= to[k] ? 1 : -1;
        }
        std::vector<Item> operand{number(from, form::number), number(to, form::cartesian)};
        if (with_step) operand.push_back(number(step, form::cartesian));

        std::size_t axes = components;
        while (axes > 1 && from[axes - 1] == 0 && to[axes - 1] == 0 && (!with_step || step[axes - 1] == 0)) --axes;
        std::size_t n = 1;
        Value expected;
        for (std::size_t k = 0; k < axes; ++k) {
            const double s = step[k] != 0 ? step[k] : 1;  // of a 0 between others
            expected.shape.push_back(static_cast<std::int64_t>(std::trunc(std::fabs((to[k] - from[k]) / s))) + 1);
            n *= static_cast<std::size_t>(expected.shape.back());
        }
        const std::size_t kind = axes > 4 ? 8 : axes > 2 ? 4 : 2;
        for (std::size_t i = 0; i < n; ++i) {
            std::vector<double> parts(kind);
            std::size_t rest = i;
            for (std::size_t k = 0; k < axes; ++k) {
                const auto count = static_cast<std::size_t>(expected.shape[k]);
                parts[k] = from[k];
                for (std::size_t j = 0; j < rest % count; ++j) parts[k] += step[k] != 0 ? step[k] : 1;
                rest /= count;
            }
            if (axes > 1) expected.items.push_back(number(parts, n == 1 ? form::number : form::cartesian));
            if (axes == 1) {
                expected.items.push_back(real(parts[0]));
                expected.items.back().form = n == 1 ? form::number : form::cartesian;
            }
        }
        expect(vector_value(operand), expected);
    }
}

TEST_F(Interval, HoldsEachAxisToItsStep) {
    expect_error(three(hypercomplex({1, 1}), hypercomplex({3, 3}), hypercomplex({1, -1})), 158);
    expect_error(three(hypercomplex({1, 1}), hypercomplex({3, 3}), hypercomplex({0, 1})), 158);
    expect_error(three(hypercomplex({1, 0, 1, 0}), hypercomplex({3, 0, 3, 0}), hypercomplex({1, 0, 1, 0})), 158);
    expect_error(two(hypercomplex({1, 1}), hypercomplex({1, inf})), 158);
    expect_error(two(hypercomplex({1, nan}), hypercomplex({1, 1})), 158);
}

// With one polar end all are taken as polar coordinates, those that are marked as cartesian brought to them.
TEST_F(Interval, SpansPolarCoordinates) {
    const auto polar = [](double magnitude, double angle) { return number({magnitude, angle}, form::polar); };
    expect(two(polar(1, 0.5), polar(2, 1.5)), {{2, 2}, {polar(1, 0.5), polar(2, 0.5), polar(1, 1.5), polar(2, 1.5)}});
    expect(two(polar(1, 0.25), number({0, 3}, form::cartesian)),
           {{3, 2}, {polar(1, 0.25), polar(2, 0.25), polar(3, 0.25), polar(1, 1.25), polar(2, 1.25), polar(3, 1.25)}});
    expect(two(polar(1, 0), number({3, 0}, form::number)), reals({1, 2, 3}));
    expect(scalar_value(polar(2, 1)), {{2, 1}, {polar(1, 1), polar(2, 1)}});
}

}  // namespace
}  // namespace ondrel
