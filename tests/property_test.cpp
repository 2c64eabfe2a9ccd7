// Laws that hold for every value: packing changes nothing that can be seen. The values are random, of all kinds, shapes
// and forms, and nested.
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <random>

#include "tests/palette.h"
#include "translator/sentences.h"
#include "translator/value_key.h"

namespace ondrel {
namespace {

using Random = std::mt19937_64;

std::size_t below(Random& random, std::size_t n) {
    return std::uniform_int_distribution<std::size_t>(0, n - 1)(random);
}

// A real that a listing tells from an integer, and that no reading takes for two tokens.
double fraction(Random& random) {
    switch (below(random, 5)) {
        case 0: return std::numeric_limits<double>::infinity() * (below(random, 2) == 0 ? 1 : -1);
        case 1: return std::numeric_limits<double>::quiet_NaN();
        case 2:
            return std::ldexp(0.7 + static_cast<double>(below(random, 1000)),
                              -200 - static_cast<int>(below(random, 860)));
        case 3: return std::uniform_real_distribution<double>(-1e6, 1e6)(random) + 1e-7;
        default: return -0.1 * static_cast<double>(1 + 2 * below(random, 4));
    }
}

// A component may be whole and large; its last place counts.
double component(Random& random) {
    switch (below(random, 6)) {
        case 0: return static_cast<double>(static_cast<int>(below(random, 19)) - 9);
        case 1: return std::ldexp(1.1, static_cast<int>(below(random, 1800)) - 900);
        case 2: return -static_cast<double>(std::int64_t{1} << 53);
        default: return fraction(random);
    }
}

// An integer literal is read as a double.
std::int64_t exact_integer(Random& random) {
    const std::int64_t value = static_cast<std::int64_t>(random() >> (11 + below(random, 53)));
    switch (below(random, 4)) {
        case 0: return -value;
        case 1: return value << below(random, 10);
        default: return value;
    }
}

Item hypercomplex_item(Random& random, std::uint32_t kind, bool printed_as_typed) {
    Item item{.tag = kind, .form = below(random, 2) == 0 ? form::number : form::cartesian};
    const std::size_t n = component_count(kind);
    // The last letter that is written tells the kind, so it must not be zero: a component of the upper half is not.
    const std::size_t last = n / 2 + below(random, n / 2);
    for (std::size_t i = 0; i <= last; ++i) item.parts[i] = below(random, 3) == 0 ? 0 : component(random);
    if (item.parts[last] == 0) item.parts[last] = 1.5;
    if (printed_as_typed && below(random, 3) == 0) item.marks = mark::r_prefix;
    return item;
}

Item text_character(Random& random) {
    // No quotes, and nothing that a string takes for more than itself.
    static const std::string letters = "abcXYZ .,;:!?0123456789[](){}<>+-*/\\@$%^&|~_#";
    return character(static_cast<unsigned char>(letters[below(random, letters.size())]));
}

Item simple_item(Random& random, std::uint32_t kind) {
    switch (kind) {
        case tag::ascii: return text_character(random);
        case tag::integer: return integer(exact_integer(random));
        case tag::real: return real(fraction(random));
        default: return hypercomplex_item(random, kind, true);
    }
}

Item truth_or_name(Random& random) {
    switch (below(random, 5)) {
        case 0: return named(integer(1, form::boolean), "T");
        case 1: return named(integer(0, form::boolean), "F");
        case 2: return named(integer(1, form::selector), "#SIN");
        case 3: return named(real(std::numbers::pi), "#PI");
        default: return integer(static_cast<std::int64_t>(below(random, 1000)), form::binary);
    }
}

constexpr std::uint32_t simple_kinds[] = {tag::ascii,   tag::integer,    tag::real,
                                          tag::complex, tag::quaternion, tag::octonion};

std::vector<std::int64_t> random_shape(Random& random, std::size_t& n) {
    std::vector<std::int64_t> shape(1 + below(random, 3));
    n = 1;
    for (std::int64_t& dimension : shape) {
        dimension = 1 + static_cast<std::int64_t>(below(random, 4));
        n *= static_cast<std::size_t>(dimension);
    }
    return shape;
}

// A value with at least one dimension. A text has two characters or more: with one, its listing is that of a scalar.
Value random_value(Random& random, int depth) {
    std::size_t n = 0;
    Value value{random_shape(random, n), {}};
    const std::uint32_t kind = simple_kinds[below(random, std::size(simple_kinds))];
    const bool mixed = below(random, 2) == 0;
    for (std::size_t i = 0; i < n; ++i) {
        if (mixed && depth > 0 && below(random, 3) == 0)
            value.items.push_back(subarray(random_value(random, depth - 1)));
        else if (mixed && below(random, 4) == 0)
            value.items.push_back(truth_or_name(random));
        else
            value.items.push_back(
                simple_item(random, mixed ? simple_kinds[below(random, std::size(simple_kinds))] : kind));
    }
    if (n == 1 && value.items[0].tag == tag::ascii) value.items[0] = integer(1);
    return value;
}

std::string listed(DataElement& record) { return std::string(readable_text(record, &variables)); }

TEST(Property, PackingChangesNothingThatCanBeSeen) {
    const std::int64_t blocks = blocks_out();
    Random random(8);
    std::vector<Value> values;
    for (const Group& group : palette()) values.push_back(vector_value(group));
    while (values.size() < 5'000) values.push_back(random_value(random, 2));
    for (const Value& value : values) {
        if (testing::Test::HasFailure()) break;
        DataElement items = build(value, Layout::items), packed = build(value, Layout::packed);
        EXPECT_TRUE(identical(read(packed), value)) << describe(value);
        DataElement unpacked = packed;
        unpacked.data_pointer = unpack(packed.data_pointer, packed.elements);
        reference(unpacked.shape_pointer);
        EXPECT_TRUE(identical(read(unpacked), value)) << describe(value);
        pack(unpacked);
        EXPECT_EQ(is_packed(unpacked.data_pointer), is_packed(packed.data_pointer));
        EXPECT_TRUE(identical(read(unpacked), value)) << describe(value);
        EXPECT_EQ(value_key(items, nullptr), value_key(packed, nullptr));
        EXPECT_EQ(listed(items), listed(packed));  // at the end, since it may lower numbers
        for (DataElement* const record : {&items, &packed, &unpacked}) dereferencepoint(*record);
    }
    EXPECT_EQ(blocks_out(), blocks);
}

// What qualifies for a packed block: two items or more, of one kind, form and marks, without names.
TEST(Property, OnlyUniformUnnamedArraysArePacked) {
    if (!packing) GTEST_SKIP() << "runs without packing";
    const auto packs = [](const Value& value) {
        DataElement record = build(value, Layout::packed);
        const bool is = is_packed(record.data_pointer);
        dereferencepoint(record);
        return is;
    };
    for (const Group& group : palette()) {
        const bool uniform = group[0].tag != tag::unicode && !(group[0].marks & mark::named);
        EXPECT_EQ(packs(vector_value({group[0], group[0]})), uniform) << describe(group[0]);
        EXPECT_FALSE(packs(vector_value({group[0]})));
        EXPECT_FALSE(packs(scalar_value(group[0])));
        EXPECT_FALSE(packs(vector_value({group[0], subarray(vector_value({group[0]}))})));
    }
    EXPECT_FALSE(packs(vector_value({integer(1), integer(1, form::boolean)})));
    EXPECT_FALSE(packs(vector_value({integer(1), real(1)})));
}

}  // namespace
}  // namespace ondrel
