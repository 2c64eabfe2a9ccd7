// Factorials and binomial coefficients against the laws that they obey, at their poles, and at arguments so large that
// a walk by steps of 1 would never end.
#include "numbers/gamma.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <limits>
#include <numbers>
#include <random>
#include <thread>

namespace ondrel {
namespace {

using Number = std::complex<double>;

constexpr double inf = std::numeric_limits<double>::infinity(), nan = std::numeric_limits<double>::quiet_NaN();
constexpr double pi = std::numbers::pi, tolerance = 1e-15, ulp = 0x1p-52;

Number gammax(Number z, double within = tolerance) {
    const Complex found = ondrel::gammax(within, {z.real(), z.imag()});
    return {found.re, found.im};
}

Number binomC(Number a, Number b) {
    const Complex found = ondrel::binomC(tolerance, {a.real(), a.imag()}, {b.real(), b.imag()});
    return {found.re, found.im};
}

void expect_near(Number actual, Number expected, double ulps, Number at) {
    EXPECT_LE(std::abs(actual - expected), ulps * ulp * std::abs(expected))
        << "at " << at << ": " << actual << ", expected " << expected;
}

// Numbers with few binary places, so that neighbours at a distance of 1 are exact.
double draw(double low, double high) {
    static std::mt19937 random(42);
    return std::round(std::uniform_real_distribution<double>(low, high)(random) * 0x1p20) * 0x1p-20;
}

TEST(Factor, HoldsKnownValues) {
    for (std::size_t n = 0; n < factorials.size(); ++n)
        EXPECT_EQ(factor(static_cast<double>(n)), static_cast<double>(factorials[n]));
    EXPECT_EQ(factor(170), 7.257415615307999e306);
    EXPECT_EQ(factor(171), inf);
    EXPECT_EQ(factor(-0.5), 1.772453850905516);
    EXPECT_NEAR(factor(0.5), 0.8862269267, 1e-10);
    for (const double x : {1e-5, 1e-9, -1e-9, 1e-300, -5e-324})
        EXPECT_NEAR(factor(x), 1 - std::numbers::egamma * x, std::fabs(x) * 1e-4) << x;
}

TEST(Factor, ObeysItsRecurrenceAndItsReflection) {
    for (int i = 0; i < 5000; ++i) {
        const double x = draw(-170, 170), y = draw(1, 170), from_whole = y - std::round(y);
        if (x != std::floor(x) && (x < 0.5 || x >= 2)) expect_near(factor(x), x * factor(x - 1), 3, x);
        if (from_whole == 0) continue;
        const double sine = std::sin(pi * from_whole) * (std::fmod(std::round(y), 2) == 0 ? 1 : -1);
        expect_near(factor(y) * factor(-y) * sine, pi * y, 6, y);
    }
}

TEST(Factor, FlagsNegativeIntegersForTheThreadThatAsks) {
    for (const double x : {-1.0, -2.0, -171.0, -1e6, -1e15, -0x1p53 + 1}) {
        EXPECT_TRUE(factor(x) == 0 && std::signbit(factor(x))) << x;
        EXPECT_EQ(aplerr, 36) << x;
    }
    std::thread([] { EXPECT_EQ(aplerr, 0), binom(0.5, -1); }).join();
    EXPECT_EQ(aplerr, 36);
    factor(-2.5);
    EXPECT_EQ(aplerr, 0);
}

TEST(Binom, FollowsPascalOverWholeNumbers) {
    for (int b = -28; b <= 56; ++b)
        for (int a = -28; a <= 28; ++a) {
            const double by_rule = a == 0 && b == 0 ? 1 : binom(a, b - 1) + binom(a - 1, b - 1);
            EXPECT_EQ(binom(a, b), by_rule) << a << " of " << b;
        }
    EXPECT_EQ(binom(2, 5), 10);
    EXPECT_EQ(binom(-3, -1), 1);
    expect_near(binom(500, 1000), 2.7028824094543655e299, 1, 500);
}

TEST(Binom, FollowsPascalOverFractionsAndFlagsWhatHasNoValue) {
    for (int i = 0; i < 3000; ++i) {
        const double b = draw(1, 160), a = draw(0.001, b - 0.001);
        expect_near(binom(a, b), binom(a, b - 1) + binom(a - 1, b - 1), 5, {a, b});
        expect_near(binom(a, b), binom(b - a, b), 2, {a, b});
    }
    EXPECT_NEAR(binom(0.5, 1), 4 / pi, 1e-8);
    EXPECT_EQ(binom(0.5, -1), 0);
    EXPECT_EQ(aplerr, 40);
    EXPECT_TRUE(std::isinf(binom(5.5, 2.5)));
    EXPECT_EQ(aplerr, 36);
}

TEST(Gammax, IsTheFactorialOnTheRealAxisAndMeetsItFromBeside) {
    EXPECT_EQ(gammax({3, -tolerance / 2}), Number(6));
    EXPECT_EQ(gammax(-3), Number(0));
    EXPECT_EQ(aplerr, 36);
    for (int i = 0; i < 500; ++i)
        if (const double x = draw(-150, 160); x < 0.5 || x > 1) expect_near(gammax({x, 1e-22}, 0), factor(x), 2, x);
}

// Over both sides of each border between two ways of computing it. The duplication's power loses digits with |z|.
TEST(Gammax, ObeysItsRecurrenceConjugationAndDuplication) {
    for (const double reach : {2.0, 8.0, 18.0, 40.0})
        for (int i = 0; i < 2000; ++i) {
            const Number z(draw(-reach, reach), draw(-reach, reach));
            if (z.imag() == 0) continue;
            EXPECT_EQ(gammax(std::conj(z)), std::conj(gammax(z))) << z;
            expect_near(gammax(z), z * gammax(z - 1.0), 4, z);
            const Number product = gammax(z) * gammax(z - 0.5) / std::sqrt(pi);
            expect_near(gammax(2.0 * z), std::pow(Number(4), z) * product, 10 + 3 * reach, z);
            EXPECT_EQ(aplerr, 0);
        }
}

TEST(Gammax, FlagsThePolesAndIsLargeBesideThem) {
    for (int n = 1; n <= 20; ++n) {
        EXPECT_EQ(gammax(-n, 0), Number(0));
        EXPECT_EQ(aplerr, 130) << n;
        const double y = 1e-12, residue = (n % 2 == 0 ? -1 : 1) / factor(n - 1);
        EXPECT_NEAR(gammax({-1.0 * n, y}).imag() * y / residue, -1, 4 * ulp) << n;
        EXPECT_EQ(aplerr, 0);
    }
}

TEST(BinomC, IsTheQuotientOfThreeFactorials) {
    for (int i = 0; i < 500; ++i) {
        const Number a(draw(-6, 6), draw(-6, 6)), b(draw(-6, 6), draw(-6, 6));
        expect_near(binomC(a, b), gammax(b) / (gammax(b - a) * gammax(a)), 8, a);
        expect_near(binomC(a.real(), b.real()), binom(a.real(), b.real()), 1, {a.real(), b.real()});
    }
    EXPECT_EQ(binomC(2, 5), Number(10));
    EXPECT_EQ(binomC(6, 5), Number(0));
    EXPECT_EQ(binomC(-3, {2, 1}), Number(0));
}

TEST(GammaFamily, EndsForEveryArgument) {
    for (const double x : {200.5, 1e15, 0x1p53, 1e300, inf}) EXPECT_EQ(factor(x), inf) << x;
    for (const double x : {-200.5, -1e15 + 0.5, -0x1p53, -1e300, -inf}) EXPECT_EQ(factor(x) + aplerr, 0) << x;
    EXPECT_EQ(binom(5e14, 1e15), inf);
    EXPECT_EQ(binom(1e15, 1e15 + 2), (1e15 + 2) * (1e15 + 1) / 2);
    EXPECT_EQ(binom(3, -inf), -inf);
    EXPECT_TRUE(gammax({-1e15 + 0.5, 1}) == Number(0) && gammax({2, 1e300}) == Number(0));
    for (const double p : {nan, inf, -inf, 1e18, -1e18, 1e15 + 0.5, -1e15 + 0.5, 0.0, -1.0, 0.5}) {
        EXPECT_TRUE(std::isnan(factor(nan)) && std::isnan(binom(p, nan)) && std::isnan(binom(nan, p))) << p;
        EXPECT_TRUE(std::isnan(gammax({nan, p}).real()) && std::isnan(gammax({p, nan}).real())) << p;
        for (const double q : {inf, -inf, 1e18, 1e15 + 0.5, -1e15 + 0.5, 0.0}) gammax({p, q}), binomC({p, q}, {q, p});
    }
}

}  // namespace
}  // namespace ondrel
