// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/CheckedArithmetic.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace corvane {
namespace {

constexpr Int intMin = std::numeric_limits<Int>::min();
constexpr Int intMax = std::numeric_limits<Int>::max();

TEST(CheckedArithmeticTests, ResultsAtTheEndsOfTheRangeAreExact)
{
    EXPECT_EQ(checkedAdd(intMax - 1, Int{1}), intMax);
    EXPECT_EQ(checkedAdd(intMin, intMax), -1);
    EXPECT_EQ(checkedSubtract(intMin + 1, Int{1}), intMin);
    EXPECT_EQ(checkedSubtract(Int{-1}, intMin), intMax);
    EXPECT_EQ(checkedMultiply(intMin, Int{1}), intMin);
    EXPECT_EQ(checkedMultiply(Int{3037000499}, Int{3037000499}), 9223372030926249001);
    static_assert(checkedAdd<unsigned char>(200, 55) == 255);
}

TEST(CheckedArithmeticTests, ConversionTruncatesTowardZero)
{
    EXPECT_EQ(checkedInt(2.9), 2);
    EXPECT_EQ(checkedInt(-2.9), -2);
    EXPECT_EQ(checkedInt(-0x1p63), intMin);
    EXPECT_EQ(checkedInt(std::nextafter(0x1p63, 0.0)), intMax - 1023);
    EXPECT_EQ(checkedInt(std::nextafter(0x1p63F, 0.0F)), 9223371487098961920);
}

} // namespace
} // namespace corvane
