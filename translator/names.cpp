#include "translator/names.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

#include "data/blocks.h"
#include "translator/bytes.h"
#include "translator/emission.h"
#include "translator/literals.h"
#include "translator/number_text.h"
#include "translator/source.h"
#include "translator/tokens.h"

namespace ondrel {
namespace {

constexpr int quote = '\x02', unquote = '\x03';

bool is_scope(int c) { return c == '_' || c == '$' || c == '.'; }

bool ends_name(int c, bool address) {
    return c < 0 || c == '\t' || c == '\n' || c == '\r' || c == ' ' || (c == '!' && !address) || c == '.' || c == ';';
}

std::string take_quoted() {
    std::size_t length = 0;
    while (peek(length) >= 0 && peek(length) != unquote) ++length;
    const Taken taken{length + (peek(length) >= 0 ? 1 : 0)};
    return std::string(ahead(length));
}

// Only a few bytes end a plain name; some are no part of it and go to the standard output.
std::string take_plain(bool address) {
    if (peek(0) == quote) {
        consume(1);
        return take_quoted();
    }
    std::string name;
    do {
        const int c = peek(0);
        if (!name.empty() && (c == '"' || c == '(' || c == ')' || c == '|'))
            std::fputc(c, stdout);
        else
            name.push_back(static_cast<char>(c));
        consume(1);
    } while (!ends_name(peek(0), address));
    return name;
}

// ---- the forms

void emit(bool address, Instruction scope, std::string_view name, Entry* entry) {
    const std::uint32_t global = scope == Instruction::SGIG ? ISOPERATOR : 0;
    emit_value(address ? name_cell(kind::ADDRESS, ISADDRESS | global, scope, name, entry)
                       : name_cell(kind::VARIABLE, ISVARIABLE | global, scope, name, entry));
}

void emit_plain(std::string_view name, bool address) {
    add_effect(GLOBAL);
    if (address) push_name(true);
    emit(address, Instruction::SGIG, name, hashtab(variables.table, name));
}

// A name that is looked up when it is reached. Inside a function it matters for the marks whether there is one now.
void emit_searched(std::string_view name, Instruction scope, bool address) {
    Entry* const found = inside_function() ? checkmeaning(level().tables, name) : nullptr;
    const bool innermost = scope == Instruction::SAIL;
    if (!address || !innermost || found != nullptr) push_name(!address && found == nullptr);
    if (found == nullptr && !(address && innermost)) add_effect(GLOBAL);
    // What the function will make is its own.
    if (found == nullptr && address && innermost && inside_function()) own_table();
    emit(address, scope, name, nullptr);
}

// A name of the level's own; in a sentence inside a function, one of the function's if it has it.
void emit_innermost(std::string_view name, bool address) {
    if (address) push_name(false);
    Entry* const around = level().around == nullptr ? nullptr : checkhash(level().around, name);
    emit(address, Instruction::SLIL, name, around != nullptr ? around : hashtab(own_table(), name));
}

void emit_scoped(int prefix, std::string_view name, bool address) {
    if (prefix == '.')
        emit_innermost(name, address);
    else
        emit_searched(name, prefix == '_' ? Instruction::SAIG : Instruction::SAIL, address);
}

// Places are counted as JUMP counts them: the first cell that runs is 1.
void define_label(std::string_view name) {
    Entry* const entry = hashtab(own_table(), name);
    DataElement place = constant(tag::integer);
    place.type |= ISSCALAR | HASINTEGER;
    items_of(place)->integer = cursor - level().cells + (inside_function() ? 1 : 2);
    dereferencepoint(entry->value);
    entry->value = place;
    reference(entry->name);
    emit_value(operator_cell(Instruction::NOOP, Instruction::SLIL, entry->name));
}

void emit_label_address(std::string_view name) {
    emit_value(name_cell(kind::LABEL, ISADDRESS, Instruction::NIHIL, name, hashtab(own_table(), name)));
}

void emit_local(std::int64_t number, bool address) {
    if (level().locals == 0) return report(message::no_locals_here);
    if (number < 1) return report(message::local_not_positive);
    if (number > level().locals) return report(message::no_such_local);
    if (address) push_name(false);
    DataElement cell = constant(tag::integer);
    cell.rank = address ? kind::LOCAL_ADDRESS : kind::LOCAL_VARIABLE;
    cell.type = ISLOCAL | (address ? ISADDRESS : ISVARIABLE);
    items_of(cell)->integer = number - 1;
    emit_value(cell);
}

// The slot of &n: digits with a sign, of which there can be too many.
std::int64_t slot_number(std::string_view digits) {
    const bool negative = !is_digit(static_cast<unsigned char>(digits[0]));
    if (negative) digits.remove_prefix(1);
    std::int64_t number = INT64_MAX;
    std::from_chars(digits.data(), digits.data() + digits.size(), number);
    return negative ? -number : number;
}

void read_prefixed(std::size_t length, bool address) {
    const int prefix = peek(0);
    const std::string text(ahead(length).substr(1));
    consume(length);
    if (prefix == quote)
        emit_scoped(text[0], take_quoted(), address);
    else if (prefix == '&')
        emit_local(slot_number(text), address);
    else if (prefix != '%')
        emit_scoped(prefix, text, address);
    else if (address)
        emit_label_address(text);
    else
        define_label(text);
}

void read(bool address) {
    if (const std::size_t length = prefixed_name_length())
        read_prefixed(length, address);
    else
        emit_plain(take_plain(address), address);
}

}  // namespace

std::size_t prefixed_name_length() {
    const int prefix = peek(0);
    if (prefix == quote) return is_scope(peek(1)) ? 2 : 0;
    if (prefix == '&') {
        const std::size_t first = peek(1) == '-' || peek(1) == 0xAF ? 2 : 1;
        std::size_t end = first;
        while (is_digit(peek(end))) ++end;
        return end == first ? 0 : end;
    }
    if ((!is_scope(prefix) && prefix != '%') || !is_letter(peek(1))) return 0;
    std::size_t end = 2;
    while (is_word(peek(end))) ++end;
    return end;
}

std::string_view scope_prefix(const DataElement& cell) {
    switch (static_cast<Instruction>(cell.modifier)) {
        case Instruction::SAIG: return "_";
        case Instruction::SAIL: return "$";
        case Instruction::SLIL: return ".";
        default: return "";
    }
}

bool is_identifier(std::string_view name) {
    return !name.empty() && is_letter(static_cast<unsigned char>(name[0])) &&
           std::ranges::all_of(name, [](unsigned char c) { return is_word(c); });
}

bool reads_as_name(std::string_view name, bool address) {
    constexpr std::string_view dropped = "\"()|", reserved = "_$%&\x02";
    if (name.empty() || reserved.find(name[0]) != std::string_view::npos) return false;
    for (const char c : name)
        if (ends_name(static_cast<unsigned char>(c), address) || dropped.find(c) != std::string_view::npos)
            return false;
    if (address) return true;
    const char first = name[0];
    return !is_digit(first) && first != '-' && first != '\xAF' && first != '`' && !begins_token(name);
}

namespace {

bool begins_prefixed_name(std::string_view name) {
    const auto byte_at = [name](std::size_t at) {
        return at < name.size() ? static_cast<unsigned char>(name[at]) : ' ';
    };
    const int prefix = byte_at(0), next = byte_at(1);
    if (prefix == '&') return is_digit(next) || ((next == '-' || next == 0xAF) && is_digit(byte_at(2)));
    return (is_scope(prefix) || prefix == '%') && is_letter(next);
}

}  // namespace

bool spells_itself(std::string_view name, bool address) {
    constexpr std::string_view dropped = "\"()|", blanks = " \t\r\n", headers[] = {"ARGS", "VARS"};
    if (name.empty() || name[0] == quote || name[0] == '\n' || begins_prefixed_name(name)) return false;
    const bool whole = std::ranges::none_of(name.substr(1), [&](char c) {
        return ends_name(static_cast<unsigned char>(c), address) || dropped.find(c) != dropped.npos;
    });
    if (!whole || address) return whole;
    return blanks.find(name[0]) == blanks.npos && !begins_token(name) && !begins_number(name) &&
           !is_part_of_token(name) &&
           std::ranges::none_of(headers, [name](std::string_view header) { return name.starts_with(header); });
}

void read_name() { read(false); }
void read_address() { read(true); }

}  // namespace ondrel
