// SPDX-License-Identifier: Apache-2.0
#include <corvane/Numbers/Int.h>

#include <gtest/gtest.h>

#include <limits>
#include <set>

namespace corvane {
namespace {

static_assert(factorial(2) == 2 && factorial(20) == 2432902008176640000);
static_assert(sign(0) == 1 && sign(-3) == -1 && abs(-3) == 3 && clamp(5, 10, 0) == 10 && max(1, 2) == 2);

TEST(IntTests, SignsBoundsAndPowers)
{
    EXPECT_EQ(sign(std::numeric_limits<Int>::min()), -1);
    EXPECT_EQ(abs(std::numeric_limits<Int>::min() + 1), std::numeric_limits<Int>::max());
    EXPECT_EQ(clamp(-7, -5, 5), -5);
    EXPECT_EQ(clamp(7, -5, 5), 5);
    EXPECT_EQ(min(3, -2), -2);
    EXPECT_EQ(corvane::pow(2, 62), Int{1} << 62);
    EXPECT_EQ(corvane::pow(-3, 3), -27);
    EXPECT_EQ(corvane::pow(2, -1), 0);                   // 0.5 truncated
    EXPECT_EQ(corvane::pow(3, 39), 4052555153018976256); // through a double: the exact power ends in 267
}

TEST(IntTests, RandomValuesAreHundredthsOfTheWayInSinglePrecision)
{
    std::set<Int> seen;
    for (int n = 0; n < 4000; ++n)
        seen.insert(randomValue<Int>(0, 1000));
    // Multiples of ten, but for those a float places a hair below, which are cut to the whole number beneath.
    std::set<Int> expected;
    for (int hundredth = 0; hundredth < 100; ++hundredth)
        expected.insert(static_cast<Int>(1000.0F * (static_cast<float>(hundredth) / 100)));
    EXPECT_EQ(seen, expected);

    const Int beyond = (Int{1} << 24) + 1; // a float holds 2^24 in its place
    EXPECT_EQ(randomValue<Int>(beyond, beyond), Int{1} << 24);
    EXPECT_EQ(randomValue<Int>(-5, -5), -5);
}

TEST(IntTests, RandomIsBelowTheLargest31BitNumber)
{
    Int most = 0;
    for (int n = 0; n < 1000; ++n) {
        const Int drawn = random<Int>();
        ASSERT_GE(drawn, 0);
        ASSERT_LE(drawn, 2147483646);
        most = max(most, drawn);
    }
    EXPECT_GT(most, 2'000'000'000); // a thousand draws all below this: once in 10^31 runs
}

} // namespace
} // namespace corvane
