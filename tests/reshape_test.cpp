// RESHAPE against a plain one over vectors: what it gives, whom it leaves alone, and what it refuses.
#include "verbs/array/reshape.h"

#include <gtest/gtest.h>

#include <limits>
#include <numbers>

#include "core/stack.h"
#include "tests/palette.h"

namespace ondrel {
namespace {

struct Holding {
    Layout layout;
    bool data_shared, shape_shared;
};
constexpr Holding holdings[] = {
    {Layout::items, false, false}, {Layout::items, true, false},   {Layout::items, false, true},
    {Layout::items, true, true},   {Layout::packed, false, false}, {Layout::packed, true, false},
    {Layout::packed, false, true}, {Layout::packed, true, true},
};

// Runs RESHAPE on the two. Holds the result, or for an error both operands as they were.
void check(const Value& data, const Value& shape, const Value& expected, int expected_error,
           KindBits told = KindBits::exact) {
    for (const Holding& holding : holdings) {
        SCOPED_TRACE(describe(data) + " to " + describe(shape) +
                     (holding.layout == Layout::packed ? ", packed" : ", items") +
                     (holding.data_shared ? ", data shared" : "") + (holding.shape_shared ? ", shape shared" : ""));
        const std::int64_t blocks = blocks_out();
        DataElement* sp = stack;
        *++sp = build(data, holding.layout);
        *++sp = build(shape, holding.layout);
        DataElement held_data = sp[-1], held_shape = sp[0];
        if (holding.data_shared) referencepoint(held_data);
        if (holding.shape_shared) referencepoint(held_shape);

        EXPECT_EQ(error_of([&] { reshape_stack(sp, nullptr); }), expected_error);
        ASSERT_EQ(sp, stack + (expected_error != 0 ? 2 : 1));
        if (expected_error != 0) {
            EXPECT_TRUE(identical(read(sp[-1]), data)) << "the error left " << describe(read(sp[-1]));
            EXPECT_TRUE(identical(read(*sp), shape)) << "the error left the shape " << describe(read(*sp));
        } else {
            const Value result = read(*sp, told);
            EXPECT_TRUE(identical(result, expected))
                << "gave " << describe(result) << ", expected " << describe(expected);
        }
        if (holding.data_shared) {
            EXPECT_TRUE(identical(read(held_data), data)) << "the shared data became " << describe(read(held_data));
            dereferencepoint(held_data);
        }
        if (holding.shape_shared) {
            EXPECT_TRUE(identical(read(held_shape), shape)) << "the shared shape became " << describe(read(held_shape));
            dereferencepoint(held_shape);
        }
        while (sp > stack) dereferencepoint(*sp--);
        EXPECT_EQ(blocks_out(), blocks) << "blocks not given back";
    }
}

Value numbers(const std::vector<std::int64_t>& values) {
    std::vector<Item> items;
    for (const std::int64_t value : values) items.push_back(integer(value));
    return vector_value(items);
}

Value plainly_reshaped(const Value& data, const std::vector<std::int64_t>& shape) {
    Value result{shape, {}};
    std::size_t n = 1;
    for (const std::int64_t dimension : shape) n *= static_cast<std::size_t>(dimension);
    for (std::size_t i = 0; i < n; ++i) result.items.push_back(data.items[i % data.items.size()]);
    return result;
}

// Values of n items, of one kind each, one of a mixture, and one with nests.
std::vector<Value> values_of(std::size_t n) {
    std::vector<Value> values;
    for (const Group& group : palette()) {
        Value value{{static_cast<std::int64_t>(n)}, {}};
        for (std::size_t i = 0; i < n; ++i) value.items.push_back(group[i % group.size()]);
        values.push_back(value);
    }
    Value mixed{{static_cast<std::int64_t>(n)}, {}}, nested = mixed;
    for (std::size_t i = 0; i < n; ++i) {
        mixed.items.push_back(palette()[i % palette().size()][0]);
        const Value inner =
            vector_value({integer(static_cast<std::int64_t>(i)), hypercomplex({1, 2, 3, 4, 5, 6, 7, 8})});
        nested.items.push_back(i % 2 == 0 ? subarray(inner)
                                          : subarray(vector_value({subarray(inner), character('c')})));
    }
    values.push_back(mixed);
    values.push_back(nested);
    return values;
}

const std::vector<std::vector<std::int64_t>> shapes{{1},       {2},       {3},          {7},          {23},
                                                    {2, 3},    {1, 1},    {3, 1},       {5, 4},       {2, 1, 3},
                                                    {1, 1, 1}, {2, 3, 4}, {2, 2, 2, 2}, {1, 3, 1, 2}, {6}};

TEST(Reshape, RepeatsAndCutsItemsOfEveryKind) {
    for (const std::size_t n : {std::size_t{1}, std::size_t{2}, std::size_t{6}, std::size_t{24}})
        for (const Value& data : values_of(n))
            for (const std::vector<std::int64_t>& shape : shapes) {
                // A cut leaves the kinds that the data had.
                const Value expected = plainly_reshaped(data, shape);
                check(data, numbers(shape), expected, 0,
                      expected.items.size() < n ? KindBits::at_least : KindBits::exact);
            }
}

TEST(Reshape, OfScalarsAndArrays) {
    for (const Group& group : small_palette()) {
        check(scalar_value(group[0]), numbers({4}), {{4}, {group[0], group[0], group[0], group[0]}}, 0);
        check(scalar_value(group[0]), numbers({1}), {{1}, {group[0]}}, 0);
        const Value matrix{{3, 2}, {group[0], group[1], group[2], group[2], group[1], group[0]}};
        check(matrix, numbers({6}), {{6}, matrix.items}, 0);
        check(matrix, numbers({2, 3}), {{2, 3}, matrix.items}, 0);
        check(matrix, scalar_value(integer(2)), vector_value({group[0], group[1]}), 0);
        check(matrix, scalar_value(integer(8)), plainly_reshaped(matrix, {8}), 0);
    }
}

TEST(Reshape, AnEmptyShapeLeavesTheValue) {
    const Value empty{{0}, {}};
    for (const Group& group : palette()) {
        check(vector_value(group), empty, vector_value(group), 0);
        check(scalar_value(group[0]), empty, scalar_value(group[0]), 0);
    }
    const Value nested = vector_value({subarray(numbers({1, 2})), hypercomplex({1, 2, 3, 4, 5, 6, 7, 8})});
    check(nested, empty, nested, 0);
    check(empty, empty, empty, 0);
    check({{2, 0}, {}}, empty, {{2, 0}, {}}, 0);
    // A shape of too high a rank is refused before it is seen to be empty.
    check({{2, 0}, {}}, {{0, 5}, {}}, {}, 10);
}

TEST(Reshape, ToNothingAndFromNothing) {
    for (const Group& group : palette()) {
        check(vector_value(group), numbers({0}), {{0}, {}}, 0);
        check(vector_value(group), numbers({3, 0, 2}), {{3, 0, 2}, {}}, 0);
        check(scalar_value(group[0]), scalar_value(integer(0)), {{0}, {}}, 0);
    }
    check({{0}, {}}, numbers({0}), {{0}, {}}, 0);
    check({{0, 3}, {}}, numbers({0, 0}), {{0, 0}, {}}, 0);
    check({{0}, {}}, numbers({3}), {}, 11);
    check({{2, 0}, {}}, scalar_value(integer(1)), {}, 11);
}

// A dimension may be any number that is an integer in disguise.
TEST(Reshape, TakesWholeNumbersOfEveryKindAsDimensions) {
    const Value data = numbers({1, 2, 3, 4});
    const Value expected = numbers({1, 2});
    check(data, scalar_value(real(2)), expected, 0);
    check(data, vector_value({real(2)}), expected, 0);
    check(data, scalar_value(hypercomplex({2, 0})), expected, 0);
    check(data, scalar_value(hypercomplex({2, 0}, form::cartesian)), expected, 0);
    check(data, scalar_value(hypercomplex({2, 0}, form::polar)), expected, 0);
    check(data, scalar_value(hypercomplex({2, 0, 0, 0})), expected, 0);
    check(data, scalar_value(hypercomplex({2, 0, 0, 0, 0, 0, 0, 0})), expected, 0);
    // The other parts need only add up to zero.
    check(data, scalar_value(hypercomplex({2, 5, -5, 0})), expected, 0);
    check(data, scalar_value(hypercomplex({2, 1, -1, 2, -2, 3, -3, 0})), expected, 0);
    // A polar number counts as the one that it stands for.
    check(data, scalar_value(hypercomplex({-2, std::numbers::pi}, form::polar)), expected, 0);
    check(data, scalar_value(hypercomplex({0, 1}, form::polar)), {{0}, {}}, 0);
    check(data, scalar_value(hypercomplex({2, 1, -1, 0}, form::polar)), {}, 113);
    check(data, vector_value({integer(2), real(1), hypercomplex({2, 0})}), {{2, 1, 2}, data.items}, 0);
    check(data, vector_value({real(2), real(2)}), {{2, 2}, data.items}, 0);
    check(data, scalar_value(integer(1, form::boolean)), numbers({1}), 0);
    check(data, vector_value({named(integer(2, form::selector), "#COS"), integer(2)}), {{2, 2}, data.items}, 0);
}

TEST(Reshape, RefusesWhatIsNoShape) {
    const std::vector<Value> data{numbers({1, 2, 3}),
                                  scalar_value(hypercomplex({1, 2, 3, 4, 5, 6, 7, 8})),
                                  vector_value({subarray(numbers({1, 2})), character('a'), real(0.5)}),
                                  {{0}, {}}};
    constexpr double inf = std::numeric_limits<double>::infinity();
    for (const Value& value : data) {
        check(value, {{1, 1}, {integer(2)}}, {}, 10);
        check(value, {{2, 2}, numbers({1, 2, 3, 4}).items}, {}, 10);
        check(value, vector_value({subarray(numbers({1}))}), {}, 1101);
        check(value, vector_value({integer(1), subarray(scalar_value(character('a')))}), {}, 1101);
        check(value, scalar_value(character('2')), {}, 1102);
        check(value, vector_value({character('2'), character('3')}), {}, 1102);
        check(value, vector_value({integer(2), real(3), character('3')}), {}, 1102);
        // A character counts before any other fault of the items does.
        check(value, vector_value({real(2.5), character('3')}), {}, 1102);
        check(value, vector_value({integer(-1), character('3')}), {}, 1102);
        check(value, scalar_value(real(2.5)), {}, 113);
        check(value, vector_value({real(3), real(2.5)}), {}, 113);
        check(value, scalar_value(hypercomplex({2, 1})), {}, 113);
        check(value, scalar_value(hypercomplex({2, 0, 0, 1e-300})), {}, 113);
        check(value, scalar_value(hypercomplex({2, 0, 0, 0, 0, 0, 0, 1})), {}, 113);
        check(value, vector_value({real(3), hypercomplex({2, 0}), hypercomplex({2, 1})}), {}, 113);
        check(value, scalar_value(real(inf)), {}, 113);
        check(value, scalar_value(real(-inf)), {}, 113);
        check(value, scalar_value(real(std::numeric_limits<double>::quiet_NaN())), {}, 113);
        check(value, scalar_value(real(1e300)), {}, 113);
        check(value, scalar_value(integer(-1)), {}, 113);
        check(value, numbers({2, -1}), {}, 113);
        check(value, numbers({0, -1}), {}, 113);
        check(value, scalar_value(real(-3)), {}, 113);
        check(value, numbers({-2, -3}), {}, 113);
    }
}

// Whatever the product of such a shape is in 32 or 64 bits, it must not be taken for a small one. How it is refused is
// not fixed; that both operands stay is.
TEST(Reshape, AShapeTooLargeForAnyMemoryIsRefused) {
    const std::int64_t large = std::int64_t{1} << 32, greatest = std::numeric_limits<std::int64_t>::max();
    for (const Value& shape : {numbers({large}), numbers({large, large}), numbers({greatest}), numbers({greatest, 2}),
                               numbers({large + 1}), numbers({65536, 65536}), numbers({3, large, large})}) {
        SCOPED_TRACE(describe(shape));
        const std::int64_t blocks = blocks_out();
        const Value data = numbers({1, 2, 3});
        DataElement* sp = stack;
        *++sp = build(data, Layout::packed);
        *++sp = build(shape, Layout::packed);
        EXPECT_NE(error_of([&] { reshape_stack(sp, nullptr); }), 0);
        ASSERT_EQ(sp, stack + 2);
        EXPECT_TRUE(identical(read(sp[-1]), data));
        EXPECT_TRUE(identical(read(*sp), shape));
        while (sp > stack) dereferencepoint(*sp--);
        EXPECT_EQ(blocks_out(), blocks);
    }
}

}  // namespace
}  // namespace ondrel
