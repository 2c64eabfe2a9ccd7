// What the dyadic verbs give, worked out one pair of items at a time and as plainly as possible. It shares no code with
// the verbs, so that a mistake has to be made twice to be missed.
#pragma once

#include <set>
#include <vector>

#include "tests/values.h"

namespace ondrel::oracle {

enum class Verb { add, subtract, multiply, divide, residue, minimum, maximum };

// A result that is right for a pair: an item, or an error number that the pair raises.
struct Outcome {
    int error = 0;
    Item item{};
    std::array<double, 8> tolerance{};  // of each component. 0: to the bit, but for the bits of a NaN
    bool any_form = false;              // the form of the result is not fixed
    bool any_parts = false;             // nor are its components

    bool admits(const Item& actual) const;
};

// Where the rules leave more than one result open, all of them.
std::vector<Outcome> pair(Verb verb, const Item& left, const Item& right);

// The same for whole values: extension of single ones, shapes and nesting.
struct Expected {
    std::set<int> errors;  // not empty: the verb raises one of these
    std::vector<std::int64_t> shape{};
    struct Place {
        std::vector<Outcome> outcomes{};     // of two simple items
        std::shared_ptr<Expected> nested{};  // of a pair in which one is nested
    };
    std::vector<Place> places{};
    bool kept = false;  // one operand was empty; the result is the other, `survivor`
    Value survivor{};

    // What the actual value has otherwise; empty if it is one of those that are right.
    std::string mismatch(const Value& actual) const;
};

Expected apply(Verb verb, const Value& left, const Value& right);

}  // namespace ondrel::oracle
