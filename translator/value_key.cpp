#include "translator/value_key.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <span>
#include <string_view>

#include "data/blocks.h"
#include "data/instructions.h"
#include "data/texts.h"
#include "data/walks.h"
#include "numbers/kinds.h"
#include "translator/names.h"

namespace ondrel {
namespace {

constexpr char digit_zero = '@';
constexpr char escape = '\x10';  // before a byte that stands for another

void add_digits(LongText& key, std::uint64_t magnitude) {
    do key.push_back(static_cast<char>(digit_zero + (magnitude & 15)));
    while ((magnitude >>= 4) != 0);
}

void itox(LongText& key, std::int64_t number) {
    if (number < 0) key.push_back('-');
    add_digits(key, number < 0 ? -static_cast<std::uint64_t>(number) : static_cast<std::uint64_t>(number));
}

// The binary exponent, then the fraction as a whole number.
void rtox(LongText& key, double number) {
    constexpr int fraction_bits = 53;
    int exponent = 0;
    const double fraction = std::frexp(number, &exponent);
    itox(key, exponent);
    key.push_back(':');
    itox(key, static_cast<std::int64_t>(std::ldexp(fraction, fraction_bits)));
}

void realtox(LongText& key, double number) {
    if (std::isnan(number))
        key.push_back('X');
    else if (std::isinf(number))
        key.append(number < 0 ? "-Z" : "Z");
    else if (fits_integer(number) && std::trunc(number) == number)
        itox(key, static_cast<std::int64_t>(number));
    else
        rtox(key, number);
}

void add_byte(LongText& key, std::uint8_t byte) {
    if (byte == 0 || byte == static_cast<std::uint8_t>(escape)) {
        key.push_back(escape);
        byte = static_cast<std::uint8_t>(byte + digit_zero);
    }
    key.push_back(static_cast<char>(byte));
}

std::span<const double> components_of(const DataElement& item) {
    switch (item.tag) {
        case tag::real: return {&item.real, 1};
        case tag::complex: return item.complex;
        case tag::quaternion: return item.quaternion;
        case tag::octonion: return {item.octonion, 8};
        default: return {};
    }
}

// Without the higher halves that are all 0.
std::span<const double> written_components(const DataElement& item) {
    std::span<const double> components = components_of(item);
    const auto is_zero = [](double component) { return component == 0; };
    while (components.size() > 1 && std::ranges::all_of(components.last(components.size() / 2), is_zero))
        components = components.first(components.size() / 2);
    return components;
}

// An ordinary number says nothing of its form, and a polar one without an angle is an ordinary one.
void add_form(LongText& key, const DataElement& item, bool has_parts) {
    constexpr std::uint16_t truths_and_binary = form::boolean | form::logical | form::binary;
    const bool polar = has_parts && (item.form & form::polar) != 0, prefixed = item.tag >= tag::complex;
    const auto told = static_cast<std::uint16_t>((item.form & truths_and_binary) | (polar ? form::polar : 0));
    const auto marks = static_cast<std::uint16_t>(item.marks & ((polar ? mark::degrees : 0) |
                                                                (prefixed ? mark::r_prefix : 0)));
    if (told == 0 && marks == 0) return;
    key.push_back('f');
    itox(key, told);
    if (marks != 0) itox(key, marks);
    key.push_back(',');
}

void add_components(LongText& key, std::span<const double> components) {
    if (components.size() == 1) return realtox(key, components[0]);
    key.push_back(components.size() == 2 ? 'i' : components.size() == 4 ? 'k' : 'o');
    for (const double component : components) {
        realtox(key, component);
        key.push_back(',');
    }
}

void add_value(LongText& key, const DataElement& value, const DataElement* frame_base);

void add_item(LongText& key, const DataElement& item, const DataElement* frame_base) {
    heed_attention();
    if (item.tag == tag::subarray) {
        enter_nest();
        key.push_back('(');
        add_value(key, *item.nested, frame_base);
        key.push_back(')');
        return;
    }
    const std::span<const double> components = written_components(item);
    key.push_back('\\');
    add_form(key, item, components.size() > 1);
    switch (item.tag) {
        case tag::ascii:
            key.push_back('\'');
            add_byte(key, item.ascii);
            break;
        case tag::unicode:
            key.push_back('u');
            itox(key, item.unicode);
            break;
        case tag::integer: itox(key, item.integer); break;
        case tag::real:
        case tag::complex:
        case tag::quaternion:
        case tag::octonion: add_components(key, components); break;
        case tag::file:
            key.push_back('F');
            itox(key, reinterpret_cast<std::intptr_t>(item.file));
            break;
        default: key.push_back('?');
    }
}

void add_value(LongText& key, const DataElement& value, const DataElement* frame_base) {
    if (value.rank != 1 || (value.type & ISSCALAR))
        for (std::int32_t k = 0; k < value.rank; ++k) {
            key.push_back('[');
            itox(key, value.shape_pointer[k]);
        }
    if (value.type & ISEMPTY) {
        key.push_back('.');
        if (value.type & HASASCII) key.push_back('\'');
        return;
    }
    const bool scalar = (value.type & ISSCALAR) != 0;
    key.append(scalar ? "`" : "(");
    for (std::uint32_t i = 0; i < value.elements; ++i) add_item(key, item_at(value.data_pointer, i), frame_base);
    key.append(scalar ? ")`" : ")");
}

// A name ends at a blank. One that could be taken for another so, or with its prefix, is told with its length.
void add_name(LongText& key, std::string_view prefix, const DataElement& cell) {
    constexpr std::string_view prefixes = "_$.%&";
    const std::string_view name = cell.text == nullptr ? "" : cell.text;
    const bool has_blank = std::ranges::any_of(name, [](unsigned char byte) { return byte <= ' '; });
    key.append(prefix);
    if (has_blank || (!name.empty() && prefixes.find(name[0]) != prefixes.npos)) {
        key.push_back(' ');
        itox(key, static_cast<std::int64_t>(name.size()));
        key.push_back(':');
    }
    key.append(name).push_back(' ');
}

// Numbers, where a listing would have the texts of the instructions; a label has its name too.
void add_operator(LongText& key, const DataElement& cell) {
    key.push_back('o');
    for (const std::int64_t number :
         {std::int64_t{cell.depth}, std::int64_t{cell.modifier}, std::int64_t{cell.elements}}) {
        itox(key, number);
        key.push_back(',');
    }
    const bool idle = is_instruction(cell, Instruction::NOOP) ||
                      (cell.type & CONDITIONAL && cell.modifier == static_cast<std::uint16_t>(Instruction::NOOP));
    const std::uint32_t second = cell.type & CONDITIONAL ? cell.elements : cell.modifier;
    if (idle && second == static_cast<std::uint32_t>(Instruction::SLIL)) add_name(key, "%", cell);
}

void add_function(LongText& key, const DataElement& function, const DataElement* frame_base) {
    const auto* const stream = static_cast<const DataElement*>(function.data_pointer);
    key.append("f");
    itox(key, function.locals);
    key.push_back(',');
    itox(key, function.depth);
    key.push_back(',');
    for (const DataElement* cell = stream + 1; cell->type != 0; ++cell) add_key(key, *cell, frame_base);
    key.push_back(';');
    if (stream->type & ISOPERATOR) key.append("oP");
}

// The slot number of a local cell, or the place of a slot that an address on the stack has.
std::int64_t slot_number(const DataElement& cell, const DataElement* frame_base) {
    if (cell.rank != kind::ADDRESS) return items_of(cell)->integer + 1;
    return static_cast<const DataElement*>(cell.data_pointer) - frame_base + 1;
}

// What is no value; `text` too, whose end is told by its length.
void add_other(LongText& key, const DataElement& value, const DataElement* frame_base) {
    switch (value.rank) {
        case kind::LOCAL_VARIABLE:
        case kind::LOCAL_ADDRESS:
            key.append(value.rank == kind::LOCAL_VARIABLE ? "&" : "@&");
            itox(key, slot_number(value, frame_base));
            key.push_back(',');
            break;
        case kind::ADDRESS:
            if (borrows(value)) {
                key.append("@&");
                itox(key, slot_number(value, frame_base));
                key.push_back(',');
                break;
            }
            add_name(key, std::string("@").append(scope_prefix(value)), value);
            break;
        case kind::VARIABLE: add_name(key, std::string("$").append(scope_prefix(value)), value); break;
        case kind::LABEL: add_name(key, "@%", value); break;
        case kind::OPERATOR: add_operator(key, value); break;
        case kind::FUNCTION: add_function(key, value, frame_base); break;
        default: key.push_back('X');
    }
}

void add_text(LongText& key, const DataElement& text) {
    for (std::uint32_t i = 0; i < text.elements; ++i) {
        add_byte(key, item_at(text.data_pointer, i).ascii);
        heed_attention();
    }
}

}  // namespace

void add_key(LongText& key, const DataElement& value, const DataElement* frame_base) {
    if (value.rank < 0)
        add_other(key, value, frame_base);
    else
        add_value(key, value, frame_base);
    if (value.type & CONDITIONAL) key.append(value.type & YES ? "?y" : "?n");
}

std::string text_of_key(std::string_view key) {
    std::string text;
    for (std::size_t i = 0; i < key.size(); ++i) {
        const bool stands_for_another = key[i] == escape && i + 1 < key.size();
        text.push_back(stands_for_another ? static_cast<char>(key[++i] - digit_zero) : key[i]);
    }
    return text;
}

LongText value_key(const DataElement& value, const DataElement* frame_base) {
    LongText key;
    if (value.rank <= 1 && is_text(value) && !(value.type & ISEMPTY))
        add_text(key, value);
    else
        add_key(key, value, frame_base);
    return key;
}

}  // namespace ondrel
