// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/CheckedArithmetic.h>

#include <gtest/gtest.h>

#include <limits>

namespace corvane {
namespace {

constexpr Int intMin = std::numeric_limits<Int>::min();
constexpr Int intMax = std::numeric_limits<Int>::max();

TEST(CheckedArithmeticDeathTests, OverflowStopsTheProcess)
{
    EXPECT_DEATH((void)checkedAdd(intMax, Int{1}), "Fatal error: Integer overflow in an addition\n");
    EXPECT_DEATH((void)checkedAdd<unsigned char>(200, 56), "overflow in an addition");
    EXPECT_DEATH((void)checkedSubtract(intMin, Int{1}), "overflow in a subtraction");
    EXPECT_DEATH((void)checkedSubtract(0U, 1U), "overflow in a subtraction");
    EXPECT_DEATH((void)checkedMultiply(intMin, Int{-1}), "overflow in a multiplication");
}

TEST(CheckedArithmeticDeathTests, ConversionOfWhatIsNoIntegerStopsTheProcess)
{
    const char* const message = "not finite or out of range";
    EXPECT_DEATH((void)checkedInt(std::numeric_limits<double>::quiet_NaN()), message);
    EXPECT_DEATH((void)checkedInt(std::numeric_limits<float>::infinity()), message);
    EXPECT_DEATH((void)checkedInt(0x1p63), message);
    EXPECT_DEATH((void)checkedInt(0x1p63F), message);
    EXPECT_DEATH((void)checkedInt(-0x1.0000000000001p63), message);
}

} // namespace
} // namespace corvane
