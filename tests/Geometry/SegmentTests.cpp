// SPDX-License-Identifier: Apache-2.0
#include <corvane/Geometry/Segment.h>

#include <gtest/gtest.h>

#include <cmath>
#include <random>

namespace corvane {
namespace {

static_assert(Segment{{0, 0}, {1, 1}}.intersects({{0, 1}, {1, 0}}) == CGPoint{0.5, 0.5});

TEST(SegmentTests, MeasuresItself)
{
    const Segment s{{1, 5}, {4, 1}};
    EXPECT_EQ(s.deltaX(), 3);
    EXPECT_EQ(s.deltaY(), -4);
    EXPECT_EQ(s.length(), 5);
    EXPECT_EQ(s.midpoint(), (CGPoint{2.5, 3}));
    EXPECT_EQ(s.bounds(), CGRect::make(1, 1, 3, 4));
    EXPECT_EQ(s.boundingRect(), s.bounds());
    EXPECT_EQ(s.normal(), (CGPoint{4.0 / 5, 3.0 / 5}));
    EXPECT_EQ(Segment::zero.normal(), CGPoint::zero);
    EXPECT_EQ(s.withStart({0, 0}), (Segment{{0, 0}, {4, 1}}));
    EXPECT_EQ(s.withEnd({0, 0}).reversed(), (Segment{{0, 0}, {1, 5}}));
    EXPECT_EQ(s.point(2), (CGPoint{7, -3})); // beyond the end
    EXPECT_EQ(s.parameter({-2, 9}), 1);      // unsigned
}

TEST(SegmentTests, ComparesExactlyWithinToleranceAndAtDecimals)
{
    const Segment s{{0, 0}, {2, 1}};
    const Segment near{{0.000004, 0}, {2, 1.000004}};
    EXPECT_TRUE(s.isEqualTo(s) && s.isEqualToReversed(s.reversed()) && !s.isEqualTo(s.reversed()));
    EXPECT_TRUE(s.overlap(near) && s.overlapReversed(near.reversed()) && !s.overlap(near, 0.000001));
    EXPECT_FALSE(s.overlapReversed(near));
    EXPECT_TRUE(s.isSimilarTo(near, 5) && !s.isSimilarTo(near));
    EXPECT_TRUE(s.isSimilarToReversed(near.reversed(), 5) && !s.isSimilarToReversed(near, 5));
    EXPECT_TRUE((Segment{{1, 1}, {1.0000001, 1}}.isPoint()));
    EXPECT_FALSE(s.isPoint());
    EXPECT_TRUE(s.isPoint(-1));
}

TEST(SegmentTests, ColinearityIsOfSlopesAndVerticalAgreesWithAll)
{
    EXPECT_TRUE((Segment{{0, 0}, {0, 5}}.isColinearTo({{3, 0}, {4, 1}})));
    EXPECT_TRUE((Segment{{3, 0}, {4, 1}}.isColinearTo({{0, 0}, {0, 5}})));
    EXPECT_TRUE((Segment{{0, 0}, {2, 1}}.isColinearTo({{9, 9}, {5, 7}}))); // parallel and apart
    EXPECT_FALSE((Segment{{0, 0}, {2, 1}}.isColinearTo({{0, 0}, {2, 1.1}})));
    EXPECT_TRUE((Segment{{0, 0}, {2, 1}}.isColinearTo({{0, 0}, {2, 1.1}}, 0.1)));
}

TEST(SegmentTests, ContainsLeavesOutTheUpperEdges)
{
    const Segment diagonal{{0, 0}, {2, 2}};
    EXPECT_TRUE(diagonal.contains({1, 1}));
    EXPECT_TRUE(diagonal.contains({0, 0}));
    EXPECT_FALSE(diagonal.contains({2, 2}));
    EXPECT_FALSE(diagonal.contains({1, 1.1}));
    EXPECT_FALSE(diagonal.contains({3, 3}));
    EXPECT_TRUE(diagonal.contains({1, 1.0000001})); // on the line at six decimals
    EXPECT_TRUE(diagonal.reversed().contains({0, 0}));
    EXPECT_FALSE((Segment{{0, 0}, {2, 0}}.contains({1, 0}))); // its rectangle is empty
    EXPECT_FALSE(diagonal.contains({std::nan(""), 1}));
}

TEST(SegmentTests, DistancesAreToTheWholeLine)
{
    const Segment s{{0, 0}, {2, 0}};
    const auto beyond = s.distance({5, 1});
    EXPECT_EQ(beyond.value, 1);
    EXPECT_EQ(beyond.param, 2.5);
    EXPECT_EQ(s.distance({-1, 0}).param, -0.5);
    const auto none = Segment::zero.distance({3, 4});
    EXPECT_EQ(none.value, 0);
    EXPECT_EQ(none.param, 0);
}

TEST(SegmentTests, CrossingsCountTouchingEnds)
{
    struct Row {
        Segment a, b;
        std::optional<CGPoint> expected;
    };
    const Row rows[] = {
        {{{0, 0}, {1, 1}}, {{0, 1}, {1, 0}}, CGPoint{0.5, 0.5}},
        {{{0, 0}, {1, 0}}, {{0, 1}, {1, 1}}, std::nullopt},
        {{{0, 0}, {1, 0}}, {{1, 0}, {1, 1}}, CGPoint{1, 0}},
        {{{0, 0}, {4, 0}}, {{2, 0}, {2, 3}}, CGPoint{2, 0}},
        {{{0, 0}, {4, 0}}, {{2, 0.001}, {2, 3}}, std::nullopt},
        {{{0, 0}, {2, 0}}, {{1, 0}, {3, 0}}, std::nullopt},         // they overlap, and have no one point
        {{{0, 0}, {0.001, 0}}, {{0, 0}, {0, 0.001}}, std::nullopt}, // too small to tell from parallel
        {{{0, 0}, {std::nan(""), 1}}, {{0, 1}, {1, 0}}, std::nullopt},
    };
    // Whichever way the segments run and whichever is asked: both signs of the denominator.
    for (const Row& row : rows)
        for (const Segment& a : {row.a, row.a.reversed()})
            for (const Segment& b : {row.b, row.b.reversed()}) {
                EXPECT_EQ(a.intersects(b), row.expected) << &row - rows;
                EXPECT_EQ(b.intersects(a), row.expected) << &row - rows;
            }
}

TEST(SegmentTests, IntersectionParametersLeadToThePoint)
{
    std::mt19937_64 random(3);
    std::uniform_real_distribution<double> part(0, 10);
    const auto segment = [&] { return Segment{{part(random), part(random)}, {part(random), part(random)}}; };
    int crossing = 0;
    for (int n = 0; n < 5000; ++n) {
        const Segment a = segment(), b = segment();
        const auto found = a.findIntersection(b);
        ASSERT_EQ(found.has_value(), a.intersects(b).has_value());
        // Each segment's ends lie on both sides of the other.
        const auto separates = [](const Segment& s, const Segment& t) {
            return cross(s.end - s.start, t.start - s.start) * cross(s.end - s.start, t.end - s.start) <= 0;
        };
        ASSERT_EQ(found.has_value(), separates(a, b) && separates(b, a));
        if (!found)
            continue;
        ++crossing;
        ASSERT_TRUE(overlap(found->point, a.point(found->param1), 1e-9));
        ASSERT_TRUE(overlap(found->point, b.point(found->param2), 1e-9));
        ASSERT_TRUE(found->param1 >= 0 && found->param1 <= 1 && found->param2 >= 0 && found->param2 <= 1);
    }
    EXPECT_GT(crossing, 500);
}

TEST(SegmentTests, CrossesHorizontals)
{
    const Segment s{{0, 0}, {4, 2}};
    EXPECT_EQ(s.intersects(1), (CGPoint{2, 1}));
    EXPECT_EQ(s.reversed().intersects(2), (CGPoint{4, 2}));
    EXPECT_EQ(s.intersects(0), (CGPoint{0, 0}));
    EXPECT_EQ(s.intersects(2.1), std::nullopt);
    EXPECT_EQ(s.intersects(std::nan("")), std::nullopt);
    EXPECT_EQ((Segment{{0, 1}, {4, 1.000009}}.intersects(1)), std::nullopt);
}

} // namespace
} // namespace corvane
