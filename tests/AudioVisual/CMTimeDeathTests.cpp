// SPDX-License-Identifier: Apache-2.0
#include <corvane/AudioVisual/CMTime.h>

#include <gtest/gtest.h>

namespace corvane {
namespace {

TEST(CMTimeHelperDeathTests, OnlySecondsThatAnIntHoldsHaveParts)
{
    const char* const message = "cannot become an integer";
    EXPECT_DEATH(static_cast<void>(hhmmss(CMTime::invalid())), message);
    EXPECT_DEATH(static_cast<void>(hhmmssmsDesc(CMTime::positiveInfinity())), message);
    EXPECT_DEATH(static_cast<void>(hhmmssName(CMTime::make(9223372036854775807, 1))), message);
}

TEST(CMTimeHelperDeathTests, PartsAreCountedIn32Bits)
{
    const char* const message = "The number of parts of a time does not fit 32 bits";
    EXPECT_DEATH(static_cast<void>(split(CMTime::make(1, 1), Int{1} << 31)), message);
    EXPECT_DEATH(static_cast<void>(split(CMTime::make(1, 1), -(Int{1} << 31) - 1)), message);
}

} // namespace
} // namespace corvane
