// What the scalar verbs give, worked out one item or one pair of items at a time and as plainly as possible. It shares
// no code with the verbs, so that a mistake has to be made twice to be missed.
#pragma once

#include <set>
#include <vector>

#include "tests/values.h"

namespace ondrel::oracle {

// Dyadic verbs, family by family.
enum class Verb {
    add,
    subtract,
    multiply,
    divide,
    residue,
    minimum,
    maximum,
    less,
    notgreater,
    equivalent,
    notless,
    greater,
    notequivalent,
    identical,
    notidentical,
    power,
    logarithm,
    binomial,
    circular,
    and_,
    or_,
    nand,
    nor,
    strongand,
    strongor,
    strongnand,
    strongnor
};

// Monadic verbs, likewise.
enum class Monadic {
    polar,
    cartesian,
    rad,
    deg,
    conjugate,
    negative,
    signum,
    direction,
    reciprocal,
    magnitude,
    pitimes,
    Truncate,
    flooring,
    ceiling,
    exponential,
    naturallog,
    factorial,
    binary,
    number,
    isbinary,
    isnumber,
    ispolar,
    iscartesian,
    not_,
    boolean,
    logical,
    probably,
    contradiction,
    isboolean,
    islogical,
    roll,
    Random
};

constexpr double default_tolerance = 1e-15;

// The value of #CT: null if it has none. What a verb reads that leaves it as it is, and what it holds after a verb
// that puts it in order.
double tolerance_read(const Value* held);
double tolerance_in_order(const Value* held);

// What a verb finds around it, and what it leaves there.
struct Setting {
    double tolerance = default_tolerance;
    std::int64_t stream = 1;     // of the generator
    bool by_chance = false;      // the operand depends on chance
    bool nested = false;         // the item lies within the operand, where this is not told
    bool tossed = false;         // a draw has decided a half
    bool tossed_within = false;  // the same in a nested value
    bool unsure = false;         // whether there was a draw is not fixed, so that later ones are not either
};

// A result that is right for an item or a pair: an item, or an error number that it raises.
struct Outcome {
    int error = 0;
    Item item{};
    std::array<double, 8> tolerance{};  // of each component. 0: to the bit, but for the bits of a NaN. Infinite: any
    std::uint16_t free_marks = 0;       // marks that are not fixed
    bool any_form = false;              // the form and the marks of the result are not fixed
    bool any_parts = false;             // nor are its components

    bool admits(const Item& actual) const;
};

// Where the rules leave more than one result open, all of them.
std::vector<Outcome> pair(Verb verb, const Item& left, const Item& right, double tolerance = default_tolerance);
std::vector<Outcome> single(Monadic verb, const Item& item, Setting& setting);

// The same for whole values: extension of single ones, shapes and nesting.
struct Expected {
    std::set<int> errors;    // that the verb may raise
    bool must_fail = false;  // it raises one of them
    std::vector<std::int64_t> shape{};
    struct Place {
        std::vector<Outcome> outcomes{};     // of simple items
        std::shared_ptr<Expected> nested{};  // of a nested item, or a pair in which one is nested
    };
    std::vector<Place> places{};
    bool kept = false;  // an operand was empty; the result is the other one, or the only one: `survivor`
    Value survivor{};

    void fail(int error);
    void put(Place place);
    // What the actual value has otherwise; empty if it is one of those that are right.
    std::string mismatch(const Value& actual) const;
};

Expected apply(Verb verb, const Value& left, const Value& right, double tolerance = default_tolerance);
Expected apply(Monadic verb, const Value& value, Setting& setting);

}  // namespace ondrel::oracle
