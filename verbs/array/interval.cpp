#include "verbs/array/interval.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "data/blocks.h"
#include "data/errors.h"
#include "data/system_variables.h"
#include "data/texts.h"
#include "numbers/kinds.h"
#include "numbers/polar.h"
#include "numbers/whole.h"
#include "verbs/scalar/clones.h"
#include "verbs/scalar/nest.h"

namespace ondrel {
namespace {

constexpr std::uint64_t most_items = std::numeric_limits<std::uint32_t>::max();

// ---- results

template <class Value>
std::uint64_t head_of(std::size_t n, std::uint16_t form) {
    return make_head(tag_of<Value>, n == 1 ? form::number : form);
}

// The values of an interval, to be written by any thread from any of them on: `writer_at(first)` gives what writes the
// next n at each call of write(out, n).
template <class Value, class WriterAt>
struct Run {
    Value* values;
    WriterAt writer_at;

    void write(Stretch stretch) const {
        auto writer = writer_at(stretch.first);
        for (std::size_t at = stretch.first; at < stretch.end; at += heed_every) {
            writer(values + at, std::min(heed_every, stretch.end - at));
            heed_attention();
        }
    }
};

// Gives the value of n items its values.
template <class Value, class WriterAt>
Computed filled(Owner& result, std::size_t n, std::uint16_t form, WriterAt writer_at) {
    OwnedBlock values(allocate_packed(head_of<Value>(n, form), n));
    const Run<Value, WriterAt> run{static_cast<Value*>(values.get()), writer_at};
    if (is_large(n)) wait_for_coprocessors();
    const bool is_kept = packing && n > 1, is_split = n > 1 && hands_off(n);
    const bool is_posted = is_kept && is_split && is_worth_it(n, [&](std::size_t end) { run.write({0, end}); });
    if (is_posted) {
        static std::optional<Run<Value, WriterAt>> posted;  // it stays as long as the hand-off is in flight
        posted.emplace(run);
        const Kernel kernel = [](void* published, std::uint32_t thread) {
            static_cast<const Run<Value, WriterAt>*>(published)->write(stretch_of(thread));
            return true;
        };
        chance_decided = false;  // here it has no part
        post(kernel, &*posted, n);
    } else {  // with the same roundings, as these begin anew with each stretch
        const std::uint32_t threads = is_split ? processors : 1;
        for (std::uint32_t thread = 0; thread < threads; ++thread)
            run.write(is_split ? stretch_of(thread, static_cast<std::uint32_t>(n)) : Stretch{0, n});
    }
    result.record.data_pointer = is_kept ? values.release() : unpack(values.get(), n);
    return {result.take(), is_posted};
}

template <class Value, class WriterAt>
Computed list(std::uint64_t n, WriterAt writer_at) {
    if (n == 0) return {make_empty()};
    const auto count = static_cast<std::uint32_t>(n);
    Owner result(make_array(vector_shape(count), 1, nullptr, count, kind_bits(tag_of<Value>)));
    return filled<Value>(result, n, form::cartesian, writer_at);
}

VECTOR_CLONES void write_run(std::int64_t* out, std::uint64_t from, std::uint64_t step, std::size_t n) {
    for (std::size_t i = 0; i < n; ++i, from += step) out[i] = static_cast<std::int64_t>(from);
}

VECTOR_CLONES void write_run(double* out, double from, double step, std::size_t n) {
    for (std::size_t i = 0; i < n; ++i) out[i] = from + static_cast<double>(static_cast<std::int32_t>(i)) * step;
}

Computed integers(std::int64_t from, std::int64_t step, std::uint64_t n) {
    const auto start = static_cast<std::uint64_t>(from), apart = static_cast<std::uint64_t>(step);
    return list<std::int64_t>(n, [=](std::size_t first) {
        return [apart, next = start + first * apart](std::int64_t* out, std::size_t count) mutable {
            write_run(out, next, apart, count);
            next += count * apart;
        };
    });
}

// How many reals, each the one before and the step, rounded, lie evenly from this one on, and how far apart. Among
// numbers of one exponent the rounding is always the same, but for a step that ends halfway between two of them.
struct Even {
    double apart;
    std::size_t items;
};
Even even_from(double value, double step) {
    const double next = value + step, apart = next - value;
    if (!std::isnormal(value) || !std::isnormal(next) || std::ilogb(next) != std::ilogb(value)) return {0, 1};
    if (apart == 0) return {0, heed_every};
    const double least = std::ldexp(1, std::ilogb(value)), unit = std::ldexp(least, -52);
    if (std::fabs(step - apart) * 2 == unit) return {0, 1};
    const bool grows = (value > 0) == (apart > 0);
    const double room = (grows ? 2 * least - std::fabs(value) : std::fabs(value) - least) / std::fabs(apart);
    return {apart, static_cast<std::size_t>(std::clamp(room - 1, 1.0, static_cast<double>(heed_every)))};
}

// Where a thread begins: the step may be infinite.
double number_at(double from, double step, std::size_t position) {
    return position == 0 ? from : from + static_cast<double>(position) * step;
}

// From where a thread begins each is the one before and the step.
Computed reals(double from, double step, std::uint64_t n) {
    return list<double>(n, [from, step](std::size_t first) {
        return [step, value = number_at(from, step, first)](double* out, std::size_t count) mutable {
            for (std::size_t done = 0; done < count;) {
                const auto [apart, items] = even_from(value, step);
                const std::size_t written = std::min(items, count - done);
                write_run(out + done, value, apart, written);
                done += written;
                value = out[done - 1] + step;
            }
        };
    });
}

// ---- how many

// Items from one number to another; 0 where the step leads away, or nowhere.
std::uint64_t count_between(std::int64_t from, std::int64_t to, std::int64_t step) {
    const bool up = from <= to;
    if (up ? step <= 0 : step >= 0) return 0;
    const auto magnitude = [](std::int64_t a, std::int64_t b) {
        return static_cast<std::uint64_t>(std::max(a, b)) - static_cast<std::uint64_t>(std::min(a, b));
    };
    const std::uint64_t steps = magnitude(from, to) / magnitude(step, 0);
    return std::max(steps, steps + 1);  // one too few of all that there are: too many in any case
}

double count_between(double from, double to, double step) {
    const bool up = from <= to;
    const double count = std::trunc(std::fabs((to - from) / step)) + 1;
    return (up ? step > 0 : step < 0) && std::isfinite(count) ? count : 0;
}

// The error that a count of items is, or 0.
template <class Count>
int error_of_count(Count n) {
    return n == 0 ? message::interval_infinite : n > static_cast<Count>(most_items) ? message::too_big : 0;
}

// ---- lists

bool is_number(const DataElement& item) { return item.tag >= tag::integer && item.tag <= tag::octonion; }

// Brings an item that counts as an integer within the tolerance to that integer.
bool to_integer(DataElement& item, double tolerance) {
    if (item.tag == tag::integer) return true;
    const std::optional<double> whole = whole_within(item.real, tolerance);
    if (!whole || !fits_integer(*whole)) return false;
    item.integer = static_cast<std::int64_t>(*whole);
    item.tag = tag::integer;
    return true;
}

double as_real_number(const DataElement& item) {
    return item.tag == tag::integer ? static_cast<double>(item.integer) : item.real;
}

Computed counted(std::int64_t n, Site site) {
    const std::int64_t first = origin();
    const std::uint64_t magnitude = n < 0 ? -static_cast<std::uint64_t>(n) : static_cast<std::uint64_t>(n);
    if (magnitude > most_items) raise(message::too_big, site);
    if (n < 0) return integers(static_cast<std::int64_t>(-static_cast<std::uint64_t>(first)), -1, magnitude);
    return integers(first, 1, magnitude);
}

Computed reals_between(std::span<const double> ends, Site site) {
    const double step = ends.size() == 3 ? ends[2] : ends[0] <= ends[1] ? 1 : -1;
    const double n = count_between(ends[0], ends[1], step);
    if (const int error = error_of_count(n)) raise(error, site);
    return reals(ends[0], step, static_cast<std::uint64_t>(n));
}

Computed between(std::span<const DataElement> items, Site site) {
    std::array<DataElement, 3> whole{};
    std::ranges::copy(items, whole.begin());
    const double near = tolerance();
    const auto used = std::span(whole).first(items.size());
    if (std::ranges::all_of(used, [&](DataElement& item) { return to_integer(item, near); })) {
        const std::int64_t from = whole[0].integer, to = whole[1].integer;
        const std::int64_t step = items.size() == 3 ? whole[2].integer : from <= to ? 1 : -1;
        const std::uint64_t n = count_between(from, to, step);
        if (const int error = error_of_count(n)) raise(error, site);
        return integers(from, step, n);
    }
    std::array<double, 3> ends{};
    std::ranges::transform(items, ends.begin(), as_real_number);
    return reals_between(std::span(ends).first(items.size()), site);
}

Computed number_interval(std::span<DataElement> items, Site site) {
    if (!std::ranges::all_of(items, [](const DataElement& item) { return item.tag <= tag::real; }))
        raise(message::different_kinds, site);
    if (items.size() > 1) return between(items, site);
    if (!to_integer(items[0], tolerance())) raise(message::interval_not_whole, site);
    return counted(items[0].integer, site);
}

// ---- characters

Computed character_interval(std::span<const DataElement> items, Site site) {
    constexpr std::uint8_t blank = ' ';
    if (items.size() == 3) raise(message::characters_have_no_step, site);
    if (items.size() == 2 && items[1].tag != tag::ascii) raise(message::not_both_characters, site);
    const std::uint8_t from = items.size() == 2 ? items[0].ascii : blank, to = items.back().ascii;
    if (items.size() == 1 && to < blank) raise(message::interval_infinite, site);
    const int step = from <= to ? 1 : -1;
    std::string text;
    for (int c = from; c != to + step; c += step) text.push_back(static_cast<char>(c));
    return {make_characters(text)};
}

// ---- grids

using Components = std::array<double, 8>;

template <class Value>
Components widened(const DataElement& item) {
    Components components{};
    const Value value = load<Value>(item);
    std::memcpy(components.data(), &value, sizeof value);
    return components;
}

Components components_of_item(const DataElement& item) {
    if (item.tag == tag::complex) return widened<Complex>(item);
    return item.tag == tag::quaternion ? widened<Quaternion>(item) : widened<Octonion>(item);
}

Components polar_components(const DataElement& item) {
    Components components = components_of_item(item);
    switch (item.tag) {
        case tag::complex: polarcomplex(components.data(), components.data()); break;
        case tag::quaternion: polarquat(components.data(), components.data()); break;
        default: polarocto(components.data(), components.data()); break;
    }
    return components;
}

struct AxisRange {
    double from, step, count;
};

// The items of a grid, the first axis fastest: along each the numbers are the one before and the step, from where a
// thread begins.
class Odometer {
public:
    Odometer(std::span<const AxisRange> ranges, std::size_t first) : axes(ranges.size()) {
        for (std::size_t k = 0; k < axes; ++k) {
            const AxisRange& range = axis[k] = ranges[k];
            const auto count = static_cast<std::size_t>(range.count);
            const std::size_t position = first % count;
            first /= count;
            item[k] = number_at(range.from, range.step, position);
            left[k] = count - position;
        }
    }

    template <class Value>
    void operator()(Value* out, std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) {
            std::memcpy(out + i, item.data(), sizeof(Value));
            step();
        }
    }

private:
    std::size_t axes;
    std::array<AxisRange, 8> axis{};
    Components item{};
    std::array<std::size_t, 8> left{};  // numbers of the axis, the present one included

    void step() {
        for (std::size_t k = 0; k < axes; ++k) {
            if (--left[k] > 0) {
                item[k] += axis[k].step;
                return;
            }
            left[k] = static_cast<std::size_t>(axis[k].count);
            item[k] = axis[k].from;
        }
    }
};

template <class Value>
Computed grid_of(Owner& result, std::span<const AxisRange> ranges, std::uint16_t form) {
    std::array<AxisRange, 8> axes{};
    std::ranges::copy(ranges, axes.begin());
    return filled<Value>(result, result.record.elements, form, [axes, used = ranges.size()](std::size_t first) {
        return Odometer(std::span(axes).first(used), first);
    });
}

Computed grid(std::span<const AxisRange> ranges, std::uint16_t form, Site site) {
    constexpr double most_representable = 9.223372036854776e18;
    double product = 1;
    for (const AxisRange& range : ranges) product *= range.count;
    if (product > most_representable || product > static_cast<double>(most_items)) raise(message::too_big, site);
    const auto n = static_cast<std::uint32_t>(product);
    const std::uint32_t tag = ranges.size() > 4 ? tag::octonion : ranges.size() > 2 ? tag::quaternion : tag::complex;

    Owner result;
    std::int64_t* const shape = allocate_shape(ranges.size());
    std::ranges::transform(ranges, shape,
                           [](const AxisRange& range) { return static_cast<std::int64_t>(range.count); });
    result.record =
        make_array(shape, static_cast<std::int32_t>(ranges.size()), nullptr, n, n == 0 ? 0 : kind_bits(tag));
    if (n == 0) return {result.take()};
    switch (tag) {
        case tag::complex: return grid_of<Complex>(result, ranges, form);
        case tag::quaternion: return grid_of<Quaternion>(result, ranges, form);
        default: return grid_of<Octonion>(result, ranges, form);
    }
}

AxisRange counted_axis(double count, double tolerance, Site site) {
    const std::optional<double> whole = whole_within(count, tolerance);
    if (!whole || !fits_integer(*whole)) raise(message::interval_not_whole, site);
    const auto first = static_cast<double>(origin());
    return *whole < 0 ? AxisRange{-first, -1, -*whole} : AxisRange{first, 1, *whole};
}

AxisRange axis_between(std::span<const Components> items, std::size_t k, Site site) {
    const double from = items[0][k], to = items[1][k];
    const double step = items.size() == 3 ? items[2][k] : from <= to ? 1 : -1;
    const double count = count_between(from, to, step);
    if (count == 0) raise(message::interval_infinite, site);
    return {from, step, count};
}

// The components up to the last one that is not 0 in all items; 1 for none, as the first is always there.
std::size_t components_in_use(std::span<const Components> items) {
    std::size_t used = 1;
    for (const Components& item : items)
        for (std::size_t k = used; k < item.size(); ++k)
            if (item[k] != 0) used = k + 1;
    return used;
}

Computed hypercomplex_interval(std::span<const DataElement> operand, Site site) {
    if (!std::ranges::all_of(operand, [&](const DataElement& item) { return item.tag == operand[0].tag; }))
        raise(message::different_kinds, site);
    const bool single = operand.size() == 1;
    const bool polar =
        !single && std::ranges::any_of(operand, [](const DataElement& item) { return is_polar(item.head); });
    const std::uint16_t form = single ? operand[0].form : polar ? form::polar : form::cartesian;
    std::vector<Components> items;
    for (const DataElement& item : operand)
        items.push_back(polar && item.form == form::cartesian ? polar_components(item) : components_of_item(item));

    const std::size_t axes = components_in_use(items);
    const double near = tolerance();
    if (axes == 1 && !single) {
        std::array<double, 3> ends{};
        std::ranges::transform(items, ends.begin(), [](const Components& item) { return item[0]; });
        return reals_between(std::span(ends).first(items.size()), site);
    }
    std::vector<AxisRange> ranges;
    for (std::size_t k = 0; k < axes; ++k)
        ranges.push_back(single ? counted_axis(items[0][k], near, site) : axis_between(items, k, site));
    if (axes == 1) return counted(static_cast<std::int64_t>(ranges[0].step * ranges[0].count), site);
    return grid(ranges, form, site);
}

Computed integer_scalar(std::int64_t value) {
    DataElement item{};
    item.head = make_head(tag::integer, form::number);
    item.integer = value;
    return {make_scalar(item)};
}

Computed interval_of(const DataElement& operand, Site site) {
    if (operand.rank < 0) raise(message::no_interval_of_kind, site);
    if (operand.type & ISEMPTY) return integer_scalar(0);
    if (operand.elements > 3 || operand.type & NESTED) raise(message::no_interval_of_these, site);
    std::array<DataElement, 3> items{};
    const auto used = std::span(items).first(operand.elements);
    for (std::uint32_t i = 0; i < operand.elements; ++i) used[i] = item_at(operand.data_pointer, i);
    if (used[0].tag == tag::ascii) return character_interval(used, site);
    if (!std::ranges::all_of(used, is_number)) raise(message::no_interval_of_kind, site);
    return used[0].tag <= tag::real ? number_interval(used, site) : hypercomplex_interval(used, site);
}

// The interval with nothing left to do.
DataElement interval_at_once(const void*, DataElement* operands, const Setting& setting) {
    const auto [record, is_posted] = interval_of(operands[0], setting.site);
    Owner result(record);
    if (is_posted) {
        collect();
        raise_failure(setting.site);
    }
    return result.take();
}

}  // namespace

void interval(DataElement*& sp, DataElement* cell) {
    const Setting setting{.site = {sp, cell}};
    const auto [result, is_posted] = interval_of(*sp, setting.site);
    if (is_posted) return leave_result({nullptr, {*sp}, 1, &sp, setting, interval_at_once}, result);
    dereferencepoint(*sp);
    *sp = result;
}

}  // namespace ondrel
