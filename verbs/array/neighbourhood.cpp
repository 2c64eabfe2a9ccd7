#include "verbs/array/neighbourhood.h"

#include <algorithm>
#include <span>
#include <utility>

#include "numbers/kinds.h"
#include "numbers/magnitude.h"
#include "numbers/polar.h"
#include "verbs/scalar/loops.h"
#include "verbs/scalar/rule.h"

namespace ondrel {
namespace {

constexpr std::int64_t none = -1;

// The coordinate that stands for x along an axis of the data, or none.
std::int64_t inside(std::int64_t x, std::int64_t length, Edge edge) {
    if (edge == Edge::wrap) x += x < 0 ? length : x >= length ? -length : 0;
    if (edge == Edge::reflect) x = x < 0 ? -x : x >= length ? 2 * length - 2 - x : x;
    return x >= 0 && x < length ? x : none;
}

// ---- products

DataElement character(std::uint8_t code) { return make_item(code, make_head(tag::ascii, form::unset)); }

// Whether the number leaves the character that it weighs.
bool keeps(const DataElement& number) {
    const auto any = [](const auto& value) {
        const auto components = components_of(value);
        return std::ranges::any_of(components, [](double component) { return component != 0; });
    };
    switch (number.tag) {
        case tag::integer: return number.integer != 0;
        case tag::real: return number.real > 0.5;
        case tag::complex: return is_polar(number.head) ? number.complex[0] != 0 : any(load<Complex>(number));
        case tag::quaternion: return any(load<Quaternion>(number));
        default: return any(load<Octonion>(number));
    }
}

DataElement zero_of(std::uint32_t tag) {
    DataElement zero{};
    zero.head = make_head(tag, form::number);
    return tag == tag::octonion ? make_item(Octonion{}, zero.head) : zero;
}

DataElement product(const DataElement& weight, const DataElement& item, const Setting& setting) {
    if (weight.tag == tag::subarray || item.tag == tag::subarray)
        return item_of_pair(multiply_verb, weight, item, setting);
    const auto is_known = [](const DataElement& one) { return kind_index(one.tag) < kinds && one.tag != tag::unicode; };
    if (!is_known(weight) || !is_known(item)) raise(message::restriction, setting.site);
    const bool of_weight = weight.tag == tag::ascii, of_item = item.tag == tag::ascii;
    if (of_weight && of_item) return character(weight.ascii > ' ' ? item.ascii : ' ');
    if (of_weight) return character(keeps(item) ? weight.ascii : ' ');
    if (of_item) return character(keeps(weight) ? item.ascii : ' ');
    if (weight.tag == tag::integer && weight.integer == 0) return zero_of(item.tag);  // of infinities too
    return item_of_pair(multiply_verb, weight, item, setting);
}

// ---- plain numbers

bool is_plain(const void* block) {
    const std::uint32_t tag = is_packed(block) ? head_tag(header(block).head) : 0;
    return tag == tag::integer || tag == tag::real;
}

// The word of number i of a packed block.
std::uint64_t word_at(const void* block, std::size_t i) {
    const std::uint64_t head = header(block).head;
    if (!(head & in_bytes)) return static_cast<const std::uint64_t*>(block)[i];
    return static_cast<const std::uint8_t*>(block)[i] != 0 ? word_of_one(head) : 0;
}

}  // namespace

Neighbourhoods::Neighbourhoods(const DataElement& of_data, const DataElement& with_mask, Edge edge, Site site)
    : data(of_data),
      mask(with_mask),
      setting(setting_of(multiply_verb, site)),
      axes(static_cast<std::size_t>(std::max(data.rank, 1))),
      neighbours(mask.elements) {
    std::int64_t stride = 1;
    for (std::size_t k = 0; k < axes.size(); ++k) {
        const std::int64_t length = data.rank == 0 ? 1 : data.shape_pointer[k];
        axes[k].length = mask.rank == 0 ? 1 : mask.shape_pointer[k];
        const std::int64_t half = axes[k].length / 2;
        for (std::int64_t x = -half; x < length + half; ++x) {
            const std::int64_t place = inside(x, length, edge);
            axes[k].places.push_back(place == none ? none : place * stride);
            heed_attention();
        }
        stride *= length;
    }
    prepare_loop();
}

void Neighbourhoods::prepare_loop() {
    if (!is_plain(data.data_pointer) || !is_plain(mask.data_pointer)) return;
    const std::uint64_t left = item_head(header(mask.data_pointer).head);
    const std::uint64_t right = item_head(header(data.data_pointer).head);
    const DyadicKinds& of_kinds = multiply_verb.pairs[kind_index(head_tag(left))][kind_index(head_tag(right))];
    const auto& usual = of_kinds.loops[0];
    loop = usual.by_extent[neither_single];
    head = of_kinds.head(left, right, usual.tag);
    numbers.resize(mask.elements);
    for (std::size_t i = 0; i < mask.elements; ++i) {
        weights.push_back(word_at(mask.data_pointer, i));
        heed_attention();
    }
}

// Row by row: along the first axis neighbours differ in that axis' share alone.
void Neighbourhoods::find_neighbours() {
    const Axis& first = axes.front();
    const std::span others = std::span(axes).subspan(1);
    const std::span shares =
        std::span(first.places).subspan(static_cast<std::size_t>(first.centre), static_cast<std::size_t>(first.length));
    for (auto place = neighbours.begin(); place != neighbours.end();) {
        heed_attention();
        std::int64_t row = 0;
        for (const Axis& axis : others) {
            const std::int64_t share = axis.places[static_cast<std::size_t>(axis.centre + axis.offset)];
            row = share == none || row == none ? none : row + share;
        }
        for (const std::int64_t share : shares) *place++ = share == none || row == none ? none : row + share;
        for (Axis& axis : others) {
            if (++axis.offset < axis.length) break;
            axis.offset = 0;
        }
    }
}

void Neighbourhoods::step_centre() {
    for (Axis& axis : axes) {
        if (++axis.centre + axis.length <= static_cast<std::int64_t>(axis.places.size())) break;
        axis.centre = 0;
    }
}

DataElement* Neighbourhoods::by_item() const {
    ItemsOwner made(mask.elements);
    for (; made.filled < mask.elements; ++made.filled) {
        heed_attention();
        const std::int64_t neighbour = neighbours[made.filled];
        made.items[made.filled] =
            neighbour == none ? zero_of(tag::integer)
                              : product(item_at(mask.data_pointer, made.filled),
                                        item_at(data.data_pointer, static_cast<std::size_t>(neighbour)), setting);
    }
    return made.take();
}

// The products as bare values; null where one is of another kind.
void* Neighbourhoods::by_loop() {
    if (loop == nullptr) return nullptr;
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        heed_attention();
        if (neighbours[i] == none && head_tag(head) != tag::integer) return nullptr;
        numbers[i] = neighbours[i] == none ? 0 : word_at(data.data_pointer, static_cast<std::size_t>(neighbours[i]));
    }
    OwnedBlock result(allocate_packed(head, numbers.size()));
    const std::size_t done = in_stretches(static_cast<std::byte*>(result.get()), item_width(head), numbers.size(),
                                          [&](std::size_t at, std::byte* out, std::size_t n) {
                                              return loop(weights.data() + at, numbers.data() + at, out, n, setting);
                                          });
    return done == numbers.size() ? result.release() : nullptr;
}

DataElement Neighbourhoods::next() {
    find_neighbours();
    step_centre();
    void* block = by_loop();
    if (block == nullptr) block = by_item();
    Owner result(mask);
    reference(mask.shape_pointer);
    result.record.data_pointer = block;
    result.record.type = (mask.type & RANK_BITS) | ((mask.type | data.type) & ISPROBABLE);
    rebuild_kinds(result.record);
    pack(result.record);
    return result.take();
}

}  // namespace ondrel
