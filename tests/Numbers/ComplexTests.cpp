// SPDX-License-Identifier: Apache-2.0
#include <corvane/Numbers/Complex.h>

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <limits>
#include <numbers>
#include <random>
#include <unordered_set>

// The oracle is wider on purpose.
#pragma GCC diagnostic ignored "-Wdouble-promotion"

namespace corvane {
namespace {

using Wide = std::complex<long double>;
constexpr double pi = std::numbers::pi;
constexpr double infinity = HUGE_VAL;

Wide wide(const Complex& z)
{
    return {z.real, z.imag};
}

// The logarithm with the angle measured from the imaginary axis.
Wide turnedLog(const Wide& z)
{
    return {std::log(std::abs(z)), std::atan2(z.real(), z.imag())};
}

// Equal to the oracle within `ulps` of the larger of 1 and the modulus.
void expectClose(const Complex& found, const Wide& expected, long double ulps = 64)
{
    const long double scale = std::max(1.0L, std::abs(expected));
    EXPECT_LE(std::abs(wide(found) - expected), ulps * scale * std::numeric_limits<double>::epsilon())
        << found.description();
}

static_assert(Complex{1, 2} * Complex{3, 4} == Complex{-5, 10} &&
              Complex{1, 2} / Complex::i == Complex{2, -1});
static_assert(2 - Complex{1, 2} == Complex{1, -2} && Complex{2, 4} / 2 == Complex{1, 2} &&
              -Complex::i.conj() == Complex::i);

TEST(ComplexTests, ArithmeticAgreesWithAWiderType)
{
    std::mt19937_64 random(11);
    std::uniform_real_distribution<double> part(-4, 4);
    for (int n = 0; n < 20'000; ++n) {
        const Complex a{part(random), part(random)};
        const Complex b{part(random), part(random)};
        const double x = part(random);
        SCOPED_TRACE(a.description() + " " + b.description());
        expectClose(a * b, wide(a) * wide(b), 4);
        expectClose(a / b, wide(a) / wide(b), 4);
        expectClose(x / a, static_cast<long double>(x) / wide(a), 4);
        expectClose(a.sqrt(), std::sqrt(wide(a)), 1 / std::sqrt(std::numeric_limits<double>::epsilon()));
        Complex c = a;
        c += b;
        c -= x;
        c *= b;
        c /= x;
        EXPECT_EQ(c, (a + b - x) * b / x);
        if (testing::Test::HasFailure())
            return;
    }
    // Smith's method does not overflow where the parts alone do not.
    EXPECT_EQ((Complex{1e300, 1e300} / Complex{1e300, 1e300}), Complex::one);
}

TEST(ComplexTests, FunctionsAgreeWithAWiderTypeInTheTurnedAngle)
{
    std::mt19937_64 random(12);
    std::uniform_real_distribution<double> part(-2, 2);
    const Wide one = 1, i(0, 1);
    for (int n = 0; n < 5'000; ++n) {
        const Complex z{part(random), part(random)};
        const Complex w{part(random), part(random)};
        const Wide x = wide(z);
        SCOPED_TRACE(z.description() + " " + w.description());
        expectClose(Complex::exp(z), std::exp(x));
        expectClose(Complex::sin(z), std::sin(x));
        expectClose(Complex::cos(z), std::cos(x));
        expectClose(Complex::sinh(z), std::sinh(x));
        expectClose(Complex::cosh(z), std::cosh(x));
        expectClose(Complex::tan(z), std::tan(x), 64 / std::min(1.0L, std::norm(std::cos(x))));
        expectClose(Complex::tanh(z), std::tanh(x), 64 / std::min(1.0L, std::norm(std::cosh(x))));
        expectClose(Complex::log(z), turnedLog(x));
        expectClose(Complex::pow(z, w), std::exp(wide(w) * turnedLog(x)), 256);
        // Cancellation under the root and inside the logarithm costs digits: half of them at the worst.
        const double coarse = 1e6;
        expectClose(Complex::asin(z), -i * turnedLog(i * x + std::sqrt(one - x * x)), coarse);
        expectClose(Complex::acos(z), -i * turnedLog(x + i * std::sqrt(one - x * x)), coarse);
        expectClose(Complex::atan(z), i / 2.0L * (turnedLog(one - i * x) - turnedLog(one + i * x)), coarse);
        expectClose(Complex::asinh(z), turnedLog(x + std::sqrt(x * x + one)), coarse);
        expectClose(Complex::acosh(z), turnedLog(x + std::sqrt(x * x - one)), coarse);
        expectClose(Complex::atanh(z), 0.5L * turnedLog((one + x) / (one - x)), coarse);
        if (testing::Test::HasFailure())
            return;
    }
}

TEST(ComplexTests, AnglesAreReadAndWrittenByDifferentConventions)
{
    EXPECT_EQ(Complex::one.arg(), pi / 2);
    EXPECT_EQ(Complex::i.arg(), 0);
    EXPECT_EQ((Complex{-1, 0}.arg()), -pi / 2);
    EXPECT_EQ(Complex::fromAbsArg(1, 0), Complex::one);
    EXPECT_EQ(Complex::fromAbsArg(1, 0).arg(), pi / 2);
    EXPECT_EQ(Complex::log(Complex::one), (Complex{0, pi / 2}));

    Complex z{0, 5};
    z.setArg(0);
    EXPECT_EQ(z, (Complex{5, 0}));
    z = {3, 4};
    z.setAbs(2);
    EXPECT_EQ(z, (Complex{3 * 0.4, 4 * 0.4}));
    z = Complex::zero;
    z.setAbs(2);
    EXPECT_TRUE(std::isnan(z.real) && std::isnan(z.imag));
    EXPECT_EQ((Complex{3, -4}.abs()), 5);
    EXPECT_EQ((Complex{3, -4}.norm()), 5);
}

TEST(ComplexTests, PowersHaveThreeExactShortcuts)
{
    const Complex z{1, 2};
    EXPECT_EQ(Complex::pow(z, {2, 0}), (Complex{-3, 4}));
    EXPECT_EQ(Complex::pow(z, {1, -0.0}), z);
    EXPECT_EQ(Complex::pow(z, Complex::zero), Complex::one);
    EXPECT_EQ(Complex::pow(Complex::zero, Complex::zero), Complex::one);
    // 1 to the power i: the angle of 1 is π/2 here.
    expectClose(Complex::pow(Complex::one, Complex::i), Wide(std::exp(-pi / 2)), 4);
}

TEST(ComplexTests, SquareRootsChooseTheirSignByTheImaginaryPart)
{
    EXPECT_EQ((Complex::sqrt({-4, 0})), (Complex{0, 2}));
    EXPECT_EQ((Complex::sqrt({-4, -0.0})), (Complex{0, 2}));
    EXPECT_EQ((Complex{-4, -1e-300}.sqrt()), (Complex{0, -2}));
    EXPECT_EQ((Complex{4, 0}.sqrt()), (Complex{2, 0}));
    const Complex root = Complex{infinity, 0}.sqrt();
    EXPECT_EQ(root.real, infinity);
    EXPECT_TRUE(std::isnan(root.imag)); // inf − inf
}

TEST(ComplexTests, SpecialValuesFollowIEEEPartByPart)
{
    struct Row {
        Complex found, expected;
    };
    const double nan = std::nan("");
    const Row rows[] = {
        {Complex{1, 1} / Complex{0, 0}, {nan, nan}},
        {Complex{1, 1} / Complex{infinity, 1}, {0, 0}},
        {Complex{1, 1} / 0.0, {infinity, infinity}},
        {Complex{infinity, 0} * Complex{0, 1}, {nan, infinity}},
        {Complex::exp({-infinity, 0}), {0, 0}},
        {Complex::exp({infinity, 0}), {infinity, nan}}, // inf · sin 0
        {Complex::log({0, 0}), {-infinity, 0}},
        {Complex::log({0, -0.0}), {-infinity, pi}},
        {Complex::log({-0.0, -1}), {0, -pi}},
        {Complex::sinh({infinity, 0}), {nan, nan}}, // the 0 of one half meets the NaN part
        {Complex::cos({nan, 0}), {nan, nan}},
        {Complex::atanh({1, 0}), {nan, nan}}, // 2 / 0 by Smith's method
        {-1.0 + Complex{1, -0.0}, {0, 0}},
        {Complex{1, -0.0} + -1.0, {0, -0.0}},
        {0 - Complex{0, 0}, {0, 0}},
        {-Complex{0, 0}, {-0.0, -0.0}},
    };
    const auto same = [](double a, double b) {
        return std::isnan(a) ? std::isnan(b) : a == b && std::signbit(a) == std::signbit(b);
    };
    for (const Row& row : rows)
        EXPECT_TRUE(same(row.found.real, row.expected.real) && same(row.found.imag, row.expected.imag))
            << "row " << &row - rows << ": " << row.found.description();
}

TEST(ComplexTests, RoundsAndComparesPartByPart)
{
    EXPECT_EQ((Complex{2.5, -2.5}.round()), (Complex{3, -3}));
    EXPECT_EQ((Complex{1.239, -1.231}.round(2)), (Complex{1.24, -1.23}));
    EXPECT_EQ((Complex{1.239, -1.239}.truncate(2)), (Complex{1.23, -1.23}));
    EXPECT_TRUE((Complex{1e-7, 3}.isImaginary()));
    EXPECT_FALSE((Complex{1e-7, 3}.isReal()));
    EXPECT_TRUE((Complex{1, 0.4}.isReal(0)));
    EXPECT_TRUE((Complex{1, 2}.isSimilarTo({1.0000001, 2})));
    EXPECT_FALSE((Complex{1, 2}.isSimilarTo({1, 2.000001})));
    EXPECT_TRUE((Complex{0, 0}.overlap({0.000005, -0.000005})));
    EXPECT_FALSE((Complex{0, 0}.overlap({0.00001, 0})));
    EXPECT_TRUE((Complex{0, 0}.overlap({1, -1}, 1)));
}

TEST(ComplexTests, PrintsSignsAndHashesValues)
{
    EXPECT_EQ((Complex{1, 2}.description()), "(+1.0 +2.0i)");
    EXPECT_EQ((Complex{-1.5, -0.0}.description()), "(-1.5 -0.0i)");
    EXPECT_EQ((Complex{0, -2}.description()), "(+0.0 -2.0i)");
    EXPECT_EQ((Complex{-0.0, 2}.description()), "(-0.0 +2.0i)");
    EXPECT_EQ((Complex{-infinity, 1e-5}.description()), "(-inf +1e-05i)");

    const std::unordered_set<Complex> set{{0, 1}, {-0.0, 1}, {1, 0}};
    EXPECT_EQ(set.size(), 2U); // zeros of both signs are equal, and so are their hashes
    EXPECT_TRUE(Complex::realsToComplex({}).empty());
    EXPECT_EQ(Complex::realsToComplex(std::vector{1.0, 2.0}), (std::vector{Complex{1, 0}, Complex{2, 0}}));
}

} // namespace
} // namespace corvane
