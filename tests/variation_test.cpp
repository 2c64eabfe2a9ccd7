// The dyadic scalar verbs, held against the reference for every way in which operands can be held: as scalars,
// arrays and nests, packed and as items, shared and sole, on either side. Nobody who looks at a value from outside may
// tell the ways apart, and an operand that someone else holds, or that an error leaves behind, is what it was.
#include "tests/variation.h"

#include "core/stack.h"
#include "tests/reference.h"
#include "verbs/scalar/dyadic.h"

namespace ondrel {
namespace {

using oracle::Expected;
using oracle::Verb;

struct Named {
    Verb verb;
    void (*run)(DataElement*& sp, DataElement* cell);
    const char* name;
};
#define NAMED(verb) \
    { Verb::verb, verb, #verb }
constexpr Named verbs[] = {
    NAMED(add),           NAMED(subtract),   NAMED(multiply),     NAMED(divide),     NAMED(residue),   NAMED(minimum),
    NAMED(maximum),       NAMED(less),       NAMED(notgreater),   NAMED(equivalent), NAMED(notless),   NAMED(greater),
    NAMED(notequivalent), NAMED(identical),  NAMED(notidentical), NAMED(power),      NAMED(logarithm), NAMED(binomial),
    NAMED(circular),      NAMED(and_),       NAMED(or_),          NAMED(nand),       NAMED(nor),       NAMED(strongand),
    NAMED(strongor),      NAMED(strongnand), NAMED(strongnor)};
#undef NAMED

struct Way {
    Holding left, right;
};
constexpr Way all_ways[] = {
    {plain, plain},   {plain_shared, plain},   {plain, plain_shared},   {plain_shared, plain_shared},
    {packed, packed}, {packed_shared, packed}, {packed, packed_shared}, {packed_shared, packed_shared},
    {plain, packed},  {packed, plain},
};
constexpr Way few_ways[] = {{plain, plain}, {packed, packed}, {packed_shared, packed_shared}};

std::string describe_way(const Named& verb, const Value& left, const Value& right, Way way) {
    return describe(left) + describe_holding(way.left) + " " + describe(right) + describe_holding(way.right) + " " +
           verb.name;
}

// Runs the verb on what lies on the stack up to `top` and holds the outcome against what is expected.
void run_and_check(const Named& verb, const Value& left, const Value& right, const Expected& expected,
                   DataElement* top) {
    DataElement* sp = top;
    const int error = error_of([&] { verb.run(sp, instruction_cell()); });
    if (error != 0) {
        EXPECT_TRUE(expected.errors.contains(error)) << "raised error " << error;
        ASSERT_EQ(sp, top);
        const Value left_now = read(sp[-1]), right_now = read(*sp);
        EXPECT_TRUE(identical(left_now, left)) << "the error left on the left " << describe(left_now);
        EXPECT_TRUE(identical(right_now, right)) << "the error left on the right " << describe(right_now);
    } else {
        ASSERT_EQ(sp, top - 1);
        EXPECT_EQ(expected.mismatch(read(*sp)), "");
    }
    while (sp > top - 2) dereferencepoint(*sp--);
}

void check(const Named& verb, const Value& left, const Value& right, const Expected& expected, Way way) {
    const OnFailure tried([&] { return describe_way(verb, left, right, way); });
    const std::int64_t blocks = blocks_out();
    DataElement* sp = stack;
    *++sp = build(left, way.left.layout);
    Operand left_operand(left, *sp, way.left.shared);
    *++sp = build(right, way.right.layout);
    Operand right_operand(right, *sp, way.right.shared);
    run_and_check(verb, left, right, expected, sp);
    left_operand.check();
    right_operand.check();
    EXPECT_EQ(blocks_out(), blocks) << "blocks not given back";
}

// One value on both sides: the same blocks, held twice, or three times when shared.
void check_same_blocks(const Named& verb, const Value& value, const Expected& expected, Holding holding) {
    const OnFailure tried([&] { return describe_way(verb, value, value, {holding, holding}) + ", one block"; });
    const std::int64_t blocks = blocks_out();
    DataElement* sp = stack;
    *++sp = build(value, holding.layout);
    Operand operand(value, *sp, holding.shared);
    sp[1] = *sp;
    referencepoint(*++sp);
    run_and_check(verb, value, value, expected, sp);
    operand.check();
    EXPECT_EQ(blocks_out(), blocks) << "blocks not given back";
}

// Every pair of the palette, as scalars.
TEST(Variation, EveryPairOfItems) {
    instruction_cell();
    for (const Named& verb : verbs)
        for (const Group& lefts : palette())
            for (const Group& rights : palette())
                for (const Item& left : lefts)
                    for (const Item& right : rights) {
                        const Value l = scalar_value(left), r = scalar_value(right);
                        check(verb, l, r, oracle::apply(verb.verb, l, r), {plain, plain});
                        if (enough_failures()) return;
                    }
}

// Every item of a group against every one of another, in one pair of vectors: the loops over uniform arrays, and the
// change of kind in their middle.
TEST(Variation, EveryPairOfGroupsAsVectors) {
    instruction_cell();
    for (const Named& verb : verbs)
        for (const Group& lefts : palette())
            for (const Group& rights : palette()) {
                Value l, r;
                for (const Item& left : lefts)
                    for (const Item& right : rights) {
                        l.items.push_back(left);
                        r.items.push_back(right);
                    }
                l.shape = r.shape = {static_cast<std::int64_t>(l.items.size())};
                const Expected expected = oracle::apply(verb.verb, l, r);
                for (const Way& way : few_ways) check(verb, l, r, expected, way);
                if (enough_failures()) return;
            }
}

// One item extended over all of a group, on either side in turn.
TEST(Variation, EverySingleItemAgainstAGroup) {
    instruction_cell();
    for (const Named& verb : verbs)
        for (const Group& lefts : palette())
            for (const Group& rights : palette())
                for (std::size_t i = 0; i < lefts.size(); ++i) {
                    const Value single = scalar_value(lefts[i]), all = vector_value(rights);
                    if (i % 2 == 0) check(verb, single, all, oracle::apply(verb.verb, single, all), {plain, packed});
                    if (i % 2 == 1 || lefts.size() == 1)
                        check(verb, all, single, oracle::apply(verb.verb, all, single), {packed, plain});
                    if (enough_failures()) return;
                }
}

// Every third pair of structures, in one way of holding after the other: among the groups all pairs come up with every
// verb, and in many ways.
TEST(Variation, EveryStructure) {
    instruction_cell();
    std::size_t turn = 0, round = 0;
    for (const Named& verb : verbs)
        for (const Group& lefts : small_palette())
            for (const Group& rights : small_palette()) {
                ++round;
                for (const Value& left : structures(lefts))
                    for (const Value& right : structures(rights)) {
                        if (++turn % 3 != 0) continue;
                        const Way& way = all_ways[(turn / 3 + round) % std::size(all_ways)];
                        check(verb, left, right, oracle::apply(verb.verb, left, right), way);
                        if (enough_failures()) return;
                    }
            }
}

TEST(Variation, TheSameBlockOnBothSides) {
    instruction_cell();
    for (const Named& verb : verbs)
        for (const Group& group : small_palette())
            for (const Value& value : structures(group)) {
                const Expected expected = oracle::apply(verb.verb, value, value);
                for (const Holding holding : {plain, plain_shared, packed, packed_shared})
                    check_same_blocks(verb, value, expected, holding);
                if (enough_failures()) return;
            }
}

// An empty operand gives way to the other, whatever it is, also where their kinds would not go together.
TEST(Variation, AnEmptyOnEitherSide) {
    instruction_cell();
    const std::vector<Value> empties{{{0}, {}}, {{0, 3}, {}}, {{3, 0}, {}}, {{2, 0, 4}, {}}};
    for (const Named& verb : verbs)
        for (const Value& empty : empties)
            for (const Group& group : small_palette())
                for (const Value& value : structures(group))
                    for (const Way& way : few_ways) {
                        const Expected expected{.errors = {}, .kept = true, .survivor = value};
                        check(verb, empty, value, expected, way);
                        check(verb, value, empty, expected, way);
                        if (enough_failures()) return;
                    }
}

// The short ways that a scalar with a literal behind it takes: they give what the verb gives, or leave the scalar.
TEST(Variation, LiteralForms) {
    const std::pair<Verb, LiteralForm*> forms[] = {
        {Verb::add, add_literal},
        {Verb::subtract, subtract_literal},
        {Verb::multiply, multiply_literal},
        {Verb::divide, divide_literal},
        {Verb::residue, residue_literal},
        {Verb::less, less_literal},
        {Verb::notgreater, notgreater_literal},
        {Verb::notless, notless_literal},
        {Verb::greater, greater_literal},
    };
    const Tolerance tolerance(std::make_shared<Value>(scalar_value(real(oracle::default_tolerance))), plain);
    for (const auto& [verb, form] : forms)
        for (const Group& lefts : palette())
            for (const Group& rights : palette())
                for (const Item& left : lefts)
                    for (const Item& right : rights) {
                        if (left.tag != right.tag) continue;  // only for scalars of one kind
                        const Value l = scalar_value(left), r = scalar_value(right);
                        const OnFailure tried([&] {
                            return describe(l) + describe(r) + " literal form of verb " +
                                   std::to_string(static_cast<int>(verb));
                        });
                        DataElement scalar = build(l, Layout::items), literal = build(r, Layout::items);
                        Operand operand(l, scalar, &left == &lefts[0]);
                        if (run_literal_form(form, scalar, *items_of(literal))) {
                            EXPECT_EQ(oracle::apply(verb, l, r).mismatch(read(scalar)), "");
                        } else {
                            EXPECT_TRUE(identical(read(scalar), l));
                        }
                        EXPECT_TRUE(identical(read(literal), r));
                        operand.check();
                        dereferencepoint(scalar);
                        dereferencepoint(literal);
                        if (enough_failures()) return;
                    }
}

// A result depends on chance where an operand does.
TEST(Variation, ChanceIsHandedOn) {
    instruction_cell();
    const Value values[] = {scalar_value(integer(1)), vector_value({integer(1)}),
                            vector_value({integer(1), integer(0)}), vector_value({integer(1), real(0.5)})};
    for (const Named& verb : verbs)
        for (const Value& left : values)
            for (const Value& right : values)
                for (const std::uint32_t chances : {0, 1, 2, 3}) {
                    const OnFailure tried([&] { return describe_way(verb, left, right, {packed, packed}); });
                    DataElement* sp = stack + 2;
                    sp[-1] = build(left, Layout::packed);
                    sp[0] = build(right, Layout::packed);
                    for (const std::uint32_t side : {0, 1})
                        sp[-1 + int(side)].type |= chances >> side & 1 ? ISPROBABLE : 0;
                    if (error_of([&] { verb.run(sp, instruction_cell()); }) == 0) {
                        EXPECT_EQ((sp->type & ISPROBABLE) != 0, chances != 0);
                    }
                    while (sp > stack) dereferencepoint(*sp--);
                    if (enough_failures()) return;
                }
}

// Whatever #CT holds, it is read and not changed.
TEST(Variation, EveryTolerance) {
    instruction_cell();
    const std::vector<Group> groups{
        {real(1), real(1.25), real(1.5), real(2.5), real(4), real(1 + 2e-16), real(-0.5)},
        {integer(1), integer(2), integer(4), integer(-1)},
        {hypercomplex({3, 4}), hypercomplex({4, 3}), hypercomplex({-3, 4}), hypercomplex({1.5, 0}),
         hypercomplex({2, 0.25})},
        {hypercomplex({1, 2, 2, 0}), hypercomplex({3, 0.5, 0, 0}), hypercomplex({-1, 0, 0, 0})},
        {hypercomplex({1, 2, 2, 4, 0, 0, 0, 0}), hypercomplex({1.5, 0, 0, 0, 0, 0, 0, 0})},
        {character('a'), character('b')},
    };
    for (const HeldTolerance& held : held_tolerances())
        for (const Holding holding : {plain, packed_shared}) {
            const Tolerance given(held, holding);
            SCOPED_TRACE(given.describe_held());
            const double tolerance = oracle::tolerance_read(held.get());
            for (const Named& verb : verbs) {
                if (verb.verb < Verb::less || verb.verb > Verb::binomial) continue;
                for (const Group& lefts : groups)
                    for (const Group& rights : groups)
                        for (const Item& left : lefts) {
                            const Value l = vector_value(Group(rights.size(), left)), r = vector_value(rights);
                            const Expected expected = oracle::apply(verb.verb, l, r, tolerance);
                            for (const Way& way : few_ways) check(verb, l, r, expected, way);
                        }
                if (enough_failures()) return;
            }
            given.check();
        }
}

// A nest that two records hold: the verb works on one and the other does not change.
TEST(Variation, ANestThatIsAlsoPartOfAnotherValue) {
    instruction_cell();
    const Value inner = vector_value({integer(1), integer(2), integer(3)});
    for (const Named& verb : verbs)
        for (const Layout layout : {Layout::items, Layout::packed}) {
            SCOPED_TRACE(verb.name);
            const std::int64_t blocks = blocks_out();
            const Value twice = vector_value({subarray(inner), subarray(inner)});
            DataElement outer = build(twice, layout);
            DataElement* const items = items_of(outer);
            // Both items hold the first one's record.
            dereferencedataelems(items + 1, 1);
            items[1] = items[0];
            referencedataelems(items + 1, 1);

            const Value five = scalar_value(integer(5));
            DataElement* sp = stack;
            *++sp = outer;
            DataElement other = outer;
            referencepoint(other);
            *++sp = build(five, Layout::items);
            run_and_check(verb, twice, five, oracle::apply(verb.verb, twice, five), sp);

            *++(sp = stack) = other;
            *++sp = build(five, Layout::items);
            // Now the value is sole, and its two items still share.
            run_and_check(verb, twice, five, oracle::apply(verb.verb, twice, five), sp);
            EXPECT_EQ(blocks_out(), blocks);
        }
}

// ---- degrees of truth

// The items of a byte each, or a word, as the loops are to leave them.
std::size_t width_of_result(const Named& verb, const Value& left, const Value& right) {
    DataElement* sp = stack;
    *++sp = build(left, Layout::packed);
    *++sp = build(right, Layout::packed);
    verb.run(sp, instruction_cell());
    const std::size_t width = item_width(header(sp->data_pointer).head);
    dereferencepoint(*sp);
    return width;
}

// How much reals are one, where all are or are not, but for one pair at the ends of what the loops do at once.
TEST(Variation, DegreesWithOneOddPair) {
    constexpr double inf = std::numeric_limits<double>::infinity(), nan = std::numeric_limits<double>::quiet_NaN(),
                     most = std::numeric_limits<double>::max();
    struct Odd {
        double left, right, tolerance;
        bool in_bytes = false;
    };
    const Odd odds[] = {
        {1, 1, 1e-15, true}, {-0.0, 0, 1e-15, true},     {1, 1 + 1e-15, 1e-15, true}, {1, 1, 0, true},
        {1, 1, -1, true},    {0, most, 1e-15, true},     {1, 1 + 4e-16, 1e-15},       {0, 1e-300, 1e-15},
        {0, 5e-324, 1e-15},  {-most, most, 1e-15},       {nan, nan, 1e-15},           {1, nan, 1e-15},
        {inf, inf, 1e-15},   {inf, -inf, 1e-15},         {-inf, inf, 1e-15},          {inf, 1, 1e-15},
        {0.25, 0.5, 0.5},    {0.25, 0.25 - 1e-16, most},
    };
    instruction_cell();
    for (const Odd& odd : odds)
        for (const std::size_t n : {2, 256, 257, 2049})
            for (const std::size_t place : {std::size_t{0}, n / 2, n - 1}) {
                Value left{{static_cast<std::int64_t>(n)}, {}}, right = left;
                for (std::size_t i = 0; i < n; ++i) {
                    left.items.push_back(real(i == place ? odd.left : static_cast<double>(i % 3) * 1e300));
                    right.items.push_back(real(i == place ? odd.right : static_cast<double>(i % 2) * 1e300));
                }
                const Tolerance tolerance(std::make_shared<Value>(scalar_value(real(odd.tolerance))), plain);
                for (const Named& verb : verbs) {
                    if (verb.verb != Verb::equivalent && verb.verb != Verb::notequivalent) continue;
                    const OnFailure tried([&] { return describe(left.items[place]) + " at " + std::to_string(place); });
                    const auto hold = [&](const Value& l, const Value& r, std::initializer_list<Way> ways) {
                        const Expected expected = oracle::apply(verb.verb, l, r, odd.tolerance);
                        for (const Way& way : ways) check(verb, l, r, expected, way);
                    };
                    hold(left, right,
                         {{packed, packed}, {packed_shared, packed}, {packed, packed_shared}, {plain, plain}});
                    hold(scalar_value(left.items[place]), right, {{plain, packed}});
                    hold(left, scalar_value(right.items[place]), {{packed, plain}});
                    if (packing) {
                        EXPECT_EQ(width_of_result(verb, left, right), odd.in_bytes ? 1u : 8u);
                    }
                }
                if (enough_failures()) return;
            }
}

// ---- arrays that take more than one stretch of the loops

constexpr std::size_t many = 140'000;
constexpr std::size_t turn = 100'001;  // where the kind of the results changes

template <class Make>
Value large(Make make) {
    Value value{{static_cast<std::int64_t>(many)}, {}};
    value.items.reserve(many);
    for (std::size_t i = 0; i < many; ++i) value.items.push_back(make(i));
    return value;
}

class Large : public testing::Test {
protected:
    using Ways = std::initializer_list<Way>;
    static void hold(Verb verb, const Value& left, const Value& right,
                     Ways ways = {
                         {plain, plain}, {packed, packed}, {packed_shared, packed}, {packed_shared, packed_shared}}) {
        instruction_cell();
        for (const Named& candidate : verbs) {
            if (candidate.verb != verb) continue;
            const Expected expected = oracle::apply(verb, left, right);
            for (const Way way : ways) check(candidate, left, right, expected, way);
        }
    }
};

Value sawtooth(std::int64_t period) {
    return large([period](std::size_t i) { return integer(static_cast<std::int64_t>(i) % period - period / 2); });
}
Value with(Value value, std::size_t place, const Item& item) {
    value.items[place] = item;
    return value;
}

constexpr std::int64_t half_range = std::int64_t{1} << 62;

TEST_F(Large, IntegerSumsLeaveTheirRangeOnce) {
    const Value numbers = with(sawtooth(1000), turn, integer(half_range / 2 * 3));
    hold(Verb::add, numbers, numbers);
    hold(Verb::add, numbers, with(sawtooth(777), turn, integer(half_range)));
    hold(Verb::add, scalar_value(integer(half_range)), numbers);
    // From 2 to the 53 on a sum has the digits of a real.
    const Value wide =
        large([](std::size_t i) { return integer((std::int64_t{1} << 53) - 9 + static_cast<std::int64_t>(i % 5)); });
    hold(Verb::add, wide, with(wide, turn, integer(3)), {{packed, packed}});
}

TEST_F(Large, IntegerSumsLeaveTheirRangeAtEveryPlaceOfAStretch) {
    for (const std::size_t place :
         {std::size_t{0}, std::size_t{1}, std::size_t{65'535}, std::size_t{65'536}, std::size_t{131'072}, many - 1}) {
        const Value numbers = with(sawtooth(10), place, integer(half_range + half_range / 2));
        hold(Verb::add, numbers, numbers);
    }
}

TEST_F(Large, IntegerProductsLeaveTheirRangeFromTheMiddleOn) {
    const Value factors = large([](std::size_t i) {
        return integer(i < turn ? static_cast<std::int64_t>(i) : 3'037'000'500 + static_cast<std::int64_t>(i));
    });
    hold(Verb::multiply, factors, factors);
    hold(Verb::multiply, factors, scalar_value(integer(4'000'000'000)));
}

TEST_F(Large, QuotientsStopBeingExact) {
    const Value sixes = large([](std::size_t i) { return integer(static_cast<std::int64_t>(i) * 6); });
    hold(Verb::divide, with(sixes, turn, integer(7)), scalar_value(integer(3)));
    hold(Verb::divide, with(sixes, turn, integer(-6)), scalar_value(integer(3)));
    hold(Verb::divide, sixes, with(large([](std::size_t) { return integer(2); }), turn, integer(0)));
    hold(Verb::divide, scalar_value(integer(5040)), sawtooth(100));
}

TEST_F(Large, KindsThatStay) {
    const Value reals = large([](std::size_t i) { return real(static_cast<double>(i) * 0.37 - 40'000); });
    const Value near = large([](std::size_t i) { return real(static_cast<double>(i % 23) * 0.375 - 2.125); });
    const Value integers = sawtooth(999), selectors = sawtooth(15);
    const Value complexes = large([](std::size_t i) {
        return hypercomplex({static_cast<double>(i % 7), static_cast<double>(i % 5) - 2});
    });
    for (const auto& [verb, run, name] : verbs) {
        // The functions grow out of all bounds of far operands, and are slow to work out again.
        const bool bounded = verb < Verb::power || verb > Verb::circular;
        hold(verb, bounded ? reals : near, bounded ? integers : selectors, {{packed, packed}});
        hold(verb, bounded ? integers : selectors, bounded ? reals : near, {{packed_shared, packed}});
        if (bounded) hold(verb, complexes, reals, {{packed, packed_shared}});
    }
    hold(Verb::subtract, integers, with(integers, turn, integer(std::numeric_limits<std::int64_t>::min())));
    hold(Verb::multiply, complexes, complexes);
    hold(Verb::divide, complexes, complexes);
}

// Truths lie in bytes, which loops on words do not see.
TEST_F(Large, Truths) {
    const Value truths = large([](std::size_t i) { return integer(i % 3 == 0 || i % 7 == 5, form::boolean); });
    const Value degrees = large([](std::size_t i) { return degree(i % 5 == 0 || i % 7 == 3 ? 1 : 0); });
    const Value integers = sawtooth(9), text = large([](std::size_t i) { return character(i % 5 < 2 ? ' ' : 'x'); });
    for (const Verb verb : {Verb::add, Verb::equivalent, Verb::nor}) {
        hold(verb, truths, truths);
        hold(verb, truths, integers, {{packed, packed}});
        hold(verb, scalar_value(integer(1, form::boolean)), truths, {{packed, packed}});
        hold(verb, degrees, degrees);
        hold(verb, degrees, truths, {{packed, packed_shared}});
        hold(verb, integers, degrees, {{packed, packed}});
        hold(verb, degrees, scalar_value(real(0.5)), {{packed, packed}});
    }
    hold(Verb::equivalent, degrees, with(degrees, turn, degree(1e-16)));
    hold(Verb::multiply, text, truths);
    hold(Verb::less, text, text);
    hold(Verb::subtract, truths, with(truths, turn, real(0.5)));
}

TEST_F(Large, QuaternionsAndOctonions) {
    const Value quaternions = large([](std::size_t i) {
        const double x = static_cast<double>(i % 11);
        return hypercomplex({x, 1 - x, x / 2, static_cast<double>(i % 3)});
    });
    const Value octonions = large([](std::size_t i) {
        const double x = static_cast<double>(i % 13) - 6;
        return hypercomplex({x, 1, -x, 2, x / 4, 3, static_cast<double>(i % 2), 4});
    });
    hold(Verb::multiply, quaternions, quaternions);
    hold(Verb::divide, quaternions, octonions);
    hold(Verb::add, octonions, quaternions);
    hold(Verb::subtract, octonions, scalar_value(real(2)));
}

TEST_F(Large, KindsThatMix) {
    const Value mixed = large([](std::size_t i) {
        if (i % 1000 == 999) return hypercomplex({1, 2});
        return i % 2 == 0 ? integer(static_cast<std::int64_t>(i)) : real(0.5);
    });
    for (const Verb verb : {Verb::add, Verb::multiply, Verb::divide, Verb::maximum}) {
        hold(verb, mixed, mixed);
        hold(verb, mixed, sawtooth(50));
        hold(verb, scalar_value(integer(3)), mixed);
    }
}

TEST_F(Large, AnErrorInTheMiddleLeavesBothOperands) {
    const Value text = large([](std::size_t i) { return character(static_cast<unsigned char>('a' + i % 26)); });
    const Value mask = large([](std::size_t i) { return integer(static_cast<std::int64_t>(i % 2)); });
    hold(Verb::multiply, text, mask);
    hold(Verb::multiply, text, with(mask, turn, integer(2)));
    hold(Verb::multiply, with(mask, many - 1, integer(-1)), text);
    const Value nested = with(mask, turn, subarray(vector_value({integer(1), integer(2)})));
    hold(Verb::add, nested, nested);
    hold(Verb::add, with(nested, turn, subarray(vector_value({integer(1), integer(2), integer(3)}))), nested);
    hold(Verb::residue, mask, with(mask, turn, hypercomplex({1, 2, 3, 4})));
}

}  // namespace
}  // namespace ondrel
