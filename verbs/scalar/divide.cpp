// DIVIDE and RESIDUE. Division by zero is no error: doubles have infinities and NaN.
#include "numbers/algebra.h"
#include "verbs/scalar/dyadic.h"

namespace ondrel {
namespace {

struct Divide : Arithmetic {
    // Only an exact quotient that is not negative is an integer.
    static IntegerOrReal apply(std::int64_t a, std::int64_t b) {
        const double q = static_cast<double>(a) / static_cast<double>(b);
        if (!(q >= 0 && q < two_to_63)) return as_real(q);
        const auto whole = static_cast<std::int64_t>(q);
        return q == static_cast<double>(whole) ? as_integer(whole) : as_real(q);
    }
    template <class A, class B>
    requires requires(const A& a, const B& b) { quotient(a, b); }
    static auto apply(const A& a, const B& b) { return quotient(a, b); }

    struct Checked {
        Word& strayed;
        template <class A, class B>
        requires requires(const A& a, const B& b, Word& word) { plain_quotient(a, b, word); }
        auto apply(const A& a, const B& b) const { return plain_quotient(a, b, strayed); }
    };

    // Magnitudes divide and angles subtract.
    static Complex polar(Complex a, Complex b, Forms forms) {
        if (!forms.left_polar) return quotient(a, to_cartesian(b));
        if (!forms.right_polar) b = to_polar(b);
        return {a.re / b.re, a.im - b.im};
    }
    static Complex polar(double a, Complex b, Forms) { return {a / b.re, -b.im}; }
    static Complex polar(Complex a, double b, Forms) { return {a.re / b, a.im}; }
};

struct Residue : UpToComplex {
    // A positive divisor leaves the sign of the dividend, a negative one its own; zero leaves the dividend, whatever
    // the kind. The multiple of a negative divisor is taken in unsigned words, as its quotient may round up to 2 to
    // the 63.
    static std::int64_t apply(std::int64_t a, std::int64_t b) {
        if (b == 0) return a;
        if (b > 0) return a % b;
        const double whole = std::floor(static_cast<double>(a) / static_cast<double>(b));
        const auto multiple = whole < 0 ? -static_cast<std::uint64_t>(-whole) : static_cast<std::uint64_t>(whole);
        return static_cast<std::int64_t>(static_cast<std::uint64_t>(a) - static_cast<std::uint64_t>(b) * multiple);
    }
    static double apply(double a, double b) { return b == 0 ? a : a - b * floor_of(a / b); }
    static Complex apply(Complex a, Complex b) {
        if (b.re == 0 && b.im == 0) return a;
        const Complex whole = product(b, floor_of(quotient(a, b)));
        return {a.re - whole.re, a.im - whole.im};
    }
    static IntegerOrReal exactly(std::same_as<std::int64_t> auto a, std::same_as<double> auto b) {
        return b == 0 ? as_integer(a) : as_real(apply(static_cast<double>(a), b));
    }
};

}  // namespace

void divide(DataElement*& sp, DataElement* cell) { arithmetic<Divide>(sp, cell); }
void residue(DataElement*& sp, DataElement* cell) { arithmetic<Residue>(sp, cell); }

const DyadicVerb& divide_verb = dyadic_verb<Divide>;
const DyadicVerb& residue_verb = dyadic_verb<Residue>;

std::uint32_t divide_literal(const DataElement& left, const DataElement& right, DataElement& result) {
    return plain_literal<Divide>(left, right, result);
}
std::uint32_t residue_literal(const DataElement& left, const DataElement& right, DataElement& result) {
    return plain_literal<Residue>(left, right, result);
}

}  // namespace ondrel
