// Polar and cartesian forms against the plain formulas, and the values where a formula turns.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <numbers>
#include <random>

#include "numbers/polar.h"
#include "numbers/random.h"
#include "numbers/truth.h"
#include "tests/reference_forms.h"

namespace ondrel {
namespace {

using oracle::Parts;

constexpr double pi = std::numbers::pi;
constexpr double inf = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

struct Kind {
    std::size_t components;
    void (*polar)(double* dst, const double* src);
    void (*cartesian)(double* dst, const double* src);
};
constexpr Kind kinds_of_numbers[] = {
    {2, polarcomplex, cartesiancomplex}, {4, polarquat, cartesianquat}, {8, polarocto, cartesianocto}};

bool close(double expected, double actual, double scale) {
    if (std::isnan(expected)) return std::isnan(actual);
    if (std::isinf(expected) || std::isinf(actual)) return expected == actual;
    return std::fabs(expected - actual) <= 8 * std::numeric_limits<double>::epsilon() * scale;
}

void expect_close(std::size_t components, const Parts& expected, const Parts& actual, const Parts& of,
                  const char* what) {
    double scale = 1;
    for (const double part : of)
        if (std::isfinite(part)) scale = std::max(scale, std::fabs(part));
    for (std::size_t i = 0; i < components; ++i)
        EXPECT_TRUE(close(expected[i], actual[i], scale))
            << what << " component " << i << " of " << of[0] << " " << of[1] << " " << of[2] << " " << of[3] << " "
            << of[4] << " " << of[5] << " " << of[6] << " " << of[7] << ": " << actual[i] << ", expected "
            << expected[i];
}

// The function into another array and in place.
Parts run(void (*convert)(double*, const double*), std::size_t components, const Parts& source) {
    Parts apart;
    apart.fill(-12345);
    convert(apart.data(), source.data());
    Parts in_place = source;
    convert(in_place.data(), in_place.data());
    for (std::size_t i = 0; i < components; ++i)
        EXPECT_TRUE(apart[i] == in_place[i] || (std::isnan(apart[i]) && std::isnan(in_place[i])))
            << "component " << i << " differs in place";
    for (std::size_t i = components; i < 8; ++i) EXPECT_EQ(apart[i], -12345) << "wrote past the end";
    return apart;
}

void check_both_ways(const Parts& parts) {
    for (const Kind& kind : kinds_of_numbers) {
        Parts source{};
        std::copy_n(parts.begin(), kind.components, source.begin());
        expect_close(kind.components, oracle::polar(kind.components, source), run(kind.polar, kind.components, source),
                     source, "polar");
        expect_close(kind.components, oracle::cartesian(kind.components, source),
                     run(kind.cartesian, kind.components, source), source, "cartesian");
    }
}

TEST(Forms, FollowTheirFormulasWhereComponentsVanish) {
    // Every pattern of zero, positive and negative components, so that each formula runs to each stopping point.
    for (int pattern = 0; pattern < 6561; ++pattern) {
        Parts parts{};
        for (int i = 0, rest = pattern; i < 8; ++i, rest /= 3)
            parts[static_cast<std::size_t>(i)] = 0.4 * (rest % 3 - 1);
        check_both_ways(parts);
    }
}

TEST(Forms, FollowTheirFormulasForRandomNumbers) {
    std::mt19937_64 random(20);
    std::uniform_real_distribution<double> small(-1, 1), wide(-20, 20);
    for (int i = 0; i < 5000; ++i) {
        Parts parts;
        for (double& part : parts) part = i % 2 == 0 ? small(random) : wide(random);
        check_both_ways(parts);
    }
}

TEST(Forms, FollowTheirFormulasAtSpecialValues) {
    for (const double special : {inf, -inf, nan, -0.0, 1e200, 1e-200, 5e-324, pi, pi / 2, -pi / 2, 1e-16, -1e-15, 1.0})
        for (std::size_t place = 0; place < 8; ++place) {
            Parts parts{};
            parts[place] = special;
            check_both_ways(parts);
            parts.fill(0.5);
            parts[place] = special;
            check_both_ways(parts);
        }
}

TEST(Forms, RightAnglesGiveTrueZeros) {
    EXPECT_EQ(run(cartesiancomplex, 2, {1, pi / 2})[0], 0);
    EXPECT_EQ(run(cartesianocto, 8, {2, pi / 2, pi / 2, pi / 2, pi / 2, pi / 2, pi / 2, pi / 2})[7], 2);
    // The bound of what counts as zero is 1e-15 in the sine, not in the angle's distance alone.
    EXPECT_NE(run(cartesiancomplex, 2, {1, 1.5e-15})[1], 0);
    EXPECT_EQ(run(cartesiancomplex, 2, {1, 0.5e-15})[1], 0);
}

TEST(Forms, TheSignIsThatOfTheFirstComponentThatIsNotZero) {
    EXPECT_EQ(csgnquat(0, 0, -2, 5), -1.0);
    EXPECT_EQ(csgnquat(0, 0, 0, 0), 0.0);
    EXPECT_EQ(csgnquat(-0.0, 1e-320, -5, 0), 1.0);
    EXPECT_EQ(csgnquat(-inf, 1, 1, 1), -1.0);
    for (std::size_t place = 0; place < 8; ++place)
        for (const double sign : {-1.0, 1.0}) {
            Parts parts{};
            parts[place] = sign * 3;
            if (place < 7) parts[7] = -sign;
            EXPECT_EQ(csgnocto(parts.data()), sign) << place;
        }
    EXPECT_EQ(csgnocto(Parts{}.data()), 0.0);
}

// Absent components do not count: the rest is split evenly, agrees, or leans.
TEST(Truth, AgreesAsFarAsItsValuesDo) {
    constexpr double absent = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(contradict_c(std::array{1.0, 0.0}), 0);
    EXPECT_EQ(contradict_c(std::array{7.0, 1.0}), 1);
    EXPECT_EQ(contradict_q(std::array{0.0, 0.0, -3.0, 0.0}), 1);
    EXPECT_EQ(contradict_q(std::array{1.0, 0.0, 1.0, 0.5}), 0.25);
    EXPECT_NEAR(contradict_q(std::array{1.0, 1.0, 1.0, absent}), 1, 1e-15);
    EXPECT_EQ(contradict_o(std::array{1.0, 1.0, 1.0, 1.0, 0.0, 0.0, 0.0, 0.0}), 0);
    EXPECT_NEAR(contradict_o(std::array{1.0, 1.0, 1.0, 1.0, 1.0, 1.0, 1.0, absent}), 1, 1e-15);
    EXPECT_NEAR(contradict_o(std::array{1.0, 1.0, 1.0, 0.0, 0.0, 0.0, absent, absent}), 0, 1e-15);
    EXPECT_NEAR(contradict_o(std::array{0.0, 0.0, 0.0, 0.0, 0.5, absent, absent, absent}), 0.8, 1e-15);
}

// The stream of the minimal standard, and the seed that makes it stand still.
TEST(Chance, FollowsItsSeed) {
    std::int64_t state = 0;
    SEED_PRNGS(0, state, 1);
    EXPECT_EQ(state, 1);
    for (const std::int64_t next : {48271, 182605794, 1291394886, 1914720637}) EXPECT_EQ(PRNGS(state), next);
    std::int64_t standing = 0;
    SEED_PRNGS(0, state, 0);
    SEED_PRNGS(0, standing, 123456789);
    EXPECT_EQ(state, standing);
    SEED_PRNGS(3, state, 5);
    EXPECT_EQ(state, 5 + 3 * 22925);
    SEED_PRNGS(0, state, prngs_modulus);
    EXPECT_EQ(PRNGS(state), prngs_modulus);
    EXPECT_EQ(draw_apart_from(static_cast<double>(prngs_modulus) * prngs_unit, state),
              static_cast<double>(prngs_modulus) * prngs_unit);
}

}  // namespace
}  // namespace ondrel
