// SPDX-License-Identifier: Apache-2.0
#include <corvane/Numbers/RealNumber.h>

#include <gtest/gtest.h>

#include <cmath>

namespace corvane {
namespace {

TEST(RealNumberDeathTests, ConversionsToAnIntegerRefuseWhatItCannotHold)
{
    const char* const message = "cannot become an integer";
    EXPECT_DEATH(static_cast<void>(intValue(std::nan(""))), message);
    EXPECT_DEATH(static_cast<void>(roundInt(HUGE_VAL)), message);
    EXPECT_DEATH(static_cast<void>(floorInt(-1e19)), message);
    EXPECT_DEATH(static_cast<void>(ceilInt(0x1p63F)), message);
    EXPECT_DEATH(static_cast<void>(roundInt(1e18, 400)), message);
    EXPECT_DEATH(static_cast<void>(truncate(1e10, 12)), message);
    EXPECT_DEATH(static_cast<void>(toByte(std::nan(""))), message);
    EXPECT_DEATH(static_cast<void>(fraction(HUGE_VAL, 0.1)), message);
}

TEST(RealNumberDeathTests, FractionsRefuseToOverflow)
{
    EXPECT_DEATH(static_cast<void>(fraction(std::sqrt(2.0), -1.0)), "overflow|cannot become an integer");
}

TEST(RealNumberDeathTests, TheMessageNamesTheCaller)
{
    EXPECT_DEATH(static_cast<void>(roundInt(std::nan(""))), "RealNumberDeathTests.cpp");
}

} // namespace
} // namespace corvane
