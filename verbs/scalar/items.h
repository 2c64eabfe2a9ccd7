// What the rules of the scalar verbs work on: bare values of the kinds, their items, and what a rule may ask about the
// circumstances that its verb runs in.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstring>
#include <tuple>
#include <type_traits>

#include "data/blocks.h"
#include "data/errors.h"
#include "numbers/kinds.h"
#include "numbers/polar.h"
#include "numbers/random.h"

namespace ondrel {

// ---- kinds

// The kinds that have rules, in the order of the tables' rows: ascii, unicode, integer, real, complex, quaternion,
// octonion, by tag from 2 to 8.
inline constexpr std::size_t kinds = 7;
constexpr std::size_t kind_index(std::uint32_t tag) { return tag - tag::ascii; }

struct Unicode {
    std::uint16_t code;
};
using Kinds = std::tuple<std::uint8_t, Unicode, std::int64_t, double, Complex, Quaternion, Octonion>;
template <std::size_t index>
using KindAt = std::tuple_element_t<index, Kinds>;

template <class Value>
inline constexpr std::uint32_t tag_of = static_cast<std::uint32_t>(level_of<Value> + tag::integer);
template <>
inline constexpr std::uint32_t tag_of<std::uint8_t> = tag::ascii;
template <>
inline constexpr std::uint32_t tag_of<bool> = tag::integer;  // of form boolean: a result, and no kind of its own

template <class Value>
inline constexpr bool is_character = level_of<Value> < 0;
template <class Value>
inline constexpr bool is_hypercomplex = level_of<Value> >= level_of<Complex>;
// Both are numbers on the tower.
template <class A, class B>
inline constexpr bool both_numbers = !is_character<A> && !is_character<B>;

// ---- results whose kind depends on the values

template <class Usual, class Other>
struct Either {
    bool usual;
    Usual value;
    Other other;
};
using IntegerOrReal = Either<std::int64_t, double>;

inline IntegerOrReal as_integer(std::int64_t value) { return {true, value, 0}; }
inline IntegerOrReal as_real(double value) { return {false, 0, value}; }

template <class Result>
inline constexpr bool is_either = false;
template <class Usual, class Other>
inline constexpr bool is_either<Either<Usual, Other>> = true;
template <class Usual, class Other>
inline constexpr bool is_either<const Either<Usual, Other>> = true;

// ---- circumstances

struct Setting {
    Site site;
    double tolerance = 0;            // that of comparisons, for rules that are made from a Setting
    std::int64_t* stream = nullptr;  // the thread's stream of chance, for rules that draw
    bool probable = false;           // the operand of a monadic verb depends on chance
    bool* drew = nullptr;            // set by a rule where chance decided

    // For a thread that takes part in the work.
    Setting on_this_thread(bool& decided) const {
        Setting own = *this;
        if (stream != nullptr) own.stream = &prngs_seed;
        own.drew = &decided;
        return own;
    }
};

// A rule as an object: one that depends on the circumstances is made from them, the others hold nothing.
template <class Rule>
Rule rule_in(const Setting& setting) {
    if constexpr (std::is_constructible_v<Rule, const Setting&>)
        return Rule(setting);
    else
        return Rule{};
}

// ---- items

// Where the bare value of an item lies.
inline const void* value_of(const DataElement& item) {
    switch (item.tag) {
        case tag::ascii: return &item.ascii;
        case tag::complex: return item.complex;
        case tag::quaternion: return item.quaternion;
        case tag::octonion: return item.octonion;
        default: return &item.integer;
    }
}

template <class Value>
Value load(const DataElement& item) {
    Value value;
    std::memcpy(&value, value_of(item), sizeof value);
    return value;
}

// Puts the bare value into an item that has its head; a boolean fills the whole word.
template <class Value>
void put_value(DataElement& item, const Value& value) {
    if constexpr (std::is_same_v<Value, bool>)
        item.integer = value;
    else
        std::memcpy(const_cast<void*>(value_of(item)), &value, sizeof value);
}

// An item of its own; an octonion takes a fresh block.
template <class Value>
DataElement make_item(const Value& value, std::uint64_t head) {
    DataElement item{};
    item.head = head;
    if constexpr (std::is_same_v<Value, Octonion>)
        item.octonion = allocate_octonion(value.c);
    else
        put_value(item, value);
    return item;
}

// The item of a result, with the head that `head` gives for its kind.
template <class Result, class Head>
DataElement result_item(const Result& result, const Head& head) {
    if constexpr (is_either<Result>)
        return result.usual ? result_item(result.value, head) : result_item(result.other, head);
    else
        return make_item(result, head(tag_of<Result>));
}

// ---- forms and marks

// Marks that a result may take over from an operand: a name stays behind, and what hides an item.
constexpr std::uint16_t kept_marks(std::uint64_t head) {
    return head_marks(head) & static_cast<std::uint16_t>(~(mark::named | mark::hidden));
}

constexpr std::uint16_t unprefixed_marks(std::uint64_t head) {
    return kept_marks(head) & static_cast<std::uint16_t>(~mark::r_prefix);
}

constexpr bool is_polar(std::uint64_t head) { return head_form(head) == form::polar && head_tag(head) >= tag::complex; }

// A hypercomplex value through the conversion of its kind; a plain number is its own in either form.
template <auto of_complex, auto of_quaternion, auto of_octonion, class Value>
Value converted(const Value& value) {
    if constexpr (!is_hypercomplex<Value>) {
        return value;
    } else {
        constexpr auto convert = std::is_same_v<Value, Complex>      ? of_complex
                                 : std::is_same_v<Value, Quaternion> ? of_quaternion
                                                                     : of_octonion;
        auto components = std::bit_cast<std::array<double, sizeof(Value) / sizeof(double)>>(value);
        convert(components.data(), components.data());
        return std::bit_cast<Value>(components);
    }
}

template <class Value>
Value to_cartesian(const Value& value) {
    return converted<cartesiancomplex, cartesianquat, cartesianocto>(value);
}

template <class Value>
Value to_polar(const Value& value) {
    return converted<polarcomplex, polarquat, polarocto>(value);
}

}  // namespace ondrel
