// SPDX-License-Identifier: Apache-2.0
#include <corvane/Numbers/RealNumber.h>
#include <corvane/Platform/Base/Number.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <set>

namespace corvane {
namespace {

template <typename T>
class RealNumberTests : public testing::Test {};
using RealTypes = testing::Types<double, float>;
TYPED_TEST_SUITE(RealNumberTests, RealTypes);

static_assert(RealNumber<CGFloat> && RealNumber<float> && !RealNumber<long double> && !RealNumber<int>);
// Single precision stays single all the way.
static_assert(std::same_as<decltype(round(1.0F, 2)), float> && std::same_as<decltype(pow(2.0F, 3)), float> &&
              std::same_as<decltype(days2seconds(1.0F)), float>);
static_assert(clamp(5.0, 10, 0) == 10 && overlap(1.0, 1.000005) && toByte(0.5F) == 127 && abs(-2.0) == 2);

TYPED_TEST(RealNumberTests, ConvertsFromOtherNumbers)
{
    using T = TypeParam;
    EXPECT_EQ(realNumber<T>(0.1), static_cast<T>(0.1));
    EXPECT_EQ(realNumber<T>(0.5F), T(0.5));
    EXPECT_EQ(realNumber<T>(0.1L), static_cast<T>(0.1L));
    EXPECT_EQ(realNumber<T>(Number(-7)), T(-7));
    EXPECT_EQ(realNumber<T>(Number(0.25)), T(0.25));
    EXPECT_EQ(intValue(T(-2.9)), -2);
    EXPECT_EQ(intValue(T(-9223372036854775808.0)), std::numeric_limits<Int>::min());
    EXPECT_EQ(doubleValue(T(0.5)), 0.5);
}

TYPED_TEST(RealNumberTests, RoundsHalvesAwayFromZero)
{
    using T = TypeParam;
    struct Row {
        T value;
        T floored, ceiled, rounded;
    };
    const Row rows[] = {{T(2.5), 2, 3, 3}, {T(-2.5), -3, -2, -3}, {T(0.5), 0, 1, 1}, {T(-0.4), -1, 0, 0}};
    for (const Row& row : rows) {
        EXPECT_EQ(floor(row.value), row.floored);
        EXPECT_EQ(ceil(row.value), row.ceiled);
        EXPECT_EQ(round(row.value), row.rounded);
        EXPECT_EQ(floorInt(row.value), intValue(row.floored));
        EXPECT_EQ(ceilInt(row.value), intValue(row.ceiled));
        EXPECT_EQ(roundInt(row.value), intValue(row.rounded));
    }
}

TYPED_TEST(RealNumberTests, RoundsAndTruncatesAtDecimals)
{
    using T = TypeParam;
    EXPECT_EQ(round(T(2.5), 0), T(3));
    EXPECT_EQ(round(T(-2.5), 0), T(-3));
    EXPECT_EQ(round(T(1.239), 2), T(1.24));
    EXPECT_EQ(round(T(1270), -2), T(13) / pow(T(10), -2));
    EXPECT_EQ(roundInt(T(17.6), 0), 18);
    EXPECT_EQ(roundInt(T(-1.96), 1), -2);
    EXPECT_EQ(truncate(T(1.239), 2), T(1.23));
    EXPECT_EQ(truncate(T(-1.239), 2), T(-1.23));
    EXPECT_TRUE(std::isnan(round(T(1), 400))); // the scale is infinite: inf / inf
}

TYPED_TEST(RealNumberTests, RemaindersAndSigns)
{
    using T = TypeParam;
    EXPECT_EQ(mod(T(-7), 3), T(-1));
    EXPECT_EQ(mod(T(7), -3), T(1));
    EXPECT_EQ(positiveMod(T(-1), 3), T(2));
    EXPECT_EQ(positiveMod(T(4), 3), T(1));
    EXPECT_EQ(positiveMod(T(1), -3), T(1));
    const T zero = positiveMod(T(-3), 3);
    EXPECT_TRUE(zero == 0 && std::signbit(zero));

    EXPECT_EQ(sign(T(0)), 1);
    EXPECT_EQ(sign(T(-0.0)), 1);
    EXPECT_EQ(sign(T(-0.1)), -1);
    EXPECT_FALSE(std::signbit(abs(T(-0.0))));
    EXPECT_TRUE(std::signbit(norm(T(-0.0))));
    EXPECT_EQ(norm(T(-3)), T(3));
    EXPECT_TRUE(isInteger(T(-4)) && isInteger(T(HUGE_VAL)) && !isInteger(T(0.5)) &&
                !isInteger(T(std::nan(""))));
}

TEST(RealNumberToleranceTests, ComparesAtDecimalsAndWithinTolerances)
{
    EXPECT_TRUE(isSimilarTo(1.0000004, 1.0000001));
    EXPECT_FALSE(isSimilarTo(0.0000005, 0.0)); // 0.5 rounds away from zero
    EXPECT_TRUE(isSimilarTo(0.0000004999, -0.0000004999));
    EXPECT_TRUE(isSimilarTo(1.26F, 1.34F, 1));
    EXPECT_TRUE(isSimilarTo(1251.0, 1349.0, -2));
    EXPECT_FALSE(isSimilarTo(1249.0, 1251.0, -2));
    EXPECT_FALSE(isSimilarTo(std::nan(""), std::nan("")));
    EXPECT_TRUE(isSimilarTo(HUGE_VAL, HUGE_VAL));

    EXPECT_TRUE(overlap(1.0, 1.5, 0.5) && overlap(1.5, 1.0, 0.5)); // both bounds included
    EXPECT_TRUE(overlap(0.0, 0.00001) && !overlap(0.0, 0.000011));
    EXPECT_FALSE(overlap(HUGE_VAL, HUGE_VAL)); // inf − inf is NaN
}

TYPED_TEST(RealNumberTests, ClampsGluesAndMakesBytes)
{
    using T = TypeParam;
    EXPECT_EQ(clamp(T(5), 0, 3), T(3));
    EXPECT_EQ(clamp(T(-5), 0, 3), T(0));
    EXPECT_EQ(clamp(T(5), 10, 0), T(10));
    EXPECT_EQ(glue(T(3), T(3.2), T(0.5)), T(3.2));
    EXPECT_EQ(glue(T(3), T(3.5), T(0.5)), T(3)); // exactly delta away
    EXPECT_EQ(glue(T(4), T(3.5), T(0.5)), T(4));
    EXPECT_EQ(glue(T(std::nan("")), T(3.5), T(0.5)), T(3.5)); // neither side refuses a NaN
    EXPECT_EQ(toByte(T(1)), 255);
    EXPECT_EQ(toByte(T(0.5)), 127);
    EXPECT_EQ(toByte(T(1.5)), 382);
    EXPECT_EQ(toByte(T(-0.5)), -127);
}

TYPED_TEST(RealNumberTests, FractionsAreTheSimplestCloseOnes)
{
    using T = TypeParam;
    struct Row {
        T value, threshold;
        Fraction expected;
    };
    const Row rows[] = {
        {T(0.33333333), T(1e-6), {1, 3}}, {T(2), T(1e-6), {2, 1}},           {T(-0.5), T(1e-6), {-1, 2}},
        {T(0.75), T(1e-6), {3, 4}},       {T(3.14159265), T(2e-3), {22, 7}}, {T(0), 0, {0, 1}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.value);
        const Fraction found = fraction(row.value, row.threshold);
        EXPECT_EQ(found.numerator, row.expected.numerator);
        EXPECT_EQ(found.denominator, row.expected.denominator);
    }
}

TYPED_TEST(RealNumberTests, RandomValuesFallOnHundredths)
{
    using T = TypeParam;
    std::set<T> seen;
    std::set<T> expected;
    for (int hundredth = 0; hundredth < 100; ++hundredth)
        expected.insert(static_cast<T>(hundredth) / 100);
    for (int n = 0; n < 4000; ++n)
        seen.insert(randomUnitValue<T>());
    EXPECT_EQ(seen, expected); // 4000 draws miss one of the hundred once in 10^15 runs
    T lowest = 3, highest = 1;
    for (int n = 0; n < 4000; ++n) {
        const T value = randomValue<T>(1, 3);
        lowest = std::min(lowest, value);
        highest = std::max(highest, value);
    }
    EXPECT_EQ(lowest, T(1));
    EXPECT_EQ(highest, T(0.99) * 2 + 1); // never the upper bound
    EXPECT_TRUE(isInteger(randomValue<T>()));
}

TEST(RealNumberUnitTests, UnitFactorsHaveTheirDigits)
{
    EXPECT_EQ(mm2inches(10.0), 10 * 0.0393700787);
    EXPECT_EQ(mm2points(10.0), 10 * 2.834645669);
    EXPECT_EQ(points2inches(72.0), 72 * 0.0138889);
    EXPECT_EQ(points2mm(10.0), 10 * 0.352778);
    EXPECT_NE(points2mm(mm2points(1.0)), 1);
    EXPECT_EQ(mm2points(1.0F), 2.834645669F);
    EXPECT_EQ(days2seconds(1.5), 129600);
    EXPECT_EQ(weeks2seconds(2.0F), 1209600.0F);
}

} // namespace
} // namespace corvane
