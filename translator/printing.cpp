#include "translator/printing.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <string>
#include <string_view>
#include <vector>

#include "data/blocks.h"
#include "data/errors.h"
#include "data/instructions.h"
#include "numbers/kinds.h"
#include "numbers/polar.h"

namespace ondrel {
namespace {

constexpr std::uint32_t items_per_flush = 100;

// Text on its way to a stream, written in large pieces.
struct Output {
    std::FILE* stream;
    bool listing;
    std::string text;
    std::uint32_t items = 0;  // since the last flush

    void put(std::string_view piece) { text.append(piece); }
    void put(char byte) { text.push_back(byte); }

    void flush() {
        std::fwrite(text.data(), 1, text.size(), stream);
        std::fflush(stream);
        text.clear();
    }

    // Items that may still come before the next flush.
    std::uint32_t room() const { return items_per_flush - items; }

    void count_items(std::uint32_t n) {
        items += n;
        if (items < items_per_flush) return;
        items = 0;
        flush();
        heed_attention();
    }
};

// ---- numbers

template <class Number, class... Format>
void put_number(Output& out, Number number, Format... format) {
    char digits[32];
    out.put({digits, std::to_chars(digits, digits + sizeof digits, number, format...).ptr});
}

void put_real(Output& out, double value) { put_number(out, value, std::chars_format::general, out.listing ? 17 : 10); }

void put_binary(Output& out, std::uint64_t bits, int digits) {
    out.put("0#");
    while (digits-- > 0) out.put((bits >> digits & 1) != 0 ? '1' : '0');
}

// Marks, then components up to the last one that is not zero.
void put_hypercomplex(Output& out, const DataElement& item, const double* components, int n) {
    const bool polar = item.form == form::polar;
    int last = n - 1;
    while (last > 0 && components[last] == 0) --last;
    const bool degrees = polar && (item.marks & mark::degrees) != 0 && last > 0;
    out.put(' ');
    if (out.listing && item.form == form::number) out.put('#');
    if (item.marks & mark::r_prefix) out.put('r');
    if (degrees) out.put('d');
    put_real(out, components[0]);
    for (int i = 1; i <= last; ++i) {
        out.put((polar ? "pqrstuv" : "ijklmno")[i - 1]);
        put_real(out, degrees ? components[i] * degrees_per_radian : components[i]);
    }
}

void put_item(Output& out, const DataElement& item) {
    if (has_name(item)) {
        out.put(' ');
        out.put(item.name);
        return;
    }
    switch (item.tag) {
        case tag::integer:
            out.put(' ');
            if (item.form == form::boolean)
                out.put(item.integer != 0 ? 'T' : 'F');
            else if (item.form == form::binary && out.listing)
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
void put_character(Output& out, const DataElement& item, bool after_character) {
    if (out.listing) {
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
    if (out.listing) out.put('\'');
}

// ---- narrowing

bool is_whole(double value) { return fits_integer(value) && std::trunc(value) == value; }

void narrow_real(DataElement& item) {
    if (!is_whole(item.real)) return;
    const auto whole = static_cast<std::int64_t>(item.real);
    item.tag = tag::integer;
    item.integer = whole;
}

void narrow_to_plain(DataElement& item, double value) {
    item.tag = tag::real;
    item.name = nullptr;
    item.real = value;
    narrow_real(item);
}

// A quaternion is narrowed wherever it stands; a complex number and a real only in a mixed or nested value, and a
// scalar real. The lowest integer is left alone in a mixed value.
void narrow(DataElement& item, bool mixed, bool scalar) {
    if (item.tag == tag::quaternion && item.quaternion[2] == 0 && item.quaternion[3] == 0) {
        const double components[] = {item.quaternion[0], item.quaternion[1]};
        if (components[1] == 0) return narrow_to_plain(item, components[0]);
        item.tag = tag::complex;
        item.name = nullptr;
        item.complex[0] = components[0];
        item.complex[1] = components[1];
    } else if (item.tag == tag::complex && mixed && item.complex[1] == 0) {
        narrow_to_plain(item, item.complex[0]);
    } else if (item.tag == tag::real && !has_name(item) && (scalar || (mixed && item.real != -two_to_63))) {
        narrow_real(item);
    }
}

// Uniform arrays keep one kind, quaternions apart: there the record gets a block of its own with the simpler items.
void narrow_value(DataElement& value) {
    const bool mixed = (value.type & PER_ITEM) != 0, scalar = (value.type & ISSCALAR) != 0;
    if (value.data_pointer == nullptr || (!mixed && !scalar && !(value.type & HASQUATERNION))) return;
    if (!mixed && !scalar) {
        Owner narrowed;
        narrowed.record.elements = value.elements;
        narrowed.record.data_pointer = unpack(value.data_pointer, value.elements);
        std::swap(narrowed.record.data_pointer, value.data_pointer);
    }
    DataElement* const items = items_of(value);
    for (std::uint32_t i = 0; i < value.elements; ++i) narrow(items[i], mixed, scalar);
    const std::int16_t depth = value.depth;
    rebuild_kinds(value);
    value.depth = depth;
    if (!mixed && !scalar) pack(value);
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
    void put_breaks(Output& out, std::uint64_t items_so_far) const {
        for (const std::uint64_t product : products)
            if (items_so_far % product == 0) out.put('\n');
    }
};

void put_element(Output& out, std::string_view prefix, int indent, DataElement& element);

void put_indent(Output& out, int indent) { out.text.append(static_cast<std::size_t>(indent) * 3, ' '); }

bool is_text(const DataElement& value) { return (value.type & (HASASCII | PER_ITEM)) == HASASCII; }

// Characters of a listing: one of form 4 shows its bits.
void put_quoted(Output& out, const DataElement& value) {
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
void put_lines(Output& out, const DataElement& value) {
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

void put_text(Output& out, int indent, const DataElement& value) {
    if (indent > 0 || out.listing) out.put(' ');
    if (out.listing)
        put_quoted(out, value);
    else
        put_lines(out, value);
}

// A nested value. Text stands in quotes in both modes; any other keeps the mode, between blanks in display.
void put_subarray(Output& out, int indent, DataElement& nested) {
    const bool listing = out.listing;
    if (nested.type & HASASCII) {
        out.listing = true;
        put_element(out, {}, indent + 1, nested);
        out.listing = listing;
    } else {
        put_element(out, listing ? "" : " ", indent + 1, nested);
        if (!listing) out.put(' ');
    }
}

void put_items(Output& out, int indent, DataElement& value) {
    const Rows rows(value);
    bool after_character = false;
    for (std::uint32_t i = 0; i < value.elements; ++i) {
        if (!out.listing && i > 0) rows.put_breaks(out, i);
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

void put_shape(Output& out, const DataElement& value) {
    out.put(" [");
    for (std::int32_t k = 0; k < value.rank; ++k) {
        out.put(' ');
        put_number(out, value.shape_pointer[k]);
    }
    out.put(" ]");
}

// An enclosing value in a listing shows the items of the value inside without brackets of their own, since reading
// "`(" opens both.
void put_enclosed(Output& out, int indent, DataElement& value) {
    out.put(" `(");
    DataElement& inside = *items_of(value)->nested;
    const bool merge = out.listing && items_of(value)->tag == tag::subarray && inside.rank > 0 && !is_text(inside) &&
                       inside.data_pointer != nullptr && !(inside.type & ISSCALAR);
    put_items(out, indent, merge ? inside : value);
    out.put(" )`");
    if (merge && inside.rank > 1) put_shape(out, inside);
}

void put_value(Output& out, int indent, DataElement& value) {
    const bool listed = out.listing || indent > 0;
    if (value.type & ISEMPTY) {
        if (indent > 0) put_indent(out, indent);
        out.put(listed ? "#NIL\n" : ".\n");
        PrintOut = false;
        return;
    }
    if (value.data_pointer == nullptr) {
        out.put(listed ? " #NIL" : " .");
        PrintOut = false;
        return;
    }
    narrow_value(value);
    if (is_text(value)) {
        put_text(out, indent, value);
    } else if ((value.type & (ISSCALAR | STRUCTURED)) == (ISSCALAR | STRUCTURED)) {
        put_enclosed(out, indent, value);
    } else {
        const bool brackets = listed && value.rank > 0;
        if (brackets) out.put(" (");
        put_items(out, indent, value);
        if (brackets) out.put(" )");
    }
    if (listed && !(value.type & ISSCALAR) && value.rank > 1) put_shape(out, value);
    if (listed && (value.type & CONDITIONAL)) out.put(value.type & YES ? " IF_YES" : " IF_NO");
}

// ---- cells

std::string_view name_of(std::uint16_t instruction) {
    return instruction < Instructions.size() ? Instructions[instruction].name : std::string_view{};
}

bool is_instruction(const DataElement& cell, Instruction instruction) {
    return cell.depth == static_cast<std::int16_t>(instruction);
}

void put_operator(Output& out, int indent, const DataElement& cell, bool listed) {
    using enum Instruction;
    const std::string_view name =
        cell.text != nullptr && *cell.text != '\0' ? cell.text : name_of(static_cast<std::uint16_t>(cell.depth));
    const bool comment = is_instruction(cell, NOOP) && cell.modifier == static_cast<std::uint16_t>(CONTEXT);
    if (comment) {
        out.put(listed ? " \"" : " . COMMENT:\t\t");
        out.put(name);
        if (listed) out.put("\"\n");
        return;
    }
    out.put(listed ? " " : " . OPERATOR:\t\t");
    if (listed) {
        out.put(name);
        if (is_instruction(cell, NOOP) || is_instruction(cell, JUMP) || is_instruction(cell, CHECK)) out.put('\n');
        if (is_instruction(cell, JUMP) || is_instruction(cell, CHECK)) put_indent(out, indent);
        return;
    }
    const bool conditional = is_instruction(cell, IF_YES) || is_instruction(cell, IF_NO);
    const bool combining =
        is_instruction(cell, OUTERPRODUCT) ||
        (cell.depth >= static_cast<std::int16_t>(SCAN) && cell.depth <= static_cast<std::int16_t>(REDUCENWISELASTAXIS));
    if (conditional) {
        if (cell.elements != 0) {
            out.put(name_of(static_cast<std::uint16_t>(cell.elements)));
            out.put(' ');
        }
        out.put(name_of(cell.modifier));
        return;
    }
    if (combining) {
        out.put(name_of(cell.modifier));
        out.put(" . OPERATOR:\t\t");
    }
    out.put(name);
    if (is_instruction(cell, PRINT)) out.put('\n');
}

void put_name(Output& out, int indent, const DataElement& cell, bool listed) {
    using enum Instruction;
    const auto scope = static_cast<Instruction>(cell.modifier);
    if (listed) {
        out.put('\n');
        put_indent(out, indent);
    }
    if (scope == SLIL) {
        out.put(" . LOCAL");
    } else if (scope == SAIL) {
        out.put(" . SAIL");
    } else {
        if (scope == SAIG) out.put(" . SAIG");
        out.put(cell.type & ISOPERATOR ? " . GLOBAL" : " .");
    }
    out.put(" VARIABLE:\t ");
    out.put(scope == SAIL ? "$" : scope == SLIL ? "." : scope == SAIG ? "_" : "");
    out.put(cell.text);
}

void put_element(Output& out, std::string_view prefix, int indent, DataElement& element) {
    const bool listed = out.listing || indent > 0;
    out.put(prefix);
    switch (element.rank) {
        case kind::OPERATOR: return put_operator(out, indent, element, listed);
        case kind::VARIABLE: return put_name(out, indent, element, listed);
        case kind::UNUSED: return out.put(" . Unused name!\n");
        case kind::INVALID: return out.put(" . Unused symbol!\n");
        default: return put_value(out, indent, element);
    }
}

}  // namespace

void disass(std::FILE* stream, const char* prefix, int indent, bool listing, DataElement& element) {
    Output out{stream, listing, {}};
    put_element(out, prefix, indent, element);
    out.flush();
}

void dump(std::FILE* stream, const char* prefix, DataElement& element) {
    PrintOut = true;
    disass(stream, prefix, 0, false, element);
    PrintOut = false;
}

void dumpstack(std::FILE* stream, DataElement* bottom, DataElement* top) {
    for (DataElement* slot = bottom; slot <= top; ++slot) {
        disass(stream, "", 0, true, *slot);
        std::fputc('\n', stream);
    }
    std::fputs(".\n", stream);
}

}  // namespace ondrel
