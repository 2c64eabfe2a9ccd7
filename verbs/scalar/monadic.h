// The frame of the monadic scalar verbs, and the table that it makes of a verb's rule.
//
// A monadic rule is a struct with
//   takes<A>           whether the rule has a case for the kind; if not, missing<A> is the error
//   apply(value, head) what one bare value gives; the head tells the form that it is in
//   head(head, tag)    the head of a result of kind `tag`, from the operand's
#pragma once

#include "verbs/scalar/rule.h"

namespace ondrel {

using MonadicItem = DataElement (*)(const DataElement& item, Site site);

// A loop over n bare values that share a head. The result may be the operand's own payload.
using MonadicLoop = void (*)(const void* values, void* result, std::size_t n, std::uint64_t head);

struct MonadicKinds {
    MonadicItem item = nullptr;
    std::uint32_t tag = 0;  // the kind of the result; 0: no loop
    MonadicLoop loop = nullptr;
    std::uint64_t (*head)(std::uint64_t head, std::uint32_t tag) = nullptr;
};

using MonadicVerb = std::array<MonadicKinds, kinds>;

template <class Rule, class A>
using Applied = decltype(Rule::apply(std::declval<A>(), std::uint64_t{}));

template <class Rule, class A>
DataElement single_item(const DataElement& item, Site) {
    const auto result = Rule::apply(load<A>(item), item.head);
    return make_item(result, Rule::head(item.head, tag_of<Applied<Rule, A>>));
}

template <int error>
DataElement refuse_item(const DataElement&, Site site) {
    raise(error, site);
}

template <class Rule, class A>
VECTOR_CLONES void monadic_loop(const void* values, void* result, std::size_t n, std::uint64_t head) {
    const auto* const a = static_cast<const A*>(values);
    auto* const c = static_cast<Applied<Rule, A>*>(result);
#pragma GCC ivdep
    for (std::size_t i = 0; i < n; ++i) c[i] = Rule::apply(a[i], head);
}

template <class Rule, class A>
constexpr MonadicKinds kinds_of_item() {
    if constexpr (Rule::template takes<A>)
        return {single_item<Rule, A>, tag_of<Applied<Rule, A>>, monadic_loop<Rule, A>, Rule::head};
    else
        return {refuse_item<Rule::template missing<A>>, 0, nullptr, nullptr};
}

template <class Rule>
constexpr MonadicVerb make_monadic() {
    return []<std::size_t... kind>(std::index_sequence<kind...>) {
        return MonadicVerb{kinds_of_item<Rule, KindAt<kind>>()...};
    }
    (std::make_index_sequence<kinds>{});
}

// Runs the verb on the record at `sp`, in place. An empty value stays as it is. Raises 27 and what the rule raises for
// an item; the record then stands as it was.
void monadic(const MonadicVerb& verb, DataElement* sp, DataElement* cell);

// The verbs of the forms of numbers. Each takes the stack pointer and its instruction cell.
void polar(DataElement*& sp, DataElement* cell);
void cartesian(DataElement*& sp, DataElement* cell);
void deg(DataElement*& sp, DataElement* cell);
void rad(DataElement*& sp, DataElement* cell);

}  // namespace ondrel
