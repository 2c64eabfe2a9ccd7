// The comparisons. Six of them forgive a difference up to the tolerance, which is a plain distance; two compare
// exactly.
//
// Numbers of different kinds, and all above the integers, are ordered by one real each, the signed magnitude. LESS and
// its kin say 0 or 1; EQUIVALENT and NOTEQUIVALENT say how much two numbers are one, as a degree of truth. Integers
// among themselves, and characters, are compared as they are. A polar number counts as the number that it stands for.
#include <cmath>
#include <limits>

#include "numbers/magnitude.h"
#include "verbs/scalar/dyadic.h"

namespace ondrel {
namespace {

struct Comparison : Comparable {
    static std::uint64_t head(std::uint64_t, std::uint64_t, std::uint32_t tag) {
        return make_head(tag, tag == tag::integer ? form::boolean : form::logical);
    }
};

// Pairs that are compared as they are.
template <class A, class B>
concept Discrete = std::same_as<A, B> &&(std::same_as<A, std::int64_t> || std::same_as<A, std::uint8_t>);

// ---- order

// `below` tells which side of the right one the left one is on, and `reached` whether the verb also holds at equality,
// which it then does within the tolerance.
template <bool below, bool reached>
struct Order : Comparison {
    double tolerance;
    explicit Order(const Setting& setting) : tolerance(setting.tolerance) {}

    template <class Value>
    static bool compare(const Value& low, const Value& high) {
        return reached ? low <= high : low < high;
    }
    template <class A, class B>
    [[gnu::always_inline]] bool exactly(const A& a, const B& b) const {
        if constexpr (Discrete<A, B>) {
            return below ? compare(a, b) : compare(b, a);
        } else {
            const double distance = below ? signed_magnitude(b) - signed_magnitude(a)  // how far it holds
                                          : signed_magnitude(a) - signed_magnitude(b);
            if constexpr (reached)
                return (distance >= 0) | (-distance <= tolerance);
            else
                return (distance > 0) & (tolerance < distance);
        }
    }
};

using Less = Order<true, false>;
using NotGreater = Order<true, true>;
using NotLess = Order<false, true>;
using Greater = Order<false, false>;

// ---- equality in degrees

double distance(double a, double b) {
    constexpr double most = std::numeric_limits<double>::max();
    const bool both_absent = (a != a) & (b != b), both_infinite = (std::fabs(a) > most) & (std::fabs(b) > most);
    return both_absent | (both_infinite & (a >= b)) ? 0.0 : std::fabs(a - b);
}

// A component that is no number is absent. Where both lack the same one the others are compared.
double distance(const Complex& a, const Complex& b) {
    if (a.re != a.re && b.re != b.re) return a.im != a.im && b.im != b.im ? 0.0 : std::fabs(a.im - b.im);
    if (a.im != a.im && b.im != b.im) return std::fabs(a.re - b.re);
    return std::fabs(signed_magnitude(a) - signed_magnitude(b));
}

template <class Value>
double distance(const Value& a, const Value& b) {
    return std::fabs(signed_magnitude(a) - signed_magnitude(b));
}

// Whether the number has nothing beyond the components of the lower kind.
template <class Lower, class Higher>
bool is_within(const Higher& value) {
    const auto components = components_of(value);
    for (std::size_t k = sizeof(Lower) / sizeof(double); k < components.size(); ++k)
        if (components[k] != 0) return false;
    return true;
}
template <class Lower, class Higher>
Lower narrowed(const Higher& value) {
    Lower lower;
    std::memcpy(&lower, &value, sizeof lower);
    return lower;
}

// Of two kinds, left and right as they stand: infinities tell the sides apart.
template <class A, class B>
double distance(const A& a, const B& b) {
    constexpr bool left_whole = std::is_same_v<A, std::int64_t>, right_whole = std::is_same_v<B, std::int64_t>;
    if constexpr ((left_whole && std::is_same_v<B, double>) || (right_whole && std::is_same_v<A, double>)) {
        return std::fabs(static_cast<double>(a) - static_cast<double>(b));
    } else if constexpr (left_whole) {
        return distance(static_cast<double>(a), b);
    } else if constexpr (right_whole) {
        return distance(a, static_cast<double>(b));
    } else {
        if constexpr (level_of<A> < level_of<B>) {
            if (is_within<A>(b)) return distance(a, narrowed<A>(b));
        } else {
            if (is_within<B>(a)) return distance(narrowed<B>(a), b);
        }
        return std::fabs(signed_magnitude(a) - signed_magnitude(b));
    }
}

template <bool equal>
struct Equivalence : Comparison {
    double tolerance;
    explicit Equivalence(const Setting& setting) : tolerance(setting.tolerance) {}

    template <class A, class B>
    [[gnu::always_inline]] auto exactly(const A& a, const B& b) const {
        if constexpr (Discrete<A, B>) {
            return (a == b) == equal;
        } else {
            const double apart = distance(a, b);
            if constexpr (equal)
                return apart < tolerance ? 1 - apart : 0.0;
            else
                return apart < tolerance ? apart : 1.0;
        }
    }

    // Stops at a stretch where a difference is within the tolerance and not 0, or is infinite or no number.
    template <class A, class B, Extent extent>
    requires(!is_hypercomplex<A> && !is_hypercomplex<B> && !Discrete<A, B>)  //
        VECTOR_CLONES static std::size_t
        truths(const void* left, const void* right, void* result, std::size_t n, const Setting& setting) {
        constexpr auto infinite = std::bit_cast<std::uint64_t>(std::numeric_limits<double>::infinity());
        auto* const c = static_cast<bool*>(result);
        if (!(setting.tolerance > 0)) {  // which no distance is below
            std::fill_n(c, n, !equal);
            return n;
        }
        const std::uint64_t within = std::bit_cast<std::uint64_t>(setting.tolerance) - 1;
        const auto* const a = static_cast<const A*>(left);
        const auto* const b = static_cast<const B*>(right);
        for (std::size_t at = 0; at < n; at += look_ahead) {
            const std::size_t end = std::min(at + look_ahead, n);
            // words of differences order as they do; that of none, less 1, is the greatest
            std::uint64_t near = std::numeric_limits<std::uint64_t>::max(), far = 0;
            for (std::size_t i = at; i < end; ++i) {
                const auto word =
                    std::bit_cast<std::uint64_t>(std::fabs(static_cast<double>(a[extent == left_single ? 0 : i]) -
                                                           static_cast<double>(b[extent == right_single ? 0 : i])));
                near = std::min(near, word - 1);
                far = std::max(far, word);
                c[i] = (word == 0) == equal;
            }
            if (near < within || far >= infinite) return at;
        }
        return n;
    }
};

// ---- identity

// To the bit, but that all numbers that are none are one; and an infinity is any that it is not above.
bool isident(double a, double b) {
    const bool infinite = std::isinf(a) && std::isinf(b);
    return a == b || (a != a && b != b) || (infinite && b <= a);
}

template <bool same>
struct Identity : Comparison {
    template <class A, class B>
    static bool exactly(const A& a, const B& b) {
        return is_identical(a, b) == same;
    }

    template <class A, class B>
    static bool is_identical(const A& a, const B& b) {
        if constexpr (Discrete<A, B>) {
            return a == b;
        } else if constexpr (std::is_same_v<A, B>) {
            const auto left = components_of(a), right = components_of(b);
            for (std::size_t k = 0; k < left.size(); ++k)
                if (!isident(left[k], right[k])) return false;
            return true;
        } else if constexpr (std::is_same_v<A, std::int64_t>) {
            return is_identical(static_cast<double>(a), b);
        } else if constexpr (std::is_same_v<B, std::int64_t>) {
            return is_identical(a, static_cast<double>(b));
        } else if constexpr (level_of<A> < level_of<B>) {
            return is_within<A>(b) && is_identical(a, narrowed<A>(b));
        } else {
            return is_within<B>(a) && is_identical(narrowed<B>(a), b);
        }
    }
};

}  // namespace

void less(DataElement*& sp, DataElement* cell) { arithmetic<Less>(sp, cell); }
void notgreater(DataElement*& sp, DataElement* cell) { arithmetic<NotGreater>(sp, cell); }
void notless(DataElement*& sp, DataElement* cell) { arithmetic<NotLess>(sp, cell); }
void greater(DataElement*& sp, DataElement* cell) { arithmetic<Greater>(sp, cell); }
void equivalent(DataElement*& sp, DataElement* cell) { arithmetic<Equivalence<true>>(sp, cell); }
void notequivalent(DataElement*& sp, DataElement* cell) { arithmetic<Equivalence<false>>(sp, cell); }
void identical(DataElement*& sp, DataElement* cell) { arithmetic<Identity<true>>(sp, cell); }
void notidentical(DataElement*& sp, DataElement* cell) { arithmetic<Identity<false>>(sp, cell); }

const DyadicVerb& less_verb = dyadic_verb<Less>;
const DyadicVerb& notgreater_verb = dyadic_verb<NotGreater>;
const DyadicVerb& notless_verb = dyadic_verb<NotLess>;
const DyadicVerb& greater_verb = dyadic_verb<Greater>;
const DyadicVerb& equivalent_verb = dyadic_verb<Equivalence<true>>;
const DyadicVerb& notequivalent_verb = dyadic_verb<Equivalence<false>>;
const DyadicVerb& identical_verb = dyadic_verb<Identity<true>>;
const DyadicVerb& notidentical_verb = dyadic_verb<Identity<false>>;

std::uint32_t less_literal(const DataElement& left, const DataElement& right, DataElement& result) {
    return plain_literal<Less>(left, right, result);
}
std::uint32_t notgreater_literal(const DataElement& left, const DataElement& right, DataElement& result) {
    return plain_literal<NotGreater>(left, right, result);
}
std::uint32_t notless_literal(const DataElement& left, const DataElement& right, DataElement& result) {
    return plain_literal<NotLess>(left, right, result);
}
std::uint32_t greater_literal(const DataElement& left, const DataElement& right, DataElement& result) {
    return plain_literal<Greater>(left, right, result);
}

}  // namespace ondrel
