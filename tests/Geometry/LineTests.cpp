// SPDX-License-Identifier: Apache-2.0
#include <corvane/Geometry/Line.h>

#include <gtest/gtest.h>

namespace corvane {
namespace {

TEST(LineTests, ThroughTwoPointsHasAUnitNormal)
{
    const Line axis = Line::fromPoints({0, 0}, {1, 0});
    EXPECT_EQ(axis, (Line{0, 1, 0}));
    EXPECT_EQ(axis.distance({3, 2}), 2);
    EXPECT_EQ(axis.distance({3, -2}), -2);
    EXPECT_EQ(Line::fromPoints({3, 3}, {3, 3}), (Line{0, 0, 0}));
    const Line slope = Line::fromPoints({1, 2}, {5, 5});
    EXPECT_EQ(slope, (Line{-0.6, 0.8, -1}));
    EXPECT_EQ((Line{0, 2, 0}.distance({0, 3})), 6); // fields are taken as they are
}

TEST(LineTests, IntersectionsComeMirroredOnTheXAxis)
{
    const Line vertical{1, 0, -1};   // x = 1
    const Line horizontal{0, 1, -2}; // y = 2
    EXPECT_EQ(vertical.intersects(horizontal), (CGPoint{1, -2}));
    EXPECT_EQ(horizontal.intersects(vertical), (CGPoint{1, -2}));
    EXPECT_EQ(vertical.intersects(vertical.withC(4)), std::nullopt);
    EXPECT_EQ((Line{}.intersects(vertical)), std::nullopt);
}

TEST(LineTests, CopiesAndOffsets)
{
    Line line{1, 2, 3};
    EXPECT_EQ(line.withA(4), (Line{4, 2, 3}));
    EXPECT_EQ(line.withB(4), (Line{1, 4, 3}));
    EXPECT_EQ(line.withC(4), (Line{1, 2, 4}));
    line.offsetBy(-1.5);
    EXPECT_EQ(line, (Line{1, 2, 1.5}));
}

} // namespace
} // namespace corvane
