// Products and quotients on the tower. All are pure, and each item of an array goes through the same function as a
// scalar does, so that both agree to the last bit.
//
// A product tests for zero before it multiplies, so that a zero annihilates an infinity instead of making NaN. The
// tests are selections, not branches: the loops over arrays stay vector code. Where one component adds and the next
// subtracts, the difference is written as a sum with a negated factor: the bits are the same, and no compiler fuses it.
#pragma once

#include <cmath>
#include <limits>

#include "numbers/magnitude.h"

namespace ondrel {

// The product, or what stands for it where a factor is zero.
inline double product_or(double zero, double a, double b) {
    const double p = a * b;
    const double q = a == 0 ? zero : p;
    return b == 0 ? zero : q;
}

inline double product(double a, double b) { return product_or(0.0, a, b); }

// A term of a sum that is left out where a factor is zero: nothing changes when -0.0 is added to it.
inline double term(double a, double b) { return product_or(-0.0, a, b); }

inline Complex product(double x, Complex z) { return {product(x, z.re), product(x, z.im)}; }
inline Complex product(Complex z, double x) { return product(x, z); }

// With both i parts in play a component that came out NaN is an infinity whose direction was lost. Without one on the
// left, a NaN on the right stands. (One selection on one test at a time is what the compiler makes vector code of.)
inline Complex product(Complex l, Complex r) {
    const auto settle = [&](double component) {
        constexpr double infinity = std::numeric_limits<double>::infinity();
        const double found = r.im == 0 ? component : infinity;
        const double lost = l.im == 0 ? component : found;
        return component != component ? lost : component;
    };
    const double re = product(l.re, r.re) + term(l.im, -r.im);
    const double im = product(l.re, r.im) + term(l.im, r.re);
    const double right = r.im != r.im ? r.im : im;
    return {settle(re), settle(l.im == 0 ? right : im)};
}

inline Quaternion product(double x, Quaternion q) {
    return {product(x, q.w), product(x, q.x), product(x, q.y), product(x, q.z)};
}
inline Quaternion product(Quaternion q, double x) { return product(x, q); }

// Hamilton's product; terms with a zero k component are left out.
inline Quaternion product(Quaternion l, Quaternion r) {
    const auto times_k = [](double k, double other) { return k == 0 ? -0.0 : k * other; };
    return {l.w * r.w + l.x * -r.x + l.y * -r.y + (r.z == 0 ? -0.0 : times_k(l.z, -r.z)),
            l.w * r.x + l.x * r.w + times_k(r.z, l.y) + times_k(l.z, -r.y),
            l.w * r.y + l.y * r.w + times_k(l.z, r.x) + times_k(r.z, -l.x),
            times_k(r.z, l.w) + times_k(l.z, r.w) + l.x * r.y + l.y * -r.x};
}

namespace octonions {
// The product of the units a and b is plus or minus the unit a xor b; where this table has 1 it is minus. Unit 0 is
// the real one. Rows are left factors.
inline constexpr bool negative[8][8] = {
    {0, 0, 0, 0, 0, 0, 0, 0}, {0, 1, 0, 1, 0, 1, 1, 0}, {0, 1, 1, 0, 0, 0, 1, 1}, {0, 0, 1, 1, 0, 1, 0, 1},
    {0, 1, 1, 1, 1, 0, 0, 0}, {0, 0, 1, 0, 1, 1, 1, 0}, {0, 0, 0, 1, 1, 0, 1, 1}, {0, 1, 0, 0, 1, 1, 0, 1},
};
constexpr bool anticommutes() {
    for (int a = 1; a < 8; ++a)
        for (int b = 1; b < 8; ++b)
            if (a == b ? !negative[a][b] : negative[a][b] == negative[b][a]) return false;
    return true;
}
static_assert(anticommutes());
}  // namespace octonions

inline Octonion product(double x, const Octonion& o) {
    Octonion scaled;
    for (int k = 0; k < 8; ++k) scaled.c[k] = product(x, o.c[k]);
    return scaled;
}
inline Octonion product(const Octonion& o, double x) { return product(x, o); }

template <class Real>
OctonionOf<Real> product(const OctonionOf<Real>& l, const OctonionOf<Real>& r) {
    OctonionOf<Real> p{};
#pragma GCC unroll 8
    for (int a = 0; a < 8; ++a)
#pragma GCC unroll 8
        for (int k = 0; k < 8; ++k) {
            p.c[k] += l.c[a] * (octonions::negative[a][a ^ k] ? -r.c[a ^ k] : r.c[a ^ k]);
        }
    return p;
}

// Two NaNs count as equal, so their quotient is 1.
inline double quotient(double a, double b) {
    const double q = a / b;
    const double both = b != b ? 1.0 : q;
    return a != a ? both : q;
}

inline Complex quotient(Complex z, double x) { return {z.re / x, z.im / x}; }
inline Quaternion quotient(Quaternion q, double x) { return {q.w / x, q.x / x, q.y / x, q.z / x}; }
inline Octonion quotient(const Octonion& o, double x) {
    Octonion q;
    for (int k = 0; k < 8; ++k) q.c[k] = o.c[k] / x;
    return q;
}

// ---- quotients by hypercomplex numbers: the product with the conjugate, over the squared magnitude

template <class Real>
ComplexOf<Real> conjugate_product(Real x, const ComplexOf<Real>& r) {
    return {x * r.re, -(x * r.im)};
}
template <class Real>
ComplexOf<Real> conjugate_product(const ComplexOf<Real>& l, const ComplexOf<Real>& r) {
    return {l.re * r.re + l.im * r.im, l.im * r.re + l.re * -r.im};
}
template <class Real>
QuaternionOf<Real> conjugate_product(const QuaternionOf<Real>& l, const QuaternionOf<Real>& r) {
    return {l.w * r.w + l.x * r.x + l.y * r.y + l.z * r.z, l.x * r.w + l.z * r.y + l.w * -r.x + l.y * -r.z,
            l.y * r.w + l.x * r.z + l.w * -r.y + l.z * -r.x, l.z * r.w + l.y * r.x + l.w * -r.z + l.x * -r.y};
}
template <class Real>
OctonionOf<Real> conjugate_product(const OctonionOf<Real>& l, const OctonionOf<Real>& r) {
    OctonionOf<Real> conjugate;
    for (int k = 0; k < 8; ++k) conjugate.c[k] = k == 0 ? r.c[k] : -r.c[k];
    return product(l, conjugate);
}

// What stands over the squared magnitude, divided by it. From four components on that is inverted once.
template <class Real>
ComplexOf<Real> over(Real squares, const ComplexOf<Real>& z) {
    return {z.re / squares, z.im / squares};
}
template <class Value, class Real>
Value over(Real squares, const Value& value) {
    const Real n = 1 / squares;
    return map_components(value, [n](Real c) { return c * n; });
}

// The quotient as the formula gives it in extended precision, whose range holds all that is squared and multiplied.
template <class L, class R>
[[gnu::noinline, gnu::cold]] R extended_quotient(const L& l, const R& r) {
    const auto right = extended(r);
    return rounded(over(squared_magnitude(right), conjugate_product(extended(l), right)));
}

// As the formula gives it in doubles. `strayed` takes the sign bit where a square or a product has left their range, or
// is zero.
template <class L, class R>
requires requires(const L& l, const R& r) { conjugate_product(l, r); }
R plain_quotient(const L& l, const R& r, Word& strayed) {
    const double squares = squared_magnitude(r);
    const R above = conjugate_product(l, r);
    strayed = beyond_normal(squares) | beyond_normal(size_of_components(above));
    return over(squares, above);
}
// (One selection on one test at a time, as in the product.)
inline Complex plain_quotient(const Complex& l, const Complex& r, Word& strayed) {
    const double squares = r.re * r.re + r.im * r.im;
    const double re_of_real = r.im == 0 ? l.re : l.re * r.re, im_of_real = r.im == 0 ? 0.0 : -(l.re * r.im);
    const double re = l.im == 0 ? re_of_real : l.re * r.re + l.im * r.im;
    const double im = l.im == 0 ? im_of_real : l.im * r.re + l.re * -r.im;
    const double by_real = l.im == 0 ? r.re : squares;
    const double by = r.im == 0 ? by_real : squares;
    strayed = beyond_normal(squares) | beyond_normal(std::fabs(re) + std::fabs(im));
    const double part = im / by, none = r.im == 0 ? 0.0 : part;
    return {re / by, l.im == 0 ? none : part};
}

// An octonion's components are tested one by one: sums over eight keep a compiler from making vector code.
inline Octonion plain_quotient(const Octonion& l, const Octonion& r, Word& strayed) {
    Octonion conjugate;
    double squares = 0;
    for (int k = 0; k < 8; ++k) {
        conjugate.c[k] = k == 0 ? r.c[k] : -r.c[k];
        squares += r.c[k] * r.c[k];
    }
    const double n = 1 / squares;
    Octonion q = product(l, conjugate);
    Word far = 0;
    for (const double c : q.c) far |= 2 * word_of(c) - 2 * word_of(0x1p-255);
    for (double& c : q.c) c *= n;
    strayed = far | far << 1 | beyond_normal(squares);
    return q;
}

// The quotient of any two. (Not inlined: where a loop does not become vector code, a compiler may fuse the formula.)
template <class L, class R>
requires requires(const L& l, const R& r) { conjugate_product(l, r); }
[[gnu::noinline]] R quotient(const L& l, const R& r) {
    if constexpr (std::is_same_v<L, R> && std::is_same_v<R, Complex>) {
        if (l.im == 0) return r.im == 0 ? Complex{l.re / r.re, 0} : quotient(l.re, r);
    }
    const double squares = squared_magnitude(r);
    const R above = conjugate_product(l, r);
    const Word strayed = strays(squares, r) | strays(size_of_components(above), l);
    return has_sign(strayed) && is_finite(l) && is_finite(r) ? extended_quotient(l, r) : over(squares, above);
}

// The floor of a quotient; from 2 to the 52 on it has no fraction and stands for itself.
inline double floor_of(double q) { return std::fabs(q) < two_to_52 ? std::floor(q) : q; }

// The whole complex number below: where the two fractions reach 1 together, the part with the larger one goes up.
inline Complex floor_of(Complex z) {
    const double x = floor_of(z.re), y = floor_of(z.im);
    const double u = z.re - x, v = z.im - y;
    if (u + v < 1) return {x, y};
    return u < v ? Complex{x, y + 1} : Complex{x + 1, y};
}

}  // namespace ondrel
