// PROBABLY, ROLL and RANDOM: truth values and numbers by chance. Items are drawn in their order, components in theirs,
// and only where chance decides; so a seed tells the whole value. All that comes out is marked as made by chance.
#include <algorithm>
#include <cmath>
#include <limits>

#include "numbers/magnitude.h"
#include "numbers/random.h"
#include "numbers/truth.h"
#include "verbs/scalar/monadic.h"

namespace ondrel {
namespace {

struct Chance {
    static constexpr bool by_chance = true, of_cartesian = true;
    template <class A>
    static constexpr bool takes = !std::is_same_v<A, Unicode>;
    template <class A>
    static constexpr int missing = message::restriction;

    std::int64_t& stream;
    explicit Chance(const Setting& setting) : stream(*setting.stream) {}

    double draw() const { return static_cast<double>(PRNGS(stream)) * prngs_unit; }

    // A character from the blank up to this one, each as probable.
    std::uint8_t character_up_to(std::uint8_t last) const {
        constexpr double unit = 4.656612805856859e-10;  // 1 over 2147483679
        return static_cast<std::uint8_t>(' ' +
                                         static_cast<int>(static_cast<double>(PRNGS(stream)) * unit * (last - 31)));
    }
};

struct Probably : Chance {
    using Chance::Chance;
    double taken(double probability) const {
        if (probability >= 1 || probability <= 0) return probability > 0;
        return draw_apart_from(probability, stream) < probability;
    }
    static std::int64_t apply(std::uint8_t byte, std::uint64_t) { return is_true(byte); }
    static std::int64_t apply(std::int64_t value, std::uint64_t) { return is_true(value); }
    std::int64_t apply(double value, std::uint64_t) const { return static_cast<std::int64_t>(taken(value)); }
    template <class A>
    A apply(const A& value, std::uint64_t) const {
        return map_components(value, [this](double component) { return taken(component); });
    }
    static std::uint64_t head(std::uint64_t head, std::uint32_t tag) {
        return make_head(tag, form::boolean, head_tag(head) >= tag::real ? mark::chance : 0);
    }
};

// Numbers by `Verb::drawn(value, draw)`. Where every value of a stretch takes one draw, these are made at once.
template <class Verb>
struct Drawn : Chance {
    using Chance::Chance;
    std::uint8_t apply(std::uint8_t last, std::uint64_t) const { return character_up_to(last); }
    template <class A>
    A apply(const A& value, std::uint64_t) const {
        return map_components(value, [this](double component) {
            return Verb::draws(component) ? Verb::drawn(component, draw()) : Verb::undrawn;
        });
    }
    static std::uint64_t head(std::uint64_t, std::uint32_t tag) {
        return make_head(tag, tag == tag::ascii ? form::unset : form::number, mark::chance);
    }

    template <class A>
    requires(std::is_same_v<A, std::int64_t> || std::is_same_v<A, double>)  //
        VECTOR_CLONES static std::size_t
        loop(const void* values, void* result, std::size_t n, std::uint64_t head, const Setting& setting) {
        const Verb rule(setting);
        const auto* const a = static_cast<const A*>(values);
        auto* const c = static_cast<decltype(Verb::plain(A{}, 0.0))*>(result);
        std::uint32_t draws[look_ahead + 32];
        for (std::size_t at = 0; at < n;) {
            const std::size_t end = std::min(at + look_ahead, n);
            if (Verb::all_draw(a + at, end - at)) {
                draw_many(rule.stream, draws, end - at);
                for (std::size_t i = at; i < end; ++i)
                    c[i] = Verb::plain(a[i], static_cast<double>(draws[i - at]) * prngs_unit);
                at = end;
                continue;
            }
            for (; at < end; ++at) {
                const auto value = rule.apply(a[at], head);
                if constexpr (is_either<decltype(value)>) {
                    if (!value.usual) return at;
                    c[at] = value.value;
                } else {
                    c[at] = value;
                }
            }
        }
        return n;
    }
};

// A die with so many faces. One with none shows no number.
struct Roll : Drawn<Roll> {
    using Drawn::apply;
    using Drawn::Drawn;
    static constexpr double undrawn = std::numeric_limits<double>::quiet_NaN();
    static bool draws(double faces) { return faces > 0 || faces < 0; }
    static double drawn(double faces, double draw) { return std::trunc(faces * draw) + (faces > 0 ? 1 : -1); }

    IntegerOrReal apply(std::int64_t faces, std::uint64_t) const {
        if (faces == 0) return as_real(undrawn);
        const double below = std::trunc(static_cast<double>(faces) * draw()), one = faces > 0 ? 1 : -1;
        if (!(std::fabs(below) < two_to_63)) return as_real(below + one);
        return as_integer(static_cast<std::int64_t>(below) + static_cast<std::int64_t>(one));
    }
    double apply(double faces, std::uint64_t) const { return draws(faces) ? drawn(faces, draw()) : undrawn; }

    template <class A>
    [[gnu::always_inline]] static bool all_draw(const A* values, std::size_t n) {
        return none_of(values, n, [](A value) {
            const double faces = static_cast<double>(value);
            return !(std::fabs(faces) > 0) | !(std::fabs(faces) < two_to_51);
        });
    }
    static std::int64_t plain(std::int64_t faces, double draw) {
        return integer_of_whole(drawn(static_cast<double>(faces), draw));
    }
    static double plain(double faces, double draw) { return drawn(faces, draw); }
};

// A real between 0 and the number.
struct BetweenZeroAnd : Drawn<BetweenZeroAnd> {
    using Drawn::apply;
    using Drawn::Drawn;
    static constexpr double undrawn = 0;
    static bool draws(double) { return true; }
    static double drawn(double limit, double draw) { return draw * limit; }

    double apply(std::int64_t limit, std::uint64_t) const { return drawn(static_cast<double>(limit), draw()); }
    double apply(double limit, std::uint64_t) const { return drawn(limit, draw()); }

    template <class A>
    static bool all_draw(const A*, std::size_t) {
        return true;
    }
    template <class A>
    static double plain(A limit, double draw) {
        return drawn(static_cast<double>(limit), draw);
    }
};

}  // namespace

void probably(DataElement*& sp, DataElement* cell) { monadic<Probably>(sp, cell); }
void roll(DataElement*& sp, DataElement* cell) { monadic<Roll>(sp, cell); }
void Random(DataElement*& sp, DataElement* cell) { monadic<BetweenZeroAnd>(sp, cell); }

}  // namespace ondrel
