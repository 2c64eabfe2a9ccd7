#include "core/soundness.h"

#ifdef ONDREL_CHECKS

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <span>

#include "core/stack.h"
#include "data/blocks.h"
#include "data/inspection.h"
#include "data/instructions.h"
#include "parallel/pool.h"

namespace ondrel {
namespace {

// Values of more items are checked by their record alone, or a large array would cost its length at every cell.
constexpr std::uint32_t most_items = 4096;
// What lies deeper is nothing that the instruction has touched, and a deep recursion would cost its square.
constexpr std::ptrdiff_t most_slots = 100;
constexpr int most_nested = 300;

[[noreturn]] void broken(const char* what, const DataElement& value) {
    std::printf("\nunsound value: %s\n", what);
    at(value);
    std::fflush(stdout);
    std::abort();
}

// Printing lowers a number in its block for all its holders, and an array that was cut keeps the kinds that it had. So
// the kinds of a record are a bound: an item has one of them, or a lower one that printing brought it to.
bool admits(std::uint32_t type, std::uint32_t tag) {
    if (type & kind_bits(tag)) return true;
    const std::uint32_t higher = tag == tag::integer   ? HASREAL | HASCOMPLEX | HASQUATERNION
                                 : tag == tag::real    ? HASCOMPLEX | HASQUATERNION
                                 : tag == tag::complex ? HASQUATERNION
                                                       : 0;
    return (type & higher) != 0;
}

void check_shape(const DataElement& value) {
    if (value.rank == 0) {
        if (!(value.type & ISSCALAR) || value.shape_pointer != nullptr || value.elements != 1) broken("scalar", value);
        return;
    }
    if (header(value.shape_pointer).count == 0) broken("count of the shape", value);
    std::uint64_t product = 1;
    for (const std::int64_t dimension : std::span(value.shape_pointer, static_cast<std::size_t>(value.rank)))
        product *= static_cast<std::uint64_t>(dimension);
    if (product != value.elements) broken("product of the shape", value);
    if (value.type == ISEMPTY && value.rank == 1) return;  // the shape of a scalar
    if (!(value.type & ISSCALAR) && !(value.type & (value.rank == 1 ? ISVECTOR : ISARRAY))) broken("rank bits", value);
    if ((value.elements == 1) != ((value.type & SHAPE_BITS) != 0)) broken("one element", value);
}

// What a function's own counts say of its stream.
void check_function(const DataElement& function) {
    const auto* const stream = static_cast<const DataElement*>(function.data_pointer);
    if (stream == nullptr || holders(stream) == 0) broken("count of the stream", function);
    if (stream->rank != kind::FUNCTION || stream->data_pointer != stream) broken("header cell", function);
    if (stream->elements + 1 != function.elements || stream[function.elements].type != 0) broken("cells", function);
    if (stream[stream->elements].depth != static_cast<std::int16_t>(Instruction::FUNCTIONEND)) broken("end", function);
}

void check_other(const DataElement& element) {
    switch (element.rank) {
        case kind::FUNCTION: return check_function(element);
        case kind::ADDRESS:
            if (!(element.type & ISADDRESS)) broken("address", element);
            if (!borrows(element) && element.data_pointer != nullptr && header(element.data_pointer).count == 0)
                broken("count of the entry", element);
            return;
        case kind::OPERATOR:
            if (element.depth != static_cast<std::int16_t>(Instruction::MARK)) broken("operator", element);
            return;
        case kind::VARIABLE:
            if (element.type != 0) broken("local without a value", element);
            return;
        default: broken("kind", element);
    }
}

void check_value(const DataElement& value, int level = 0) {
    if (value.rank < 0) return check_other(value);
    check_shape(value);
    if (value.last != (value.elements == 0 ? 0 : value.elements - 1)) broken("bounds", value);
    if ((value.elements == 0) != ((value.type & ISEMPTY) != 0)) broken("emptiness", value);
    if (value.elements == 0) {
        if (value.data_pointer != nullptr) broken("items of an empty value", value);
        return;
    }
    const void* const data = value.data_pointer;
    if (data == nullptr || header(data).count == 0) broken("count of the items", value);
    if (is_packed(data) && (value.elements < 2 || (value.type & PER_ITEM))) broken("packed items", value);
    if (value.elements > 1 && mixed_kinds(value.type) && !(value.type & COMPLEXED)) broken("mixture", value);
    if (value.elements > most_items) return;
    if (is_packed(data) && (header(data).head & in_bytes)) {
        const auto is_truth = [](std::uint8_t byte) { return byte <= 1; };
        if (byte_head(header(data).head) == 0 ||
            !std::ranges::all_of(std::span(static_cast<const std::uint8_t*>(data), value.elements), is_truth))
            broken("truths in bytes", value);
    }
    for (std::uint32_t i = 0; i < value.elements; ++i) {
        const DataElement item = item_at(data, i);
        if (!admits(value.type, item.tag)) broken("kind of an item", value);
        if (item.tag == tag::octonion && !is_packed(data) && header(item.octonion).count == 0)
            broken("octonion", value);
        if (item.tag != tag::subarray) continue;
        if (holders(item.nested) == 0) broken("nested record", value);
        // A literal gives every level that holds another the depth of its deepest one.
        if (!(value.type & ISSCALAR) && value.depth < item.nested->depth) broken("depth", value);
        if (level < most_nested) check_value(*item.nested, level + 1);
    }
}

}  // namespace

void check_soundness(const Activation& activation) {
    const DataElement* const lowest = std::max<const DataElement*>(stack + 1, activation.sp - most_slots);
    for (const DataElement* slot = lowest; slot <= activation.sp; ++slot)
        if (slot != to_coprocessors.element) check_value(*slot);
}

void check_effect(const Activation& activation, const DataElement* before, int arguments) {
    if (before - activation.sp != arguments - 1) broken("height of the stack", *activation.sp);
}

}  // namespace ondrel

#endif
