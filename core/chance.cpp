#include "core/chance.h"

#include <cmath>
#include <optional>
#include <unordered_set>
#include <utility>
#include <vector>

#include "data/system_variables.h"
#include "numbers/kinds.h"
#include "numbers/random.h"
#include "numbers/whole.h"
#include "parallel/pool.h"

namespace ondrel {
namespace {

// ---- DEAL

// A number that an operand of DEAL stands for, or the error that it is.
struct Whole {
    int error = 0;
    double value = 0;
};

Whole whole_real(double value, double tolerance) {
    const std::optional<double> whole = value >= 0 ? whole_within(value, tolerance) : std::nullopt;
    return whole ? Whole{0, *whole} : Whole{42};
}

Whole whole_number(const DataElement& operand, double tolerance) {
    const DataElement item = item_at(operand.data_pointer, 0);
    const auto hypercomplex = [&](const double* components, int count) {
        for (int k = 1; k < count; ++k)
            if (!(std::fabs(components[k]) <= tolerance)) return Whole{42};
        return whole_real(components[0], tolerance);
    };
    switch (item.tag) {
        case tag::integer:
            return item.integer < 0 ? Whole{message::no_deal_of_kind} : Whole{0, static_cast<double>(item.integer)};
        case tag::real: return whole_real(item.real, tolerance);
        case tag::complex: return hypercomplex(item.complex, 2);
        case tag::quaternion: return hypercomplex(item.quaternion, 4);
        case tag::octonion: return hypercomplex(item.octonion, 8);
        default: return {message::no_deal_of_kind};
    }
}

// The numbers dealt so far: a bit for each of the range, or where that would be far more than there are, a set.
class Dealt {
public:
    Dealt(double range, double count) {
        constexpr double bits_worth_a_number = 512;
        if (range <= count * bits_worth_a_number) bits.resize(static_cast<std::size_t>(range));
    }
    // False if the number is among them already.
    bool add(std::int64_t number) {
        if (bits.empty()) return others.insert(number).second;
        std::vector<bool>::reference dealt = bits[static_cast<std::size_t>(number)];
        const bool fresh = !dealt;
        dealt = true;
        return fresh;
    }

private:
    std::vector<bool> bits;
    std::unordered_set<std::int64_t> others;
};

// `count` distinct numbers, in the order in which they are drawn. A draw that comes up again is passed over; a stream
// that stands still, or one that does not reach so many, goes on until an interrupt. The divisor takes a draw
// times the range into it.
DataElement dealt_numbers(double range, double divisor, std::uint32_t count) {
    const std::int64_t first = origin();
    Owner result(make_array(vector_shape(count), 1, nullptr, count, HASINTEGER));
    result.record.type |= ISPROBABLE;
    ItemsOwner items(count);
    Dealt dealt(range, count);
    while (items.filled < count) {
        heed_attention();
        const double number = std::trunc(static_cast<double>(PRNGS(prngs_seed)) * range / divisor);
        if (!(number >= 0 && number < range && fits_integer(number))) continue;
        if (!dealt.add(static_cast<std::int64_t>(number))) continue;
        DataElement& item = items.items[items.filled++] = {};
        item.head = make_head(tag::integer, form::number);
        item.integer =
            static_cast<std::int64_t>(static_cast<std::uint64_t>(first) + static_cast<std::uint64_t>(number));
    }
    result.record.data_pointer = items.take();
    pack(result.record);
    return result.take();
}

// Seeds the streams of all threads that have been started, each apart from the others.
void seed_all(std::int64_t value) {
    const std::uint32_t at_work = std::exchange(processors, cpus);
    const Kernel kernel = [](void* published, std::uint32_t thread) {
        SEED_PRNGS(thread, prngs_seed, *static_cast<const std::int64_t*>(published));
        return true;
    };
    post(kernel, &value, 0);
    collect();
    processors = at_work;
}

}  // namespace

// A real seeds in millionths.
Outcome seed(Activation& activation) {
    constexpr double millionths = 1000000;
    const DataElement& top = *activation.sp;
    const bool single = (top.type & SHAPE_BITS) != 0;
    const DataElement item = single ? item_at(top.data_pointer, 0) : DataElement{};
    if (item.tag != tag::integer && item.tag != tag::real) return fail(message::no_seed_of_kind, activation);
    std::int64_t value = item.integer;
    if (item.tag == tag::real)
        value = fits_integer(item.real * millionths) ? static_cast<std::int64_t>(item.real * millionths) : INT64_MIN;
    seed_all(static_cast<std::uint32_t>(value));
    dereferencepoint(*activation.sp--);
    return Outcome::next;
}

Outcome randomise(Activation&) {
    constexpr std::int64_t from_the_clock = -1;
    seed_all(from_the_clock);
    return Outcome::next;
}

// The range lies below the count; they change places, and stay so where the verb refuses them.
Outcome deal(Activation& activation) {
    std::swap(activation.sp[0], activation.sp[-1]);
    DataElement &range = activation.sp[0], &count = activation.sp[-1];
    if (!(range.type & SHAPE_BITS) || !(count.type & SHAPE_BITS)) return fail(message::no_deal_of_these, activation);
    const double forgiven = tolerance();
    const Whole of = whole_number(range, forgiven), how_many = whole_number(count, forgiven);
    for (const Whole& operand : {of, how_many})
        if (operand.error != 0) return fail(operand.error, activation);
    if (how_many.value > of.value) return fail(message::too_many_to_deal, activation);
    if (how_many.value > static_cast<double>(UINT32_MAX)) return fail(message::too_big, activation);
    const double divisor = static_cast<double>(origin()) + static_cast<double>(prngs_modulus);
    DataElement result = make_empty();
    if (how_many.value > 0) {
        // What the least and the greatest draw come to: there must be enough integers in between.
        const double least = of.value / divisor, greatest = std::trunc(least * static_cast<double>(prngs_modulus));
        if (!(least > 0 && fits_integer(least) && greatest + 1 >= how_many.value))
            return fail(message::no_deal_of_these, activation);
        result = dealt_numbers(of.value, divisor, static_cast<std::uint32_t>(how_many.value));
    }
    dereferencepoint(range);
    dereferencepoint(count);
    --activation.sp;
    *activation.sp = result;
    return Outcome::next;
}

}  // namespace ondrel
