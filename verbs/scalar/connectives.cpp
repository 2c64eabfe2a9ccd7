// AND, OR, NAND and NOR take the lesser or the greater of two degrees of truth; the STRONG ones add degrees up. On
// booleans both agree.
//
// Numbers meet component by component; what only the higher kind has comes out 0. Two integers or two characters that
// are both binary meet bit by bit, in the four plain verbs.
#include <algorithm>
#include <bit>

#include "numbers/magnitude.h"
#include "numbers/truth.h"
#include "verbs/scalar/dyadic.h"

namespace ondrel {
namespace {

// `Verb` brings of(x, y) for two degrees from 0 to 1 and, unless it is strong, bits(x, y) for two words.
template <class Verb>
struct Connective : Comparable {
    template <class A, class B>
    [[gnu::always_inline]] static auto exactly(const A& a, const B& b) {
        if constexpr (is_hypercomplex<A> || is_hypercomplex<B>) {
            using Result = std::conditional_t<(level_of<A> >= level_of<B>), A, B>;
            Components<Result> result{};
            const auto left = reals(a), right = reals(b);
            for (std::size_t k = 0; k < std::min(left.size(), right.size()); ++k) result[k] = degree(left[k], right[k]);
            return std::bit_cast<Result>(result);
        } else if constexpr (std::is_same_v<A, double> || std::is_same_v<B, double>) {
            return degree(reals(a)[0], reals(b)[0]);
        } else {
            return of_truths(is_true(a) != 0, is_true(b) != 0);
        }
    }

    // A whole number takes part as its truth, and a plain number as its first component.
    template <class Value>
    static auto reals(const Value& value) {
        if constexpr (is_hypercomplex<Value>)
            return components_of(value);
        else if constexpr (std::is_same_v<Value, double>)
            return std::array{value};
        else
            return std::array{static_cast<double>(is_true(value))};
    }

    // Of the plain verbs an operand that is absent makes the result absent.
    [[gnu::always_inline]] static double degree(double x, double y) {
        const double result = Verb::of(truth_degree(x), truth_degree(y));
        return by_bits && ((x != x) | (y != y)) ? x + y : result;
    }

    // What the degrees come to where both are 0 or 1, as bits.
    [[gnu::always_inline]] static bool of_truths(bool x, bool y) {
        constexpr bool neither = Verb::of(0, 0) != 0, right = Verb::of(0, 1) != 0, left = Verb::of(1, 0) != 0,
                       both = Verb::of(1, 1) != 0;
        return (neither & !x & !y) | (right & !x & y) | (left & x & !y) | (both & x & y);
    }

    [[gnu::always_inline]] static bool ordinary(const double* values, std::size_t n) {
        // As words, degrees lie between 0 and that of 1: the first bit tells of all else.
        constexpr auto one = std::bit_cast<std::uint64_t>(1.0);
        std::uint64_t outside = 0;
        for (std::size_t i = 0; i < n; ++i) {
            const auto word = std::bit_cast<std::uint64_t>(values[i]);
            outside |= word | (one - word);
        }
        return outside >> 63 == 0;
    }
    static double plain(double x, double y) { return Verb::of(x, y); }

    static constexpr bool both_binary(std::uint64_t left, std::uint64_t right) {
        return head_form(left) == form::binary && head_form(right) == form::binary && head_tag(left) == head_tag(right);
    }
    static constexpr std::uint64_t head(std::uint64_t left, std::uint64_t right, std::uint32_t tag) {
        if (tag == tag::integer && by_bits && both_binary(left, right)) return 0;
        return make_head(tag, tag == tag::integer ? form::boolean : form::logical);
    }

    static constexpr bool by_bits = requires { Verb::bits(std::uint64_t{}, std::uint64_t{}); };
    template <class A, class B>
    static constexpr bool special =
        by_bits&& std::is_same_v<A, B>&& takes<A, B> && !is_hypercomplex<A> && !std::is_same_v<A, double>;
    template <class A, class B>
    static DataElement special_item(const DataElement& left, const DataElement& right, const Setting&) {
        const A a = load<A>(left);
        const B b = load<B>(right);
        if (both_binary(left.head, right.head))
            return make_item(static_cast<A>(Verb::bits(static_cast<std::uint64_t>(a), static_cast<std::uint64_t>(b))),
                             make_head(left.tag, form::binary));
        return make_item(exactly(a, b), make_head(tag::integer, form::boolean));
    }
};

struct And : Connective<And> {
    static constexpr double of(double x, double y) { return x < y ? x : y; }
    static std::uint64_t bits(std::uint64_t x, std::uint64_t y) { return x & y; }
};
struct Or : Connective<Or> {
    static constexpr double of(double x, double y) { return x > y ? x : y; }
    static std::uint64_t bits(std::uint64_t x, std::uint64_t y) { return x | y; }
};
struct Nand : Connective<Nand> {
    static constexpr double of(double x, double y) { return 1 - And::of(x, y); }
    static std::uint64_t bits(std::uint64_t x, std::uint64_t y) { return ~(x & y); }
};
struct Nor : Connective<Nor> {
    static constexpr double of(double x, double y) { return 1 - Or::of(x, y); }
    static std::uint64_t bits(std::uint64_t x, std::uint64_t y) { return ~(x | y); }
};

struct StrongAnd : Connective<StrongAnd> {
    static constexpr double of(double x, double y) { return x + y >= 1 ? x + y - 1 : 0.0; }
};
struct StrongOr : Connective<StrongOr> {
    static constexpr double of(double x, double y) { return x + y >= 1 ? 1.0 : x + y; }
};
struct StrongNand : Connective<StrongNand> {
    static constexpr double of(double x, double y) { return x + y >= 1 ? 2 - (x + y) : 1.0; }
};
struct StrongNor : Connective<StrongNor> {
    static constexpr double of(double x, double y) { return x + y >= 1 ? 0.0 : 1 - (x + y); }
};

}  // namespace

void and_(DataElement*& sp, DataElement* cell) { dyadic<And>(sp, cell); }
void or_(DataElement*& sp, DataElement* cell) { dyadic<Or>(sp, cell); }
void nand(DataElement*& sp, DataElement* cell) { dyadic<Nand>(sp, cell); }
void nor(DataElement*& sp, DataElement* cell) { dyadic<Nor>(sp, cell); }
void strongand(DataElement*& sp, DataElement* cell) { dyadic<StrongAnd>(sp, cell); }
void strongor(DataElement*& sp, DataElement* cell) { dyadic<StrongOr>(sp, cell); }
void strongnand(DataElement*& sp, DataElement* cell) { dyadic<StrongNand>(sp, cell); }
void strongnor(DataElement*& sp, DataElement* cell) { dyadic<StrongNor>(sp, cell); }

const DyadicVerb& and_verb = dyadic_verb<And>;
const DyadicVerb& or_verb = dyadic_verb<Or>;
const DyadicVerb& nand_verb = dyadic_verb<Nand>;
const DyadicVerb& nor_verb = dyadic_verb<Nor>;
const DyadicVerb& strongand_verb = dyadic_verb<StrongAnd>;
const DyadicVerb& strongor_verb = dyadic_verb<StrongOr>;
const DyadicVerb& strongnand_verb = dyadic_verb<StrongNand>;
const DyadicVerb& strongnor_verb = dyadic_verb<StrongNor>;

}  // namespace ondrel
