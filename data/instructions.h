// The instruction numbers and what is fixed about each: name, code, class, traits. What carries an instruction out is
// added by core and by the verbs, which expand the same list.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "data/dataelement.h"

namespace ondrel {

enum class Instruction : std::int16_t {
#define INSTRUCTION(number, name, ...) name = number,
#include "data/instructions.def"
};

// What must be on the stack before an instruction runs: nothing, or so many arguments. A scalar verb works item by
// item, and refuses marks.
enum class Class : std::uint8_t { free, monadic, dyadic, triadic, monadic_scalar, dyadic_scalar };

constexpr int arguments_of(Class needed) {
    constexpr std::array arguments{0, 1, 2, 3, 1, 2};
    return arguments[static_cast<std::size_t>(needed)];
}
constexpr bool is_scalar(Class needed) { return needed >= Class::monadic_scalar; }

// What else the rest of the system asks about an instruction.
namespace traits {
enum Traits : std::uint32_t {
    plain = 0,
    in_and_out = 1 << 0,      // what it does is seen outside, or comes from there
    asks = 1 << 1,            // waits for what is typed
    draws = 1 << 2,           // a result depends on chance
    makes_code = 1 << 3,      // which may read any name
    changes_names = 1 << 4,   // takes names or their values away
    moves_items = 1 << 5,     // computes none, and counts those of its result, not what is nested in it
    masks = 1 << 6,           // counts also what it leaves out
    folds = 1 << 7,           // counts what is folded
    counts_up = 1 << 8,       // counts the numbers that it makes
    combines = 1 << 9,        // runs the verb that stands in front of it
    watches = 1 << 10,        // turns the tracer or the stepper on or off
    multiplies = 1 << 11,     // work of an item: as a product,
    divides = 1 << 12,        // as a quotient,
    connects = 1 << 13,       // as two truths,
    judges = 1 << 14,         // or none at all
    from_left = 1 << 15,      // a reduction folds with it (a f b) f c,
    from_right = 1 << 16,     // or a f (b f c)
    of_characters = 1 << 17,  // a reduction takes characters
};
constexpr Traits operator|(Traits a, Traits b) { return static_cast<Traits>(std::uint32_t{a} | std::uint32_t{b}); }
}  // namespace traits

struct InstructionRow {
    std::int16_t number;
    std::string_view name;
    std::string_view code;  // two bytes, or none for the numbers that never stand in a key
    Class needed;
    traits::Traits traits;

    constexpr bool has(std::uint32_t some) const { return (traits & some) != 0; }
};

namespace traits {
inline constexpr auto all_rows = std::to_array<InstructionRow>({
#define INSTRUCTION(number, name, code, needed, traits, ...) {number, #name, code, Class::needed, traits},
#include "data/instructions.def"
});
}  // namespace traits
inline constexpr const auto& Instructions = traits::all_rows;

inline bool is_instruction(const DataElement& cell, Instruction instruction) {
    return cell.rank == kind::OPERATOR && cell.depth == static_cast<std::int16_t>(instruction);
}

constexpr const InstructionRow& row(Instruction instruction) {
    return Instructions[static_cast<std::size_t>(instruction)];
}

// The row of a cell that runs an instruction.
constexpr const InstructionRow& row(const DataElement& cell) { return row(static_cast<Instruction>(cell.depth)); }

// How many operands a verb has that works item by item; 0 for the others.
constexpr int scalar_operands(std::uint16_t instruction) {
    const Class needed = instruction < Instructions.size() ? Instructions[instruction].needed : Class::free;
    return is_scalar(needed) ? arguments_of(needed) : 0;
}

namespace instruction_checks {
constexpr bool dense() {
    for (std::size_t i = 0; i < Instructions.size(); ++i)
        if (Instructions[i].number != static_cast<std::int16_t>(i)) return false;
    return true;
}

// Codes name instructions in value keys, so they differ, but for RAVEL and CATENATE and for the blanks of the
// tracing verbs, which never stand in one.
constexpr bool codes_unique() {
    for (std::size_t i = 0; i < Instructions.size(); ++i)
        for (std::size_t j = i + 1; j < Instructions.size(); ++j) {
            const auto code = Instructions[i].code;
            if (code == Instructions[j].code && !code.empty() && code != "  " && code != "a,") return false;
        }
    return true;
}

constexpr bool names_unique() {
    for (std::size_t i = 0; i < Instructions.size(); ++i)
        for (std::size_t j = i + 1; j < Instructions.size(); ++j)
            if (Instructions[i].name == Instructions[j].name) return false;
    return true;
}
static_assert(dense() && names_unique() && codes_unique());
}  // namespace instruction_checks

}  // namespace ondrel
