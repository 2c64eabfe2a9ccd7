#include "translator/printing.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "data/blocks.h"
#include "data/errors.h"
#include "data/instructions.h"
#include "data/texts.h"
#include "data/walks.h"
#include "numbers/kinds.h"
#include "numbers/polar.h"
#include "translator/emission.h"
#include "translator/literal_text.h"
#include "translator/names.h"
#include "translator/narrowing.h"
#include "translator/value_key.h"
#include "translator/vocabulary.h"

namespace ondrel {
namespace {

// ---- numbers

void put_real(TextOutput& out, double value) {
    put_number(out, value, std::chars_format::general, out.is_listing() ? 17 : 10);
}

// Marks, then components up to the last one that is not zero.
void put_hypercomplex(TextOutput& out, const DataElement& item, const double* components, int n) {
    const bool polar = item.form == form::polar;
    int last = n - 1;
    while (last > 0 && components[last] == 0) --last;
    const bool degrees = polar && (item.marks & mark::degrees) != 0 && last > 0;
    out.put(' ');
    if (out.is_listing() && item.form == form::number) out.put('#');
    if (item.marks & mark::r_prefix) out.put('r');
    if (degrees) out.put('d');
    put_real(out, components[0]);
    for (int i = 1; i <= last; ++i) {
        out.put((polar ? "pqrstuv" : "ijklmno")[i - 1]);
        put_real(out, degrees ? components[i] * degrees_per_radian : components[i]);
    }
}

void put_item(TextOutput& out, const DataElement& item) {
    if (has_name(item) && item.tag != tag::file) {
        out.put(' ');
        out.put(item.name);
        return;
    }
    switch (item.tag) {
        case tag::integer:
            out.put(' ');
            if (item.form == form::boolean)
                out.put(item.integer != 0 ? 'T' : 'F');
            else if (item.form == form::binary && out.is_listing())
                put_binary(out, static_cast<std::uint64_t>(item.integer), 64);
            else
                put_number(out, item.integer);
            break;
        case tag::real:
            out.put(' ');
            put_real(out, item.real);
            break;
        case tag::complex: put_hypercomplex(out, item, item.complex, 2); break;
        case tag::quaternion: put_hypercomplex(out, item, item.quaternion, 4); break;
        case tag::octonion: put_hypercomplex(out, item, item.octonion, 8); break;
        default: out.put(" ???");
    }
}

// A character among other items: in display a run of characters stands together, with a blank before the first.
void put_character(TextOutput& out, const DataElement& item, bool after_character) {
    if (out.is_listing()) {
        out.put(' ');
        if (item.form == form::binary && item.tag == tag::ascii) return put_binary(out, item.ascii, 8);
        out.put('\'');
    } else if (!after_character) {
        out.put(' ');
    }
    if (item.tag == tag::ascii) {
        out.put(static_cast<char>(item.ascii));
    } else {
        char digits[8];
        const int length = std::snprintf(digits, sizeof digits, "%X", item.unicode);
        out.put({digits, static_cast<std::size_t>(length)});
    }
    if (out.is_listing()) out.put('\'');
}

// ---- values

// Newlines between the rows of a value of two dimensions and more, in display: one for each dimension that the count
// of items so far completes.
struct Rows {
    std::vector<std::uint64_t> products;

    explicit Rows(const DataElement& value) {
        std::uint64_t product = 1;
        for (std::int32_t k = 0; value.rank > 1 && k < value.rank - 1; ++k)
            products.push_back(product *= static_cast<std::uint64_t>(value.shape_pointer[k]));
    }
    void put_breaks(TextOutput& out, std::uint64_t items_so_far) const {
        for (const std::uint64_t product : products)
            if (items_so_far % product == 0) out.put('\n');
    }
};

void put_element(TextOutput& out, std::string_view prefix, int indent, DataElement& element);

void put_indent(TextOutput& out, int indent) { out.text.append(static_cast<std::size_t>(indent) * 3, ' '); }

// Characters of a listing: one of form 4 shows its bits.
void put_quoted(TextOutput& out, const DataElement& value) {
    out.put('\'');
    for (std::uint32_t i = 0; i < value.elements; ++i) {
        const DataElement item = item_at(value.data_pointer, i);
        if (item.form == form::binary) {
            out.put('`');
            put_binary(out, item.ascii, 8);
            out.put('`');
        } else {
            out.put(static_cast<char>(item.ascii));
        }
        out.count_items(1);
    }
    out.put('\'');
}

// Characters of a display, a row at a time.
void put_lines(TextOutput& out, const DataElement& value) {
    const Rows rows(value);
    const auto row = value.rank > 1 ? static_cast<std::uint32_t>(value.shape_pointer[0]) : value.elements;
    for (std::uint32_t i = 0; i < value.elements;) {
        if (i > 0 && i % row == 0) rows.put_breaks(out, i);
        const std::uint32_t n = std::min({row - i % row, value.elements - i, out.room()});
        if (is_packed(value.data_pointer))
            out.put({static_cast<const char*>(value.data_pointer) + i, n});
        else
            for (std::uint32_t k = 0; k < n; ++k) out.put(static_cast<char>(items_of(value)[i + k].ascii));
        out.count_items(n);
        i += n;
    }
}

void put_text(TextOutput& out, int indent, const DataElement& value) {
    if (indent > 0 || out.is_listing()) out.put(' ');
    if (out.is_listing())
        put_quoted(out, value);
    else
        put_lines(out, value);
}

// A nested value. Text stands in quotes in both modes; any other keeps the mode, between blanks in display.
void put_subarray(TextOutput& out, int indent, DataElement& nested) {
    enter_nest();
    const bool listing = out.is_listing();
    if (nested.type & HASASCII) {
        const Manner manner = std::exchange(out.manner, Manner::listing);
        put_element(out, {}, indent + 1, nested);
        out.manner = manner;
    } else {
        put_element(out, listing ? "" : " ", indent + 1, nested);
        if (!listing) out.put(' ');
    }
}

void put_items(TextOutput& out, int indent, DataElement& value) {
    const Rows rows(value);
    bool after_character = false;
    for (std::uint32_t i = 0; i < value.elements; ++i) {
        if (!out.is_listing() && i > 0) rows.put_breaks(out, i);
        const DataElement item = item_at(value.data_pointer, i);
        const bool character = item.tag == tag::ascii || item.tag == tag::unicode;
        if (item.tag == tag::subarray) {
            put_subarray(out, indent, *item.nested);
            after_character = (item.nested->type & HASASCII) != 0;
        } else {
            if (character)
                put_character(out, item, after_character);
            else if (!(value.type & ISSCALAR) || !(item.marks & mark::hidden))
                put_item(out, item);
            after_character = character;
        }
        out.count_items(1);
    }
}

// An enclosing value in a listing shows the items of the value inside without brackets of their own, since reading
// "`(" opens both.
void put_enclosed(TextOutput& out, int indent, DataElement& value) {
    out.put(" `(");
    DataElement& inside = *items_of(value)->nested;
    const bool merge = out.is_listing() && items_of(value)->tag == tag::subarray && inside.rank > 0 &&
                       !is_text(inside) && inside.data_pointer != nullptr && !(inside.type & ISSCALAR);
    put_items(out, indent, merge ? inside : value);
    out.put(" )`");
    if (merge && inside.rank > 1) put_shape(out, inside);
}

void put_condition(TextOutput& out, const DataElement& cell) {
    if (cell.type & CONDITIONAL) out.put(system_word(cell.type & YES ? "IF_YES" : "IF_NO", out.tables));
}

bool is_hidden(const DataElement& value) {
    return (value.type & (ISSCALAR | STRUCTURED)) == ISSCALAR && (items_of(value)->marks & mark::hidden) != 0;
}

// A value in a body that is to be read back. What a verb's own token brings is not told.
void put_readable(TextOutput& out, int indent, const DataElement& value) {
    if (is_nil(value)) {
        put_indent(out, indent);
        out.put("#NIL\n");
    } else if (value.data_pointer == nullptr || !is_hidden(value)) {
        put_literal(out, value);
    }
    put_condition(out, value);
}

void put_value(TextOutput& out, int indent, DataElement& value) {
    if (out.manner == Manner::readable) return put_readable(out, indent, value);
    const bool listed = out.is_listing() || indent > 0;
    if (value.data_pointer == nullptr) {
        const bool empty = (value.type & ISEMPTY) != 0;
        if (empty && indent > 0) put_indent(out, indent);
        out.put(empty ? (listed ? "#NIL\n" : ".\n") : (listed ? " #NIL" : " ."));
        if (listed) put_condition(out, value);
        PrintOut = false;
        return;
    }
    DataElement shown = narrowed(value);
    if (is_text(shown)) {
        put_text(out, indent, shown);
    } else if ((shown.type & (ISSCALAR | STRUCTURED)) == (ISSCALAR | STRUCTURED)) {
        put_enclosed(out, indent, shown);
    } else {
        const bool brackets = listed && shown.rank > 0;
        if (brackets) out.put(" (");
        put_items(out, indent, shown);
        if (brackets) out.put(" )");
    }
    if (listed && !(value.type & ISSCALAR) && value.rank > 1) put_shape(out, value);
    if (listed) put_condition(out, value);
}

// ---- cells

std::string_view name_of(std::uint16_t instruction) {
    return instruction < Instructions.size() ? Instructions[instruction].name : std::string_view{};
}

std::string_view name_of(const DataElement& cell) { return name_of(static_cast<std::uint16_t>(cell.depth)); }
std::string_view text_of_cell(const DataElement& cell) { return cell.text == nullptr ? "" : cell.text; }

bool is_conditional(const DataElement& cell) {
    return is_instruction(cell, Instruction::IF_YES) || is_instruction(cell, Instruction::IF_NO);
}

bool is_number(std::uint32_t number, Instruction instruction) {
    return number == static_cast<std::uint32_t>(instruction);
}

// What stands in place of an instruction: a comment, a label, or nothing at all. The word of a condition that is tied
// to it comes behind.
void put_idle(TextOutput& out, std::string_view text, std::uint32_t second, std::string_view condition) {
    if (is_number(second, Instruction::CONTEXT)) {
        out.put(system_word("\"", out.tables));
        out.put(text);
        out.put('"');
    } else if (is_number(second, Instruction::SLIL)) {
        out.put(" %");
        out.put(text);
    } else {
        out.put(system_word(text, out.tables));
    }
    if (!condition.empty()) out.put(system_word(condition, out.tables));
    out.put('\n');
}

void put_listed_operator(TextOutput& out, int indent, const DataElement& cell) {
    using enum Instruction;
    const std::string_view text = cell.text != nullptr ? cell.text : name_of(cell);
    if (is_instruction(cell, NOOP)) return put_idle(out, text, cell.modifier, {});
    if (is_conditional(cell) && is_number(cell.modifier, NOOP)) {
        const std::size_t blank = text.rfind(' ');
        return put_idle(out, text.substr(0, blank), cell.elements, text.substr(blank + 1));
    }
    const bool closes = is_instruction(cell, FUNCTIONEND);
    if (closes || (is_conditional(cell) && cell.modifier == function_below)) {
        // A body that the end of its sentence has closed is closed by itself where it is read again.
        const bool by_force = closes && text != ";" && text != name_of(cell);
        out.put(closes ? std::string(" ").append(by_force ? ";" : text) : system_word(text, out.tables));
    } else {
        out.put(system_word(text, out.tables));
    }
    if (!is_instruction(cell, JUMP) && !is_instruction(cell, CHECK)) return;
    out.put('\n');
    put_indent(out, indent);
}

void put_displayed_operator(TextOutput& out, const DataElement& cell) {
    using enum Instruction;
    const std::string_view name = cell.text != nullptr && *cell.text != '\0' ? cell.text : name_of(cell);
    if (is_instruction(cell, NOOP) && is_number(cell.modifier, CONTEXT)) {
        out.put(" . COMMENT:\t\t");
        return out.put(name);
    }
    out.put(" . OPERATOR:\t\t");
    if (is_conditional(cell) && cell.modifier != function_below) {
        if (cell.elements != 0) {
            out.put(name_of(static_cast<std::uint16_t>(cell.elements)));
            out.put(' ');
        }
        return out.put(name_of(cell.modifier));
    }
    if (row(cell).has(traits::combines)) {
        out.put(name_of(cell.modifier));
        out.put(" . OPERATOR:\t\t");
    }
    out.put(name);
    if (is_instruction(cell, PRINT)) out.put('\n');
}

// ---- names

void put_scope_label(TextOutput& out, const DataElement& cell) {
    switch (static_cast<Instruction>(cell.modifier)) {
        case Instruction::SAIG: out.put(" . SAIG"); [[fallthrough]];
        case Instruction::SGIG: return out.put(cell.type & ISOPERATOR ? " . GLOBAL" : " .");
        case Instruction::SAIL: return out.put(" . SAIL");
        case Instruction::SLIL: return out.put(" . LOCAL");
        default: return;
    }
}

// A name that holds the byte that ends a spelling, or begins as if it told its table, is told by the codes of the text
// that it was made of.
bool has_no_spelling(std::string_view name) {
    constexpr std::string_view prefixes = "$%._";
    return name.find('\x03') != name.npos || (!name.empty() && prefixes.find(name[0]) != name.npos);
}

// A name with its prefix as the scanner takes it: between quotes if that is the only way.
void put_readable_name(TextOutput& out, const DataElement& cell) {
    const std::string_view prefix = scope_prefix(cell), name = text_of_cell(cell);
    const auto is_plain = out.manner == Manner::readable ? spells_itself : reads_as_name;
    const bool plain = prefix.empty() ? is_plain(name, cell.rank == kind::ADDRESS) : is_identifier(name);
    if (!plain) out.put('\x02');
    out.put(prefix);
    out.put(name);
    if (!plain) out.put('\x03');
}

void put_listed_name(TextOutput& out, int indent, const DataElement& cell) {
    const std::string_view name = text_of_cell(cell);
    const bool in_codes = has_no_spelling(name) && !(out.manner == Manner::readable && spells_itself(name, true));
    if (cell.rank == kind::ADDRESS && scope_prefix(cell).empty() && in_codes) {
        out.put(quoted_address(text_of_cell(cell), out.tables));
    } else if (cell.rank == kind::ADDRESS) {
        out.put(" @");
        put_readable_name(out, cell);
    } else {
        out.put('\n');
        put_indent(out, indent);
        if (cell.rank == kind::LABEL) {
            out.put(" @%");
            out.put(text_of_cell(cell));
        } else {
            if (!scope_prefix(cell).empty()) out.put(' ');
            put_readable_name(out, cell);
        }
    }
    put_condition(out, cell);
}

void put_displayed_name(TextOutput& out, const DataElement& cell) {
    if (cell.rank == kind::LABEL) {
        out.put(" . LABEL:\t\t");
    } else {
        put_scope_label(out, cell);
        out.put(cell.rank == kind::ADDRESS ? " ADDRESS:\t" : " VARIABLE:\t");
        if (cell.rank == kind::VARIABLE && !scope_prefix(cell).empty()) out.put(' ');
        out.put(scope_prefix(cell));
    }
    out.put(text_of_cell(cell));
}

// A slot of a frame, by the number that it has in the source. The address of one on the stack has none.
void put_local(TextOutput& out, const DataElement& cell, bool listed) {
    const bool address = cell.rank != kind::LOCAL_VARIABLE;
    out.put(listed ? " " : address ? " . STACK ADDRESS:\t" : " . STACK VARIABLE:\t");
    if (listed && address) out.put('@');
    out.put('&');
    if (!borrows(cell)) put_number(out, items_of(cell)->integer + 1);
    if (listed) put_condition(out, cell);
}

void put_element(TextOutput& out, std::string_view prefix, int indent, DataElement& element);

// True if the bracket that the cell begins with would be read as the shape of the literal before it.
bool would_be_shape(const TextOutput& out, const DataElement& cell, const DataElement& before) {
    if (cell.rank != kind::OPERATOR || !text_of_cell(cell).starts_with('[')) return false;
    if (before.rank < 0 || (before.type & CONDITIONAL)) return false;
    if (before.data_pointer == nullptr) return out.manner == Manner::readable && !is_nil(before);
    return (before.type & (ISSCALAR | STRUCTURED | HASASCII)) != ISSCALAR;
}

// The same in all modes: what stands in a function is always listed. A literal is kept apart from a bracket by the word
// that makes the next one the system's own, as it is.
void put_function(TextOutput& out, int indent, DataElement& function) {
    constexpr auto words = std::to_array<std::string_view>({" NILADIC", " MONADIC", " DYADIC", " TRIADIC"});
    const Manner manner = out.manner;
    if (manner == Manner::display) out.manner = Manner::listing;
    const auto new_line = [&out](int level) {
        out.put('\n');
        put_indent(out, level);
    };
    new_line(indent);
    if (function.depth < 0) {
        out.put(' ');
        out.put(function.text != nullptr ? function.text : ":");
    } else {
        if (function.locals != 0) {
            out.put(" VARS ");
            put_number(out, function.locals);
        }
        if (static_cast<std::size_t>(function.depth) < words.size()) {
            out.put(words[static_cast<std::size_t>(function.depth)]);
        } else {
            out.put(" ARGS ");
            put_number(out, function.depth);
            out.put(" FUNCTION");
        }
    }
    new_line(indent + 1);
    auto* const stream = static_cast<DataElement*>(function.data_pointer);
    for (DataElement* cell = stream + 1; cell->type != 0; ++cell) {
        if (would_be_shape(out, *cell, cell[-1])) out.put(" ::");
        put_element(out, {}, indent + 1, *cell);
        out.count_items(1);
    }
    if (stream->type & ISOPERATOR) out.put(system_word("OPERATOR", out.tables));
    new_line(indent);
    out.manner = manner;
}

void put_element(TextOutput& out, std::string_view prefix, int indent, DataElement& element) {
    const bool listed = out.is_listing() || indent > 0;
    out.put(prefix);
    switch (element.rank) {
        case kind::OPERATOR:
            return listed ? put_listed_operator(out, indent, element) : put_displayed_operator(out, element);
        case kind::LOCAL_VARIABLE:
        case kind::LOCAL_ADDRESS: return put_local(out, element, listed);
        case kind::ADDRESS:
            if (borrows(element)) return put_local(out, element, listed);
            [[fallthrough]];
        case kind::VARIABLE:
        case kind::LABEL: return listed ? put_listed_name(out, indent, element) : put_displayed_name(out, element);
        case kind::FUNCTION: return put_function(out, indent, element);
        case kind::UNUSED: return out.put(" . Unused name!\n");
        case kind::INVALID: return out.put(" . Unused symbol!\n");
        default: return put_value(out, indent, element);
    }
}

}  // namespace

void disass(std::FILE* stream, const char* prefix, int indent, bool listing, DataElement& element) {
    TextOutput out{stream, listing ? Manner::listing : Manner::display, &variables};
    put_element(out, prefix, indent, element);
    out.flush();
}

LongText text_of(DataElement& element) {
    TextOutput out{nullptr, Manner::display, &variables};
    put_element(out, {}, 0, element);
    return std::move(out.text);
}

void put_cell(TextOutput& out, DataElement& cell) { put_element(out, {}, 0, cell); }

void dump(std::FILE* stream, const char* prefix, DataElement& element) {
    PrintOut = true;
    disass(stream, prefix, 0, false, element);
    PrintOut = false;
}

// The text of a verb can go on with words that modify it. A name of the user's would take the place of the first words,
// and of any that changes the verb.
std::string system_word(std::string_view word, const Chain* tables) {
    bool is_users = false;
    for (std::size_t end = 0; end != word.npos && !is_users;) {
        end = word.find(' ', end + 1);
        is_users = checkmeaning(tables, word.substr(0, end)) != nullptr;
    }
    std::string text = is_users ? " ::" : "";
    for (std::size_t begin = 0, end = 0; begin <= word.size(); begin = end + 1) {
        end = std::min(word.find(' ', begin), word.size());
        const std::string_view part = word.substr(begin, end - begin);
        const bool changes = begin > 0 && changes_cell_before(part) && checkmeaning(tables, part) != nullptr;
        text.append(changes ? " :: " : " ").append(part);
    }
    return text;
}

std::string quoted_address(std::string_view name, const Chain* tables) {
    if (!has_no_spelling(name)) return std::string(" @\x02").append(name) + '\x03';
    std::string codes = " (";
    for (const char code : text_of_key(name)) codes += ' ' + std::to_string(static_cast<unsigned char>(code));
    return codes + " )" + system_word("ENASCII", tables) + system_word("AT", tables);
}

}  // namespace ondrel
