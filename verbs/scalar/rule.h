// A scalar verb is a rule: what one item, or one pair of items, gives. This file makes the table of a verb out of its
// rule: for each pair of kinds the function for one pair of items and, where the kind of the result can be told
// beforehand, the loops over bare payloads. The frames (dyadic.h, monadic.h) do everything else.
//
// A dyadic rule is a struct, made from a Setting if it depends on one, with
//   takes<A, B>            whether the rule has a case for the two kinds; if not, missing<A, B> is the error
//   apply(a, b)            for two values of one kind, and for other pairs where they are more than widened ones;
//                          the result is a bare value, or an Either where its kind depends on the values
//   exactly(a, b)          optional: pairs that must not be widened first
//   head(left, right, tag) the head of a result of kind `tag`, from the operands' heads; 0 where it takes more than
//                          them, and the items must be looked at one by one
//   polar(a, b, forms)     optional: polar complex numbers with a rule of their own. Without it the verb works on the
//                          cartesian numbers, which have no marks
//   as_stored              optional: the verb takes the components of a polar number as they stand
//   special<A, B>          optional: pairs whose result is more than a value; special_item makes it, and must agree
//                          with the loops where the rule also takes the pair
//   loop<A, B, extent>     optional: for the pairs that it takes, a loop of its own
//   truths<A, B, extent>   optional, where results are degrees of truth: a loop that writes them in bytes as long as
//                          they are 0 or 1; where it stops all are written anew as words
//   ordinary(values, n)    optional, for two of one kind: the values are such that plain(a, b), which is faster, gives
//                          what apply gives; an integer, where that may give a real
//   Checked{strayed}.apply optional, for pairs whose right one is hypercomplex: what apply gives, faster, or a word
//                          `strayed` that has the sign bit; apply alone knows then, unless all values of the two are
//                          tame (numbers/words.h)
//   of_truths(x, y)        optional: what the verb says, as true or false, where all are that; reals or integers
//   refused                type bits of an operand that raise 17
#pragma once

#include <algorithm>
#include <concepts>

#include "data/system_variables.h"
#include "numbers/words.h"
#include "verbs/scalar/clones.h"
#include "verbs/scalar/items.h"

namespace ondrel {

struct Forms {
    bool left_polar, right_polar;
};

using ScalarVerb = void(DataElement*& sp, DataElement* cell);

// ---- tables

using DyadicItem = DataElement (*)(const DataElement& left, const DataElement& right, const Setting& setting);

// A loop over n pairs of bare values. Returns how many results it wrote: fewer than n when the next one would be of
// another kind. The result may be the very payload of an operand.
using DyadicLoop = std::size_t (*)(const void* left, const void* right, void* result, std::size_t n,
                                   const Setting& setting);

// Which operand is one value that pairs with every item of the other.
enum Extent : std::size_t { neither_single, left_single, right_single, extents };

struct DyadicKinds {
    DyadicItem item = nullptr;
    std::uint64_t (*head)(std::uint64_t left, std::uint64_t right, std::uint32_t tag) = nullptr;
    struct {
        std::uint32_t tag = 0;  // the kind of the result; 0: no loop
        std::size_t width = 0;  // of a result
        bool whole = false;     // never stops: all that the values decide is the results' own values
        std::array<DyadicLoop, extents> by_extent{};
    } loops[2];
};

struct DyadicVerb {
    std::uint32_t refused = 0;
    bool takes_setting = false;  // the rule is made from a Setting
    DyadicKinds of_truths{};     // with a loop if both operands can be truths in bytes, and the results then too
    std::array<std::array<DyadicKinds, kinds>, kinds> pairs{};
};

// ---- from rule to table

// One pair by the rule, the lower kind widened where the rule has no case for the two as they are. An integer meets
// another kind as a real, unless the rule takes that pair itself.
template <class Rule, class A, class B>
[[gnu::always_inline]] inline auto combine(const Rule& rule, const A& a, const B& b) {
    if constexpr (requires { rule.exactly(a, b); })
        return rule.exactly(a, b);
    else if constexpr (std::is_same_v<A, B>)
        return rule.apply(a, b);
    else if constexpr (std::is_same_v<A, std::int64_t>)
        return combine(rule, static_cast<double>(a), b);
    else if constexpr (std::is_same_v<B, std::int64_t>)
        return combine(rule, a, static_cast<double>(b));
    else if constexpr (requires { rule.apply(a, b); })
        return rule.apply(a, b);
    else if constexpr (level_of<A> < level_of<B>)
        return rule.apply(widen<B>(a), b);
    else
        return rule.apply(a, widen<A>(b));
}

template <class Rule, class A, class B>
using Combined = decltype(combine(std::declval<Rule>(), std::declval<A>(), std::declval<B>()));

// ---- one pair

template <class Rule, class A, class B>
DataElement pair_item(const DataElement& left, const DataElement& right, const Setting& setting) {
    const Rule rule = rule_in<Rule>(setting);
    A a = load<A>(left);
    B b = load<B>(right);
    // Where polar numbers have a rule, an integer meets them as a real.
    const auto real = [](const auto& value) {
        if constexpr (std::is_same_v<decltype(value), const std::int64_t&>)
            return static_cast<double>(value);
        else
            return value;
    };
    const auto head = [&](std::uint32_t tag) { return rule.head(left.head, right.head, tag); };
    if constexpr ((is_hypercomplex<A> || is_hypercomplex<B>)&&!requires { Rule::as_stored; }) {
        const Forms forms{is_polar(left.head), is_polar(right.head)};
        if (forms.left_polar || forms.right_polar) {
            if constexpr (requires { rule.polar(real(a), real(b), forms); }) {
                return result_item(rule.polar(real(a), real(b), forms), head);
            } else {
                if (forms.left_polar) a = to_cartesian(a);
                if (forms.right_polar) b = to_cartesian(b);
                const auto cartesian = [](std::uint64_t of) { return make_head(head_tag(of), form::number); };
                return result_item(combine(rule, a, b), [&](std::uint32_t tag) {
                    return rule.head(cartesian(left.head), cartesian(right.head), tag);
                });
            }
        }
    }
    return result_item(combine(rule, a, b), head);
}

template <int error>
DataElement refuse_pair(const DataElement&, const DataElement&, const Setting& setting) {
    raise(error, setting.site);
}

// ---- two plain scalars: the usual case of a loop or a function, without a table or a call

inline constexpr std::uint64_t plain_integer = make_head(tag::integer, form::number),
                               plain_real = make_head(tag::real, form::number);

inline bool is_plain_number(std::uint64_t head) { return head == plain_integer || head == plain_real; }

// Gives a plain scalar an item that nobody else holds. Apart from the verbs, whose usual road is shorter without it.
DataElement* separate_item(DataElement& scalar);

// The type is written only where it changes: the next verb may copy the record, and would wait for the word.
inline void set_type(DataElement& record, std::uint32_t type) {
    if (record.type != type) [[unlikely]]
        record.type = type;
}
// Puts the result into the item, and gives the type of a scalar record with it. The head follows from the rule alone,
// as both operands are plain.
template <class Rule, class Result>
inline std::uint32_t put_plain(const Rule& rule, DataElement& item, const Result& result) {
    if constexpr (is_either<Result>) {
        return result.usual ? put_plain(rule, item, result.value) : put_plain(rule, item, result.other);
    } else {
        item.head = rule.head(plain_real, plain_real, tag_of<Result>);
        put_value(item, result);
        return ISSCALAR | kind_bits(tag_of<Result>);
    }
}

// A rule for plain numbers that have no frame around them.
template <class Rule>
inline Rule bare_rule() {
    if constexpr (std::is_constructible_v<Rule, const Setting&>)
        return Rule(Setting{.site = {}, .tolerance = tolerance()});
    else
        return Rule{};
}

// Runs an arithmetic rule on two plain items of the same kind; `result` may be one of them. The type of a scalar record
// with the result; 0, with nothing done, if they are not that.
template <class Rule>
std::uint32_t plain_literal(const DataElement& left, const DataElement& right, DataElement& result) {
    if (left.head != right.head || !is_plain_number(right.head)) return 0;
    const auto run = [&](auto a, auto b) {
        const Rule rule = bare_rule<Rule>();
        return put_plain(rule, result, combine(rule, a, b));
    };
    return right.head == plain_integer ? run(left.integer, right.integer) : run(left.real, right.real);
}

// Runs an arithmetic rule on the two records at `sp` if both are plain integers or both plain reals, scalars untouched
// by chance. False, with nothing done, if they are not.
template <class Rule>
inline bool plain_scalars(DataElement*& sp) {
    DataElement& left = sp[-1];
    if (left.type != sp->type || (left.type != (ISSCALAR | HASINTEGER) && left.type != (ISSCALAR | HASREAL)))
        return false;
    DataElement *l = items_of(left), *const r = items_of(*sp);
    if (l->head != r->head || !is_plain_number(r->head) || l == r) return false;
    if (!sole_holder_alone(l) && !sole_holder_alone(r)) l = separate_item(left);
    const auto run = [&](auto a, auto b) {
        const Rule rule = bare_rule<Rule>();
        const auto value = combine(rule, a, b);
        const bool goes_left = sole_holder_alone(l);
        left.data_pointer = goes_left ? l : r;
        set_type(left, put_plain(rule, *items_of(left), value));
        --sp;
        release_alone(goes_left ? r : l);
        return true;
    };
    return r->head == plain_integer ? run(l->integer, r->integer) : run(l->real, r->real);
}

// ---- loops

// Items that a loop looks at ahead of computing them: few enough to be in the nearest cache still.
inline constexpr std::size_t look_ahead = 256;

// Plain numbers as reals: where they lie, or, of integers, in `room`, which may be where the results go.
inline const double* as_reals(const double* values, double*, std::size_t) { return values; }
inline const double* as_reals(const std::int64_t* values, double* room, std::size_t n) {
    std::transform(values, values + n, room, [](std::int64_t value) { return static_cast<double>(value); });
    return room;
}

template <class Rule, class A, class B>
concept HasPlain = std::same_as<A, B> && requires(const A* values) {
    Rule::ordinary(values, std::size_t{});
};

template <class Rule, class A>
concept HasChecked = is_hypercomplex<A> && requires {
    typename Rule::Checked;
};
template <class Value>
[[gnu::always_inline]] inline bool is_tame(const Value* values, std::size_t n) {
    if constexpr (std::is_same_v<Value, std::int64_t>)
        return true;
    else
        return all_tame(reinterpret_cast<const double*>(values), n * sizeof(Value) / sizeof(double));
}

// Whether `plain` will do for the n pairs from `at` on.
template <class Rule, Extent extent, class A>
[[gnu::always_inline]] inline bool ordinary(const A* a, const A* b, std::size_t at, std::size_t n) {
    return Rule::ordinary(extent == left_single ? a : a + at, extent == left_single ? 1 : n) &&
           Rule::ordinary(extent == right_single ? b : b + at, extent == right_single ? 1 : n);
}

// Values that a loop takes back if they have strayed. They are few: those of the operands are kept aside where the
// results go in their place.
template <class... Values>
inline constexpr std::size_t checked_at_once = 16384 / std::max({sizeof(Values)...});
template <class Value>
[[gnu::always_inline]] inline const Value* kept_aside(const Value* values, const void* result, std::size_t n,
                                                      Value* room) {
    return values == result ? std::copy_n(values, n, room) - n : values;
}

// Runs `quick(i, strayed)` for the results at c, and `slow(i)` for all of them if any has strayed, unless they may all
// the same.
template <class R, class Quick, class May, class Slow>
[[gnu::always_inline]] inline void take_checked(R* c, std::size_t n, const Quick& quick, const May& may,
                                                const Slow& slow) {
    Word any = 0;
#pragma GCC ivdep
    for (std::size_t i = 0; i < n; ++i) {
        Word strayed = 0;
        c[i] = quick(i, strayed);
        any |= strayed;
    }
    if (!has_sign(any) || may()) [[likely]]
        return;
    for (std::size_t i = 0; i < n; ++i) c[i] = slow(i);
}

// One after the other, as vector code: the result may be an operand, item for item.
template <class Rule, bool by_plain, Extent extent, class A, class B, class R>
[[gnu::always_inline]] inline void each(const Rule& rule, const A* a, const B* b, R* c, std::size_t at,
                                        std::size_t end) {
    const A one_a = a[0];
    const B one_b = b[0];
#pragma GCC ivdep
    for (std::size_t i = at; i < end; ++i) {
        const A& left = extent == left_single ? one_a : a[i];
        const B& right = extent == right_single ? one_b : b[i];
        if constexpr (by_plain)
            c[i] = rule.plain(left, right);
        else
            c[i] = combine(rule, left, right);
    }
}

template <class Rule, class A, class B, class R, Extent extent>
VECTOR_CLONES std::size_t fixed_loop(const void* left, const void* right, void* result, std::size_t n,
                                     const Setting& setting) {
    const Rule rule = rule_in<Rule>(setting);
    const auto* const a = static_cast<const A*>(left);
    const auto* const b = static_cast<const B*>(right);
    auto* const c = static_cast<R*>(result);
    if constexpr (HasPlain<Rule, A, B>) {
        for (std::size_t at = 0; at < n; at += look_ahead) {
            const std::size_t end = std::min(at + look_ahead, n);
            if (ordinary<Rule, extent>(a, b, at, end - at))
                each<Rule, true, extent>(rule, a, b, c, at, end);
            else
                each<Rule, false, extent>(rule, a, b, c, at, end);
        }
    } else if constexpr (HasChecked<Rule, B>) {
        constexpr std::size_t at_once = checked_at_once<A, B>, lefts = extent == left_single ? 1 : at_once,
                              rights = extent == right_single ? 1 : at_once;
        A left_room[lefts];
        B right_room[rights];
        left_room[0] = a[0];
        right_room[0] = b[0];
        for (std::size_t at = 0; at < n; at += at_once) {
            const std::size_t m = std::min(at_once, n - at);
            const A* const l = extent == left_single ? left_room : kept_aside(a + at, c + at, m, left_room);
            const B* const r = extent == right_single ? right_room : kept_aside(b + at, c + at, m, right_room);
            const auto pair = [=](const auto& by, std::size_t i) {
                return combine(by, l[extent == left_single ? 0 : i], r[extent == right_single ? 0 : i]);
            };
            take_checked(
                c + at, m, [&](std::size_t i, Word& strayed) { return pair(typename Rule::Checked{strayed}, i); },
                [=] { return is_tame(l, std::min(lefts, m)) && is_tame(r, std::min(rights, m)); },
                [&](std::size_t i) { return pair(rule, i); });
        }
    } else {
        each<Rule, false, extent>(rule, a, b, c, 0, n);
    }
    return n;
}

// Results of one of the two kinds of an Either, up to the first that is of the other one.
template <class Rule, class A, class B, class Usual, class Other, bool usual, Extent extent>
VECTOR_CLONES std::size_t varying_loop(const void* left, const void* right, void* result, std::size_t n,
                                       const Setting& setting) {
    const Rule rule = rule_in<Rule>(setting);
    const auto* const a = static_cast<const A*>(left);
    const auto* const b = static_cast<const B*>(right);
    auto* const c = static_cast<std::conditional_t<usual, Usual, Other>*>(result);
    for (std::size_t at = 0; at < n;) {
        const std::size_t end = std::min(at + look_ahead, n);
        if constexpr (HasPlain<Rule, A, B> && usual) {
            if (ordinary<Rule, extent>(a, b, at, end - at)) {
                each<Rule, true, extent>(rule, a, b, c, at, end);
                at = end;
                continue;
            }
        }
        for (; at < end; ++at) {
            const auto value = combine(rule, a[extent == left_single ? 0 : at], b[extent == right_single ? 0 : at]);
            if (value.usual != usual) return at;
            if constexpr (usual)
                c[at] = value.value;
            else
                c[at] = value.other;
        }
    }
    return n;
}

// Of truths in bytes.
template <class Rule>
VECTOR_CLONES std::size_t truths_loop(const void* left, const void* right, void* result, std::size_t n,
                                      const Setting&) {
    const auto* const a = static_cast<const std::uint8_t*>(left);
    const auto* const b = static_cast<const std::uint8_t*>(right);
    auto* const c = static_cast<bool*>(result);
#pragma GCC ivdep
    for (std::size_t i = 0; i < n; ++i) c[i] = Rule::of_truths(a[i] != 0, b[i] != 0);
    return n;
}

template <class Rule, class A, class B>
concept HasLoop = requires {
    &Rule::template loop<A, B, neither_single>;
};

template <class Rule, class A, class B>
constexpr DyadicKinds kinds_of_pair() {
    DyadicKinds entry;
    if constexpr (requires { requires Rule::template special<A, B>; })
        entry.item = Rule::template special_item<A, B>;
    else if constexpr (Rule::template takes<A, B>)
        entry.item = pair_item<Rule, A, B>;
    else
        entry.item = refuse_pair<Rule::template missing<A, B>>;
    if constexpr (Rule::template takes<A, B>) {
        using Result = Combined<Rule, A, B>;
        entry.head = Rule::head;
        auto& [usual, other] = entry.loops;
        [&]<std::size_t... extent>(std::index_sequence<extent...>) {
            if constexpr (is_either<Result>) {
                using Usual = decltype(Result::value);
                using Other = decltype(Result::other);
                usual = {tag_of<Usual>,
                         sizeof(Usual),
                         false,
                         {varying_loop<Rule, A, B, Usual, Other, true, Extent{extent}>...}};
                other = {tag_of<Other>,
                         sizeof(Other),
                         false,
                         {varying_loop<Rule, A, B, Usual, Other, false, Extent{extent}>...}};
            } else {
                usual = {tag_of<Result>, sizeof(Result), true, {fixed_loop<Rule, A, B, Result, Extent{extent}>...}};
            }
            if constexpr (HasLoop<Rule, A, B>) {
                usual.whole = false;
                usual.by_extent = {Rule::template loop<A, B, Extent{extent}>...};
            }
            if constexpr (requires { &Rule::template truths<A, B, neither_single>; }) {
                other = usual;
                usual = {usual.tag, 1, false, {Rule::template truths<A, B, Extent{extent}>...}};
            }
        }
        (std::make_index_sequence<extents>{});
    }
    return entry;
}

template <class Rule>
constexpr DyadicVerb make_dyadic() {
    DyadicVerb verb{Rule::refused, std::is_constructible_v<Rule, const Setting&>, {}, {}};
    if constexpr (requires { Rule::of_truths(true, true); })
        verb.of_truths.loops[0] = {tag::integer, 1, true, {truths_loop<Rule>}};
    [&]<std::size_t... cell>(std::index_sequence<cell...>) {
        ((verb.pairs[cell / kinds][cell % kinds] = kinds_of_pair<Rule, KindAt<cell / kinds>, KindAt<cell % kinds>>()),
         ...);
    }
    (std::make_index_sequence<kinds * kinds>{});
    return verb;
}

// ---- what the arithmetic verbs share

// Whether the test holds for none of n values of eight bytes. What it says is gathered in words that are as wide, so
// that it is vector code; it should have no branch.
template <class Value, class Test>
[[gnu::always_inline]] inline bool none_of(const Value* values, std::size_t n, const Test& test) {
    static_assert(sizeof(Value) == sizeof(std::uint64_t));
    std::uint64_t any = 0;
    for (std::size_t i = 0; i < n; ++i) any |= static_cast<std::uint64_t>(test(values[i]));
    return any == 0;
}

// Whether all n integers lie within so many bits. One pass that ORs, so that it is vector code.
template <unsigned bits>
[[gnu::always_inline]] inline bool all_small(const std::int64_t* values, std::size_t n) {
    std::uint64_t wide = 0;
    for (std::size_t i = 0; i < n; ++i) wide |= static_cast<std::uint64_t>(values[i]) + (std::uint64_t{1} << bits);
    return wide >> (bits + 1) == 0;
}

// Computed integers, reals, quaternions and octonions are plain numbers. A complex result keeps the form and marks of
// its complex operand, the left one if both are, without the named and hidden marks.
constexpr std::uint64_t arithmetic_head(std::uint64_t left, std::uint64_t right, std::uint32_t tag) {
    if (tag != tag::complex) return make_head(tag, form::number);
    const std::uint64_t giver = head_tag(left) == tag::complex ? left : right;
    return make_head(tag, head_form(giver), kept_marks(giver));
}

// The parts of a rule that say which pairs it goes for: numbers of any two kinds, and them alone; such up to the
// complex ones; numbers, or two characters.
struct Arithmetic {
    static constexpr std::uint32_t refused = HASASCII | HASUNICODE | ISADDRESS;
    template <class A, class B>
    static constexpr bool takes = both_numbers<A, B>;
    template <class A, class B>
    static constexpr int missing = message::incompatible_kinds;
    static constexpr auto head = arithmetic_head;
};
struct UpToComplex : Arithmetic {
    template <class A, class B>
    static constexpr bool takes =
        both_numbers<A, B>&& level_of<A> <= level_of<Complex>&& level_of<B> <= level_of<Complex>;
    template <class A, class B>
    static constexpr int missing = both_numbers<A, B> ? message::restriction : message::incompatible_kinds;
};
struct Comparable {
    static constexpr std::uint32_t refused = ISADDRESS;
    template <class A, class B>
    static constexpr bool both_ascii = std::is_same_v<A, std::uint8_t>&& std::is_same_v<B, std::uint8_t>;
    template <class A, class B>
    static constexpr bool takes = both_numbers<A, B> || both_ascii<A, B>;
    template <class A, class B>
    static constexpr int missing =
        std::is_same_v<A, Unicode> || std::is_same_v<B, Unicode> ? message::restriction : message::incompatible_kinds;
};

}  // namespace ondrel
