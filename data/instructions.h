// The instruction numbers and what is fixed about each: name, code, class. The action of an instruction is added
// by core, which expands the same list.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "data/dataelement.h"

namespace ondrel {

enum class Instruction : std::int16_t {
#define INSTRUCTION(number, name, ...) name = number,
#include "data/instructions.def"
#undef INSTRUCTION
};

struct InstructionRow {
    std::int16_t number;
    std::string_view name;
    std::string_view code;  // two bytes, or none for the numbers that never stand in a key
    std::uint16_t type;     // the class: what is checked before the instruction runs
};

inline constexpr auto Instructions = std::to_array<InstructionRow>({
#define INSTRUCTION(number, name, code, type, ...) {number, #name, code, type},
#include "data/instructions.def"
#undef INSTRUCTION
});

inline bool is_instruction(const DataElement& cell, Instruction instruction) {
    return cell.rank == kind::OPERATOR && cell.depth == static_cast<std::int16_t>(instruction);
}

constexpr const InstructionRow& row(Instruction instruction) {
    return Instructions[static_cast<std::size_t>(instruction)];
}

// The classes of the verbs that work item by item, and how many operands such a verb has; 0 for the others.
inline constexpr std::uint16_t monadic_class = 10, dyadic_class = 18;
constexpr int scalar_operands(std::uint16_t instruction) {
    const std::uint16_t type = instruction < Instructions.size() ? Instructions[instruction].type : 0;
    return type == monadic_class ? 1 : type == dyadic_class ? 2 : 0;
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
static_assert(Instructions.size() == 269 && dense() && names_unique() && codes_unique());
}  // namespace instruction_checks

}  // namespace ondrel
