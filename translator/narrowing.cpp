#include "translator/narrowing.h"

#include <cmath>

#include "data/blocks.h"
#include "data/moving.h"
#include "data/walks.h"
#include "numbers/kinds.h"
#include "translator/symbols.h"

namespace ondrel {
namespace {

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

bool is_narrow(const void* quaternions, std::size_t i) {
    const DataElement item = item_at(quaternions, i);
    return item.tag == tag::quaternion && item.quaternion[2] == 0 && item.quaternion[3] == 0;
}

// Numbers of other kinds do not fit in a block of quaternions. So this value gets another block, and with it every name
// that holds the old one.
void narrow_quaternions(DataElement& value) {
    std::uint32_t first = 0;
    for (; first < value.elements && !is_narrow(value.data_pointer, first); ++first) heed_attention();
    if (first == value.elements) return;
    Owner narrowed;  // of no shape: only the items count
    narrowed.record.rank = 1;
    narrowed.record.elements = value.elements;
    narrowed.record.data_pointer = unpack(value.data_pointer, value.elements);
    for (std::uint32_t i = first; i < value.elements; ++i) {
        narrow(items_of(narrowed.record)[i], false, false);
        heed_attention();
    }
    rebuild_kinds(narrowed.record);
    pack(narrowed.record);
    const void* const old = value.data_pointer;
    const auto take_block = [&](DataElement& holder) {
        reference(narrowed.record.data_pointer);
        replace_items(holder, narrowed.record.data_pointer, holder.elements);
        holder.type = (holder.type & ~(KIND_BITS | PER_ITEM)) | (narrowed.record.type & (KIND_BITS | PER_ITEM));
    };
    if (!sole_holder(old))
        for_each_entry([&](Entry& entry) {
            DataElement& holder = entry.value;
            if (&holder != &value && holder.rank >= 0 && holder.data_pointer == old) take_block(holder);
        });
    take_block(value);
}

}  // namespace

DataElement narrowed(DataElement& value) {
    const bool mixed = (value.type & PER_ITEM) != 0, scalar = (value.type & ISSCALAR) != 0;
    if (!mixed && !scalar) {
        if (value.type & HASQUATERNION) narrow_quaternions(value);
        return value;
    }
    DataElement* const items = items_of(value);
    for (std::uint32_t i = 0; i < value.elements; ++i) {
        narrow(items[i], mixed, scalar);
        heed_attention();
    }
    DataElement shown = value;
    rebuild_kinds(shown);
    return shown;
}

}  // namespace ondrel
