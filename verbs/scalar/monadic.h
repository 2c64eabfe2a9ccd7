// The frame of the monadic scalar verbs, and the table that it makes of a verb's rule.
//
// A monadic rule is a struct, made from a Setting if it depends on one, with
//   takes<A>           whether the rule has a case for the kind; if not, missing<A> is the error
//   apply(value, head) what one bare value gives, an Either where its kind depends on the value; the head tells the
//                      form that it is in
//   head(head, tag)    the head of a result of kind `tag`, from the operand's
//   of_cartesian       optional: a polar number is taken as the cartesian one that it is
//   by_cartesian       optional: likewise, and the result is brought back to polar form
//   special<A>         optional: kinds whose result is more than a value; special_item makes it, and there is no loop
//   ordinary(values, n), plain(value)
//                      optional, for kinds that have both: the values are such that `plain`, which is faster, gives
//                      what `apply` gives, and of an Either the usual kind
//   Checked{strayed}.apply
//                      optional, for hypercomplex numbers: what `apply` gives, faster, or a word `strayed` that has the
//                      sign bit, where only `apply` knows
//   of_truth(x)        optional: what the verb says, as true or false, of what is that; a real or an integer
//   loop<A>            optional: for the kinds that it takes, a loop of its own, for the usual kind of an Either alone:
//                      trying the other one would cost a draw of chance
#pragma once

#include "verbs/scalar/rule.h"

namespace ondrel {

using MonadicItem = DataElement (*)(const DataElement& item, const Setting& setting);

// A loop over n bare values that share a head. Returns how many results it wrote: fewer than n when the next one would
// be of another kind. The result may be the operand's own payload.
using MonadicLoop = std::size_t (*)(const void* values, void* result, std::size_t n, std::uint64_t head,
                                    const Setting& setting);

struct MonadicKinds {
    MonadicItem item = nullptr;
    std::uint64_t (*head)(std::uint64_t head, std::uint32_t tag, const Setting& setting) = nullptr;
    struct {
        std::uint32_t tag = 0;  // the kind of the result; 0: no loop
        std::size_t width = 0;  // of a result
        bool whole = false;     // never stops: all that the values decide is the results' own values
        MonadicLoop loop = nullptr;
    } loops[2];
};

struct MonadicVerb {
    bool by_chance = false;      // whatever comes out depends on chance
    bool draws = false;          // the rule may
    bool takes_setting = false;  // the rule is made from a Setting
    MonadicKinds of_truths{};    // with a loop if the operand can be truths in bytes, and the results then too
    std::array<MonadicKinds, kinds> kinds_of{};
};

// ---- from rule to table

// One value by the rule.
template <class Rule, class A>
[[gnu::always_inline]] inline auto applied(const Rule& rule, const A& value, std::uint64_t head) {
    if constexpr (is_hypercomplex<A> && requires { Rule::by_cartesian; }) {
        if (is_polar(head)) return to_polar(rule.apply(to_cartesian(value), head));
    } else if constexpr (is_hypercomplex<A> && requires { Rule::of_cartesian; }) {
        if (is_polar(head)) return rule.apply(to_cartesian(value), head);
    }
    return rule.apply(value, head);
}

template <class Rule, class A>
using Applied = decltype(applied(std::declval<Rule>(), std::declval<A>(), std::uint64_t{}));

template <class Rule, class A>
DataElement single_item(const DataElement& item, const Setting& setting) {
    const Rule rule = rule_in<Rule>(setting);
    return result_item(applied(rule, load<A>(item), item.head),
                       [&](std::uint32_t tag) { return rule.head(item.head, tag); });
}

template <int error>
DataElement refuse_item(const DataElement&, const Setting& setting) {
    raise(error, setting.site);
}

template <class Rule, class A>
concept HasPlainOf = requires(const Rule& rule, const A* values) {
    rule.ordinary(values, std::size_t{});
    rule.plain(*values);
};

// With results of the one kind that there is, or of the usual or the other one of an Either up to the first that is
// not.
template <class Rule, class A, class Result, bool usual>
VECTOR_CLONES std::size_t monadic_loop(const void* values, void* result, std::size_t n, std::uint64_t head,
                                       const Setting& setting) {
    const Rule rule = rule_in<Rule>(setting);
    const auto* const a = static_cast<const A*>(values);
    auto* const c = static_cast<Result*>(result);
    for (std::size_t at = 0; at < n;) {
        const std::size_t end = std::min(at + look_ahead, n);
        if constexpr (HasPlainOf<Rule, A> && usual) {
            if (rule.ordinary(a + at, end - at)) {
#pragma GCC ivdep
                for (std::size_t i = at; i < end; ++i) c[i] = rule.plain(a[i]);
                at = end;
                continue;
            }
        }
        if constexpr (is_either<Applied<Rule, A>>) {
            for (; at < end; ++at) {
                const auto value = applied(rule, a[at], head);
                if (value.usual != usual) return at;
                if constexpr (usual)
                    c[at] = value.value;
                else
                    c[at] = value.other;
            }
        } else if constexpr (HasChecked<Rule, A>) {
            constexpr std::size_t at_once = checked_at_once<A>;
            for (; at < end; at += at_once) {
                const std::size_t m = std::min(at_once, end - at);
                A room[at_once];
                const A* const from = kept_aside(a + at, c + at, m, room);
                take_checked(
                    c + at, m,
                    [&](std::size_t i, Word& strayed) {
                        return applied(typename Rule::Checked{strayed}, from[i], head);
                    },
                    [] { return false; }, [&](std::size_t i) { return applied(rule, from[i], head); });
            }
            at = end;
        } else if constexpr (requires { rule.stream; }) {
            for (; at < end; ++at) c[at] = applied(rule, a[at], head);  // one draw waits for the other
        } else {
#pragma GCC ivdep
            for (std::size_t i = at; i < end; ++i) c[i] = applied(rule, a[i], head);
            at = end;
        }
    }
    return n;
}

// Of truths in bytes.
template <class Rule>
VECTOR_CLONES std::size_t truth_loop(const void* values, void* result, std::size_t n, std::uint64_t, const Setting&) {
    const auto* const a = static_cast<const std::uint8_t*>(values);
    auto* const c = static_cast<bool*>(result);
#pragma GCC ivdep
    for (std::size_t i = 0; i < n; ++i) c[i] = Rule::of_truth(a[i] != 0);
    return n;
}

template <class Rule, class A>
constexpr MonadicKinds kinds_of_item() {
    MonadicKinds entry;
    if constexpr (requires { requires Rule::template special<A>; }) {
        entry.item = Rule::template special_item<A>;
    } else if constexpr (!Rule::template takes<A>) {
        entry.item = refuse_item<Rule::template missing<A>>;
    } else {
        using Result = Applied<Rule, A>;
        entry.item = single_item<Rule, A>;
        entry.head = [](std::uint64_t head, std::uint32_t tag, const Setting& setting) {
            return rule_in<Rule>(setting).head(head, tag);
        };
        constexpr bool has_own = requires { &Rule::template loop<A>; };
        if constexpr (is_either<Result>) {
            using Usual = decltype(Result::value);
            using Other = decltype(Result::other);
            entry.loops[0] = {tag_of<Usual>, sizeof(Usual), false, monadic_loop<Rule, A, Usual, true>};
            if (!has_own) entry.loops[1] = {tag_of<Other>, sizeof(Other), false, monadic_loop<Rule, A, Other, false>};
        } else {
            entry.loops[0] = {tag_of<Result>, sizeof(Result), true, monadic_loop<Rule, A, Result, true>};
        }
        if constexpr (has_own) entry.loops[0].loop = Rule::template loop<A>;
    }
    return entry;
}

template <class Rule>
constexpr MonadicVerb make_monadic() {
    constexpr bool by_chance = requires { Rule::by_chance; };
    constexpr bool draws = requires(const Rule& rule) { rule.stream; };
    MonadicVerb verb{by_chance, draws, std::is_constructible_v<Rule, const Setting&>, {}, {}};
    if constexpr (requires { Rule::of_truth(true); })
        verb.of_truths.loops[0] = {tag::integer, 1, true, truth_loop<Rule>};
    [&]<std::size_t... kind>(std::index_sequence<kind...>) {
        ((verb.kinds_of[kind] = kinds_of_item<Rule, KindAt<kind>>()), ...);
    }
    (std::make_index_sequence<kinds>{});
    return verb;
}

// Runs the verb on the record at `sp`, in place. An empty value stays as it is. Raises 27 and what the rule raises for
// an item; the record then stands as it was.
void monadic(const MonadicVerb& verb, DataElement*& sp, DataElement* cell);

template <class Rule>
inline constexpr MonadicVerb monadic_verb = make_monadic<Rule>();

// The same for the verb of a rule.
template <class Rule>
void monadic(DataElement*& sp, DataElement* cell) {
    monadic(monadic_verb<Rule>, sp, cell);
}

// ---- what the rules share

// The rule has a case for every number, and for nothing else.
struct OfNumbers {
    template <class A>
    static constexpr bool takes = !is_character<A>;
    template <class A>
    static constexpr int missing = message::restriction;
};

// The checked form of a rule whose `apply` also takes the word.
template <class Rule>
struct CheckedOf {
    Word& strayed;
    template <class A>
    auto apply(const A& value, std::uint64_t head) const {
        return Rule::apply(value, head, strayed);
    }
};

// The form that a computed number keeps of its operand's: a cartesian or polar number stays one.
constexpr std::uint16_t kept_form(std::uint64_t head) {
    const std::uint16_t form = head_form(head);
    return form == form::cartesian || form == form::polar ? form : form::number;
}

// The head of a result that is as much of a polar or cartesian number as the operand was.
constexpr std::uint64_t kept_head(std::uint64_t head, std::uint32_t tag) {
    return make_head(tag, tag >= tag::complex ? kept_form(head) : form::number, kept_marks(head));
}

// ---- the verbs: each takes the stack pointer and its instruction cell

ScalarVerb conjugate, negative, signum, direction, reciprocal, magnitude, pitimes;
ScalarVerb Truncate, flooring, ceiling;
ScalarVerb exponential, naturallog, factorial;
ScalarVerb not_, boolean, logical, probably, contradiction, isboolean, islogical;
ScalarVerb polar, cartesian, deg, rad, binary, number, ispolar, iscartesian, isbinary, isnumber;
ScalarVerb roll, Random;

}  // namespace ondrel
