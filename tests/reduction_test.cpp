// Reductions, held against folds of scalars by the verbs themselves: every verb along both axes, over values of every
// kind and rank, packed and as items, alone and shared. What the fast folds do
// differently, integers as doubles and sums of mixed kinds, is worked out here.
#include "verbs/array/reduction.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <numeric>
#include <random>
#include <set>

#include "core/stack.h"
#include "data/instructions.h"
#include "numbers/polar.h"
#include "tests/variation.h"
#include "verbs/scalar/dyadic.h"

namespace ondrel {
namespace {

using Shape = std::vector<std::int64_t>;
using Run = void (*)(DataElement*& sp, DataElement* cell);

struct Folding {
    Instruction instruction;
    ScalarVerb* verb;
    bool from_left = false, takes_characters = false;
    double (*of_doubles)(double, double) = nullptr;
};
const Folding foldings[]{
    {Instruction::ADD, add, true, false, [](double a, double b) { return a + b; }},
    {Instruction::SUBTRACT, subtract, false, false, [](double a, double b) { return a - b; }},
    {Instruction::MULTIPLY, multiply, false, false, [](double a, double b) { return a == 0 || b == 0 ? 0 : a * b; }},
    {Instruction::DIVIDE, divide, false, false, [](double a, double b) { return a / b; }},
    {Instruction::RESIDUE, residue},
    {Instruction::MINIMUM, minimum, false, true},
    {Instruction::MAXIMUM, maximum, false, true},
    {Instruction::POWER, power},
    {Instruction::LOGARITHM, logarithm},
    {Instruction::CIRCULAR, circular},
    {Instruction::BINOMIAL, binomial},
    {Instruction::AND, and_, true},
    {Instruction::OR, or_, true},
    {Instruction::STRONGAND, strongand, true},
    {Instruction::STRONGOR, strongor, true},
    {Instruction::STRONGNAND, strongnand, true},
    {Instruction::STRONGNOR, strongnor, true},
    {Instruction::IDENTICAL, identical, false, true},
    {Instruction::NOTIDENTICAL, notidentical, false, true},
    {Instruction::LESS, less, false, true},
    {Instruction::NOTGREATER, notgreater, false, true},
    {Instruction::EQUIVALENT, equivalent, false, true},
    {Instruction::NOTLESS, notless, false, true},
    {Instruction::GREATER, greater, true, true},
    {Instruction::NOTEQUIVALENT, notequivalent, false, true},
};

DataElement* cell_of(Instruction instruction) {
    static DataElement cell;
    cell = *instruction_cell();
    cell.modifier = static_cast<std::uint16_t>(instruction);
    return &cell;
}

// ---- the plain fold

bool is_number(const Item& item) { return item.tag >= tag::integer && item.tag <= tag::octonion; }

Item cartesian(Item item) {
    if (item.tag >= tag::complex && item.form == form::polar) {
        const auto convert = item.tag == tag::complex      ? cartesiancomplex
                             : item.tag == tag::quaternion ? cartesianquat
                                                           : cartesianocto;
        convert(item.parts.data(), item.parts.data());
    }
    Item made;
    made.tag = item.tag;
    made.integer = item.integer;
    made.parts = item.parts;
    return made;
}

Item integer_or_real(double value) {
    return value >= -0x1p63 && value < 0x1p63 ? integer(static_cast<std::int64_t>(value)) : real(value);
}

Item sum_of_kinds(const std::vector<Item>& items) {
    std::array<double, 8> sum{};
    for (const Item& item : items) {
        const Item number = cartesian(item);
        if (number.tag == tag::integer) sum[0] += static_cast<double>(number.integer);
        for (std::size_t k = 0; k < component_count(number.tag); ++k) sum[k] += number.parts[k];
    }
    std::size_t n = 8;
    while (n > 1 && std::all_of(sum.begin() + static_cast<std::ptrdiff_t>(n / 2),
                                sum.begin() + static_cast<std::ptrdiff_t>(n), [](double x) { return x == 0; }))
        n /= 2;
    if (n == 1) return std::trunc(sum[0]) == sum[0] ? integer_or_real(sum[0]) : real(sum[0]);
    Item made = n == 2   ? hypercomplex({0, 0})
                : n == 4 ? hypercomplex({0, 0, 0, 0})
                         : hypercomplex({0, 0, 0, 0, 0, 0, 0, 0});
    std::copy_n(sum.begin(), n, made.parts.begin());
    return made;
}

Value value_of(const Item& item) { return item.tag == tag::subarray ? *item.nested : scalar_value(item); }

// By the verb, two values at a time; throws what it raises.
struct Refused {
    int error;
};
Item by_verb(const Folding& folding, std::vector<Item> items) {
    if (!folding.from_left) std::reverse(items.begin(), items.end());
    Value so_far = value_of(items[0]);
    for (std::size_t i = 1; i < items.size(); ++i) {
        const Value next = value_of(items[i]);
        DataElement* sp = stack + 2;
        sp[-1] = build(folding.from_left ? so_far : next, Layout::items);
        sp[0] = build(folding.from_left ? next : so_far, Layout::items);
        const int error = error_of([&] { folding.verb(sp, instruction_cell()); });
        if (error == 0) so_far = read(*sp);
        while (sp > stack) dereferencepoint(*sp--);
        if (error != 0) throw Refused{error};
    }
    return so_far.shape.empty() ? so_far.items[0] : subarray(so_far);
}

Item folded_group(const Folding& folding, const std::set<std::uint32_t>& kinds, std::vector<Item> items) {
    const bool all_numbers = std::ranges::all_of(items, is_number);
    if (items.size() == 1 || folding.of_doubles == nullptr || !all_numbers) return by_verb(folding, items);
    if (kinds.size() > 1)
        return folding.instruction == Instruction::ADD ? sum_of_kinds(items) : by_verb(folding, items);
    std::ranges::transform(items, items.begin(), cartesian);
    if (!kinds.contains(tag::integer)) return by_verb(folding, items);
    std::vector<double> values;
    for (const Item& item : items) values.push_back(static_cast<double>(item.integer));
    if (folding.from_left)
        return integer_or_real(std::accumulate(values.begin() + 1, values.end(), values[0], folding.of_doubles));
    return integer_or_real(
        std::accumulate(values.rbegin() + 1, values.rend(), values.back(),
                        [&](double so_far, double item) { return folding.of_doubles(item, so_far); }));
}

Value plain_reduce(const Folding& folding, const Value& value, bool neighbours) {
    if (value.shape.empty() || value.items.empty()) return value;
    std::set<std::uint32_t> kinds;
    for (const Item& item : value.items) kinds.insert(item.tag);
    if (!folding.takes_characters && kinds.contains(tag::ascii)) throw Refused{75};
    Value result;
    result.shape = value.shape;
    const auto n = static_cast<std::size_t>(neighbours ? value.shape.front() : value.shape.back());
    result.shape.erase(neighbours ? result.shape.begin() : result.shape.end() - 1);
    const std::size_t count = value.items.size() / n;
    for (std::size_t group = 0; group < count; ++group) {
        std::vector<Item> items;
        for (std::size_t i = 0; i < n; ++i)
            items.push_back(value.items[neighbours ? group * n + i : group + i * count]);
        result.items.push_back(folded_group(folding, kinds, items));
    }
    return result;
}

void check(const Folding& folding, const Value& value, bool neighbours, Holding holding) {
    const OnFailure tried([&] {
        return std::to_string(static_cast<int>(folding.instruction)) + (neighbours ? " // of " : " /-/ of ") +
               describe(value) + describe_holding(holding);
    });
    const std::int64_t blocks = blocks_out();
    Value expected;
    int refused = 0;
    try {
        expected = plain_reduce(folding, value, neighbours);
    } catch (const Refused& refusal) {
        refused = refusal.error;
    }
    DataElement* sp = stack + 1;
    *sp = build(value, holding.layout);
    Operand operand(value, *sp, holding.shared);
    const Run run = neighbours ? reduce : reducelastaxis;
    EXPECT_EQ(error_of([&] { run(sp, cell_of(folding.instruction)); }), refused);
    const Value result = read(*sp);
    EXPECT_TRUE(equal(result, refused != 0 ? value : expected)) << describe(result);
    dereferencepoint(*sp);
    operand.check();
    EXPECT_EQ(blocks_out(), blocks) << "blocks not given back";
}

constexpr Holding holdings[]{plain, packed, plain_shared, packed_shared};

Value filled(const Shape& shape, const Group& group) {
    Value value{shape, {}};
    const auto n = std::accumulate(shape.begin(), shape.end(), std::int64_t{1}, std::multiplies<>{});
    for (std::int64_t i = 0; i < n; ++i) value.items.push_back(group[static_cast<std::size_t>(i) % group.size()]);
    return value;
}

std::vector<Group> groups() {
    std::vector<Group> all = small_palette();
    Group mixed;
    for (const Group& group : all)
        if (is_number(group[0])) mixed.push_back(group[0]), mixed.push_back(group.back());
    all.push_back(mixed);
    all.push_back({subarray(scalar_value(mixed[0])), subarray(vector_value({mixed[1], mixed[2]})), integer(3)});
    all.push_back({integer(1), integer(0), integer(1)});
    all.push_back({integer(1, form::boolean), integer(0, form::boolean), integer(1, form::boolean)});
    all.push_back({integer(INT64_MAX), integer(INT64_MIN), integer((std::int64_t{1} << 53) + 1), integer(-7)});
    all.push_back({real(0.1), real(-0.0), real(NAN), real(1e308), real(0.0), real(-INFINITY)});
    return all;
}

TEST(Reduction, EveryVerbAlongBothAxes) {
    instruction_cell();
    std::size_t turn = 0;
    for (const Group& group : groups())
        for (const Shape& shape : {Shape{},
                                   {1},
                                   {2},
                                   {7},
                                   {0},
                                   {1, 1},
                                   {3, 2},
                                   {2, 3, 4},
                                   {1, 3},
                                   {3, 1},
                                   {0, 3},
                                   {4, 19},
                                   {2, 1, 1, 2, 1, 1, 1, 1, 3}})
            for (const Folding& folding : foldings)
                for (const bool neighbours : {true, false}) {
                    ++turn;
                    check(folding, filled(shape, group), neighbours, holdings[turn % 4]);
                    check(folding, filled(shape, group), neighbours, holdings[(turn + 1) % 4]);
                    if (enough_failures()) return;
                }
}

// Enough items for the loops that take whole rows, halves and several groups at a time.
TEST(Reduction, OfManyItems) {
    instruction_cell();
    std::mt19937_64 random(5);
    std::uniform_real_distribution<double> real_of(-9, 9);
    const std::function<Item()> kinds[]{
        [&] { return integer(static_cast<std::int64_t>(random() % 7) - 3); },
        [&] { return integer(static_cast<std::int64_t>(random())); },
        // with sums of a few thousand just within and just beyond what doubles hold exactly
        [&] { return integer(static_cast<std::int64_t>(random() >> 24) - (std::int64_t{1} << 39)); },
        [&] { return integer(static_cast<std::int64_t>(random() >> 23) - (std::int64_t{1} << 40) - 1); },
        [&] { return integer(static_cast<std::int64_t>(random() % 2), form::boolean); },
        [&] { return real(real_of(random)); },
        [&] { return real(random() % 60 == 0 ? -INFINITY : real_of(random)); },
        [&] { return real(random() % 400 == 0 ? NAN : real_of(random)); },
        [&] { return real(random() % 2 == 0 ? -1 / real_of(random) : -0.0); },
        [&] { return real(static_cast<double>(random() % 2)); },
        [&] { return degree(real_of(random) > 0 ? 1 : 0); },
        [&] { return degree(std::fabs(real_of(random)) / 9); },
        [&] {
            return hypercomplex({real_of(random), real_of(random)});
        },
        [&] { return character(static_cast<unsigned char>(random() % 256)); },
    };
    const Instruction most_used[]{Instruction::ADD,     Instruction::SUBTRACT,   Instruction::MULTIPLY,
                                  Instruction::DIVIDE,  Instruction::AND,        Instruction::OR,
                                  Instruction::MINIMUM, Instruction::MAXIMUM,    Instruction::LESS,
                                  Instruction::GREATER, Instruction::EQUIVALENT, Instruction::STRONGOR};
    for (const auto& kind : kinds)
        for (const Shape& shape : {Shape{4999}, {31, 33}, {33, 41}, {2, 300}, {300, 3}, {5, 3, 40}}) {
            Value value = filled(shape, {integer(0)});
            std::ranges::generate(value.items, kind);
            for (const Folding& folding : foldings) {
                if (std::ranges::find(most_used, folding.instruction) == std::end(most_used)) continue;
                check(folding, value, true, packed);
                check(folding, value, false, packed_shared);
                if (enough_failures()) return;
            }
        }
}

}  // namespace
}  // namespace ondrel
