// SPDX-License-Identifier: Apache-2.0
#include <corvane/Geometry/CGPoint.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

namespace corvane {
namespace {

static_assert(CGPoint{1, 2} + CGPoint{3, 4} * 2 - CGPoint{1, 0} == CGPoint{6, 10} &&
              -CGPoint{1, 2} / 2 == CGPoint{-0.5, -1});
static_assert(cross({1, 0}, {0, 1}) == 1 && dot({1, 2}, {3, 4}) == 11 &&
              midpoint({0, 0}, {2, 4}) == CGPoint{1, 2});

TEST(CGPointTests, MeasuresAndCompares)
{
    EXPECT_EQ(length({3, -4}), 5);
    EXPECT_EQ(distance({1, 1}, {4, 5}), 5);
    EXPECT_EQ(round(CGPoint{0.5, -2.5}), (CGPoint{1, -3}));
    EXPECT_TRUE(isSimilarTo(CGPoint{1, 2}, CGPoint{1.0000001, 2}));
    EXPECT_FALSE(isSimilarTo(CGPoint{1, 2}, CGPoint{1, 2.1}));
    EXPECT_TRUE(overlap(CGPoint{0, 0}, CGPoint{0.000005, -0.000005}));
    EXPECT_FALSE(overlap(CGPoint{0, 0}, CGPoint{0, 0.00001}));
    EXPECT_EQ(description(CGPoint{1, -2.5}), "(1.0, -2.5)");
    CGPoint moved{1, 1};
    moved += {1, 2};
    moved *= 2;
    moved -= {1, 1};
    moved /= 4;
    EXPECT_EQ(moved, (CGPoint{0.75, 1.25}));
}

TEST(CGPointTests, ConvexHullHasOnlyTheCornersInOrder)
{
    using Points = std::vector<CGPoint>;
    struct Row {
        Points points, corners;
    };
    const Row rows[] = {
        {{}, {}},
        {{{1, 2}}, {{1, 2}}},
        {{{1, 2}, {1, 2}, {1, 2}}, {{1, 2}}},
        {{{2, 2}, {0, 0}, {1, 1}, {3, 3}}, {{0, 0}, {3, 3}}},
        {{{1, 1}, {0, 2}, {2, 0}, {0, 0}, {2, 2}, {1, 0}, {2, 1}, {0, 0}}, {{0, 0}, {2, 0}, {2, 2}, {0, 2}}},
        {{{0, 0}, {std::nan(""), 1}, {4, 0}, {1, std::nan("")}, {2, 3}}, {{0, 0}, {4, 0}, {2, 3}}},
        {{{std::nan(""), std::nan("")}, {4, 0}, {0, 0}, {2, 3}}, {{0, 0}, {4, 0}, {2, 3}}},
        {{{0, 0}, {-HUGE_VAL, 0}, {0, 1}, {9, HUGE_VAL}}, {{0, 0}, {0, 1}}},
    };
    for (const Row& row : rows)
        EXPECT_EQ(convexHull(row.points), row.corners) << "row " << &row - rows;
}

TEST(CGPointTests, ConvexHullOfRandomPointsTurnsLeftAndHoldsAll)
{
    std::mt19937_64 random(5);
    for (int round = 0; round < 200; ++round) {
        // Whole coordinates in a small square: many points repeat and many lie on one line, and all is exact.
        std::uniform_int_distribution<int> coordinate(0, 3 + round % 20);
        std::vector<CGPoint> points(3 + random() % 60);
        for (CGPoint& point : points)
            point = {static_cast<double>(coordinate(random)), static_cast<double>(coordinate(random))};
        const std::vector<CGPoint> hull = convexHull(points);
        for (std::size_t n = 0; n < hull.size(); ++n) {
            const CGPoint from = hull[n], to = hull[(n + 1) % hull.size()];
            ASSERT_NE(std::find(points.begin(), points.end(), from), points.end());
            if (hull.size() > 2) {
                ASSERT_GT(cross(to - from, hull[(n + 2) % hull.size()] - to), 0);
            }
            for (const CGPoint point : points)
                ASSERT_GE(cross(to - from, point - from), 0);
        }
        ASSERT_EQ(hull.front(), *std::min_element(points.begin(), points.end(), convexHullOrder));
    }
}

} // namespace
} // namespace corvane
