// ADD and SUBTRACT. Sums of integers go through doubles and become real past the integers; differences wrap.
#include "verbs/scalar/dyadic.h"

namespace ondrel {
namespace {

// What both share: components one by one, polar complex numbers computed as cartesian ones and brought back to the left
// operand's form.
template <class Verb>
struct Componentwise : Arithmetic {
    static double apply(double a, double b) { return Verb::each(a, b); }
    static Complex apply(Complex a, Complex b) { return {Verb::each(a.re, b.re), Verb::each(a.im, b.im)}; }
    static Quaternion apply(Quaternion a, Quaternion b) {
        return {Verb::each(a.w, b.w), Verb::each(a.x, b.x), Verb::each(a.y, b.y), Verb::each(a.z, b.z)};
    }
    static Octonion apply(const Octonion& a, const Octonion& b) {
        Octonion result;
        for (int k = 0; k < 8; ++k) result.c[k] = Verb::each(a.c[k], b.c[k]);
        return result;
    }

    static Complex polar(Complex a, Complex b, Forms forms) {
        if (!forms.left_polar) return apply(a, to_cartesian(b));
        if (!forms.right_polar) b = to_polar(b);
        return to_polar(apply(to_cartesian(a), to_cartesian(b)));
    }
    static Complex polar(double a, Complex b, Forms) { return to_polar(apply(widen<Complex>(a), to_cartesian(b))); }
    static Complex polar(Complex a, double b, Forms) { return to_polar(apply(to_cartesian(a), widen<Complex>(b))); }
};

struct Add : Componentwise<Add> {
    using Componentwise::apply;
    static double each(double a, double b) { return a + b; }

    [[gnu::always_inline]] static bool ordinary(const std::int64_t* values, std::size_t n) {
        return all_small<52>(values, n);
    }
    static std::int64_t plain(std::int64_t a, std::int64_t b) { return a + b; }
    static IntegerOrReal apply(std::int64_t a, std::int64_t b) {
        const std::int64_t values[]{a, b};
        if (ordinary(values, 2)) return as_integer(plain(a, b));  // the same, without the way through doubles
        const double sum = static_cast<double>(a) + static_cast<double>(b);
        return fits_integer(sum) ? as_integer(static_cast<std::int64_t>(sum)) : as_real(sum);
    }
};

struct Subtract : Componentwise<Subtract> {
    using Componentwise::apply;
    static double each(double a, double b) { return a - b; }

    static std::int64_t apply(std::int64_t a, std::int64_t b) {
        return static_cast<std::int64_t>(static_cast<std::uint64_t>(a) - static_cast<std::uint64_t>(b));
    }
};

}  // namespace

void add(DataElement*& sp, DataElement* cell) { arithmetic<Add>(sp, cell); }
void subtract(DataElement*& sp, DataElement* cell) { arithmetic<Subtract>(sp, cell); }

const DyadicVerb& add_verb = dyadic_verb<Add>;
const DyadicVerb& subtract_verb = dyadic_verb<Subtract>;

std::uint32_t add_literal(const DataElement& left, const DataElement& right, DataElement& result) {
    return plain_literal<Add>(left, right, result);
}
std::uint32_t subtract_literal(const DataElement& left, const DataElement& right, DataElement& result) {
    return plain_literal<Subtract>(left, right, result);
}

}  // namespace ondrel
