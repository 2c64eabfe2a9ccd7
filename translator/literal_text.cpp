#include "translator/literal_text.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <optional>
#include <span>

#include "data/blocks.h"
#include "data/texts.h"
#include "data/walks.h"
#include "numbers/kinds.h"
#include "numbers/polar.h"
#include "numbers/truth.h"
#include "translator/tokens.h"

namespace ondrel {
namespace {

constexpr int most_levels = 256;  // of one literal

// ---- numbers

bool same_bits(double left, double right) {
    return std::bit_cast<std::uint64_t>(left) == std::bit_cast<std::uint64_t>(right);
}

// Integers are read as doubles, the greatest one as what it rounds to.
bool is_wide(std::int64_t value) {
    if (value == std::numeric_limits<std::int64_t>::max()) return false;
    const auto rounded = static_cast<double>(value);
    return !fits_integer(rounded) || static_cast<std::int64_t>(rounded) != value;
}

void put_component(TextOutput& out, double value) {
    if (std::isnan(value)) return out.put("nan");
    put_number(out, value, std::chars_format::general, 17);
}

// A real that could be taken for an integer shows its point.
void put_real(TextOutput& out, double value) {
    const std::size_t start = out.text.size();
    put_component(out, value);
    if (!(std::fabs(value) <= two_to_63)) return;
    const std::string_view digits = std::string_view(out.text).substr(start);
    const std::size_t exponent = std::min(digits.find('e'), digits.size());
    if (digits.find('.') == digits.npos && digits.find("e-") == digits.npos) out.text.insert(start + exponent, ".0");
}

std::span<const double> components_of(const DataElement& item) {
    switch (item.tag) {
        case tag::complex: return item.complex;
        case tag::quaternion: return item.quaternion;
        default: return {item.octonion, 8};
    }
}

// The number of degrees that is read as this angle, if there is one.
std::optional<double> degrees_of(double angle) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    const double near = angle * degrees_per_radian;
    double below = near, above = near;
    for (int i = 0; i < 4; ++i) {
        if (same_bits(below * radians_per_degree, angle) || std::isnan(angle)) return below;
        if (same_bits(above * radians_per_degree, angle)) return above;
        below = std::nextafter(below, -infinity);
        above = std::nextafter(above, infinity);
    }
    return {};
}

bool shows_degrees(const DataElement& item) {
    return item.form == form::polar && (item.marks & mark::degrees) != 0 &&
           std::ranges::all_of(components_of(item).subspan(1),
                               [](double angle) { return degrees_of(angle).has_value(); });
}

// Up to the last component that is not 0, and so far that the letters tell the kind.
void put_hypercomplex(TextOutput& out, const DataElement& item) {
    const std::span components = components_of(item);
    const bool polar = item.form == form::polar, degrees = shows_degrees(item);
    std::size_t last = components.size() - 1;
    while (last > components.size() / 2 && same_bits(components[last], 0)) --last;
    if (item.form == form::number) out.put('#');
    if (degrees) out.put('d');
    if (item.marks & mark::r_prefix) out.put('r');
    put_component(out, components[0]);
    for (std::size_t i = 1; i <= last; ++i) {
        out.put((polar ? "pqrstuv" : "ijklmno")[i - 1]);
        put_component(out, degrees ? *degrees_of(components[i]) : components[i]);
    }
}

// ---- items

bool is_in_range(const DataElement& item) {
    if (item.tag == tag::real) return same_bits(truth_degree(item.real), item.real);
    return (item.marks & mark::r_prefix) == 0 && std::ranges::all_of(components_of(item), [](double component) {
               return same_bits(truth_degree(component), component);
           });
}

bool is_of_truths(const DataElement& item) {
    return (item.marks & (mark::r_prefix | mark::degrees)) == 0 &&
           std::ranges::all_of(components_of(item),
                               [](double component) { return same_bits(component, 0) || same_bits(component, 1); });
}

bool is_listable_character(std::uint8_t code) { return code != '\0' && code != '\n' && code != 0xFF; }

Way way_of_hypercomplex(const DataElement& item) {
    switch (item.form) {
        case form::polar: return (item.marks & mark::degrees) && !shows_degrees(item) ? Way::degrees : Way::alone;
        case form::logical: return is_in_range(item) ? Way::logical : Way::list;
        case form::boolean: return is_of_truths(item) ? Way::boolean : Way::list;
        default: return item.marks & mark::degrees ? Way::degrees : Way::list;
    }
}

bool is_truth(const DataElement& item) {
    return item.form == form::boolean && (item.integer == 0 || item.integer == 1);
}
// Written in decimal digits.
bool is_decimal(const DataElement& item) {
    return item.tag == tag::integer && item.form != form::binary && !is_truth(item);
}

bool has_known_name(const DataElement& item) {
    return has_name(item) && item.tag != tag::file && names_constant(Vocabulary::sentence, item.name);
}

}  // namespace

Way way_of(const DataElement& item) {
    if (has_known_name(item)) return names_constant(Vocabulary::constants, item.name) ? Way::list : Way::alone;
    switch (item.tag) {
        case tag::ascii: return item.form != form::binary && is_listable_character(item.ascii) ? Way::list : Way::text;
        case tag::integer: return is_decimal(item) && is_wide(item.integer) ? Way::wide : Way::list;
        case tag::real:
            if (item.form == form::binary) return Way::binary;
            return item.form == form::logical && is_in_range(item) ? Way::logical : Way::list;
        case tag::complex:
        case tag::quaternion:
        case tag::octonion: return way_of_hypercomplex(item);
        default: return Way::list;
    }
}

bool can_go(Way way, const DataElement& item) {
    if (item.tag == tag::subarray) return false;
    if (way == Way::text) return item.tag == tag::ascii;
    const Way own = way_of(item);
    if (way == Way::wide && own == Way::list) return is_decimal(item) && !has_known_name(item);
    // A polar number has its place in no list.
    return way == own && way != Way::alone && (item.tag < tag::complex || item.form != form::polar);
}

// ---- texts

namespace {

// Eight digits stay a binary character, nine are the plain one. Where two quotes begin no text, a nested one tells its
// quotes by their codes.
void put_text_character(TextOutput& out, std::uint8_t code, bool bits, bool by_code) {
    constexpr std::string_view special{"\"`\0\xFF", 4};
    if (bits || by_code || special.find(static_cast<char>(code)) != special.npos) {
        out.put('`');
        put_binary(out, code, bits ? 8 : 9);
        out.put('`');
        return;
    }
    if (code == '\'') out.put('\'');
    out.put(static_cast<char>(code));
}

// A single character in a list would be no text but an item.
void put_text(TextOutput& out, const DataElement& value, std::uint32_t from, std::uint32_t n, bool nested) {
    out.put(" '");
    for (std::uint32_t i = from; i < from + n; ++i) {
        const DataElement item = item_at(value.data_pointer, i);
        const bool by_code = nested && (n == 1 || (item.ascii == '\'' && i - from < 2));
        put_text_character(out, item.ascii, item.form == form::binary, by_code);
        out.count_items(1);
    }
    out.put('\'');
}

void put_character(TextOutput& out, std::uint8_t code) {
    out.put(" '");
    out.put(static_cast<char>(code));
    if (code == '\'') out.put(static_cast<char>(code));
    out.put('\'');
}

void put_integer(TextOutput& out, const DataElement& item) {
    if (is_truth(item))
        out.put(item.integer != 0 ? 'T' : 'F');
    else if (item.form == form::binary || is_wide(item.integer))
        put_binary(out, static_cast<std::uint64_t>(item.integer), 64);
    else
        put_number(out, item.integer);
}

void put_item(TextOutput& out, const DataElement& item) {
    if (item.tag == tag::ascii) return put_character(out, item.ascii);
    out.put(' ');
    if (has_known_name(item)) return out.put(std::string_view(item.name));
    switch (item.tag) {
        case tag::integer: return put_integer(out, item);
        case tag::real: return put_real(out, item.real);
        case tag::complex:
        case tag::quaternion:
        case tag::octonion: return put_hypercomplex(out, item);
        default: return out.put("???");
    }
}

// ---- values

bool is_one_item(const DataElement& value) { return (value.type & ISSCALAR) != 0; }

// By its items: one that was cut may pass for a mixture or a nest.
bool is_of_characters(const DataElement& value) {
    if (is_text(value)) return true;
    if (!(value.type & HASASCII) || value.data_pointer == nullptr) return false;
    const std::span items(items_of(value), value.elements);
    return std::ranges::all_of(items, [](const DataElement& item) { return item.tag == tag::ascii; });
}

// An enclosing value, and the value inside, which is written without parentheses of its own: reading "`(" opens both.
bool has_enclosed_vector(const DataElement& value) {
    if (!is_one_item(value) || !(value.type & STRUCTURED) || value.rank != 1 || value.depth != 0) return false;
    const DataElement& inside = *items_of(value)->nested;
    return inside.rank > 0 && !is_one_item(inside) && !is_of_characters(inside);
}

// Empty values that a literal makes: the empty text, the empty list, and both reshaped, which forgets the kind.
bool has_empty_literal(const DataElement& value) {
    if (value.depth != 1 || value.type == ISEMPTY) return false;
    return value.rank == 1 || !(value.type & (HASASCII | HASINTEGER));
}

void put_empty(TextOutput& out, const DataElement& value, bool nested) {
    const std::uint32_t kind = value.type & (HASASCII | HASINTEGER);
    if (value.rank == 1 && kind == 0 && !nested) return out.put(" #NIL");
    out.put(kind == HASASCII ? " ''" : " ( )");
    if (kind == 0) put_shape(out, value);
}

// The literal of a vector or an array as it is being read: `level` others are open around it, `deepest` is the level of
// the deepest one that has been opened so far. What holds others gets the depth of the deepest.
bool fits_list(const DataElement& value, int level, int& deepest, bool any_flat_depth);

bool fits_nested(const DataElement& value, int level, int& deepest) {
    if (level >= most_levels) return false;
    if (value.data_pointer == nullptr) {
        deepest = std::max(deepest, level);
        return has_empty_literal(value);
    }
    if (!is_one_item(value)) return fits_list(value, level, deepest, false);
    deepest = std::max(deepest, level);
    return value.rank == 0 && is_text(value);
}

bool all_listed(const DataElement& value) {
    const std::uint64_t head = header(value.data_pointer).head;
    const std::uint16_t form = head_form(head);
    if (head_tag(head) == tag::integer && !(head & in_bytes) && form != form::boolean && form != form::binary) {
        const std::span numbers(static_cast<const std::int64_t*>(value.data_pointer), value.elements);
        return std::ranges::none_of(numbers, [](std::int64_t number) {
            heed_attention();
            return is_wide(number);
        });
    }
    if (head_tag(head) == tag::real && form == form::number) return true;
    for (std::uint32_t i = 0; i < value.elements; ++i) {
        heed_attention();
        if (way_of(item_at(value.data_pointer, i)) != Way::list) return false;
    }
    return true;
}

bool fits_list(const DataElement& value, int level, int& deepest, bool any_flat_depth) {
    if (level >= most_levels) return false;
    deepest = std::max(deepest, level);
    const bool flat_depth = value.depth == 1 || (any_flat_depth && value.depth == 0);
    if (is_of_characters(value)) return flat_depth;
    if (!(value.type & STRUCTURED)) return flat_depth && all_listed(value);
    int depth = 1;
    for (const DataElement& item : std::span(items_of(value), value.elements)) {
        heed_attention();
        if (item.tag != tag::subarray) {
            if (way_of(item) != Way::list) return false;
            continue;
        }
        if (!fits_nested(*item.nested, level + 1, deepest)) return false;
        depth = deepest + 1;
    }
    return value.depth == depth;
}

}  // namespace

bool has_literal(const DataElement& value, bool within_another) {
    if (value.data_pointer == nullptr) return has_empty_literal(value);
    int deepest = 0;
    if (has_enclosed_vector(value)) return fits_nested(*items_of(value)->nested, 1, deepest);
    if (!is_one_item(value)) return fits_list(value, 0, deepest, !within_another);
    if ((value.type & STRUCTURED) || value.rank > 0) return false;
    const Way way = way_of(*items_of(value));
    return way == Way::list || way == Way::text || way == Way::alone;
}

bool is_nil(const DataElement& value) {
    return value.rank == 1 && value.data_pointer == nullptr && value.depth == 1 && (value.type & ISVECTOR) != 0 &&
           !(value.type & (HASASCII | HASINTEGER));
}

// ---- writing

namespace {

void put_array(TextOutput& out, const DataElement& value, bool nested);

void put_items(TextOutput& out, const DataElement& value) {
    for (std::uint32_t i = 0; i < value.elements; ++i) {
        const DataElement item = item_at(value.data_pointer, i);
        if (item.tag == tag::subarray)
            put_array(out, *item.nested, true);
        else
            put_item(out, item);
        out.count_items(1);
    }
}

void put_nested_scalar(TextOutput& out, const DataElement& value) {
    if (is_text(value)) return put_text(out, value, 0, 1, true);
    const DataElement& item = *items_of(value);
    if (item.tag == tag::subarray) return put_array(out, *item.nested, true);
    put_item(out, item);
}

void put_array(TextOutput& out, const DataElement& value, bool nested) {
    if (value.data_pointer == nullptr) return put_empty(out, value, nested);
    if (is_one_item(value)) return put_nested_scalar(out, value);
    const bool one = value.elements == 1;
    const bool text = is_of_characters(value) && !(one && way_of(item_at(value.data_pointer, 0)) == Way::list);
    if (text) {
        put_text(out, value, 0, value.elements, nested);
    } else {
        out.put(" (");
        put_items(out, value);
        out.put(" )");
    }
    if (value.rank > 1 || (text && one)) put_shape(out, value);
}

}  // namespace

void put_literal(TextOutput& out, const DataElement& value) {
    if (value.data_pointer == nullptr || !is_one_item(value)) return put_array(out, value, false);
    if (!(value.type & STRUCTURED)) return put_scalar(out, *items_of(value));
    if (!has_enclosed_vector(value)) return put_nested_scalar(out, value);
    const DataElement& inside = *items_of(value)->nested;
    out.put(" `(");
    if (inside.data_pointer != nullptr) put_items(out, inside);
    out.put(" )`");
    if (inside.rank > 1 || (inside.data_pointer == nullptr && !(inside.type & HASINTEGER))) put_shape(out, inside);
}

void put_scalar(TextOutput& out, const DataElement& item) {
    if (item.tag == tag::ascii) {
        out.put(" '");
        put_text_character(out, item.ascii, item.form == form::binary, false);
        return out.put('\'');
    }
    put_item(out, item);
}

void put_list(TextOutput& out, const DataElement& value, std::uint32_t from, std::uint32_t n) {
    out.put(" (");
    for (std::uint32_t i = from; i < from + n; ++i) {
        put_item(out, item_at(value.data_pointer, i));
        out.count_items(1);
    }
    out.put(" )");
}

void put_text(TextOutput& out, const DataElement& value, std::uint32_t from, std::uint32_t n) {
    put_text(out, value, from, n, false);
}

}  // namespace ondrel
