// MINIMUM and MAXIMUM. The result is one of the two items as it stands, but for an integer that meets a real: that
// pair gives a real. Hypercomplex numbers are ordered by their signed magnitude.
#include "numbers/magnitude.h"
#include "verbs/scalar/dyadic.h"

namespace ondrel {
namespace {

template <class Value>
double order_of(const DataElement& item) {
    const Value value = load<Value>(item);
    return signed_magnitude(is_polar(item.head) ? to_cartesian(value) : value);
}

template <bool greatest>
struct Extreme {
    // `a` goes before `b`.
    template <class Value>
    static bool wins(const Value& a, const Value& b) {
        return greatest ? a > b : a < b;
    }

    static constexpr std::uint32_t refused = ISADDRESS;
    template <class A, class B>
    static constexpr bool plain_numbers = both_numbers<A, B>&& level_of<A> <= 1 && level_of<B> <= 1;
    template <class A, class B>
    static constexpr bool characters = std::is_same_v<A, std::uint8_t>&& std::is_same_v<B, std::uint8_t>;
    template <class A, class B>
    static constexpr bool takes = plain_numbers<A, B> || characters<A, B>;
    // Only MINIMUM orders quaternions.
    static constexpr int highest = greatest ? level_of<Complex> : level_of<Quaternion>;
    template <class A, class B>
    static constexpr bool special = takes<A, B> ||
                                    (both_numbers<A, B> && level_of<A> <= highest && level_of<B> <= highest);
    template <class A, class B>
    static constexpr int missing =
        both_numbers<A, B> || std::is_same_v<A, Unicode> || std::is_same_v<B, Unicode> ? message::restriction
                                                                                       : message::incompatible_kinds;

    template <class Value>
    static Value apply(Value a, Value b) {
        return wins(a, b) ? a : b;
    }

    static constexpr std::uint64_t unnamed(std::uint64_t head) { return head & ~(std::uint64_t{mark::named} << 48); }

    // Loops can only tell the form of the winner where both have the same.
    static constexpr std::uint64_t head(std::uint64_t left, std::uint64_t right, std::uint32_t tag) {
        if (unnamed(left) >> 32 != unnamed(right) >> 32) return 0;
        return make_head(tag, head_form(left), head_marks(unnamed(left)));
    }

    // A copy of the winner. A higher kind wins against a lower one only outright; of two of one kind the right one
    // wins a tie.
    template <class A, class B>
    static DataElement special_item(const DataElement& left, const DataElement& right, const Setting&) {
        if constexpr (takes<A, B>) {
            using Common = std::conditional_t<std::is_same_v<A, B>, A, double>;
            const auto a = static_cast<Common>(load<A>(left)), b = static_cast<Common>(load<B>(right));
            const std::uint64_t head = unnamed((wins(a, b) ? left : right).head);
            return make_item(apply(a, b), make_head(tag_of<Common>, head_form(head), head_marks(head)));
        } else {
            const double l = order_of<A>(left), r = order_of<B>(right);
            DataElement item = (level_of<A> >= level_of<B> ? wins(l, r) : !wins(r, l)) ? left : right;
            if (item.tag != tag::quaternion) item.name = nullptr;
            item.head = unnamed(item.head);
            return item;
        }
    }
};

}  // namespace

void minimum(DataElement*& sp, DataElement* cell) { dyadic<Extreme<false>>(sp, cell); }
void maximum(DataElement*& sp, DataElement* cell) { dyadic<Extreme<true>>(sp, cell); }

const DyadicVerb& minimum_verb = dyadic_verb<Extreme<false>>;
const DyadicVerb& maximum_verb = dyadic_verb<Extreme<true>>;

}  // namespace ondrel
