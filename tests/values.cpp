#include "tests/values.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "data/allocator.h"
#include "data/errors.h"

namespace ondrel {

Item character(unsigned char code, std::uint16_t form) {
    Item item{.tag = tag::ascii, .form = form};
    item.integer = code;
    return item;
}

Item integer(std::int64_t value, std::uint16_t form) {
    Item item{.tag = tag::integer, .form = form};
    item.integer = value;
    return item;
}

Item real(double value) {
    Item item{.tag = tag::real};
    item.parts[0] = value;
    return item;
}

Item degree(double value) {
    Item item = real(value);
    item.form = form::logical;
    return item;
}

Item hypercomplex(std::initializer_list<double> parts, std::uint16_t form, std::uint16_t marks) {
    Item item{.tag = parts.size() == 2   ? tag::complex
                     : parts.size() == 4 ? tag::quaternion
                                         : tag::octonion,
              .form = form,
              .marks = marks};
    std::copy(parts.begin(), parts.end(), item.parts.begin());
    return item;
}

Item named(Item item, const char* name) {
    item.marks |= mark::named;
    item.name = name;
    return item;
}

Item subarray(const Value& value) {
    Item item{.tag = tag::subarray};
    item.nested = std::make_shared<Value>(value);
    return item;
}

Value scalar_value(const Item& item) { return {{}, {item}}; }
Value vector_value(const std::vector<Item>& items) { return {{static_cast<std::int64_t>(items.size())}, items}; }

std::size_t component_count(std::uint32_t tag) {
    switch (tag) {
        case tag::real: return 1;
        case tag::complex: return 2;
        case tag::quaternion: return 4;
        case tag::octonion: return 8;
        default: return 0;
    }
}

namespace {

DataElement build_item(const Item& item, Layout layout) {
    DataElement built{};
    built.head = make_head(item.tag, item.form, item.marks);
    const double* const parts = item.parts.data();
    switch (item.tag) {
        case tag::subarray: {
            DataElement* const record = allocate_items(1);
            *record = build(*item.nested, layout);
            built.nested = record;
            break;
        }
        case tag::ascii: built.ascii = static_cast<std::uint8_t>(item.integer); break;
        case tag::unicode: built.unicode = static_cast<std::uint16_t>(item.integer); break;
        case tag::integer: built.integer = item.integer; break;
        case tag::real: built.real = parts[0]; break;
        case tag::complex: std::copy_n(parts, 2, built.complex); break;
        case tag::quaternion: std::copy_n(parts, 4, built.quaternion); break;
        case tag::octonion: built.octonion = allocate_octonion(parts); break;
        default: ADD_FAILURE() << "no such tag: " << item.tag;
    }
    if (item.marks & mark::named) built.name = stringdup(item.name);
    return built;
}

}  // namespace

DataElement build(const Value& value, Layout layout) {
    if (value.shape.empty()) {
        DataElement record = make_scalar(build_item(value.items[0], layout));
        rebuild_kinds(record);
        return record;
    }
    std::int64_t* const shape = allocate_shape(value.shape.size());
    std::copy(value.shape.begin(), value.shape.end(), shape);
    const std::size_t n = value.items.size();
    DataElement* items = nullptr;
    if (n != 0) {
        items = allocate_items(n);
        std::transform(value.items.begin(), value.items.end(), items,
                       [layout](const Item& item) { return build_item(item, layout); });
    }
    DataElement record =
        make_array(shape, static_cast<std::int32_t>(value.shape.size()), items, static_cast<std::uint32_t>(n), 0);
    rebuild_kinds(record);
    if (layout == Layout::packed) pack(record);
    return record;
}

namespace {

Item read_item(const DataElement& held, KindBits told) {
    Item item{.tag = held.tag, .form = held.form, .marks = held.marks};
    switch (item.tag) {
        case tag::subarray: {
            item.form = form::number;  // neither word says anything of a nested value
            item.marks = 0;
            item.nested = std::make_shared<Value>(read(*held.nested, told));
            return item;
        }
        case tag::ascii: item.integer = held.ascii; break;
        case tag::unicode: item.integer = held.unicode; break;
        case tag::integer: item.integer = held.integer; break;
        case tag::real: item.parts[0] = held.real; break;
        case tag::complex: std::copy_n(held.complex, 2, item.parts.begin()); break;
        case tag::quaternion: std::copy_n(held.quaternion, 4, item.parts.begin()); break;
        case tag::octonion: std::copy_n(held.octonion, 8, item.parts.begin()); break;
        default: ADD_FAILURE() << "no such tag: " << item.tag;
    }
    if (has_name(held)) item.name = held.name;
    return item;
}

// The flags, the depth and the bounds that the items and the shape call for.
void check_record(const DataElement& record, const Value& value, KindBits told) {
    std::uint32_t kinds = 0;
    int depth = value.shape.empty() ? 0 : 1;
    for (std::size_t i = 0; i < value.items.size(); ++i) {
        const DataElement item = item_at(record.data_pointer, i);
        kinds |= kind_bits(item.tag);
        if (item.tag == tag::subarray) depth = std::max(depth, item.nested->depth + 1);
    }
    if (value.items.size() > 1 && mixed_kinds(kinds)) kinds |= COMPLEXED;
    std::uint32_t shape_bits = value.shape.empty() ? ISSCALAR : value.shape.size() == 1 ? ISVECTOR : ISARRAY;
    if (value.items.empty()) shape_bits |= ISEMPTY;
    if (value.items.size() == 1 && !value.shape.empty()) shape_bits |= ISONEELEMENT;
    // An empty value may remember that it was a text.
    const std::uint32_t ignored = value.items.empty() ? ISPROBABLE | HASASCII : ISPROBABLE;
    const std::uint32_t may_stay = told == KindBits::exact ? 0 : KIND_BITS | PER_ITEM | ISSTRUCTURE;
    EXPECT_EQ((record.type | may_stay) & ~ignored, (kinds | shape_bits | may_stay) & ~ignored)
        << "type of " << describe(value);
    EXPECT_EQ(record.type & kinds, kinds) << "type of " << describe(value);
    if (!value.shape.empty() && !value.items.empty()) {  // an empty one may keep that of what it was
        // A literal gives every level that holds another the depth of its deepest one.
        if (told == KindBits::exact) {
            EXPECT_EQ(record.depth, depth) << "depth of " << describe(value);
        } else {
            EXPECT_GE(record.depth, depth - 1) << "depth of " << describe(value);
        }
    }
    EXPECT_EQ(record.first, 0u);
    EXPECT_EQ(record.last, value.items.empty() ? 0 : record.elements - 1);
    std::int64_t product = 1;
    for (const std::int64_t dimension : value.shape) product *= dimension;
    EXPECT_EQ(product, static_cast<std::int64_t>(record.elements));
}

}  // namespace

Value read(const DataElement& record, KindBits told) {
    Value value;
    if (record.rank < 0) {
        ADD_FAILURE() << "not a value: rank " << record.rank;
        return value;
    }
    value.shape.assign(record.shape_pointer, record.shape_pointer + record.rank);
    value.items.reserve(record.elements);
    for (std::size_t i = 0; i < record.elements; ++i)
        value.items.push_back(read_item(item_at(record.data_pointer, i), told));
    check_record(record, value, told);
    return value;
}

namespace {

bool same_bits(double left, double right) {
    return std::bit_cast<std::uint64_t>(left) == std::bit_cast<std::uint64_t>(right);
}
bool same_number(double left, double right) {
    return same_bits(left, right) || (std::isnan(left) && std::isnan(right));
}

template <class Same>
bool compare(const Value& left, const Value& right, Same same);

template <class Same>
bool compare(const Item& left, const Item& right, Same same) {
    if (left.tag != right.tag || left.form != right.form || left.marks != right.marks) return false;
    if (left.tag == tag::subarray) return compare(*left.nested, *right.nested, same);
    return left.integer == right.integer && left.name == right.name &&
           std::equal(left.parts.begin(), left.parts.end(), right.parts.begin(), same);
}

template <class Same>
bool compare(const Value& left, const Value& right, Same same) {
    return left.shape == right.shape &&
           std::equal(left.items.begin(), left.items.end(), right.items.begin(), right.items.end(),
                      [same](const Item& one, const Item& other) { return compare(one, other, same); });
}

}  // namespace

bool identical(const Value& left, const Value& right) { return compare(left, right, same_bits); }
bool equal(const Value& left, const Value& right) { return compare(left, right, same_number); }
bool equal(const Item& left, const Item& right) { return compare(left, right, same_number); }

std::string describe(const Item& item) {
    static const char* const kinds[] = {"none", "subarray", "character",  "unicode", "integer",
                                        "real", "complex",  "quaternion", "octonion"};
    if (item.tag == tag::subarray) return "<" + describe(*item.nested) + ">";
    std::string text = item.tag < std::size(kinds) ? kinds[item.tag] : "tag " + std::to_string(item.tag);
    char number[64];
    if (component_count(item.tag) == 0) {
        std::snprintf(number, sizeof number, " %lld", static_cast<long long>(item.integer));
        text += number;
    }
    for (std::size_t i = 0; i < component_count(item.tag); ++i) {
        std::snprintf(number, sizeof number, " %.17g", item.parts[i]);
        text += number;
    }
    if (item.form != form::number || item.marks != 0) {
        std::snprintf(number, sizeof number, " (form %x marks %x)", item.form, item.marks);
        text += number;
    }
    return item.name.empty() ? text : text + " '" + item.name + "'";
}

std::string describe(const Value& value) {
    constexpr std::size_t shown = 8;
    std::string text;
    for (const std::int64_t dimension : value.shape) text += " " + std::to_string(dimension);
    text = "[" + text + " ]";
    for (std::size_t i = 0; i < std::min(value.items.size(), shown); ++i) text += " " + describe(value.items[i]) + ",";
    return value.items.size() > shown ? text + " ..." : text;
}

std::int64_t blocks_out() {
#ifdef ONDREL_CHECKS
    return live_blocks;
#else
    return 0;
#endif
}

int error_of(const std::function<void()>& work) {
    static char* text = nullptr;
    static std::size_t length = 0;
    static std::FILE* const memory = open_memstream(&text, &length);
    std::rewind(memory);
    std::FILE *const out = stdout, *const error = stderr;
    stdout = stderr = memory;
    bool left = false;
    try {
        work();
    } catch (const Unwind&) {
        left = true;
    }
    stdout = out;
    stderr = error;
    std::fflush(memory);
    const std::string report(text, length);
    const std::size_t start = report.find_first_not_of('\n');
    return start != std::string::npos ? std::atoi(report.c_str() + start) : left ? -1 : 0;
}

}  // namespace ondrel
