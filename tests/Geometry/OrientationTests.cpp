// SPDX-License-Identifier: Apache-2.0
#include <corvane/Geometry/Orientation.h>

#include <gtest/gtest.h>

namespace corvane {
namespace {

TEST(OrientationTests, TurnsInQuarters)
{
    using enum Orientation;
    constexpr Orientation clockwise[] = {up, right, down, left, up};
    for (int n = 0; n < 4; ++n) {
        EXPECT_EQ(corvane::right(clockwise[n]), clockwise[n + 1]);
        EXPECT_EQ(corvane::left(clockwise[n + 1]), clockwise[n]);
    }
    Orientation facing = up;
    turnLeft(facing);
    EXPECT_EQ(facing, left);
    for (int n = 0; n < 5; ++n)
        turnRight(facing);
    EXPECT_EQ(facing, up);
}

TEST(OrientationTests, CompassTurnsInQuarters)
{
    using enum CardinalDirection;
    constexpr CardinalDirection clockwise[] = {north, east, south, west, north};
    for (int n = 0; n < 4; ++n) {
        EXPECT_EQ(right(clockwise[n]), clockwise[n + 1]);
        EXPECT_EQ(left(clockwise[n + 1]), clockwise[n]);
    }
    CardinalDirection heading = east;
    turnLeft(heading);
    EXPECT_EQ(heading, north);
    turnRight(heading);
    EXPECT_EQ(heading, east);
}

TEST(OrientationTests, TwoWayDirectionsToggle)
{
    EXPECT_EQ(toggled(HOrientation::left), HOrientation::right);
    EXPECT_EQ(toggled(VOrientation::down), VOrientation::up);
    ClockDirection direction = ClockDirection::clockwise;
    toggle(direction);
    EXPECT_EQ(direction, ClockDirection::antiClockwise);
    toggle(direction);
    EXPECT_EQ(direction, ClockDirection::clockwise);
}

TEST(OrientationTests, RawValuesKeepTheirOrder)
{
    EXPECT_EQ(fromRawValue<Orientation>(0), Orientation::up);
    EXPECT_EQ(fromRawValue<Orientation>(3), Orientation::left);
    EXPECT_EQ(fromRawValue<Orientation>(4), std::nullopt);
    EXPECT_EQ(fromRawValue<HOrientation>(2), std::nullopt);
    EXPECT_EQ(fromRawValue<VOrientation>(1), VOrientation::down);
    EXPECT_EQ(fromRawValue<CardinalDirection>(-1), std::nullopt);
    EXPECT_EQ(rawValue(CardinalDirection::south), 3);
    EXPECT_EQ(rawValue(ClockDirection::antiClockwise), 1);
}

} // namespace
} // namespace corvane
