// Values as sentences that make them: a literal where that reads back as the value, else marks and COLLECT for items,
// ENCLOSE, ATOM, FIRST and RESHAPE for structure, LOGICAL and its kin for forms; what is long comes in parts, joined by
// commas. Each word is told apart from a name in force that is spelled like it.
#pragma once

#include <cstdint>
#include <cstdio>
#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>

#include "translator/literal_text.h"

namespace ondrel {

class Sentences {
public:
    // Writes to the stream; without one the text stays. `tables` are the names in force where it is to be read.
    Sentences(std::FILE* stream, const Chain* tables);

    // What puts the element on the stack when it is read. A sentence ends before it has too many cells; so may one in
    // the middle of a value.
    void put(DataElement& element);
    // The address of a name of any bytes.
    void put_address(std::string_view name);
    void put_word(std::string_view word);
    void put_comment(std::string_view comment);
    // Text that becomes no cell.
    void put_text(std::string_view text);

    // Behind an entry: ends the sentence if the entry is to stand alone, or if it has hardly room for another one.
    void end_line(bool alone);
    void end();

    void flush() { out.flush(); }
    LongText take_text() { return std::move(out.text); }
    // A word needs a byte behind it.
    bool ends_in_word() const { return after_word; }
    // Whether the last element that was put is a single literal, or function, name or instruction.
    bool was_simple() const { return simple; }

private:
    TextOutput out;
    int cells = 0;                                   // in the sentence so far
    bool after_literal = false, after_word = false;  // what the last cell is: a bracket behind a literal is its shape
    bool simple = true;

    void begin_cell();
    void put_literal(const DataElement& value);
    void put_numbers(std::initializer_list<std::int64_t> numbers);
    void put_dimensions(const DataElement& value);

    void make(const DataElement& value, bool within_another);
    void make_item(const DataElement& item);
    void make_element(const DataElement& item);
    void make_scalar_of(const DataElement& nested);
    void make_atom(const DataElement& value);
    void put_idle_each();
    void make_empty(const DataElement& value);
    void make_array(const DataElement& value);
    void make_single(const DataElement& item);
    void collect(const DataElement& value, std::uint32_t from, std::uint32_t n);
    void make_segment(const DataElement& value, Way way, std::uint32_t from, std::uint32_t n);
    bool make_items(const DataElement& value);
    bool make_parts(const DataElement& value, std::uint32_t from, std::uint32_t to);
    void raise_depth(const DataElement& value);
    void make_nest(int depth);
};

// The element as a text to be read back. Raises nothing but bad_alloc.
LongText readable_text(DataElement& element, const Chain* tables);

}  // namespace ondrel
