// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Media/CMTimeRange.h>

#include <gtest/gtest.h>

namespace corvane {
namespace {

CMTime at(Int seconds)
{
    return CMTime::make(seconds, 1);
}
CMTimeRange range(Int from, Int to)
{
    return CMTimeRange::fromTimes(at(from), at(to));
}

TEST(CMTimeRangeTests, ValidityAndEnds)
{
    EXPECT_TRUE(range(1, 3).isValid() && !range(1, 3).isEmpty());
    EXPECT_EQ(range(1, 3).duration, at(2));
    EXPECT_EQ(range(1, 3).end(), at(3));
    EXPECT_TRUE(range(1, 1).isValid() && range(1, 1).isEmpty());
    EXPECT_FALSE(range(3, 1).isValid());
    EXPECT_FALSE(CMTimeRange::invalid().isValid());
    EXPECT_TRUE((CMTimeRange{at(1), CMTime::positiveInfinity()}.isValid()));
    EXPECT_FALSE((CMTimeRange{at(1), CMTime::make(1, 1, 2)}.isValid())); // a length has no epoch
}

TEST(CMTimeRangeTests, TheEndDoesNotBelongToIt)
{
    EXPECT_TRUE(range(1, 3).contains(at(1)));
    EXPECT_FALSE(range(1, 3).contains(at(3)));
    EXPECT_FALSE(range(1, 1).contains(at(1)));
    EXPECT_TRUE(range(1, 3).contains(range(2, 3)));
    EXPECT_FALSE(range(1, 3).contains(range(2, 4)));
    EXPECT_TRUE(range(1, 3).contains(range(2, 2)));
    EXPECT_FALSE(range(1, 3).contains(range(3, 3)));
    EXPECT_FALSE(range(1, 3).contains(CMTimeRange::invalid()));
}

TEST(CMTimeRangeTests, IntersectionsAndUnions)
{
    EXPECT_EQ(range(1, 4).intersection(range(3, 9)), range(3, 4));
    EXPECT_EQ(range(3, 9).intersection(range(1, 4)), range(3, 4));
    EXPECT_EQ(range(1, 9).intersection(range(3, 4)), range(3, 4));
    EXPECT_EQ(range(1, 3).intersection(range(3, 4)), CMTimeRange::zero());
    EXPECT_EQ(range(1, 3).intersection(CMTimeRange::invalid()), CMTimeRange::zero());
    EXPECT_EQ(range(1, 2).unionWith(range(5, 6)), range(1, 6));
    EXPECT_EQ(range(1, 9).unionWith(range(5, 6)), range(1, 9));
    EXPECT_EQ(CMTimeRange::invalid().unionWith(range(5, 6)), range(5, 6));
    EXPECT_EQ(range(5, 6).unionWith(range(1, 1)), range(5, 6));
}

} // namespace
} // namespace corvane
