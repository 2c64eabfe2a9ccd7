// A scalar verb is a rule: what one item, or one pair of items, gives. This file makes the table of a verb out of its
// rule: for each pair of kinds the function for one pair of items and, where the kind of the result can be told
// beforehand, the loops over bare payloads. The frames (dyadic.h, monadic.h) do everything else.
//
// A dyadic rule is a struct with
//   takes<A, B>            whether the rule has a case for the two kinds; if not, missing<A, B> is the error
//   apply(a, b)            for two values of one kind, and for other pairs where they are more than widened ones;
//                          the result is a bare value, or an IntegerOrReal where its kind depends on the values
//   exactly(a, b)          optional: a pair with an integer that must not be widened first
//   head(left, right, tag) the head of a result of kind `tag`, from the operands' heads
//   polar(a, b, forms)     optional: polar complex numbers with a rule of their own. Without it the verb works on the
//                          cartesian numbers and gives a result of form 8
//   special<A, B>          optional: pairs whose result is more than a value; special_item makes it, and must agree
//                          with the loops where the rule also takes the pair
//   ordinary(values, n)    optional, for two of one kind: the values are such that plain(a, b), which is faster, gives
//                          what apply gives; an integer, where that may give a real
//   refused                type bits of an operand that raise 17
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <concepts>
#include <cstddef>
#include <cstring>
#include <tuple>
#include <type_traits>
#include <utility>

#include "data/blocks.h"
#include "data/errors.h"
#include "numbers/kinds.h"
#include "numbers/polar.h"
#include "verbs/scalar/clones.h"

namespace ondrel {

// ---- values and items

struct IntegerOrReal {
    bool is_integer;
    std::int64_t integer;
    double real;
};

inline IntegerOrReal as_integer(std::int64_t value) { return {true, value, 0}; }
inline IntegerOrReal as_real(double value) { return {false, 0, value}; }

// The kinds that have rules, in the order of the tables' rows: ascii, unicode, integer, real, complex, quaternion,
// octonion, by tag from 2 to 8.
inline constexpr std::size_t kinds = 7;
constexpr std::size_t kind_index(std::uint32_t tag) { return tag - tag::ascii; }

struct Unicode {
    std::uint16_t code;
};
using Kinds = std::tuple<std::uint8_t, Unicode, std::int64_t, double, Complex, Quaternion, Octonion>;
template <std::size_t index>
using KindAt = std::tuple_element_t<index, Kinds>;

template <class Value>
inline constexpr std::uint32_t tag_of = static_cast<std::uint32_t>(level_of<Value> + tag::integer);
template <>
inline constexpr std::uint32_t tag_of<std::uint8_t> = tag::ascii;

// Where the bare value of an item lies.
inline const void* value_of(const DataElement& item) {
    switch (item.tag) {
        case tag::ascii: return &item.ascii;
        case tag::complex: return item.complex;
        case tag::quaternion: return item.quaternion;
        case tag::octonion: return item.octonion;
        default: return &item.integer;
    }
}

template <class Value>
Value load(const DataElement& item) {
    Value value;
    std::memcpy(&value, value_of(item), sizeof value);
    return value;
}

// An item of its own; an octonion takes a fresh block.
template <class Value>
DataElement make_item(const Value& value, std::uint64_t head) {
    DataElement item{};
    item.head = head;
    if constexpr (std::is_same_v<Value, Octonion>) {
        item.octonion = allocate_octonion(value.c);
    } else {
        std::memcpy(const_cast<void*>(value_of(item)), &value, sizeof value);
    }
    return item;
}

constexpr bool is_polar(std::uint64_t head) { return head_form(head) == form::polar && head_tag(head) >= tag::complex; }

// A hypercomplex value through the conversion of its kind; a plain number is its own in either form.
template <auto of_complex, auto of_quaternion, auto of_octonion, class Value>
Value converted(const Value& value) {
    if constexpr (level_of<Value> < level_of<Complex>) {
        return value;
    } else {
        constexpr auto convert = std::is_same_v<Value, Complex>      ? of_complex
                                 : std::is_same_v<Value, Quaternion> ? of_quaternion
                                                                     : of_octonion;
        auto components = std::bit_cast<std::array<double, sizeof(Value) / sizeof(double)>>(value);
        convert(components.data(), components.data());
        return std::bit_cast<Value>(components);
    }
}

template <class Value>
Value to_cartesian(const Value& value) {
    return converted<cartesiancomplex, cartesianquat, cartesianocto>(value);
}

template <class Value>
Value to_polar(const Value& value) {
    return converted<polarcomplex, polarquat, polarocto>(value);
}

struct Forms {
    bool left_polar, right_polar;
};

// ---- tables

using DyadicItem = DataElement (*)(const DataElement& left, const DataElement& right, Site site);

// A loop over n pairs of bare values. Returns how many results it wrote: fewer than n when the next one would be of
// another kind. The result may be the very payload of an operand.
using DyadicLoop = std::size_t (*)(const void* left, const void* right, void* result, std::size_t n);

// Which operand is one value that pairs with every item of the other.
enum Extent : std::size_t { neither_single, left_single, right_single, extents };

struct DyadicKinds {
    DyadicItem item = nullptr;
    std::uint64_t (*head)(std::uint64_t left, std::uint64_t right, std::uint32_t tag) = nullptr;
    bool fixed = false;  // the kind of the result does not depend on the values
    struct {
        std::uint32_t tag = 0;  // the kind of the result; 0: no loop
        std::array<DyadicLoop, extents> by_extent{};
    } loops[2];
};

struct DyadicVerb {
    std::uint32_t refused = 0;
    std::array<std::array<DyadicKinds, kinds>, kinds> pairs{};
};

// ---- from rule to table

// One pair by the rule, the lower kind widened where the rule has no case for the two as they are. An integer meets
// another kind as a real, unless the rule takes that pair itself.
template <class Rule, class A, class B>
auto combine(A a, B b) {
    if constexpr (requires { Rule::exactly(a, b); })
        return Rule::exactly(a, b);
    else if constexpr (std::is_same_v<A, B>)
        return Rule::apply(a, b);
    else if constexpr (std::is_same_v<A, std::int64_t>)
        return combine<Rule>(static_cast<double>(a), b);
    else if constexpr (std::is_same_v<B, std::int64_t>)
        return combine<Rule>(a, static_cast<double>(b));
    else if constexpr (requires { Rule::apply(a, b); })
        return Rule::apply(a, b);
    else if constexpr (level_of<A> < level_of<B>)
        return Rule::apply(widen<B>(a), b);
    else
        return Rule::apply(a, widen<A>(b));
}

template <class Rule, class A, class B>
using Combined = decltype(combine<Rule>(std::declval<A>(), std::declval<B>()));

// ---- one pair

template <class Rule, class A, class B>
DataElement pair_item(const DataElement& left, const DataElement& right, Site) {
    A a = load<A>(left);
    B b = load<B>(right);
    // Where polar numbers have a rule, an integer meets them as a real.
    const auto real = [](const auto& value) {
        if constexpr (std::is_same_v<decltype(value), const std::int64_t&>)
            return static_cast<double>(value);
        else
            return value;
    };
    if constexpr (level_of<A> >= level_of<Complex> || level_of<B> >= level_of<Complex>) {
        const Forms forms{is_polar(left.head), is_polar(right.head)};
        if (forms.left_polar || forms.right_polar) {
            if constexpr (requires { Rule::polar(real(a), real(b), forms); }) {
                return make_item(Rule::polar(real(a), real(b), forms), Rule::head(left.head, right.head, tag::complex));
            } else {
                if (forms.left_polar) a = to_cartesian(a);
                if (forms.right_polar) b = to_cartesian(b);
                const auto result = combine<Rule>(a, b);
                return make_item(result, make_head(tag_of<std::remove_const_t<decltype(result)>>, form::number));
            }
        }
    }
    const auto result = combine<Rule>(a, b);
    if constexpr (std::is_same_v<Combined<Rule, A, B>, IntegerOrReal>)
        return result.is_integer ? make_item(result.integer, Rule::head(left.head, right.head, tag::integer))
                                 : make_item(result.real, Rule::head(left.head, right.head, tag::real));
    else
        return make_item(result, Rule::head(left.head, right.head, tag_of<Combined<Rule, A, B>>));
}

template <int error>
DataElement refuse_pair(const DataElement&, const DataElement&, Site site) {
    raise(error, site);
}

// ---- two plain scalars: the usual case of a loop or a function, without a table or a call

inline constexpr std::uint64_t plain_integer = make_head(tag::integer, form::number),
                               plain_real = make_head(tag::real, form::number);

// The item that two scalars leave their result in: one that nobody else holds, else a fresh one. Their own references
// are used up.
inline DataElement* result_of(DataElement* left, DataElement* right) {
    std::int64_t& holders = header(left).count;
    if (holders == 1) {
        release(right);
        return left;
    }
    if (sole_holder(right)) {
        --holders;
        return right;
    }
    DataElement* const fresh = allocate_items(1);
    --holders;
    release(right);
    fresh->name = nullptr;
    return fresh;
}

// The type is written only where it changes: the next verb may copy the record, and would wait for the word.
inline void set_type(DataElement& record, std::uint32_t type) {
    if (record.type != type) [[unlikely]]
        record.type = type;
}
inline void put_plain(DataElement& item, DataElement& record, std::int64_t value) {
    item.head = plain_integer;
    item.integer = value;
    set_type(record, ISSCALAR | HASINTEGER);
}
inline void put_plain(DataElement& item, DataElement& record, double value) {
    item.head = plain_real;
    item.real = value;
    set_type(record, ISSCALAR | HASREAL);
}
inline void put_plain(DataElement& item, DataElement& record, IntegerOrReal value) {
    if (value.is_integer)
        put_plain(item, record, value.integer);
    else
        put_plain(item, record, value.real);
}

// Runs an arithmetic rule on a plain scalar and a plain item of the same kind that stays as it is. False, with nothing
// done, if they are not that.
template <class Rule>
bool plain_literal(DataElement& left, const DataElement& right) {
    DataElement* const l = items_of(left);
    if (l->head != right.head) return false;
    const auto run = [&]<class Value>(Value a, Value b) {
        const auto value = Rule::apply(a, b);
        DataElement* item = l;
        if (!sole_holder(l)) {
            item = allocate_items(1);
            item->name = nullptr;
            release(l);
            left.data_pointer = item;
        }
        put_plain(*item, left, value);
        return true;
    };
    if (l->head == plain_integer) return run(l->integer, right.integer);
    return l->head == plain_real && run(l->real, right.real);
}

// Runs an arithmetic rule on the two records at `sp` if both are plain integers or both plain reals, scalars untouched
// by chance. False, with nothing done, if they are not.
template <class Rule>
inline bool plain_scalars(DataElement*& sp) {
    DataElement& left = sp[-1];
    if (left.type != sp->type || (left.type != (ISSCALAR | HASINTEGER) && left.type != (ISSCALAR | HASREAL)))
        return false;
    DataElement *const l = items_of(left), *const r = items_of(*sp);
    if (l->head != r->head || l == r) return false;
    const auto run = [&]<class Value>(Value a, Value b) {
        const auto value = Rule::apply(a, b);
        left.data_pointer = result_of(l, r);
        put_plain(*items_of(left), left, value);
        --sp;
        return true;
    };
    if (l->head == plain_integer) return run(l->integer, r->integer);
    return l->head == plain_real && run(l->real, r->real);
}

// ---- loops

// Items that a loop looks at ahead of computing them: few enough to be in the nearest cache still.
inline constexpr std::size_t look_ahead = 256;

template <class Rule, class A, class B>
concept HasPlain = std::same_as<A, B> && requires(const A* values) {
    Rule::ordinary(values, std::size_t{});
};

// Whether `plain` will do for the n pairs from `at` on.
template <class Rule, Extent extent, class A>
[[gnu::always_inline]] inline bool ordinary(const A* a, const A* b, std::size_t at, std::size_t n) {
    return Rule::ordinary(extent == left_single ? a : a + at, extent == left_single ? 1 : n) &&
           Rule::ordinary(extent == right_single ? b : b + at, extent == right_single ? 1 : n);
}

// One after the other, as vector code: the result may be an operand, item for item.
template <class Rule, bool by_plain, Extent extent, class A, class B, class R>
[[gnu::always_inline]] inline void each(const A* a, const B* b, R* c, std::size_t at, std::size_t end) {
    const A one_a = a[0];
    const B one_b = b[0];
#pragma GCC ivdep
    for (std::size_t i = at; i < end; ++i) {
        const A& left = extent == left_single ? one_a : a[i];
        const B& right = extent == right_single ? one_b : b[i];
        if constexpr (by_plain)
            c[i] = Rule::plain(left, right);
        else
            c[i] = combine<Rule>(left, right);
    }
}

template <class Rule, class A, class B, class R, Extent extent>
VECTOR_CLONES std::size_t fixed_loop(const void* left, const void* right, void* result, std::size_t n) {
    const auto* const a = static_cast<const A*>(left);
    const auto* const b = static_cast<const B*>(right);
    auto* const c = static_cast<R*>(result);
    if constexpr (HasPlain<Rule, A, B>) {
        for (std::size_t at = 0; at < n; at += look_ahead) {
            const std::size_t end = std::min(at + look_ahead, n);
            if (ordinary<Rule, extent>(a, b, at, end - at))
                each<Rule, true, extent>(a, b, c, at, end);
            else
                each<Rule, false, extent>(a, b, c, at, end);
        }
    } else {
        each<Rule, false, extent>(a, b, c, 0, n);
    }
    return n;
}

// Results of kind R, an integer or a real, up to the first that is of the other one.
template <class Rule, class A, class B, class R, Extent extent>
VECTOR_CLONES std::size_t varying_loop(const void* left, const void* right, void* result, std::size_t n) {
    const auto* const a = static_cast<const A*>(left);
    const auto* const b = static_cast<const B*>(right);
    auto* const c = static_cast<R*>(result);
    for (std::size_t at = 0; at < n;) {
        const std::size_t end = std::min(at + look_ahead, n);
        if constexpr (HasPlain<Rule, A, B> && std::is_same_v<R, std::int64_t>) {
            if (ordinary<Rule, extent>(a, b, at, end - at)) {
                each<Rule, true, extent>(a, b, c, at, end);
                at = end;
                continue;
            }
        }
        for (; at < end; ++at) {
            const auto value = combine<Rule>(a[extent == left_single ? 0 : at], b[extent == right_single ? 0 : at]);
            if (value.is_integer != std::is_same_v<R, std::int64_t>) return at;
            if constexpr (std::is_same_v<R, std::int64_t>)
                c[at] = value.integer;
            else
                c[at] = value.real;
        }
    }
    return n;
}

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
        using R = Combined<Rule, A, B>;
        entry.head = Rule::head;
        entry.fixed = !std::is_same_v<R, IntegerOrReal>;
        if constexpr (!std::is_same_v<R, IntegerOrReal>) {
            entry.loops[0] = {tag_of<R>,
                              {fixed_loop<Rule, A, B, R, neither_single>, fixed_loop<Rule, A, B, R, left_single>,
                               fixed_loop<Rule, A, B, R, right_single>}};
        } else {
            using I = std::int64_t;
            entry.loops[0] = {tag::integer,
                              {varying_loop<Rule, A, B, I, neither_single>, varying_loop<Rule, A, B, I, left_single>,
                               varying_loop<Rule, A, B, I, right_single>}};
            entry.loops[1] = {
                tag::real,
                {varying_loop<Rule, A, B, double, neither_single>, varying_loop<Rule, A, B, double, left_single>,
                 varying_loop<Rule, A, B, double, right_single>}};
        }
    }
    return entry;
}

template <class Rule>
constexpr DyadicVerb make_dyadic() {
    DyadicVerb verb{Rule::refused, {}};
    [&]<std::size_t... cell>(std::index_sequence<cell...>) {
        ((verb.pairs[cell / kinds][cell % kinds] = kinds_of_pair<Rule, KindAt<cell / kinds>, KindAt<cell % kinds>>()),
         ...);
    }
    (std::make_index_sequence<kinds * kinds>{});
    return verb;
}

// ---- what the arithmetic verbs share

// Whether all n integers lie within so many bits. One pass that ORs, so that it is vector code.
template <unsigned bits>
[[gnu::always_inline]] inline bool all_small(const std::int64_t* values, std::size_t n) {
    std::uint64_t wide = 0;
    for (std::size_t i = 0; i < n; ++i) wide |= static_cast<std::uint64_t>(values[i]) + (std::uint64_t{1} << bits);
    return wide >> (bits + 1) == 0;
}

// Both are numbers on the tower.
template <class A, class B>
inline constexpr bool both_numbers = level_of<A> >= 0 && level_of<B> >= 0;

// Computed integers, reals, quaternions and octonions are plain numbers. A complex result keeps the form and marks of
// its complex operand, the left one if both are, without the named and hidden marks.
constexpr std::uint64_t arithmetic_head(std::uint64_t left, std::uint64_t right, std::uint32_t tag) {
    if (tag != tag::complex) return make_head(tag, form::number);
    const std::uint64_t giver = head_tag(left) == tag::complex ? left : right;
    return make_head(tag, head_form(giver), head_marks(giver) & 0x3fff);
}

// The part of a rule that goes for numbers of any two kinds, and for them alone.
struct Arithmetic {
    static constexpr std::uint32_t refused = HASASCII | HASUNICODE | ISADDRESS;
    template <class A, class B>
    static constexpr bool takes = both_numbers<A, B>;
    template <class A, class B>
    static constexpr int missing = 162;
    static constexpr auto head = arithmetic_head;
};

}  // namespace ondrel
