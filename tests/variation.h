// What the tests of the scalar verbs share: the ways in which an operand can be held, and operands on the stack.
#pragma once

#include <gtest/gtest.h>

#include <utility>

#include "data/system_variables.h"
#include "tests/palette.h"
#include "tests/values.h"

namespace ondrel {

inline DataElement* instruction_cell() {
    static DataElement cell = [] {
        DataElement made{};
        made.rank = kind::OPERATOR;
        made.type = ISOPERATOR;
        made.text = stringdup("verb");
        return made;
    }();
    return &cell;
}

struct Holding {
    Layout layout = Layout::items;
    bool shared = false;  // the test holds the operand too
};

constexpr Holding plain{Layout::items, false}, plain_shared{Layout::items, true};
constexpr Holding packed{Layout::packed, false}, packed_shared{Layout::packed, true};

inline std::string describe_holding(Holding holding) {
    return std::string(holding.layout == Layout::packed ? " (packed" : " (items") +
           (holding.shared ? ", shared)" : ")");
}

inline int failures_told() {
    return testing::UnitTest::GetInstance()->current_test_info()->result()->total_part_count();
}

// Tells what was tried, if that has failed; the text is made only then.
template <class Tell>
class OnFailure {
public:
    explicit OnFailure(Tell tell) : tell_(tell) {}
    OnFailure(const OnFailure&) = delete;
    OnFailure& operator=(const OnFailure&) = delete;
    ~OnFailure() {
        if (failures_told() > before_) ADD_FAILURE() << tell_();
    }

private:
    Tell tell_;
    int before_ = failures_told();
};

// A list of failures that goes on for pages says no more than its beginning.
inline bool enough_failures() {
    static int last_seen = 0, failures = 0;
    const int now = failures_told();
    failures = now < last_seen ? 0 : now;
    last_seen = now;
    return failures >= 9;
}

// An operand on the stack, and a second holder of it if it is shared.
struct Operand {
    const Value& value;
    DataElement held{};

    Operand(const Value& described, const DataElement& record, bool shared) : value(described) {
        if (!shared) return;
        held = record;
        referencepoint(held);
    }
    void check() {
        if (held.data_pointer == nullptr && held.shape_pointer == nullptr) return;
        const Value now = read(held);
        EXPECT_TRUE(identical(now, value)) << "the shared operand has become " << describe(now);
        dereferencepoint(held);
    }
};

// A group's first item, or all of them, in every structure that takes part in a rule of the frame.
inline std::vector<Value> structures(const Group& group) {
    const Item &x = group[0], &y = group[1], &z = group[2];
    const Item nest = subarray(vector_value({x, y, z}));
    return {
        scalar_value(x),
        vector_value({x}),
        {{1, 1}, {y}},
        vector_value({x, y, z}),
        vector_value({x, x, x}),
        vector_value({y, z}),
        {{2, 3}, {x, y, z, z, y, x}},
        {{3, 2}, {x, y, z, z, y, x}},
        vector_value({x, integer(1), real(0.5)}),
        vector_value({nest, y, z}),
        vector_value({nest}),
        scalar_value(nest),
        vector_value({subarray(vector_value({subarray(vector_value({subarray(vector_value({x, y}))}))}))}),
        vector_value({subarray(scalar_value(x)), subarray({{3, 1}, {x, y, z}}), integer(0)}),
    };
}

// What a user may have assigned to #CT; null: nothing.
using HeldTolerance = std::shared_ptr<const Value>;
inline const std::vector<HeldTolerance>& held_tolerances() {
    static const std::vector<HeldTolerance> all = [] {
        std::vector<HeldTolerance> made{nullptr};
        for (const Value& value : std::initializer_list<Value>{
                 scalar_value(real(1e-15)), scalar_value(real(0)), scalar_value(real(0.5)), scalar_value(real(1)),
                 scalar_value(real(2)), scalar_value(real(-1)), scalar_value(integer(3)), scalar_value(integer(0)),
                 scalar_value(integer(-2)), scalar_value(hypercomplex({0.25, 7})),
                 scalar_value(hypercomplex({-3, 1, 1, 1})), scalar_value(hypercomplex({0.5, 0, 0, 0, 0, 0, 0, 9})),
                 scalar_value(character('!')), vector_value({character('n'), character('o')}), Value{{0}, {}},
                 scalar_value(subarray(scalar_value(real(0.5)))), vector_value({real(0.25), real(0.75)}),
                 vector_value({hypercomplex({0.75, 0, 0, 0, 0, 0, 0, 0}), integer(1)})})
            made.push_back(std::make_shared<const Value>(value));
        return made;
    }();
    return all;
}

// Gives #CT this value, which somebody else may hold too, and takes it back in the end.
class Tolerance {
public:
    Tolerance(HeldTolerance held, Holding holding) : value(std::move(held)), before(*variable) {
        *variable = value == nullptr ? DataElement{} : build(*value, holding.layout);
        if (value == nullptr || !holding.shared) return;
        other = *variable;
        referencepoint(other);
    }
    ~Tolerance() {
        if (other.data_pointer != nullptr) {
            EXPECT_TRUE(identical(read(other), *value)) << "the other holder of the tolerance";
        }
        dereferencepoint(other);
        dereferencepoint(*variable);
        *variable = before;
    }
    Tolerance(const Tolerance&) = delete;
    Tolerance& operator=(const Tolerance&) = delete;

    // It is what it was, or, when a verb has put it in order, this number.
    void check(const double* in_order = nullptr) const {
        if (in_order != nullptr) {
            EXPECT_EQ(variable->rank, 0);
            EXPECT_EQ(variable->type, HASREAL | ISSCALAR);
            const Item item = read(*variable).items[0];
            EXPECT_EQ(item.form, form::logical);
            EXPECT_EQ(item.parts[0], *in_order);
        } else if (value != nullptr) {
            EXPECT_TRUE(identical(read(*variable), *value)) << "the tolerance has become " << describe(read(*variable));
        } else {
            EXPECT_EQ(variable->data_pointer, nullptr);
        }
    }
    std::string describe_held() const { return "tolerance " + (value == nullptr ? "none" : describe(*value)); }

private:
    DataElement* const variable = quads[comparison_tolerance];
    HeldTolerance value;
    DataElement before, other{};
};

}  // namespace ondrel
