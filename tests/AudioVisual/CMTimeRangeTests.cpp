// SPDX-License-Identifier: Apache-2.0
#include <corvane/AudioVisual/CMTimeRange.h>

#include <gtest/gtest.h>

namespace corvane {
namespace {

TEST(CMTimeRangeHelperTests, MadeFromSecondsMeasuredAndPrinted)
{
    const CMTimeRange clip = rangeWithSeconds(10, 4);
    EXPECT_EQ(clip.end(), CMTime::make(14, 1));
    EXPECT_EQ(middle(clip), CMTime::make(12, 1));
    EXPECT_EQ(hhmmssDesc(clip), "00:00:10 - 00:00:14");
    EXPECT_TRUE(isNearlyEqualTo(clip, rangeWithSeconds(10.001, 4)));
    EXPECT_FALSE(isNearlyEqualTo(clip, rangeWithSeconds(10, 4.01)));
    EXPECT_TRUE(isNearlyEqualTo(clip, rangeWithSeconds(10, 4.01), CMTime::make(1, 10)));
}

} // namespace
} // namespace corvane
