// Neighbourhoods, held against a walk that works out every coordinate for itself and multiplies two items at a time.
#include "verbs/array/neighbourhood.h"

#include <gtest/gtest.h>

#include <optional>

#include "core/stack.h"
#include "tests/variation.h"

namespace ondrel {
namespace {

using Shape = std::vector<std::int64_t>;

// The coordinates of item i.
Shape coordinates(const Shape& shape, std::size_t i) {
    Shape at;
    for (const std::int64_t length : shape) {
        at.push_back(static_cast<std::int64_t>(i) % length);
        i /= static_cast<std::size_t>(length);
    }
    return at;
}

std::optional<std::size_t> plain_neighbour(const Value& data, const Shape& centre, const Shape& offset,
                                           const Shape& lengths, Edge edge) {
    std::size_t index = 0, stride = 1;
    for (std::size_t k = 0; k < data.shape.size(); ++k) {
        const std::int64_t d = data.shape[k];
        std::int64_t x = centre[k] + offset[k] - (lengths[k] - 1) / 2;
        if (edge == Edge::wrap) x = (x + d) % d;
        if (edge == Edge::reflect && x < 0) x = -x;
        if (edge == Edge::reflect && x >= d) x = 2 * d - 2 - x;
        if (x < 0 || x >= d) return {};
        index += static_cast<std::size_t>(x) * stride;
        stride *= static_cast<std::size_t>(d);
    }
    return index;
}

struct Refused {
    int error;
};

bool is_truth_of(const Item& weight) {
    if (weight.tag == tag::integer) return weight.integer != 0;
    if (weight.tag == tag::real) return weight.parts[0] > 0.5;
    const std::size_t n = weight.form == form::polar && weight.tag == tag::complex ? 1 : component_count(weight.tag);
    return std::any_of(weight.parts.begin(), weight.parts.begin() + static_cast<std::ptrdiff_t>(n),
                       [](double part) { return part != 0; });
}

Item plain_product(const Item& weight, const Item& item) {
    const bool nested = weight.tag == tag::subarray || item.tag == tag::subarray;
    if (!nested && weight.tag == tag::ascii && item.tag == tag::ascii)
        return character(weight.integer > ' ' ? static_cast<unsigned char>(item.integer) : ' ');
    if (!nested && (weight.tag == tag::ascii || item.tag == tag::ascii)) {
        const bool by_weight = item.tag == tag::ascii;
        const std::int64_t code = by_weight ? item.integer : weight.integer;
        return character(is_truth_of(by_weight ? weight : item) ? static_cast<unsigned char>(code) : ' ');
    }
    if (!nested && weight.tag == tag::integer && weight.integer == 0) {
        Item zero;
        zero.tag = item.tag;
        return zero;
    }
    DataElement* sp = stack + 2;
    const auto value = [](const Item& one) { return one.tag == tag::subarray ? *one.nested : scalar_value(one); };
    sp[-1] = build(value(weight), Layout::items);
    sp[0] = build(value(item), Layout::items);
    const int error = error_of([&] { multiply(sp, instruction_cell()); });
    const Value product = error == 0 ? read(*sp) : Value{};
    while (sp > stack) dereferencepoint(*sp--);
    if (error != 0) throw Refused{error};
    return nested ? subarray(product) : product.items[0];
}

Value plain_neighbourhood(const Value& data, const Value& mask, Edge edge, std::size_t i) {
    Value made{mask.shape, {}};
    for (std::size_t k = 0; k < mask.items.size(); ++k) {
        const auto neighbour =
            plain_neighbour(data, coordinates(data.shape, i), coordinates(mask.shape, k), mask.shape, edge);
        made.items.push_back(neighbour ? plain_product(mask.items[k], data.items[*neighbour]) : integer(0));
    }
    return made;
}

Value filled(const Shape& shape, const Group& group) {
    Value value{shape, {}};
    std::size_t n = 1;
    for (const std::int64_t length : shape) n *= static_cast<std::size_t>(length);
    for (std::size_t i = 0; i < n; ++i) value.items.push_back(group[i % group.size()]);
    return value;
}

// All neighbourhoods, one after the other, up to the first that is refused.
void check(const Value& data, const Value& mask, Edge edge, Layout layout) {
    const OnFailure tried(
        [&] { return describe(data) + " " + describe(mask) + " edge " + std::to_string(static_cast<int>(edge)); });
    const std::int64_t blocks = blocks_out();
    {
        Owner of_data(build(data, layout)), of_mask(build(mask, layout));
        Neighbourhoods neighbourhoods(of_data.record, of_mask.record, edge, {stack, instruction_cell()});
        for (std::size_t i = 0; i < data.items.size(); ++i) {
            Owner made;
            const int error = error_of([&] { made.record = neighbourhoods.next(); });
            try {
                const Value expected = plain_neighbourhood(data, mask, edge, i);
                ASSERT_EQ(error, 0) << "item " << i;
                const Value result = read(made.record);
                EXPECT_TRUE(equal(result, expected))
                    << "item " << i << ": " << describe(result) << " for " << describe(expected);
            } catch (const Refused& refused) {
                EXPECT_EQ(error, refused.error) << "item " << i;
                break;
            }
        }
        EXPECT_TRUE(identical(read(of_data.record), data));
        EXPECT_TRUE(identical(read(of_mask.record), mask));
    }
    EXPECT_EQ(blocks_out(), blocks) << "blocks not given back";
}

TEST(Neighbourhoods, AreThoseOfAPlainWalk) {
    instruction_cell();
    const Item big = integer(std::int64_t{1} << 62), inf = real(INFINITY);
    const Item nest = subarray(vector_value({integer(2), real(0.5)}));
    const Group contents[]{
        {integer(1), integer(-2), integer(3), integer(0), integer(5)},
        {integer(1, form::boolean), integer(0, form::boolean), integer(0, form::boolean)},
        {real(1.5), real(-0.0), inf, real(0.25)},
        {hypercomplex({1, -2}), hypercomplex({INFINITY, -1}), hypercomplex({0, 0.5})},
        {hypercomplex({2, 0.5}, form::polar), hypercomplex({0, 2}, form::polar)},
        {hypercomplex({0, 1, 0, 0}), hypercomplex({1, 2, 3, 4})},
        {hypercomplex({0, 0, 0, 0, 0, 0, 0, 1}), hypercomplex({1, 2, 3, 4, 5, 6, 7, 8})},
        {character('a'), character(' '), character('\xc8')},
        {integer(1), real(0.5), character('x'), nest},
        {nest, integer(0)},
        {big, integer(3), big},
    };
    const struct {
        Shape data, mask;
    } shapes[]{
        {{}, {}},
        {{1}, {1}},
        {{2}, {3}},
        {{7}, {3}},
        {{7}, {7}},
        {{5}, {1}},
        {{4, 3}, {3, 1}},
        {{4, 3}, {3, 3}},
        {{2, 2}, {3, 3}},
        {{1, 6}, {1, 5}},
        {{3, 2, 4}, {3, 3, 5}},
        {{2, 3, 2, 2}, {1, 3, 3, 3}},
    };
    std::size_t turn = 0;
    for (const auto& [data_shape, mask_shape] : shapes)
        for (const Group& of_data : contents)
            for (const Group& of_mask : contents)
                for (const Edge edge : {Edge::none, Edge::wrap, Edge::reflect}) {
                    const Layout layout = ++turn % 2 == 0 ? Layout::items : Layout::packed;
                    check(filled(data_shape, of_data), filled(mask_shape, of_mask), edge, layout);
                    if (enough_failures()) return;
                }
}

}  // namespace
}  // namespace ondrel
