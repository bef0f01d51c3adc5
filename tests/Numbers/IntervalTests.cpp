// SPDX-License-Identifier: Apache-2.0
#include <corvane/Numbers/Interval.h>

#include <gtest/gtest.h>

#include <cmath>

namespace corvane {
namespace {

constexpr double infinity = HUGE_VAL;
constexpr Interval unit = Interval::unit;

static_assert(Interval::fromValues(3, 1) == Interval{1, 3} && !Interval{3, 1}.isValid());
static_assert(unit.intersection({1, 2}) == Interval{1, 1} && !unit.intersection({1.5, 2}));

TEST(IntervalTests, ReportsItsShape)
{
    EXPECT_TRUE(unit.isValid() && Interval::zero.isValid());
    EXPECT_FALSE((Interval{std::nan(""), 1}.isValid()));
    EXPECT_TRUE(unit.isClosed());
    EXPECT_FALSE((Interval{-infinity, 0}.isClosed()));
    EXPECT_FALSE((Interval{0, std::nan("")}.isClosed()));
    EXPECT_EQ((Interval{-1, 4}.length()), 5);
    EXPECT_EQ((Interval{-1, 4}.middle()), 1.5);
    EXPECT_EQ(unit.withMin(2), (Interval{2, 1})); // not reordered
    EXPECT_EQ(unit.withMax(-2), (Interval{0, -2}));
    EXPECT_EQ(Interval::zero.description(), "[0.0, 0.0]");
    EXPECT_EQ((Interval{-0.5, infinity}.description()), "[-0.5, inf]");
}

TEST(IntervalTests, ContainsEverythingUpToTheLargerEnd)
{
    EXPECT_TRUE(unit.contains(-5));
    EXPECT_TRUE(unit.contains(1));
    EXPECT_FALSE(unit.contains(2));
    EXPECT_TRUE((Interval{3, 1}.contains(3)));
    EXPECT_FALSE(unit.contains(std::nan("")));
}

TEST(IntervalTests, SetOperationsTakeTouchingEndsAsCommon)
{
    EXPECT_TRUE(unit.intersects({1, 2}));
    EXPECT_FALSE(unit.intersects({1.5, 2}));
    EXPECT_EQ(Interval::intersection({0, 5}, {3, 8}), (Interval{3, 5}));
    EXPECT_EQ(unit.union_({3, 4}), (Interval{0, 4})); // across the gap
    EXPECT_EQ(Interval::union_({2, 3}, unit), (Interval{0, 3}));
    Interval grown = unit;
    grown.formUnion({-1, 0.5});
    EXPECT_EQ(grown, (Interval{-1, 1}));
    EXPECT_EQ(unit.expandingToValue(3), (Interval{0, 3}));
    grown.expandToValueInPlace(-2);
    EXPECT_EQ(grown, (Interval{-2, 1}));
    grown.expandToValueInPlace(0);
    EXPECT_EQ(grown, (Interval{-2, 1}));
}

TEST(IntervalTests, MapsValues)
{
    const Interval interval{2, 6};
    EXPECT_EQ(interval.restrictValue(1), 2);
    EXPECT_EQ(interval.restrictValue(7), 6);
    EXPECT_EQ(interval.restrictValue(3), 3);
    EXPECT_TRUE(std::isnan(interval.restrictValue(std::nan(""))));
    EXPECT_EQ(interval.scaleNormalizedValue(0.25), 3);
    EXPECT_EQ(interval.scaleNormalizedValue(2), 10);
    for (int n = 0; n < 200; ++n) {
        const double value = interval.randomValue();
        ASSERT_GE(value, 2);
        ASSERT_LT(value, 6);
        ASSERT_TRUE(isSimilarTo(value * 25, std::round(value * 25))); // hundredths of a length of 4
    }
}

TEST(IntervalTests, Bissects)
{
    using Parts = std::pair<std::optional<Interval>, std::optional<Interval>>;
    EXPECT_EQ((Interval{1, 3}.bissect()), (std::pair{Interval{1, 2}, Interval{2, 3}}));
    EXPECT_EQ(unit.bissectAtValue(-1), (Parts{std::nullopt, unit}));
    EXPECT_EQ(unit.bissectAtValue(2), (Parts{unit, std::nullopt}));
    EXPECT_EQ(unit.bissectAtValue(0.25), (Parts{Interval{0, 0.25}, Interval{0.25, 1}}));
    EXPECT_EQ(unit.bissectAtValue(1), (Parts{unit, Interval{1, 1}}));
}

TEST(IntervalTests, ComparesWithTolerance)
{
    EXPECT_TRUE(unit.overlap({0.000005, 1}));
    EXPECT_FALSE(unit.overlap({0.00001, 1})); // tighter than the tolerance of plain numbers
    EXPECT_TRUE(unit.overlap({0.5, 0.5}, 0.5));
    EXPECT_TRUE(unit.isSimilarTo({0.0000001, 1.0000001}));
    EXPECT_FALSE(unit.isSimilarTo({0, 1.000001}));
    EXPECT_TRUE(unit.isSimilarTo({0.4, 1.4}, 0));

    EXPECT_TRUE((Interval{1, 1.0000001}.oneEndPointIsSimilarTo(1)));
    EXPECT_FALSE((Interval{1, 2}.oneEndPointIsSimilarTo(1)));
    EXPECT_FALSE((Interval{1, 2}.oneEndPointIsSimilarTo(2)));

    EXPECT_TRUE((Interval{1.00000000001, 1.00000000002}.hasConverged(10)));
    EXPECT_FALSE((Interval{1.00000000001, 1.0000000002}.hasConverged(10)));
    EXPECT_TRUE((Interval{0.1, 0.9}.hasConverged(1)));  // 1 to the tenth is 1
    EXPECT_FALSE((Interval{0.1, 0.9}.hasConverged(2))); // 1024
}

} // namespace
} // namespace corvane
