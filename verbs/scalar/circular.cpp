// CIRCULAR: the function that an integer from -7 to 7 selects, of a number. The keywords (SIN, ATANH and the others)
// are this verb with a constant. Of a quaternion or octonion the first two components are taken as a complex number,
// and the others pass through.
#include <algorithm>
#include <cmath>
#include <iterator>

#include "numbers/complex_functions.h"
#include "numbers/elementary.h"
#include "verbs/scalar/dyadic.h"

namespace ondrel {
namespace {

// A function of reals, for one and for n of them.
struct Function {
    double (*of)(double x);
    void (*of_all)(const double* x, double* results, std::size_t n);
};

template <double (*function)(double)>
constexpr Function one_by_one() {
    return {function,
            [](const double* x, double* results, std::size_t n) { std::transform(x, x + n, results, function); }};
}

// One that arrays go through fast.
template <class Fast>
constexpr Function fast() {
    return {Fast::of, Fast::of};
}

constexpr std::int64_t last_selector = 7;
constexpr Function functions[] = {
    one_by_one<area_hyperbolic_tangent>(),   // -7
    one_by_one<area_hyperbolic_cosine>(),    // -6
    one_by_one<area_hyperbolic_sine>(),      // -5
    one_by_one<root_of_square_minus_one>(),  // -4
    one_by_one<arc_tangent>(),               // -3
    one_by_one<arc_cosine>(),                // -2
    one_by_one<arc_sine>(),                  // -1
    one_by_one<root_of_one_minus_square>(),  // 0
    fast<Sine>(),                            // 1
    fast<Cosine>(),                          // 2
    fast<Tangent>(),                         // 3
    one_by_one<root_of_one_plus_square>(),   // 4
    one_by_one<hyperbolic_sine>(),           // 5
    one_by_one<hyperbolic_cosine>(),         // 6
    one_by_one<hyperbolic_tangent>(),        // 7
};
static_assert(std::size(functions) == 2 * last_selector + 1);

bool is_selector(std::int64_t value) { return value >= -last_selector && value <= last_selector; }
const Function& selected(std::int64_t selector) { return functions[selector + last_selector]; }

struct Circular : Arithmetic {
    template <class A, class B>
    static constexpr bool takes = !is_character<A> && std::is_same_v<B, std::int64_t>;
    template <class A, class B>
    static constexpr int missing = is_character<A> ? message::incompatible_kinds : message::no_such_function;
    template <class A, class B>
    static constexpr bool special = takes<A, B>;

    static std::uint64_t head(std::uint64_t left, std::uint64_t, std::uint32_t tag) {
        return make_head(tag, head_form(left), head_marks(left) & static_cast<std::uint16_t>(~mark::named));
    }

    static double exactly(double value, std::int64_t selector) { return selected(selector).of(value); }
    static double exactly(std::int64_t value, std::int64_t selector) {
        return exactly(static_cast<double>(value), selector);
    }
    template <class A>
    requires is_hypercomplex<A>
    static A exactly(const A& value, std::int64_t selector) {
        A result = value;
        Complex first;
        std::memcpy(&first, &value, sizeof first);
        first = circular_of(static_cast<int>(selector), first);
        std::memcpy(&result, &first, sizeof first);
        return result;
    }

    template <class A, class B>
    static DataElement special_item(const DataElement& left, const DataElement& right, const Setting& setting) {
        if (!is_selector(right.integer)) raise(message::no_such_function, setting.site);
        const A value = load<A>(left);
        const auto result_head = [&](std::uint32_t tag) { return head(left.head, right.head, tag); };
        if constexpr (is_hypercomplex<A>)
            if (is_polar(left.head))
                return result_item(to_polar(exactly(to_cartesian(value), right.integer)), result_head);
        return result_item(exactly(value, right.integer), result_head);
    }

    // Stops at what is no selector, which is an error of the item.
    template <class A, class B, Extent extent>
    static std::size_t loop(const void* left, const void* right, void* result, std::size_t n, const Setting&) {
        using Result = std::conditional_t<is_hypercomplex<A>, A, double>;
        const auto* const a = static_cast<const A*>(left);
        const auto* const b = static_cast<const std::int64_t*>(right);
        auto* const c = static_cast<Result*>(result);
        if constexpr (!is_hypercomplex<A> && extent == right_single) {
            if (!is_selector(b[0])) return 0;
            selected(b[0]).of_all(as_reals(a, c, n), c, n);
            return n;
        }
        for (std::size_t i = 0; i < n; ++i) {
            const std::int64_t selector = b[extent == right_single ? 0 : i];
            if (!is_selector(selector)) return i;
            c[i] = exactly(a[extent == left_single ? 0 : i], selector);
        }
        return n;
    }
};

}  // namespace

void circular(DataElement*& sp, DataElement* cell) { dyadic<Circular>(sp, cell); }

const DyadicVerb& circular_verb = dyadic_verb<Circular>;

}  // namespace ondrel
