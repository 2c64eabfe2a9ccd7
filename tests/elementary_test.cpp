// The elementary functions of reals: within a hair of half a unit of the extended library's, the same to the bit for
// one value and for many, and right where values are special.
#include "numbers/elementary.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <functional>
#include <limits>
#include <random>
#include <vector>

#include "numbers/polar.h"

namespace ondrel {
namespace {

constexpr double inf = std::numeric_limits<double>::infinity(), nan = std::numeric_limits<double>::quiet_NaN();

// In units of the last place that the exact value has as a double.
double error_of(double found, long double exact) {
    const auto rounded = static_cast<double>(exact);
    if (!std::isfinite(rounded) || found == rounded)
        return found == rounded || (found != found && rounded != rounded) ? 0.5 : inf;
    const double size = std::fmax(std::fabs(rounded), 0x1p-1022);
    return static_cast<double>(std::fabs(found - exact) / (std::nextafter(size, inf) - size));
}

bool same(double a, double b) {
    return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b) || (a != a && b != b);
}

// Arguments over all of the range, near one, and special ones among ordinary ones.
std::vector<double> arguments(double low, double high) {
    std::mt19937_64 random(11);
    std::uniform_real_distribution<double> uniform(low, high), exponent(-60, 10), part(0.5, 1);
    std::vector<double> values;
    for (int i = 0; i < 20000; ++i) {
        values.push_back(uniform(random));
        values.push_back(1 + std::ldexp(part(random) - 0.75, static_cast<int>(exponent(random))));
        values.push_back(std::bit_cast<double>(random()));
    }
    for (const double special :
         {0.0, -0.0, 1.0, -1.0, inf, -inf, nan, 5e-324, -5e-324, 0x1p-1022, 1.7976931348623157e308})
        values.insert(values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2), special);
    return values;
}

template <class Function>
void check(const char* name, double low, double high, long double (*exact)(long double)) {
    SCOPED_TRACE(name);
    const std::vector<double> x = arguments(low, high);
    std::vector<double> many(x.size());
    Function::of(x.data(), many.data(), x.size());
    double worst = 0, where = 0;
    for (std::size_t i = 0; i < x.size(); ++i) {
        ASSERT_TRUE(same(many[i], Function::of(x[i]))) << x[i];
        if (const double error = error_of(many[i], exact(x[i])); error > worst) worst = error, where = x[i];
    }
    EXPECT_LE(worst, 0.502) << where;
}

TEST(Elementary, FunctionsAreRoundedOnceAndAlikeForOneAndForMany) {
    check<Exponential>("exponential", -746, 711, [](long double x) { return std::exp(x); });
    check<NaturalLogarithm>("logarithm", 0, 1e6, [](long double x) { return std::log(x); });
}

TEST(Elementary, SinesAreRoundedOnceHoweverFarAroundTheCircle) {
    const auto sine = [](long double x) { return angle_zero(std::sin(x)); };
    const auto cosine = [](long double x) { return angle_zero(std::cos(x)); };
    for (const double turns : {0.002, 1.0, 50.0, 450.0, 3e8}) {
        check<Sine>("sine", -turns, turns, sine);
        check<Cosine>("cosine", -turns, turns, cosine);
        check<Tangent>("tangent", -turns, turns, [](long double x) { return std::tan(x); });
    }
    // The doubles nearest to multiples of a right angle leave the least, which the cosine and the tangent show.
    for (double k = 1; k < 0x1p29; k = std::floor(k * 1.37) + 1) {
        const auto near = static_cast<double>(k * 0x1.921fb54442d18469898cc51701b8p+0L);
        for (const double angle : {near, -near}) {
            EXPECT_LE(error_of(Sine::of(angle), sine(angle)), 0.502) << angle;
            EXPECT_LE(error_of(Cosine::of(angle), cosine(angle)), 0.502) << angle;
            EXPECT_LE(error_of(Tangent::of(angle), std::tan(static_cast<long double>(angle))), 0.502) << angle;
        }
    }
}

TEST(Elementary, PowersAreRoundedOnceAndAlikeForOneAndForMany) {
    const std::vector<double> x = arguments(0, 100);
    std::vector<double> y = arguments(-150, 150), many(x.size());
    std::rotate(y.begin(), y.begin() + 7, y.end());
    Power::of({x.data(), false}, {y.data(), false}, many.data(), x.size());
    double worst = 0, where = 0;
    for (std::size_t i = 0; i < x.size(); ++i) {
        ASSERT_TRUE(same(many[i], Power::of(x[i], y[i]))) << x[i] << " " << y[i];
        const long double exact = std::pow(static_cast<long double>(x[i]), static_cast<long double>(y[i]));
        if (const double error = error_of(many[i], exact); error > worst) worst = error, where = x[i];
    }
    EXPECT_LE(worst, 0.502) << where;
    for (const double exponent : {2.0, -1.0, 0.0, 3.0, 0.3}) {
        Power::of({x.data(), false}, {&exponent, true}, many.data(), x.size());
        for (std::size_t i = 0; i < x.size(); ++i) ASSERT_TRUE(same(many[i], Power::of(x[i], exponent))) << x[i];
    }
}

TEST(Elementary, SpecialValuesAndDomains) {
    EXPECT_EQ(Exponential::of(710), inf);
    EXPECT_EQ(Exponential::of(-746), 0);
    EXPECT_EQ(Exponential::of(-745), 5e-324);
    EXPECT_EQ(NaturalLogarithm::of(0), -inf);
    EXPECT_TRUE(std::isnan(NaturalLogarithm::of(-1)));
    EXPECT_TRUE(!std::signbit(Sine::of(-0.0)) && !std::signbit(Sine::of(-1e-300)) && std::isnan(Sine::of(inf)));
    EXPECT_TRUE(Sine::of(0x1.921fb54442d18p+1) == 0 && Sine::of(-1e-15) == -1e-15 && Sine::of(9e-16) == 0);
    EXPECT_EQ(Power::of(0, 0), 1);
    EXPECT_EQ(Power::of(-2, 3), -8);
    EXPECT_EQ(Power::of(2, 63), 0x1p63);
    EXPECT_EQ(Power::of(2, -1074), 5e-324);
    EXPECT_EQ(Power::of(-inf, 3), -inf);
    EXPECT_EQ(Logarithm::of(100, 10), 2);
    EXPECT_EQ(Logarithm::of(8, 2), 3);
    EXPECT_EQ(cube_root(-8), -2);
    for (const auto& function : {arc_sine, arc_cosine, root_of_one_minus_square, area_hyperbolic_tangent})
        EXPECT_TRUE(std::isnan(function(1.5)));
    EXPECT_EQ(arc_sine(1), 0x1.921fb54442d18p+0);
    EXPECT_EQ(root_of_square_minus_one(1e300), 1e300);
}

}  // namespace
}  // namespace ondrel
