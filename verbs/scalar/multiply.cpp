// MULTIPLY. A factor of zero gives zero, whatever the other is; characters are kept by 1 and blanked by 0.
#include <bit>

#include "numbers/algebra.h"
#include "verbs/scalar/dyadic.h"

namespace ondrel {
namespace {

struct Multiply : Arithmetic {
    static constexpr std::uint32_t refused = HASUNICODE | ISADDRESS;

    [[gnu::always_inline]] static bool ordinary(const std::int64_t* values, std::size_t n) {
        return all_small<26>(values, n);
    }
    static std::int64_t plain(std::int64_t a, std::int64_t b) {
        return std::int64_t{static_cast<std::int32_t>(a)} * static_cast<std::int32_t>(b);
    }
    // Without zeros, infinities, NaN and components so large that a product overflows no test can change anything.
    // One pass that ORs: the top bit comes up for a magnitude of 0 and for one that is too large.
    [[gnu::always_inline]] static bool ordinary(const Complex* values, std::size_t n) {
        constexpr auto largest = std::bit_cast<std::uint64_t>(0x1p500), magnitude = ~(std::uint64_t{1} << 63);
        std::uint64_t extreme = 0;
        for (std::size_t i = 0; i < n; ++i) {
            const auto re = std::bit_cast<std::uint64_t>(values[i].re) & magnitude;
            const auto im = std::bit_cast<std::uint64_t>(values[i].im) & magnitude;
            extreme |= (re - 1) | (largest - re) | (im - 1) | (largest - im);
        }
        return (extreme & ~magnitude) == 0;
    }
    static Complex plain(Complex a, Complex b) { return {a.re * b.re + a.im * -b.im, a.re * b.im + a.im * b.re}; }
    static IntegerOrReal apply(std::int64_t a, std::int64_t b) {
        const double exact = static_cast<double>(a) * static_cast<double>(b);
        return fits_integer(exact) ? as_integer(static_cast<std::int64_t>(exact)) : as_real(exact);
    }
    template <class A, class B>
    requires requires(const A& a, const B& b) { product(a, b); }
    static auto apply(const A& a, const B& b) { return product(a, b); }

    // Magnitudes multiply and angles add. A polar number behind a cartesian one is computed as cartesian; one that a
    // real scales keeps its angle.
    static Complex polar(Complex a, Complex b, Forms forms) {
        if (!forms.left_polar) return product(a, to_cartesian(b));
        if (!forms.right_polar) b = to_polar(b);
        return {product(a.re, b.re), a.im + b.im};
    }
    static Complex polar(double a, Complex b, Forms) { return {product(a, b.re), b.im}; }
    static Complex polar(Complex a, double b, Forms) { return {product(a.re, b), a.im}; }

    template <class A, class B>
    static constexpr bool special = (std::is_same_v<A, std::uint8_t> && std::is_same_v<B, std::int64_t>) ||
                                    (std::is_same_v<A, std::int64_t> && std::is_same_v<B, std::uint8_t>);
    template <class A, class B>
    static DataElement special_item(const DataElement& left, const DataElement& right, const Setting& setting) {
        const bool character_left = left.tag == tag::ascii;
        DataElement character = character_left ? left : right;
        const std::int64_t keep = (character_left ? right : left).integer;
        if (keep != 0 && keep != 1) raise(message::characters_times_other_than_boolean, setting.site);
        if (keep == 0) character.ascii = ' ';
        return character;
    }
};

}  // namespace

void multiply(DataElement*& sp, DataElement* cell) { arithmetic<Multiply>(sp, cell); }

const DyadicVerb& multiply_verb = dyadic_verb<Multiply>;

std::uint32_t multiply_literal(const DataElement& left, const DataElement& right, DataElement& result) {
    return plain_literal<Multiply>(left, right, result);
}

}  // namespace ondrel
