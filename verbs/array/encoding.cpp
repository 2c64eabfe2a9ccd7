#include "verbs/array/encoding.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <numeric>
#include <span>
#include <utility>

#include "data/growing.h"
#include "data/moving.h"
#include "data/system_variables.h"
#include "verbs/scalar/items.h"

namespace ondrel {
namespace {

constexpr std::uint64_t plain_head(std::uint32_t tag) { return make_head(tag, form::number); }

constexpr std::uint16_t without_top(std::uint16_t marks) {
    return marks & static_cast<std::uint16_t>(~(mark::named | mark::hidden));
}

DataElement copy_of(const DataElement& value) {
    referencepoint(value);
    return value;
}

// A value of the same outline with these items, of which it has as many. What was a mix of kinds still counts as one.
DataElement with_items(const DataElement& value, void* block, std::uint32_t type_bits = 0) {
    Owner made(value);
    made.record.data_pointer = block;
    reference(made.record.shape_pointer);
    rebuild_kinds(made.record);
    made.record.type |= (value.type & COMPLEXED) | type_bits;
    if ((made.record.type & (ISSCALAR | STRUCTURED)) == ISSCALAR) {  // encloses nothing any more
        release(std::exchange(made.record.shape_pointer, nullptr));
        made.record.rank = 0;
    }
    if ((made.record.type & COMPLEXED) && is_packed(block)) {
        made.record.data_pointer = unpack(block, value.elements);
        release(block);
    }
    return made.take();
}

// Runs `make(value)` in place of the top of the stack.
template <class Make>
void replace_top(DataElement*& sp, DataElement* cell, const Make& make) {
    if (sp->rank < 0) raise(message::restriction, {sp, cell});
    Owner result(make(*sp));
    std::swap(*sp, result.record);
}

// ---- characters and codes

// The value with every item, nested ones too, as `convert(item)` leaves it, which gets it without a name.
template <class Convert>
DataElement converted(const DataElement& value, const Convert& convert) {
    enter_nest();
    if (value.elements == 0) return copy_of(value);
    GrowingItems made(value.elements);
    for (std::size_t i = 0; i < value.elements; ++i) {
        heed_attention();
        DataElement item = item_at(value.data_pointer, i);
        if (item.tag == tag::subarray) {
            Owner nested(converted(*item.nested, convert));
            made.add_nested(nested);
            continue;
        }
        if (has_name(item)) item.name = nullptr;
        item.marks = without_top(item.marks);
        convert(item);
        made.add(item);
    }
    return with_items(value, made.take());
}

void set_integer(DataElement& item, std::int64_t value) {
    item.tag = tag::integer;
    item.form = form::number;
    item.name = nullptr;
    item.integer = value;
}

void set_character(DataElement& item, std::uint8_t code) {
    item = {};
    item.tag = tag::ascii;
    item.ascii = code;
}

// A packed block of as many values of another head, each of the packed `from` as `convert` gives it.
template <class From, class To, class Convert>
void* packed_as(std::uint64_t head, const DataElement& value, const Convert& convert) {
    OwnedBlock made(allocate_packed(head, value.elements));
    auto* const to = static_cast<To*>(made.get());
    const auto* const values = static_cast<const From*>(value.data_pointer);
    in_heeded_stretches(value.elements, [&](std::size_t from, std::size_t end) {
        std::transform(values + from, values + end, to + from, convert);
    });
    return made.release();
}

std::uint64_t packed_head(const DataElement& value) {
    return value.elements != 0 ? header(value.data_pointer).head : 0;
}

bool all_codes(const DataElement& value) {
    std::uint64_t any = 0;
    const auto* const codes = static_cast<const std::uint64_t*>(value.data_pointer);
    in_heeded_stretches(value.elements, [&](std::size_t from, std::size_t end) {
        any = std::reduce(codes + from, codes + end, any, std::bit_or<>{});
    });
    return any <= 255;
}

DataElement characters_of(const DataElement& value, double tolerance) {
    const std::uint64_t head = packed_head(value);
    if (head_tag(head) == tag::integer && !(head & in_bytes) && all_codes(value))
        return with_items(value, packed_as<std::int64_t, std::uint8_t>(
                                     make_head(tag::ascii, form::unset), value,
                                     [](std::int64_t code) { return static_cast<std::uint8_t>(code); }));
    return converted(value, [tolerance](DataElement& item) {
        if (item.tag == tag::integer && item.integer >= 0 && item.integer <= 255)
            set_character(item, static_cast<std::uint8_t>(item.integer));
        else if (item.tag == tag::real && item.real >= 0 && item.real <= 255 &&
                 std::fabs(std::floor(item.real) - item.real) < tolerance)
            set_character(item, static_cast<std::uint8_t>(item.real));
    });
}

DataElement codes_of(const DataElement& value) {
    const std::uint64_t head = packed_head(value);
    if (head_tag(head) == tag::ascii)
        return with_items(value, packed_as<std::uint8_t, std::int64_t>(
                                     make_head(tag::integer, form::number, without_top(head_marks(head))), value,
                                     [](std::uint8_t code) { return std::int64_t{code}; }));
    return converted(value, [](DataElement& item) {
        if (item.tag == tag::ascii) set_integer(item, item.ascii);
    });
}

// ---- one number and its components

template <class Value>
DataElement number_of(std::span<const double> components) {
    Value value{};
    std::memcpy(&value, components.data(), components.size_bytes());
    ItemsOwner made(1);
    *made.items = make_item(value, plain_head(tag_of<Value>));
    DataElement scalar;
    fill_scalar(scalar, made.take());
    return scalar;
}

// A scalar of the numbers as its components.
DataElement capsule_of(const DataElement& vector) {
    double numbers[8];
    for (std::size_t i = 0; i < vector.elements; ++i) {
        const DataElement item = item_at(vector.data_pointer, i);
        numbers[i] = item.tag == tag::real ? item.real : static_cast<double>(item.integer);
    }
    const std::span<const double> components(numbers, vector.elements);
    if (components.size() == 2) return number_of<Complex>(components);
    if (components.size() <= 4) return number_of<Quaternion>(components);
    return number_of<Octonion>(components);
}

DataElement encapsulated(const DataElement& value, Site site);

DataElement encapsulated_items(const DataElement& value, Site site) {
    GrowingItems made(value.elements);
    std::uint32_t probable = 0;
    for (std::size_t i = 0; i < value.elements; ++i) {
        heed_attention();
        const DataElement& item = items_of(value)[i];
        if (item.tag != tag::subarray) {  // of a nest that was cut
            made.add(item);
            continue;
        }
        Owner result(encapsulated(*item.nested, site));
        probable |= result.record.type & ISPROBABLE;
        if (result.record.rank == 0)
            made.add(*items_of(result.record));
        else
            made.add_nested(result);
    }
    return with_items(value, made.take(), probable);
}

DataElement encapsulated(const DataElement& value, Site site) {
    enter_nest();
    if (value.type & ISEMPTY) return copy_of(value);
    if (!can_encapsulate(value)) {
        if (value.type & STRUCTURED)
            exception(message::encapsulate_of_mixed_nest, site);
        else if (value.rank != 1)
            exception(message::encapsulate_of_no_vector, site);
        return copy_of(value);
    }
    if (value.type & STRUCTURED) return encapsulated_items(value, site);
    if (value.elements > 8) return copy_of(value);
    if (value.elements > 1) return capsule_of(value);
    const DataElement& item = *items_of(value);
    if (item.tag != tag::real || !fits_integer(item.real) || item.real != std::floor(item.real)) return copy_of(value);
    return make_scalar(make_item(static_cast<std::int64_t>(item.real), plain_head(tag::integer)));
}

// A vector of the numbers up to the last that is not 0, the first one in any case.
DataElement vector_of(std::span<const double> components) {
    const auto n = static_cast<std::uint32_t>(
        std::find_if(components.rbegin(), components.rend() - 1, [](double component) { return component != 0; })
            .base() -
        components.begin());
    GrowingItems made(n);
    for (const double component : components.first(n)) made.add(make_item(component, plain_head(tag::real)));
    std::int64_t* const shape = vector_shape(n);
    return make_array(shape, 1, made.take(), n, HASREAL);
}

DataElement components_of_item(const DataElement& item) {
    switch (item.tag) {
        case tag::complex: return vector_of(item.complex);
        case tag::quaternion: return vector_of(item.quaternion);
        case tag::octonion: return vector_of(std::span<const double>(item.octonion, 8));
        default: break;
    }
    ItemsOwner made(1);
    *made.items = own_item(item);
    ++made.filled;
    if (item.tag == tag::integer || item.tag == tag::real) {
        if (has_name(item)) release(std::exchange(made.items->name, nullptr));
        made.items->head = plain_head(item.tag);
    }
    std::int64_t* const shape = vector_shape(1);
    return make_array(shape, 1, made.take(), 1, kind_bits(item.tag));
}

DataElement decapsulated(const DataElement& value) {
    enter_nest();
    if (value.type & ISEMPTY) return copy_of(value);
    if (value.rank == 0 && !(value.type & STRUCTURED)) return components_of_item(*items_of(value));
    const bool keeps_nest = (value.type & ISONEELEMENT) != 0;
    GrowingItems made(value.elements);
    std::uint32_t probable = 0;
    for (std::size_t i = 0; i < value.elements; ++i) {
        heed_attention();
        const DataElement item = item_at(value.data_pointer, i);
        const bool is_nested = item.tag == tag::subarray;
        Owner result(is_nested ? decapsulated(*item.nested) : components_of_item(item));
        probable |= result.record.type & ISPROBABLE;
        if (result.record.rank == 0 && !keeps_nest)
            made.add(*items_of(result.record));
        else
            made.add_nested(result);
    }
    return with_items(value, made.take(), probable);
}

}  // namespace

bool can_encapsulate(const DataElement& value) {
    constexpr std::uint32_t others = KIND_BITS & ~(HASINTEGER | HASREAL);
    return value.type & STRUCTURED ? !(value.type & COMPLEXED) : value.rank == 1 && !(value.type & others);
}

void enascii(DataElement*& sp, DataElement* cell) {
    replace_top(sp, cell, [](const DataElement& value) { return characters_of(value, tolerance()); });
}
void deascii(DataElement*& sp, DataElement* cell) { replace_top(sp, cell, codes_of); }
void encapsulate(DataElement*& sp, DataElement* cell) {
    replace_top(sp, cell, [&](const DataElement& value) { return encapsulated(value, {sp, cell}); });
}
void decapsulate(DataElement*& sp, DataElement* cell) {
    constexpr std::int16_t deepest = std::numeric_limits<std::int16_t>::max();
    if (sp->depth == deepest) raise(message::restriction, {sp, cell});  // its numbers become vectors
    replace_top(sp, cell, decapsulated);
}

}  // namespace ondrel
