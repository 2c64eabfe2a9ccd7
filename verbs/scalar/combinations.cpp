// FACTORIAL and BINOMIAL, over the reals and the complex numbers.
#include "numbers/gamma.h"
#include "verbs/scalar/dyadic.h"
#include "verbs/scalar/monadic.h"

namespace ondrel {
namespace {

// A pole is an error of the item, so every kind goes item by item.
struct Factorial {
    explicit Factorial(const Setting&) {}  // a factorial of a complex number asks for the tolerance

    template <class A>
    static constexpr bool takes = false;
    template <class A>
    static constexpr int missing = is_character<A> ? message::restriction : message::impossible;
    template <class A>
    static constexpr bool special = !is_character<A> && level_of<A> <= level_of<Complex>;

    static IntegerOrReal of(std::int64_t n) {
        const bool in_table = n >= 0 && n < static_cast<std::int64_t>(factorials.size());
        return in_table ? as_integer(factorials[static_cast<std::size_t>(n)]) : as_real(factor(static_cast<double>(n)));
    }
    static double of(double value) { return factor(value); }

    template <class A>
    static DataElement special_item(const DataElement& item, const Setting& setting) {
        const auto head = [&](std::uint32_t tag) { return kept_head(item.head, tag); };
        const A stored = load<A>(item);
        aplerr = 0;
        if constexpr (is_hypercomplex<A>) {
            const bool polar = is_polar(item.head);
            const Complex result = gammax(setting.tolerance, polar ? to_cartesian(stored) : stored);
            if (aplerr != 0) raise(aplerr, setting.site);
            return make_item(polar ? to_polar(result) : result, head(tag::complex));
        } else {
            const auto result = of(stored);
            if (aplerr != 0) raise(aplerr, setting.site);
            return result_item(result, head);
        }
    }
};

// Where a coefficient has no value it is what the functions give for it, and no error.
struct Binomial : UpToComplex {
    double tolerance;
    explicit Binomial(const Setting& setting) : tolerance(setting.tolerance) {}

    static std::uint64_t head(std::uint64_t, std::uint64_t, std::uint32_t tag) { return make_head(tag, form::number); }

    static double apply(std::int64_t a, std::int64_t b) {
        return binom(static_cast<double>(a), static_cast<double>(b));
    }
    double apply(double a, double b) const { return binom(a, b); }
    Complex apply(Complex a, Complex b) const { return binomC(tolerance, a, b); }
};

}  // namespace

void factorial(DataElement*& sp, DataElement* cell) {
    normalise_tolerance();
    monadic<Factorial>(sp, cell);
}
void binomial(DataElement*& sp, DataElement* cell) { dyadic<Binomial>(sp, cell); }

const DyadicVerb& binomial_verb = dyadic_verb<Binomial>;

}  // namespace ondrel
