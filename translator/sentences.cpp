#include "translator/sentences.h"

#include <algorithm>
#include <optional>
#include <span>

#include "data/blocks.h"
#include "data/instructions.h"
#include "data/walks.h"
#include "translator/printing.h"

namespace ondrel {
namespace {

// A sentence has room for 1,024 cells, and an entry is not torn where it need not be.
constexpr int most_cells = 999;
// Elements that are put on the stack before they are collected.
constexpr std::uint32_t most_collected = 512;
// Items in a row that are worth a list of their own.
constexpr std::uint32_t worth_a_list = 8;
// Levels of a nest that is written as a literal.
constexpr int deepest_literal = 250;

bool is_one_item(const DataElement& value) { return (value.type & ISSCALAR) != 0; }

std::string_view verb_of(Way way) {
    switch (way) {
        case Way::logical: return "LOGICAL";
        case Way::boolean: return "BOOLEAN";
        case Way::binary: return "BINARY";
        case Way::degrees: return "DEG";
        case Way::wide: return "NUMBER";
        default: return {};
    }
}

}  // namespace

Sentences::Sentences(std::FILE* stream, const Chain* tables) : out{stream, Manner::readable, tables} {}

// ---- cells

void Sentences::begin_cell() {
    if (cells == most_cells) {
        out.put(' ');
        end();
    }
    ++cells;
    after_literal = after_word = false;
}

void Sentences::put_word(std::string_view word) {
    const bool would_be_shape = after_literal && word.starts_with('[');
    begin_cell();
    const std::string spelled = system_word(word, out.tables);
    if (would_be_shape && !spelled.starts_with(" ::")) out.put(" ::");
    out.put(spelled);
    after_word = true;
}

void Sentences::put_comment(std::string_view comment) {
    begin_cell();
    out.put(system_word("\"", out.tables));
    out.put(comment);
    out.put('"');
}

void Sentences::put_text(std::string_view text) {
    out.put(text);
    after_word = false;
}

void Sentences::put_literal(const DataElement& value) {
    begin_cell();
    ondrel::put_literal(out, value);
    const bool number = value.data_pointer != nullptr && is_one_item(value) && !(value.type & (STRUCTURED | HASASCII));
    after_literal = !number;
    after_word = value.data_pointer == nullptr || number;
}

void Sentences::put_numbers(std::initializer_list<std::int64_t> numbers) {
    begin_cell();
    out.put(" (");
    for (const std::int64_t number : numbers) {
        out.put(' ');
        put_number(out, number);
    }
    out.put(" )");
    after_literal = true;
}

void Sentences::put_dimensions(const DataElement& value) {
    begin_cell();
    out.put(" (");
    for (std::int32_t k = 0; k < value.rank; ++k) {
        out.put(' ');
        put_number(out, value.shape_pointer[k]);
    }
    out.put(" )");
    after_literal = true;
}

void Sentences::put_address(std::string_view name) {
    const std::string spelled = quoted_address(name, out.tables);
    const int parts = spelled[1] == '@' ? 1 : 3;  // codes, and the verbs that make a name of them
    for (int i = 0; i < parts; ++i) begin_cell();
    out.put(spelled);
}

void Sentences::end() {
    out.put(".\n");
    out.flush();
    cells = 0;
    after_literal = after_word = false;
}

void Sentences::end_line(bool alone) {
    constexpr int most_of_entry = 8;
    if (cells > 0 && (alone || cells > most_cells - most_of_entry)) end();
}

// ---- values

void Sentences::put(DataElement& element) {
    simple = element.rank < 0 || has_literal(element, false);
    if (!simple && cells > 0) end();
    if (is_nil(element)) {
        begin_cell();
        return out.put("#NIL\n");
    }
    if (element.rank >= 0) return simple ? put_literal(element) : make(element, false);
    const bool bracket = after_literal && element.rank == kind::OPERATOR && element.text != nullptr;
    if (bracket) return put_word(element.text);
    begin_cell();
    if (element.rank == kind::FUNCTION) begin_cell();  // for the word that says when it runs
    put_cell(out, element);
    after_word = element.rank == kind::OPERATOR;
}

void Sentences::make(const DataElement& value, bool within_another) {
    enter_nest();
    if (has_literal(value, within_another)) return put_literal(value);
    if (value.data_pointer == nullptr) return make_empty(value);
    if (!is_one_item(value)) return make_array(value);
    const DataElement& item = *items_of(value);
    if (value.rank > 0) return make_atom(value);
    if (value.type & STRUCTURED) return make_scalar_of(*item.nested);
    make_item(item);
}

// The item as a scalar.
void Sentences::make_item(const DataElement& item) {
    begin_cell();
    put_scalar(out, item);
    after_literal = item.tag == tag::ascii;
    after_word = !after_literal;
    if (const std::string_view verb = verb_of(way_of(item)); !verb.empty()) put_word(verb);
}

// A scalar of the nested value.
void Sentences::make_scalar_of(const DataElement& nested) {
    make(nested, true);
    put_word(is_one_item(nested) ? "ATOM" : "ENCLOSE");
    put_word("FIRST");
}

// What COLLECT takes for this item.
void Sentences::make_element(const DataElement& item) {
    if (item.tag != tag::subarray) return make_item(item);
    if (item.nested->rank > 0) return make(*item.nested, true);
    make_scalar_of(*item.nested);
}

// Runs a function that does nothing on each item.
void Sentences::put_idle_each() {
    begin_cell();
    out.put(" MONADIC ;");
    put_word("EACH");
}

// A vector that passes for a scalar. EACH puts an item that is no nest in its place. ATOM leaves the depth of what it
// takes, and EACH, or a verb that finds nothing to change, that of a nest.
void Sentences::make_atom(const DataElement& value) {
    const DataElement& item = *items_of(value);
    if (item.tag != tag::subarray) {
        make_item(item);
        put_word("ATOM");
        return put_idle_each();
    }
    make(*item.nested, true);
    put_word("ATOM");
    if (value.depth == item.nested->depth) return;
    if (item.nested->rank > 0) return put_idle_each();
    put_word(item.nested->type & HASASCII ? "ENASCII" : "DEASCII");
}

// REST leaves an empty value of depth 0. The shape of a scalar is told from all others.
void Sentences::make_empty(const DataElement& value) {
    const std::string_view item = value.type & HASASCII ? " 'x'" : " 0";
    if (value.type == ISEMPTY) {
        begin_cell();
        out.put(" 0");
        return put_word("SHAPE");
    }
    if (value.depth == 0) {
        begin_cell();
        out.put(item);
        if (value.rank > 1) {
            begin_cell();
            out.put(" (");
            for (std::int32_t k = 0; k < value.rank; ++k) out.put(" 1");
            out.put(" )");
            put_word("RESHAPE");
        }
        return put_word("REST");
    }
    if (value.depth == 1) {  // there is no such value but for the kind that it once had
        put_numbers({});
        put_dimensions(value);
        return put_word("RESHAPE");
    }
    make_nest(value.depth);
    begin_cell();
    out.put(" (");
    for (std::int32_t k = 0; k < value.rank; ++k) {
        const bool cut = value.shape_pointer[k] == 0 && (k == 0 || k == value.rank - 1);
        out.put(' ');
        put_number(out, cut ? 2 : value.shape_pointer[k]);
    }
    out.put(" )");
    put_word("RESHAPE");
    for (const bool first : {true, false}) {
        if (value.shape_pointer[first ? 0 : value.rank - 1] != 0 || (!first && value.rank == 1)) continue;
        put_numbers({0, 0});
        put_word(first ? "COMPRESS" : "COMPRESSROWS");
    }
}

// A vector of one item that nests so deep, at least 2. Within a literal every nest has the depth of the whole; so it is
// the item of another vector.
void Sentences::make_nest(int depth) {
    const int levels = std::min(depth - 1, deepest_literal);
    begin_cell();
    for (int i = 0; i < levels; ++i) out.put(" (");
    out.put(" 0");
    for (int i = 0; i < levels; ++i) out.put(" )");
    after_literal = true;
    for (int i = levels; i < depth; ++i) put_word("ENCLOSE");
}

// ---- arrays

// Elements between marks: a vector of them, of depth 0 if nothing is nested; of one a thing that can be joined.
void Sentences::collect(const DataElement& value, std::uint32_t from, std::uint32_t n) {
    if (n == 1) {
        const DataElement item = item_at(value.data_pointer, from);
        if (item.tag != tag::subarray) return make_item(item);
        make(*item.nested, true);
        return put_word(is_one_item(*item.nested) ? "ATOM" : "ENCLOSE");
    }
    put_word("[.");
    for (std::uint32_t i = from; i < from + n; ++i) {
        make_element(item_at(value.data_pointer, i));
        out.count_items(1);
    }
    put_word(".]");
}

// Items that go the same way, as a vector.
void Sentences::make_segment(const DataElement& value, Way way, std::uint32_t from, std::uint32_t n) {
    begin_cell();
    if (way == Way::text)
        ondrel::put_text(out, value, from, n);
    else
        put_list(out, value, from, n);
    after_literal = true;
    if (const std::string_view verb = verb_of(way); !verb.empty()) put_word(verb);
}

namespace {

struct Run {
    Way way;
    std::uint32_t length;
};

// The longest stretch of items from here on that go one way.
Run longest_run(const DataElement& value, std::uint32_t from, std::uint32_t to) {
    const auto run_of = [&](Way way) {
        std::uint32_t end = from;
        while (end < to && can_go(way, item_at(value.data_pointer, end))) ++end;
        return Run{way, end - from};
    };
    const DataElement item = item_at(value.data_pointer, from);
    if (item.tag == tag::subarray) return {Way::alone, 0};
    const Run own = run_of(way_of(item));
    if (item.tag != tag::ascii && item.tag != tag::integer) return own;
    const Run other = run_of(item.tag == tag::ascii ? Way::text : Way::wide);
    return other.length > own.length ? other : own;
}

// The item that nests deepest, if that is deep: the others would wait for it on the stack, level by level.
std::optional<std::uint32_t> deep_item(const DataElement& value) {
    constexpr std::int16_t deep = 64;
    if (!(value.type & STRUCTURED)) return {};
    std::int16_t deepest = deep;
    std::optional<std::uint32_t> found;
    for (std::uint32_t i = 0; i < value.elements; ++i) {
        heed_attention();
        const DataElement& item = items_of(value)[i];
        if (item.tag != tag::subarray || item.nested->depth <= deepest) continue;
        deepest = item.nested->depth;
        found = i;
    }
    return found;
}

}  // namespace

// True if the depth of what is made is that of the items.
bool Sentences::make_items(const DataElement& value) {
    const std::optional<std::uint32_t> deep = deep_item(value);
    if (!deep) return make_parts(value, 0, value.elements);
    collect(value, *deep, 1);
    if (*deep > 0) {
        make_parts(value, 0, *deep);
        put_word("SWAP");
        put_word(",");
    }
    if (*deep + 1 < value.elements) {
        make_parts(value, *deep + 1, value.elements);
        put_word(",");
    }
    return true;
}

// Items in a row, in parts that are joined: a vector, or a single item that can be joined. True if its depth is that of
// its items.
bool Sentences::make_parts(const DataElement& value, std::uint32_t from, std::uint32_t to) {
    std::uint32_t parts = 0, waiting = 0;
    bool collected = false, nested = false;
    const auto join = [&] {
        if (parts++ > 0) put_word(",");
    };
    const auto collect_waiting = [&](std::uint32_t end) {
        if (waiting == 0) return;
        collect(value, end - waiting, waiting);
        waiting = 0;
        collected = true;
        join();
    };
    for (std::uint32_t i = from; i < to;) {
        const Run run = longest_run(value, i, to);
        if (run.length >= worth_a_list || run.length == to - from) {
            collect_waiting(i);
            make_segment(value, run.way, i, run.length);
            join();
            i += run.length;
            continue;
        }
        // What goes one way and is too short for a list goes to the others whole.
        nested = nested || item_at(value.data_pointer, i).tag == tag::subarray;
        const std::uint32_t n = std::clamp<std::uint32_t>(run.length, 1, most_collected - waiting);
        i += n;
        waiting += n;
        if (waiting == most_collected) collect_waiting(i);
    }
    collect_waiting(to);
    return parts > 1 || !collected || nested;
}

// Joined to a nest that is deep enough, and cut off it again by what leaves the depth: RESHAPE where the value is a
// nest to its verbs, else COMPRESS.
void Sentences::raise_depth(const DataElement& value) {
    make_nest(value.depth);
    put_word(",");
    if (value.type & STRUCTURED) return;
    begin_cell();
    out.put(" 1");
    put_numbers({value.elements});
    put_word("RESHAPE");
    begin_cell();
    out.put(" 0");
    put_word(",");
    put_word("COMPRESS");
}

// The item of an array of one: a vector of it if it is a nested value. Scalars are not enclosed.
void Sentences::make_single(const DataElement& item) {
    if (item.tag != tag::subarray) return make_item(item);
    if (!is_one_item(*item.nested)) {
        make(*item.nested, true);
        return put_word("ENCLOSE");
    }
    put_word("[.");
    make_element(item);
    begin_cell();
    out.put(" 0");
    put_word(".]");
    put_numbers({1, 0});
    put_word("COMPRESS");
}

namespace {

// Items that are all the same nested value, as RESHAPE makes them of one that ATOM has made.
bool repeats_one(const DataElement& value) {
    const std::span items(items_of(value), value.elements);
    return std::ranges::all_of(
        items, [&](const DataElement& item) { return item.tag == tag::subarray && item.nested == items[0].nested; });
}

}  // namespace

void Sentences::make_array(const DataElement& value) {
    const int depth = value.depth, of_items = depth_of(value.data_pointer, value.elements);
    const std::uint32_t n = value.elements;
    const bool flat = !(value.type & STRUCTURED);  // to its verbs: a nest that was cut may have nothing nested left
    if (flat && depth == 0 && value.rank == 1) {
        if (n > 1) return collect(value, 0, n);
        put_word("[.");
        make_item(item_at(value.data_pointer, 0));
        begin_cell();
        out.put(" 0");
        put_word(".]");
        put_numbers({1, 0});
        return put_word("COMPRESS");
    }
    if (!flat && depth > 0 && depth < of_items && repeats_one(value) && depth == items_of(value)->nested->depth) {
        make(*items_of(value)->nested, true);
        put_word("ATOM");
        put_dimensions(value);
        return put_word("RESHAPE");
    }
    bool has_depth = true;
    if (n == 1) {
        const DataElement item = item_at(value.data_pointer, 0);
        make_single(item);
        has_depth = item.tag == tag::subarray;
    } else {
        has_depth = make_items(value);
    }
    const bool raised = depth > of_items;
    if (raised) raise_depth(value);
    if (value.rank == 1 && (raised ? flat : has_depth)) return;
    if (value.rank == 1 && n == 1 && !raised) return put_word("RAVEL");
    put_dimensions(value);
    put_word("RESHAPE");
}

LongText readable_text(DataElement& element, const Chain* tables) {
    Sentences sentences(nullptr, tables);
    sentences.put(element);
    return sentences.take_text();
}

}  // namespace ondrel
