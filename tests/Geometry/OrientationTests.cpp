// SPDX-License-Identifier: Apache-2.0
#include <corvane/Geometry/Orientation.h>

#include <gtest/gtest.h>

namespace corvane {
namespace {

template <typename Direction>
void expectQuarterTurns(const Direction (&clockwise)[4])
{
    Direction forth = clockwise[0], back = clockwise[0];
    for (std::size_t n = 1; n <= 4; ++n) {
        EXPECT_EQ(right(clockwise[n - 1]), clockwise[n % 4]);
        EXPECT_EQ(left(clockwise[n % 4]), clockwise[n - 1]);
        turnRight(forth);
        turnLeft(back);
        EXPECT_EQ(forth, clockwise[n % 4]);
        EXPECT_EQ(back, clockwise[4 - n]);
    }
}

TEST(OrientationTests, TurnInQuarters)
{
    {
        using enum Orientation;
        expectQuarterTurns({up, Orientation::right, down, Orientation::left});
    }
    using enum CardinalDirection;
    expectQuarterTurns({north, east, south, west});
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
