// The monadic scalar verbs, held against the reference for every way in which an operand can be held, with the draws of
// the verbs of chance replayed.
#include <cmath>
#include <set>

#include "core/stack.h"
#include "numbers/random.h"
#include "tests/reference.h"
#include "tests/variation.h"
#include "verbs/scalar/monadic.h"

namespace ondrel {
namespace {

using oracle::Expected;
using oracle::Monadic;
using oracle::Setting;

struct Named {
    Monadic verb;
    void (*run)(DataElement*& sp, DataElement* cell);
    const char* name;
};
#define NAMED(verb) \
    { Monadic::verb, verb, #verb }
constexpr Named verbs[] = {
    NAMED(polar),    NAMED(cartesian), NAMED(rad),         NAMED(deg),           NAMED(conjugate),   NAMED(negative),
    NAMED(signum),   NAMED(direction), NAMED(reciprocal),  NAMED(magnitude),     NAMED(pitimes),     NAMED(Truncate),
    NAMED(flooring), NAMED(ceiling),   NAMED(exponential), NAMED(naturallog),    NAMED(factorial),   NAMED(binary),
    NAMED(number),   NAMED(isbinary),  NAMED(isnumber),    NAMED(ispolar),       NAMED(iscartesian), NAMED(not_),
    NAMED(boolean),  NAMED(logical),   NAMED(probably),    NAMED(contradiction), NAMED(isboolean),   NAMED(islogical),
    NAMED(roll),     NAMED(Random)};
#undef NAMED

constexpr Holding all_holdings[] = {plain, plain_shared, packed, packed_shared};

bool draws(Monadic verb) { return verb == Monadic::probably || verb >= Monadic::roll; }
bool puts_tolerance_in_order(Monadic verb) {
    return verb == Monadic::flooring || verb == Monadic::ceiling || verb == Monadic::factorial;
}

// Whether the result is told to depend on chance: as the operand was, and where a draw has decided. What the verbs that
// always draw make of an operand that does not is not fixed.
void check_probable(const Named& verb, const Setting& setting, std::uint32_t type) {
    if (setting.unsure || setting.tossed_within || (draws(verb.verb) && !setting.by_chance)) return;
    EXPECT_EQ((type & ISPROBABLE) != 0, setting.by_chance || setting.tossed) << "told to depend on chance";
}

// Runs the verb on the top of the stack.
void run_and_check(const Named& verb, const Value& value, Setting setting, DataElement* top) {
    prngs_seed = setting.stream;
    const Expected expected = oracle::apply(verb.verb, value, setting);
    DataElement* sp = top;
    const int error = error_of([&] { verb.run(sp, instruction_cell()); });
    ASSERT_EQ(sp, top);
    if (error != 0) {
        EXPECT_TRUE(expected.errors.contains(error)) << "raised error " << error;
        const Value now = read(*sp);
        EXPECT_TRUE(identical(now, value)) << "the error left " << describe(now);
    } else {
        EXPECT_EQ(expected.mismatch(read(*sp)), "");
        check_probable(verb, setting, sp->type);
        if (!setting.unsure) {
            EXPECT_EQ(prngs_seed, setting.stream) << "the generator is elsewhere";
        }
    }
    dereferencepoint(*sp);
}

void check(const Named& verb, const Value& value, Holding holding, Setting setting) {
    const OnFailure tried([&] { return describe(value) + describe_holding(holding) + " " + verb.name; });
    const std::int64_t blocks = blocks_out();
    DataElement* const top = stack + 1;
    *top = build(value, holding.layout);
    if (setting.by_chance) top->type |= ISPROBABLE;
    Operand operand(value, *top, holding.shared);
    run_and_check(verb, value, setting, top);
    operand.check();
    EXPECT_EQ(blocks_out(), blocks) << "blocks not given back";
}

void check_all_holdings(const Named& verb, const Value& value, Setting setting = {}) {
    for (const Holding holding : all_holdings) check(verb, value, holding, setting);
}

class MonadicVariation : public testing::Test {
protected:
    MonadicVariation() { instruction_cell(); }
    const Tolerance tolerance{std::make_shared<Value>(scalar_value(real(oracle::default_tolerance))), plain};
};

TEST_F(MonadicVariation, EveryItem) {
    for (const Named& verb : verbs)
        for (const Group& group : palette())
            for (const Item& item : group) {
                for (const Holding holding : {plain, plain_shared})
                    for (const bool by_chance : {false, true})
                        check(verb, scalar_value(item), holding, {.stream = 4711, .by_chance = by_chance});
                if (enough_failures()) return;
            }
}

TEST_F(MonadicVariation, EveryGroupAsAVector) {
    for (const Named& verb : verbs)
        for (const Group& group : palette()) {
            for (const bool by_chance : {false, true})
                check_all_holdings(verb, vector_value(group), {.stream = 99, .by_chance = by_chance});
            if (enough_failures()) return;
        }
}

// All items that the verb takes, of all kinds, in one array.
TEST_F(MonadicVariation, EverythingMixed) {
    for (const Named& verb : verbs) {
        Value all;
        for (const Group& group : palette())
            for (const Item& item : group) {
                Setting setting;
                if (oracle::apply(verb.verb, scalar_value(item), setting).errors.empty()) all.items.push_back(item);
            }
        all.shape = {static_cast<std::int64_t>(all.items.size()), 1};
        check_all_holdings(verb, all);
        if (enough_failures()) return;
    }
}

TEST_F(MonadicVariation, EveryStructure) {
    for (const Named& verb : verbs)
        for (const Group& group : small_palette())
            for (const Value& value : structures(group)) {
                check_all_holdings(verb, value);
                if (enough_failures()) return;
            }
}

TEST_F(MonadicVariation, AnEmptyValueStays) {
    for (const Named& verb : verbs)
        for (const Value& empty : std::vector<Value>{{{0}, {}}, {{3, 0}, {}}, {{1}, {subarray({{0}, {}})}}})
            check_all_holdings(verb, empty);
}

// The two items of a value hold the same nest: both change, and a nest that is held elsewhere too does not.
TEST_F(MonadicVariation, ANestThatIsHeldTwice) {
    const Value inner = vector_value({integer(1), integer(0), integer(1)});
    const Value twice = vector_value({subarray(inner), subarray(inner)});
    for (const Named& verb : verbs)
        for (const Holding holding : all_holdings) {
            SCOPED_TRACE(verb.name);
            const std::int64_t blocks = blocks_out();
            DataElement* const top = stack + 1;
            *top = build(twice, holding.layout);
            DataElement* const items = items_of(*top);
            dereferencedataelems(items + 1, 1);
            items[1] = items[0];
            referencedataelems(items + 1, 1);
            Operand operand(twice, *top, holding.shared);
            run_and_check(verb, twice, {}, top);
            operand.check();
            EXPECT_EQ(blocks_out(), blocks);
        }
}

// Where the kind of the results changes in the middle of a long array, and where an error comes up there.
TEST_F(MonadicVariation, LongArrays) {
    constexpr std::size_t many = 66'000;  // more than a stretch of the loops, and not much
    const auto large = [](auto make, const Item& odd) {
        Value value{{static_cast<std::int64_t>(many)}, {}};
        for (std::size_t i = 0; i < many; ++i)
            value.items.push_back(i == many - 100 ? odd : make(static_cast<double>(i)));
        return value;
    };
    const Value values[] = {
        large([](double i) { return integer(static_cast<std::int64_t>(i) % 23); }, integer(-3)),
        large([](double i) { return integer(std::fmod(i, 3) == 1, form::boolean); }, integer(1, form::boolean)),
        large([](double i) { return degree(std::fmod(i, 3) == 1); }, degree(1)),
        large([](double i) { return real(i * 0.001 - 75); }, real(1e19)),
        large([](double i) { return real(std::fmod(i, 8) / 8); }, real(0.5)),
        large(
            [](double i) {
                return hypercomplex({std::fmod(i, 7) / 4, 0.25});
            },
            hypercomplex({0, 0})),
        large(
            [](double i) {
                return hypercomplex({-1, 0.5, i, 0});
            },
            hypercomplex({-1, 0, 0, 0})),
        large([](double i) { return character(static_cast<unsigned char>(i), form::binary); }, integer(1)),
    };
    // Verbs with every sort of loop: of one kind of result or two, with a plain way, with a loop of their own.
    using enum Monadic;
    const std::set looping{negative, direction, reciprocal, flooring, exponential, factorial, not_, boolean, roll};
    for (const Named& verb : verbs)
        if (looping.contains(verb.verb))
            for (const Value& value : values) {
                check(verb, value, verb.verb == flooring ? packed_shared : packed, {.stream = 5});
                if (enough_failures()) return;
            }
}

// ---- chance

TEST_F(MonadicVariation, DrawsFollowTheGenerator) {
    const Value values[] = {
        vector_value({real(0.1), real(0.5), real(0.9), real(1.5), real(0), real(0.5), real(7)}),
        vector_value({integer(6), integer(0), integer(-6), integer(1), integer(1'000'000'000'000)}),
        vector_value({integer(0), integer(6), integer(-6), integer(1'000'000'000'000)}),
        vector_value({hypercomplex({0.5, 0.25}), hypercomplex({0, 6}), hypercomplex({-3, 0.5})}),
        vector_value({hypercomplex({0.5, 0, 2.5, 1}), real(0.5), character('z'), subarray(scalar_value(real(0.5)))}),
        vector_value({hypercomplex({0.5, 1, 0.5, 0, 0.5, -9, 9, 0.5}), hypercomplex({1, 2, 3, 4, 5, 6, 7, 8})}),
    };
    for (const Named& verb : verbs) {
        if (!draws(verb.verb) && verb.verb != Monadic::boolean) continue;
        for (std::int64_t seed : {1, 2, 4711, 48271, 123456789, 1000000007, 2147483646})
            for (const Value& value : values)
                for (const bool by_chance : {false, true})
                    check_all_holdings(verb, value, {.stream = seed, .by_chance = by_chance});
    }
}

// A probability that the next draw hits exactly is drawn for again.
TEST_F(MonadicVariation, AProbabilityThatIsHitExactly) {
    for (const std::int64_t seed : {7, 8, 1999}) {
        std::int64_t state = seed;
        const double first = static_cast<double>(PRNGS(state)) * prngs_unit;
        const double second = static_cast<double>(PRNGS(state)) * prngs_unit;
        for (const Named& verb : verbs)
            if (verb.verb == Monadic::probably)
                check_all_holdings(verb, vector_value({real(first), real(second), real(0.5)}), {.stream = seed});
    }
}

// ---- tolerance

TEST_F(MonadicVariation, TheToleranceIsPutInOrderOrStaysAsItIs) {
    const std::vector<Value> operands{
        scalar_value(integer(3)),
        vector_value({real(2.5), real(-2.5), real(1e300)}),
        vector_value({hypercomplex({0.25, 0.25}), hypercomplex({0.5, 0.5}), hypercomplex({2, 1.75}),
                      hypercomplex({3, 0.5}), hypercomplex({-1.5, 0.25}), hypercomplex({4, 0})}),
        vector_value({hypercomplex({0.25, 0.25, 0, 0.125}), hypercomplex({1, 2, 3, 4})}),
        scalar_value(character('a')),
    };
    for (const HeldTolerance& held : held_tolerances())
        for (const Holding holding : all_holdings)
            for (const Named& verb : verbs)
                for (const Value& value : operands) {
                    const std::int64_t blocks = blocks_out();
                    {
                        const Tolerance given(held, holding);
                        SCOPED_TRACE(given.describe_held());
                        const double in_order = oracle::tolerance_in_order(held.get());
                        DataElement* const top = stack + 1;
                        *top = build(value, Layout::packed);
                        run_and_check(verb, value, {.tolerance = in_order}, top);
                        const bool needs_it =
                            value.items[0].tag != tag::integer || verb.verb == Monadic::factorial;  // to round
                        given.check(puts_tolerance_in_order(verb.verb) && needs_it ? &in_order : nullptr);
                    }
                    EXPECT_EQ(blocks_out(), blocks) << "blocks not given back";
                    if (enough_failures()) return;
                }
}

}  // namespace
}  // namespace ondrel
