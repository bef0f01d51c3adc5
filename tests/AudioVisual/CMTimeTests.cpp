// SPDX-License-Identifier: Apache-2.0
#include <corvane/AudioVisual/CMTime.h>

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace corvane {
namespace {

TEST(CMTimeHelperTests, TextsOfHoursMinutesSeconds)
{
    struct Row {
        double seconds;
        const char *plain, *full;
    };
    const Row rows[] = {
        {3725.5, "01:02:05", "01:02:05:500"},   {0, "00:00:00", "00:00:00:000"},
        {59.9996, "00:00:59", "00:00:59:1000"}, // milliseconds are rounded by themselves
        {90000, "25:00:00", "25:00:00:000"},    {-1, "00:00:-1", "00:00:-1:000"},
        {-0.5, "00:00:-1", "00:00:-1:500"},     {-3725, "-1:-2:-5", "-1:-2:-5:000"},
        {360000, "100:00:00", "100:00:00:000"},
    };
    for (const Row& row : rows) {
        const CMTime time = timeWithSeconds(row.seconds);
        EXPECT_EQ(hhmmssDesc(time), row.plain);
        EXPECT_EQ(hhmmssmsDesc(time), row.full);
    }
    const CMTime time = timeWithSeconds(3725.5);
    EXPECT_EQ(hhmmssName(time), "01-02-05");
    EXPECT_EQ(hhmmssmsName(time), "01-02-05-500");
    const auto parts = hhmmssms(CMTime::make(7265, 2)); // 3632.5 s
    EXPECT_EQ(parts.hh, 1);
    EXPECT_EQ(parts.mm, 0);
    EXPECT_EQ(parts.ss, 32);
    EXPECT_EQ(parts.ms, 500);
    EXPECT_EQ(hhmmss(timeWithSeconds(59.9996)).ss, 59);
}

TEST(CMTimeHelperTests, NearlyEqualIsStrictlyWithinTheTolerance)
{
    const CMTime a = CMTime::make(10, 1);
    EXPECT_TRUE(isNearlyEqualTo(a, a + CMTime::make(1, 1000)));
    EXPECT_TRUE(isNearlyEqualTo(a + CMTime::make(1, 1000), a));
    EXPECT_FALSE(isNearlyEqualTo(a, a + CMTime::make(1, 500)));
    EXPECT_FALSE(isNearlyEqualTo(a, a + CMTime::make(1, 600)));
    EXPECT_TRUE(isNearlyEqualTo(a, a + CMTime::make(1, 500), CMTime::make(1, 400)));
    EXPECT_TRUE(isNearlyEqualTo(a, a + CMTime::make(1, 2), 0.6));
    EXPECT_FALSE(isNearlyEqualTo(a, a + CMTime::make(1, 2), 0.5));
    EXPECT_FALSE(isNearlyEqualTo(a, CMTime::invalid()));
}

TEST(CMTimeHelperTests, SplitGivesTheMiddlesOfEqualParts)
{
    std::vector<double> found;
    for (const CMTime& time : split(CMTime::make(2, 1), 4))
        found.push_back(time.seconds());
    EXPECT_EQ(found, (std::vector{0.25, 0.75, 1.25, 1.75}));

    auto parts = split(CMTime::make(1, 1), 1);
    EXPECT_EQ(parts.next(), CMTime::make(1, 2));
    EXPECT_EQ(parts.next(), std::nullopt);
    EXPECT_EQ(parts.next(), std::nullopt);
    EXPECT_EQ(split(CMTime::make(2, 1), 0).next(), std::nullopt);
    EXPECT_EQ(split(CMTime::make(2, 1), -3).next(), std::nullopt);
    EXPECT_EQ(split(CMTime::invalid(), 2).next(), CMTime::invalid());

    // Thirds of a frame stay exact to the last of many.
    Int count = 0;
    CMTime last;
    for (const CMTime& time : split(CMTime::make(1001, 30000), 30000)) {
        last = time;
        ++count;
    }
    EXPECT_EQ(count, 30000);
    EXPECT_EQ(last + split(CMTime::make(1001, 30000), 30000).next().value(), CMTime::make(1001, 30000));
}

TEST(CMTimeHelperTests, OperatorsWithNumbers)
{
    CMTime time = CMTime::make(3, 1);
    EXPECT_EQ(time * 2, 2 * time);
    EXPECT_EQ(time * 0.5, CMTime::make(3, 2));
    EXPECT_EQ(0.5 * time, CMTime::make(3, 2));
    EXPECT_EQ(time / 2, CMTime::make(3, 2));
    EXPECT_EQ(middle(time), CMTime::make(3, 2));
    EXPECT_EQ(time / CMTime::make(3, 2), 2.0);
    EXPECT_TRUE(std::isnan(time / CMTime::invalid()));
    time += CMTime::make(1, 2);
    time -= CMTime::make(1, 4);
    time *= 4;
    time *= 0.5;
    time /= 13;
    EXPECT_EQ(time, CMTime::make(1, 2));

    const CMTime second = CMTime::make(600, 600);
    EXPECT_TRUE(second == 1.0 && 1.0 == second && second != 1.1 && 1.1 != second);
    EXPECT_TRUE(second < 1.1 && second <= 1.0 && second > 0.9 && second >= 1.0);
    EXPECT_TRUE(1.1 > second && 1.0 >= second && 0.9 < second && 1.0 <= second);
    EXPECT_TRUE(second == 1.0000001); // the number is rounded to a microsecond first
    EXPECT_TRUE(CMTime::positiveInfinity() == HUGE_VAL && CMTime::indefinite() > 1e9);
}

} // namespace
} // namespace corvane
