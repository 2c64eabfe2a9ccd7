// Values as plain data, with nothing shared, packed or counted: what tests compute with and compare. A value is built
// from its description into a record in any of the ways that the system can hold it, and read back into one.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include "data/blocks.h"

namespace ondrel {

struct Value;

struct Item {
    std::uint32_t tag = 0;
    std::uint16_t form = form::number;
    std::uint16_t marks = 0;
    std::int64_t integer = 0;         // an integer, or the code of a character
    std::array<double, 8> parts{};    // a real and the hypercomplex kinds: the first 1, 2, 4 or 8
    std::string name{};               // of a named constant
    std::shared_ptr<Value> nested{};  // of a subarray
};

struct Value {
    std::vector<std::int64_t> shape;  // the fastest-varying axis first; none for a scalar
    std::vector<Item> items;
};

Item character(unsigned char code, std::uint16_t form = form::unset);
Item integer(std::int64_t value, std::uint16_t form = form::number);
Item real(double value);
Item degree(double value);  // a real as a degree of truth
// A hypercomplex number of 2, 4 or 8 components; with form polar they are its polar coordinates.
Item hypercomplex(std::initializer_list<double> parts, std::uint16_t form = form::number, std::uint16_t marks = 0);
Item named(Item item, const char* name);
Item subarray(const Value& value);

Value scalar_value(const Item& item);
Value vector_value(const std::vector<Item>& items);

// The number of doubles in an item of this tag, 0 where it has none.
std::size_t component_count(std::uint32_t tag);

// Whether a data block is to be packed. Only a uniform value of two or more items without names can be.
enum class Layout { items, packed };

// A record that holds the value, the caller's to give back. Layout applies at every depth.
DataElement build(const Value& value, Layout layout);
// What a record holds. Reports whatever of its flags, counts and bounds does not fit its items as a test failure. An
// array that was cut may tell of kinds that it no longer has.
enum class KindBits { exact, at_least };
Value read(const DataElement& record, KindBits told = KindBits::exact);

// Equal in every bit; or equal but for the bits of a NaN.
bool identical(const Value& left, const Value& right);
bool equal(const Value& left, const Value& right);
bool equal(const Item& left, const Item& right);

std::string describe(const Item& item);
std::string describe(const Value& value);

// Blocks that are out, in builds that count them, else 0.
std::int64_t blocks_out();

// Runs the work with both standard streams put away. Returns 0 if it came to its end without a report, else the number
// that the report begins with; -1 if it left by an unwinding and said nothing.
int error_of(const std::function<void()>& work);

}  // namespace ondrel
