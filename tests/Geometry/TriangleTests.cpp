// SPDX-License-Identifier: Apache-2.0
#include <corvane/Geometry/Triangle.h>

#include <gtest/gtest.h>

namespace corvane {
namespace {

constexpr Triangle corner{{0, 0}, {1, 0}, {0, 1}};

static_assert(corner.signedArea() == 0.5 && Triangle{} == Triangle::zero);
static_assert(3 - corner == Triangle{{3, 3}, {2, 3}, {3, 2}} && -corner + corner == Triangle::zero);

TEST(TriangleTests, TurnsAreTold)
{
    using enum Triangle::CollinearityState;
    struct Row {
        Triangle triangle;
        Triangle::CollinearityState state;
        bool isPoint, isLine;
    };
    const Row rows[] = {
        {corner, counterClockwiseTurn, false, false},
        {{corner.a, corner.c, corner.b}, clockwiseTurn, false, false},
        {{{0, 0}, {1, 1}, {2, 2}}, line, false, true},
        {{{3, 3}, {3, 3}, {3, 3}}, point, true, true},
        {{{3, 3}, {3.0000001, 3}, {3, 3.0000001}}, point, true, true},
        {corner / 2000, line, false, true}, // the area is nothing at six decimals
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(&row - rows);
        EXPECT_EQ(row.triangle.collinearity(), row.state);
        EXPECT_EQ(row.triangle.isPoint(), row.isPoint);
        EXPECT_EQ(row.triangle.isLine(), row.isLine);
    }
    EXPECT_EQ((corner / 2000).collinearity(8), counterClockwiseTurn);
    EXPECT_EQ(corner.collinearity(-1), point);
}

TEST(TriangleTests, ComparesVertexByVertex)
{
    EXPECT_TRUE(corner.overlap(corner + 0.000005 * 0.5));
    EXPECT_FALSE(corner.overlap(corner + 0.00001));
    EXPECT_TRUE(corner.overlap(corner + 0.5, 0.5));
    EXPECT_TRUE(corner.isSimilarTo(corner + 0.0000001));
    EXPECT_FALSE(corner.isSimilarTo({corner.a, corner.b, {0, 1.1}}));
}

TEST(TriangleTests, ArithmeticReachesEveryCoordinate)
{
    const Triangle t{{1, 2}, {3, 4}, {5, 6}};
    EXPECT_EQ(t * 2 + 1, (Triangle{{3, 5}, {7, 9}, {11, 13}}));
    EXPECT_EQ((1 + 2 * t - 3) / 2, (Triangle{{0, 1}, {2, 3}, {4, 5}}));
    EXPECT_EQ(t - corner, (Triangle{{1, 2}, {2, 4}, {5, 5}}));
    Triangle u = +t;
    u += corner;
    u -= 1;
    u *= 4;
    u /= 2;
    u -= t;
    u += 1;
    EXPECT_EQ(u, (t + corner - 1) * 2 - t + 1);
}

} // namespace
} // namespace corvane
