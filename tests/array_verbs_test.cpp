// The verbs on whole arrays, held against plain ones written here: on values of every kind and rank, packed and as
// items, alone and shared. An operand that someone else holds stays what it was, and so do those of an error.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <numeric>
#include <optional>

#include "core/stack.h"
#include "tests/evaluator.h"
#include "tests/threads.h"
#include "tests/variation.h"
#include "verbs/array/cells.h"
#include "verbs/array/encoding.h"
#include "verbs/array/nests.h"
#include "verbs/array/selection.h"
#include "verbs/array/shapes.h"

namespace ondrel {
namespace {

using Shape = std::vector<std::int64_t>;

std::size_t product(const Shape& shape) {
    return static_cast<std::size_t>(std::accumulate(shape.begin(), shape.end(), std::int64_t{1}, std::multiplies<>{}));
}

// ---- the plain verbs; nothing where the verb refuses

using Plain = std::optional<Value>;

Value with_items(Shape shape, const Value& value, const std::vector<std::size_t>& places) {
    Value made{std::move(shape), {}};
    for (const std::size_t place : places) made.items.push_back(value.items[place]);
    return made;
}

std::vector<std::size_t> counting(std::size_t from, std::size_t to) {
    std::vector<std::size_t> places(to - from);
    std::iota(places.begin(), places.end(), from);
    return places;
}

Plain plain_ravel(const Value& value) { return Value{{static_cast<std::int64_t>(value.items.size())}, value.items}; }

void add_leaves(std::vector<Item>& leaves, const Value& value) {
    for (const Item& item : value.items) {
        if (item.tag == tag::subarray)
            add_leaves(leaves, *item.nested);
        else
            leaves.push_back(item);
    }
}

Plain plain_enlist(const Value& value) {
    Value leaves;
    add_leaves(leaves.items, value);
    leaves.shape = {static_cast<std::int64_t>(leaves.items.size())};
    return leaves;
}

Plain plain_reverse(const Value& value) {
    Value turned = value;
    std::ranges::reverse(turned.items);
    return turned;
}

Plain plain_transpose(const Value& value) {
    if (value.shape.size() > 8) return {};
    if (value.items.empty()) return value;
    Shape shape = value.shape;
    std::ranges::reverse(shape);
    std::vector<std::size_t> places;
    for (std::size_t i = 0; i < value.items.size(); ++i) {
        std::size_t rest = i, place = 0, after = value.items.size();
        for (const std::int64_t extent : shape) {
            after /= static_cast<std::size_t>(extent);
            place += rest % static_cast<std::size_t>(extent) * after;
            rest /= static_cast<std::size_t>(extent);
        }
        places.push_back(place);
    }
    return with_items(shape, value, places);
}

Item prototype(const Value& value) { return !value.items.empty() ? value.items[0] : integer(0); }

Plain plain_first(const Value& value) {
    if (value.shape.size() < 2 || value.items.empty()) return Value{{}, {prototype(value)}};
    Shape shape = value.shape;
    shape.pop_back();
    return with_items(shape, value, counting(0, product(shape)));
}

Plain plain_first_item(const Value& value) {
    const Item item = prototype(value);
    if (!value.shape.empty() && item.tag == tag::subarray) return *item.nested;
    return Value{{}, {item}};
}

Plain plain_rest(const Value& value) {
    const std::size_t cells = value.shape.empty() ? 1 : static_cast<std::size_t>(value.shape.back());
    if (value.items.size() < 2 || cells < 2) return Value{Shape(std::max<std::size_t>(value.shape.size(), 1), 0), {}};
    Shape shape = value.shape;
    --shape.back();
    return with_items(shape, value, counting(value.items.size() / cells, value.items.size()));
}

Plain plain_rest_less(const Value& value) {
    Plain rest = plain_rest(value);
    if (rest->items.empty()) return Value{{0}, {}};
    if (rest->shape.back() == 1) rest->shape.pop_back();
    return rest;
}

Plain plain_shape(const Value& value) {
    Value shape{{static_cast<std::int64_t>(value.shape.size())}, {}};
    for (const std::int64_t extent : value.shape) shape.items.push_back(integer(extent));
    return shape;
}

Item plain_number(Item item) {
    item.form = form::number;
    item.marks = 0;
    item.name.clear();
    return item;
}

Item without_name(Item item) {
    item.marks &= static_cast<std::uint16_t>(~(mark::named | mark::hidden));
    item.name.clear();
    return item;
}

Value each_item(const Value& value, const std::function<Item(const Item&)>& convert) {
    Value made = value;
    for (Item& item : made.items)
        item = item.tag == tag::subarray ? subarray(each_item(*item.nested, convert)) : convert(without_name(item));
    return made;
}

Plain plain_enascii(const Value& value) {
    return each_item(value, [](const Item& item) {
        const bool is_code = item.tag == tag::integer
                                 ? item.integer >= 0 && item.integer <= 255
                                 : item.tag == tag::real && item.parts[0] >= 0 && item.parts[0] <= 255 &&
                                       item.parts[0] - std::floor(item.parts[0]) < 1e-15;
        if (!is_code) return item;
        return character(static_cast<unsigned char>(item.tag == tag::integer ? item.integer
                                                                             : std::lround(std::floor(item.parts[0]))));
    });
}

Plain plain_deascii(const Value& value) {
    return each_item(value, [](const Item& item) {
        if (item.tag != tag::ascii) return item;
        Item code = integer(item.integer);
        code.marks = item.marks;
        return code;
    });
}

bool any_of_kinds(const Value& value, std::initializer_list<std::uint32_t> tags) {
    return std::ranges::any_of(value.items, [&](const Item& item) { return std::ranges::count(tags, item.tag) != 0; });
}

Plain plain_encapsulate(const Value& value) {
    const bool nested = any_of_kinds(value, {tag::subarray});
    const bool others = any_of_kinds(value, {tag::ascii, tag::unicode, tag::complex, tag::quaternion, tag::octonion});
    const bool numbers = any_of_kinds(value, {tag::integer, tag::real});
    const std::size_t n = value.items.size();
    if (n == 0 || (nested && (others || numbers))) return value;
    if (nested) {
        Value made = value;
        for (Item& item : made.items) {
            const Value inner = *plain_encapsulate(*item.nested);
            item = inner.shape.empty() ? inner.items[0] : subarray(inner);
        }
        return made;
    }
    if (value.shape.size() != 1 || others || n > 8) return value;
    const auto number = [](const Item& item) {
        return item.tag == tag::real ? item.parts[0] : static_cast<double>(item.integer);
    };
    if (n == 1) {
        const double only = number(value.items[0]);
        const bool is_whole = value.items[0].tag == tag::real && std::floor(only) == only && std::fabs(only) < 0x1p63;
        return is_whole ? scalar_value(integer(static_cast<std::int64_t>(only))) : value;
    }
    Item made = n == 2   ? hypercomplex({0, 0})
                : n <= 4 ? hypercomplex({0, 0, 0, 0})
                         : hypercomplex({0, 0, 0, 0, 0, 0, 0, 0});
    std::ranges::transform(value.items, made.parts.begin(), number);
    return scalar_value(made);
}

Plain plain_decapsulate(const Value& value) {
    if (value.items.empty()) return value;
    const auto vector_of = [](const Item& item) {
        if (item.tag == tag::subarray) return *plain_decapsulate(*item.nested);
        if (item.tag < tag::integer) return vector_value({item});
        if (item.tag < tag::complex) return vector_value({plain_number(item)});
        std::vector<Item> parts;
        for (std::size_t k = 0; k < component_count(item.tag); ++k) parts.push_back(real(item.parts[k]));
        while (parts.size() > 1 && parts.back().parts[0] == 0) parts.pop_back();
        return vector_value(parts);
    };
    if (value.shape.empty() && value.items[0].tag != tag::subarray) return vector_of(value.items[0]);
    Value made = value;
    for (Item& item : made.items) {
        const Value inner = vector_of(item);
        item =
            inner.shape.empty() && (value.items.size() > 1 || value.shape.empty()) ? inner.items[0] : subarray(inner);
    }
    return made;
}

// ---- the operands

// A value of each shape, the items of the group in turn.
std::vector<Value> values_of(const Group& group) {
    const Shape shapes[]{{},
                         {1},
                         {2},
                         {7},
                         {40},
                         {0},
                         {1, 1},
                         {3, 2},
                         {2, 1},
                         {1, 4},
                         {0, 3},
                         {33, 35},
                         {2, 3, 4},
                         {3, 1, 2, 2},
                         {2, 1, 1, 3, 1},
                         {1, 0, 2, 1, 1, 1},
                         {2, 1, 1, 1, 2, 1, 1},
                         {1, 1, 1, 1, 1, 1, 1, 1},
                         {2, 1, 1, 2, 1, 1, 1, 1, 3}};
    std::vector<Value> values;
    for (const Shape& shape : shapes) {
        Value value{shape, {}};
        for (std::size_t i = 0; i < product(shape); ++i) value.items.push_back(group[i % group.size()]);
        values.push_back(value);
    }
    return values;
}

// The groups of the palette, each beside a nest of its own kind, numbers with nests among them, and all kinds together.
std::vector<Group> groups() {
    std::vector<Group> all = small_palette();
    const Group first = all[0], last = all.back();
    for (const Group& group : small_palette())
        all.push_back({subarray(vector_value({group[0], group.back()})), group[0], group.back()});
    all.push_back({first[0], last[1], integer(3), subarray(vector_value({first[1], last[0]})), real(0.5)});
    all.push_back({subarray(scalar_value(first[0])), subarray({{2, 1}, {last[0], integer(7)}})});
    all.push_back({subarray(vector_value({integer(1), integer(2)})), subarray(vector_value({integer(3), integer(4)}))});
    all.push_back({subarray(Value{{0}, {}}), subarray(vector_value({subarray(Value{{0}, {}}), integer(5)})), real(6)});
    return all;
}

using Run = void (*)(DataElement*& sp, DataElement* cell);

DataElement* cell_with(std::uint16_t modifier) {
    static DataElement cell;
    cell = *instruction_cell();
    cell.modifier = modifier;
    return &cell;
}

struct Monadic {
    const char* name;
    Run run;
    Plain (*plain)(const Value& value);
    std::uint16_t modifier = 0;
    bool may_warn = false;            // and leave the value as it is
    KindBits told = KindBits::exact;  // what was a mix still counts as one
};
constexpr Monadic monadic_verbs[]{
    {"RAVEL", ravel, plain_ravel},
    {"ENLIST", enlist, plain_enlist},
    {"REVERSE", reverse, plain_reverse},
    {"TRANSPOSE", transpose, plain_transpose},
    {"FIRST", first, plain_first},
    {"FIRSTONE", first, plain_first_item, 93},
    {"REST", rest, plain_rest},
    {"RREST", rest, plain_rest_less, 196},
    {"SHAPE", shape, plain_shape},
    {"ENASCII", enascii, plain_enascii, 0, false, KindBits::at_least},
    {"DEASCII", deascii, plain_deascii, 0, false, KindBits::at_least},
    {"ENCAPSULATE", encapsulate, plain_encapsulate, 0, true},
    {"DECAPSULATE", decapsulate, plain_decapsulate, 0, false, KindBits::at_least},
};

constexpr Holding holdings[]{plain, plain_shared, packed, packed_shared};

// By one thread and by several.
class ArrayVerbs : public testing::TestWithParam<std::uint32_t> {
    const Threads threads{GetParam()};
};
INSTANTIATE_TEST_SUITE_P(ByThreads, ArrayVerbs, testing::Values(1, 3));

TEST_P(ArrayVerbs, OfOneValue) {
    instruction_cell();
    for (const Monadic& verb : monadic_verbs)
        for (const Group& group : groups())
            for (const Value& value : values_of(group))
                for (const Holding holding : holdings) {
                    const OnFailure tried(
                        [&] { return std::string(verb.name) + " of " + describe(value) + describe_holding(holding); });
                    const std::int64_t blocks = blocks_out();
                    DataElement* sp = stack + 1;
                    *sp = build(value, holding.layout);
                    Operand operand(value, *sp, holding.shared);
                    const int error = error_of([&] { verb.run(sp, cell_with(verb.modifier)); });
                    const bool warned = verb.may_warn && (error == 1003 || error == 1004);
                    const Plain expected = verb.plain(value);
                    EXPECT_EQ(error == 0 || warned, expected.has_value()) << error;
                    // Characters have a prototype of their own, and the shape of a scalar a type.
                    const bool is_told = !(value.items.empty() && group[0].tag == tag::ascii && verb.run == first) &&
                                         !(value.shape.empty() && verb.run == shape);
                    if (is_told) {
                        const Value result = read(*sp, verb.told);
                        EXPECT_TRUE(identical(result, expected.value_or(value))) << describe(result);
                    }
                    dereferencepoint(*sp);
                    operand.check();
                    EXPECT_EQ(blocks_out(), blocks) << "blocks not given back";
                    if (enough_failures()) return;
                }
}

// ---- two operands

Plain plain_catenate(const Value& left, const Value& right) {
    if (left.shape.size() > 1 || right.shape.size() > 1) return {};
    if (left.items.empty()) return right;
    if (right.items.empty()) return left;
    Value joined = left;
    joined.items.insert(joined.items.end(), right.items.begin(), right.items.end());
    joined.shape = {static_cast<std::int64_t>(joined.items.size())};
    return joined;
}

// The axis that the mask goes along, by the number of neighbours that stay together.
Plain plain_compress(const Value& value, const Value& mask, bool cells) {
    for (const Item& item : mask.items)
        if (item.tag != tag::integer) return {};
    if (mask.shape.size() > 1 || mask.items.empty()) return {};
    if (mask.items.size() == 1) return mask.items[0].integer > 0 ? value : Value{{0}, {}};
    if (value.shape.empty()) return {};
    const std::size_t axis = cells ? value.shape.size() - 1 : 0;
    if (value.shape[axis] != static_cast<std::int64_t>(mask.items.size())) return {};
    std::vector<std::size_t> places;
    const std::size_t together = cells ? value.items.size() / mask.items.size() : 1;
    for (std::size_t i = 0; i < value.items.size(); ++i)
        if (mask.items[i / std::max<std::size_t>(together, 1) % mask.items.size()].integer > 0) places.push_back(i);
    Shape shape = value.shape;
    shape[axis] = std::ranges::count_if(mask.items, [](const Item& item) { return item.integer > 0; });
    return with_items(shape, value, places);
}

struct Dyadic {
    const char* name;
    Run run;
    std::function<Plain(const Value&, const Value&)> plain;
    bool keeps_depth = false;  // of the left operand, whatever is left of it
};

void check(const Dyadic& verb, const Value& left, const Value& right, Holding of_left, Holding of_right) {
    const OnFailure tried([&] {
        return describe(left) + describe_holding(of_left) + " " + describe(right) + describe_holding(of_right) + " " +
               verb.name;
    });
    const std::int64_t blocks = blocks_out();
    DataElement* sp = stack + 2;
    sp[-1] = build(left, of_left.layout);
    sp[0] = build(right, of_right.layout);
    Operand left_operand(left, sp[-1], of_left.shared), right_operand(right, sp[0], of_right.shared);
    const std::int16_t depth = sp[-1].depth;
    const int error = error_of([&] { verb.run(sp, cell_with(0)); });
    const Plain expected = verb.plain(left, right);
    EXPECT_EQ(error == 0, expected.has_value()) << error;
    if (error == 0) {
        ASSERT_EQ(sp, stack + 1);
        const Value result = read(*sp, verb.keeps_depth ? KindBits::at_least : KindBits::exact);
        EXPECT_TRUE(!verb.keeps_depth || result.items.empty() || sp->depth == depth) << sp->depth;
        if (expected.has_value()) {
            EXPECT_TRUE(identical(result, *expected)) << describe(result);
        }
    } else {
        EXPECT_TRUE(identical(read(sp[-1]), left)) << "the error left " << describe(read(sp[-1]));
        EXPECT_TRUE(identical(read(*sp), right)) << "the error left " << describe(read(*sp));
    }
    while (sp > stack) dereferencepoint(*sp--);
    left_operand.check();
    right_operand.check();
    EXPECT_EQ(blocks_out(), blocks) << "blocks not given back";
}

// Degrees worked out by hand: two points an item, one for its kind and one for its value, and one each for depth, rank
// and every dimension.
TEST_P(ArrayVerbs, MatchGivesDegreesOfLikeness) {
    instruction_cell();
    const Value flat = vector_value({integer(1), real(2), character('x')}), empty{{0}, {}};
    const Value nest = vector_value({integer(1), subarray(flat)}), other = vector_value({integer(2), subarray(flat)});
    const Value octonion = scalar_value(hypercomplex({1, 2, 3, 4, 5, 6, 7, NAN}));
    struct {
        Value left, right;
        double scored, most;
        bool same;
    } const cases[]{
        {scalar_value(integer(1)), scalar_value(integer(2)), 3, 4, false},
        {scalar_value(integer(1)), scalar_value(real(1)), 2, 4, false},
        {empty, vector_value({integer(1), integer(2), integer(3)}), 2, 9, false},
        {flat, flat, 9, 9, true},
        {empty, empty, 3, 3, true},
        {octonion, octonion, 4, 4, true},
        {scalar_value(real(0.0)), scalar_value(real(-0.0)), 4, 4, true},
        {scalar_value(real(INFINITY)), scalar_value(real(-INFINITY)), 3, 4, false},
        {nest, nest, 11, 11, true},
        {nest, other, 10, 11, false},
        {nest, vector_value({integer(1), integer(1)}), 4, 13, false},
        {{{3, 2}, Value(plain_enlist(vector_value({subarray(flat), subarray(flat)})).value()).items},
         {{2, 3}, Value(plain_enlist(vector_value({subarray(flat), subarray(flat)})).value()).items},
         14,
         16,
         false},
    };
    for (const auto& [left, right, scored, most, same] : cases)
        for (const Holding holding : {plain, packed})
            for (const bool exact : {false, true}) {
                const OnFailure tried(
                    [&] { return describe(left) + " MATCH " + describe(right) + describe_holding(holding); });
                DataElement* sp = stack + 2;
                sp[-1] = build(left, holding.layout);
                sp[0] = build(right, holding.layout);
                EXPECT_EQ(error_of([&] { match(sp, cell_with(exact ? 258 : 0)); }), 0);
                ASSERT_EQ(sp, stack + 1);
                Item expected = exact ? integer(same, form::boolean) : degree(scored / most);
                EXPECT_TRUE(identical(read(*sp), scalar_value(expected))) << describe(read(*sp));
                dereferencepoint(*sp);
            }
}

TEST_P(ArrayVerbs, OfTwoValues) {
    instruction_cell();
    const Dyadic catenated{"CATENATE", catenate, plain_catenate};
    const Dyadic masked[]{
        {"COMPRESS", compress, [](const Value& l, const Value& r) { return plain_compress(l, r, false); }, true},
        {"COMPRESSLASTAXIS", compress_cells, [](const Value& l, const Value& r) { return plain_compress(l, r, true); },
         true}};
    std::vector<Value> masks{scalar_value(integer(2)),
                             scalar_value(integer(-1)),
                             vector_value({integer(0)}),
                             scalar_value(real(1)),
                             {{2, 2}, {integer(1), integer(1), integer(0), integer(1)}},
                             Value{{0}, {}}};
    for (const std::int64_t n : {1, 2, 3, 4, 7, 33, 35, 40})
        for (const int keeps : {0, 1, 2, 3}) {
            Value mask{{n}, {}};
            for (std::int64_t i = 0; i < n; ++i)
                mask.items.push_back(integer(keeps == 0   ? -i
                                             : keeps == 1 ? 9
                                                          : (i * i) % keeps,
                                             keeps == 2 && n > 7 ? form::boolean : form::number));
            masks.push_back(mask);
        }
    std::size_t turn = 0;
    const std::vector<Group> all = groups();
    for (const Group& group : all)
        for (const Value& value : values_of(group)) {
            for (const Dyadic& verb : masked)
                for (const Value& mask : masks) {
                    ++turn;
                    check(verb, value, mask, holdings[turn % 4], holdings[turn / 4 % 4]);
                }
            for (const Group& others : {group, all[turn % all.size()]})
                for (const Value& other : values_of(others)) {
                    ++turn;
                    check(catenated, value, other, holdings[turn % 4], holdings[turn / 4 % 4]);
                }
            if (enough_failures()) return;
        }
}

// A function that gives its argument back changes nothing but that a nested scalar gives way to what it holds.
TEST_P(ArrayVerbs, EachItem) {
    Evaluator evaluator;
    instruction_cell();
    for (const Group& group : groups())
        for (const Value& value : values_of(group))
            for (const Holding holding : holdings) {
                const OnFailure tried([&] { return describe(value) + describe_holding(holding); });
                const std::int64_t blocks = blocks_out();
                *++evaluator.sp = build(value, holding.layout);
                Operand operand(value, *evaluator.sp, holding.shared);
                EXPECT_EQ(evaluator.run("MONADIC ; EACH\n"), "");
                Value expected = value;
                for (Item& item : expected.items)
                    if (item.tag == tag::subarray && item.nested->shape.empty()) item = Item(item.nested->items[0]);
                const Value result = read(*evaluator.sp);
                EXPECT_TRUE(identical(result, expected)) << describe(result);
                evaluator.clear();
                operand.check();
                EXPECT_EQ(blocks_out(), blocks) << "blocks not given back";
                if (enough_failures()) return;
            }
}

}  // namespace
}  // namespace ondrel
