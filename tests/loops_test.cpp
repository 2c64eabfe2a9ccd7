// The loops over bare values, compiled for the processor's own instruction set: an item of an array must come out as
// the same item does alone, to the last bit. Values are ordinary ones, so that every short cut of the loops is taken.
#include <gtest/gtest.h>

#include <optional>
#include <random>

#include "core/stack.h"
#include "tests/values.h"
#include "verbs/scalar/dyadic.h"

namespace ondrel {
namespace {

constexpr std::size_t many = 1500;  // some look-aheads and a rest that fills no vector

using Work = void (*)(DataElement*& sp, DataElement* cell);

// What the verb gives, or nothing if it raises an error.
std::optional<Value> result_of(Work verb, const Value& left, const Value& right) {
    stack[1] = build(left, Layout::packed);
    stack[2] = build(right, Layout::packed);
    DataElement* sp = stack + 2;
    DataElement cell{};
    const int error = error_of([&] { verb(sp, &cell); });
    std::optional<Value> result;
    if (error == 0) result = read(*sp);
    while (sp > stack) dereferencepoint(*sp--);
    return result;
}

class Loops : public testing::TestWithParam<Work> {
protected:
    std::mt19937 random{4};

    double number() { return std::uniform_real_distribution<double>(-3, 3)(random); }

    Item item(std::uint32_t tag) {
        if (tag == tag::integer) return integer(static_cast<std::int64_t>(random() % 2000) - 1000);
        Item made = real(number());
        made.tag = tag;
        for (std::size_t i = 0; i < component_count(tag); ++i) made.parts[i] = number();
        return made;
    }

    Value items(std::uint32_t tag) {
        std::vector<Item> made(many);
        for (Item& one : made) one = item(tag);
        return vector_value(made);
    }

    void compare(const Value& left, const Value& right) {
        const auto together = result_of(GetParam(), left, right);
        for (std::size_t i = 0; i < many; ++i) {
            const Item& l = left.items[left.items.size() == 1 ? 0 : i];
            const Item& r = right.items[right.items.size() == 1 ? 0 : i];
            const auto alone = result_of(GetParam(), scalar_value(l), scalar_value(r));
            ASSERT_EQ(together.has_value(), alone.has_value());
            if (!alone) return;
            ASSERT_TRUE(identical(scalar_value(together->items[i]), *alone))
                << describe(l) << " and " << describe(r) << ": " << describe(together->items[i]) << " among many, "
                << describe(*alone) << " alone";
        }
    }
};

TEST_P(Loops, GiveEachItemWhatItGetsAlone) {
    for (std::uint32_t l = tag::integer; l <= tag::octonion; ++l)
        for (std::uint32_t r = tag::integer; r <= tag::octonion; ++r) {
            const Value left = items(l), right = items(r);
            compare(left, right);
            compare(scalar_value(left.items[0]), right);
            compare(left, scalar_value(right.items[0]));
        }
}

INSTANTIATE_TEST_SUITE_P(Verbs, Loops, testing::Values(add, subtract, multiply, divide, residue, minimum, maximum));

}  // namespace
}  // namespace ondrel
