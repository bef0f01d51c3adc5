// SPDX-License-Identifier: Apache-2.0
#include <corvane/Geometry/Angle.h>

#include <gtest/gtest.h>

#include <cmath>

namespace corvane {
namespace {

using enum Angle::AngleType;

static_assert(Angle::fromDegrees(90).type() == right && Angle::straight > Angle::right);

TEST(AngleTests, ConstantsAreTheNearestDoubles)
{
    const long double pi = std::acos(-1.0L);
    EXPECT_EQ(PI_0_1, 0);
    EXPECT_EQ(PI_1_4, static_cast<double>(pi / 4));
    EXPECT_NEAR(PI_1_3, static_cast<double>(pi / 3), 3e-16);
    EXPECT_EQ(PI_1_2, static_cast<double>(pi / 2));
    EXPECT_EQ(PI_3_4, static_cast<double>(3 * pi / 4));
    EXPECT_EQ(PI_1_1, static_cast<double>(pi));
    EXPECT_EQ(PI_3_2, static_cast<double>(3 * pi / 2));
    EXPECT_EQ(PI_2_1, static_cast<double>(2 * pi));
}

TEST(AngleTests, EverySettingNormalisesToOneTurn)
{
    EXPECT_EQ(Angle::fromRadians(-PI_1_2).value, PI_3_2);
    EXPECT_EQ(Angle::fromRadians(PI_2_1).value, 0);
    EXPECT_EQ(Angle::fromDegrees(450).value, PI_1_2);
    EXPECT_EQ(Angle::fromDegrees(450).degrees(), 90.0);
    Angle angle;
    angle.setDegrees(-90);
    EXPECT_EQ(angle.degrees(), 270);
    angle.setRadians(3 * PI_1_1);
    EXPECT_EQ(angle, Angle::straight);
    EXPECT_EQ(angle.radians(), PI_1_1);

    EXPECT_TRUE(std::signbit(Angle::fromRadians(-0.0).value));
    EXPECT_EQ(Angle::fromRadians(-1e-20).value, PI_2_1); // the lift by one turn rounds up
    EXPECT_TRUE(std::isnan(Angle::fromRadians(HUGE_VAL).value));
    EXPECT_TRUE(std::isnan(Angle::fromDegrees(std::nan("")).value));
    EXPECT_EQ(Angle::degreesToRadians(720), 720 * 0.017453292519943295);
    EXPECT_EQ(Angle::radiansToDegrees(10), 10 * 57.29577951308232);
}

TEST(AngleTests, TypesAreExact)
{
    struct Row {
        double radians;
        Angle::AngleType type;
    };
    const Row rows[] = {
        {0, zero},        {-0.0, zero},
        {5e-324, acute},  {std::nextafter(PI_1_2, 0), acute},
        {PI_1_2, right},  {std::nextafter(PI_1_2, 4), obtuse},
        {PI_3_4, obtuse}, {PI_1_1, straight},
        {PI_3_2, reflex}, {std::nan(""), reflex},
    };
    for (const Row& row : rows)
        EXPECT_EQ(Angle::fromRadians(row.radians).type(), row.type) << row.radians;
    EXPECT_EQ(Angle::fromDegrees(270).type(), reflex);
}

TEST(AngleTests, WhatIsMissingToTheNextQuarterHalfAndTurn)
{
    EXPECT_NEAR(Angle::fromDegrees(100).complementary().degrees(), 80, 1e-12);
    EXPECT_EQ(Angle::fromDegrees(90).complementary().degrees(), 90);
    EXPECT_NEAR(Angle::fromDegrees(30).supplementary().degrees(), 150, 1e-12);
    EXPECT_NEAR(Angle::fromDegrees(200).supplementary().degrees(), 160, 1e-12);
    EXPECT_EQ(Angle::zero.supplementary(), Angle::straight);
    EXPECT_NEAR(Angle::fromDegrees(30).explementary().degrees(), 330, 1e-12);
    EXPECT_EQ(Angle::zero.explementary().value, 0);
    // A value outside one turn, left by a sum, is taken modulo the quarter.
    Angle beyond = Angle::zero;
    beyond -= Angle::fromDegrees(10);
    EXPECT_NEAR(beyond.complementary().degrees(), 10, 1e-12);
}

TEST(AngleTests, MinusAddsAndOnlyTheInPlaceFormsLeaveTheTurn)
{
    const Angle a = Angle::fromDegrees(30), b = Angle::fromDegrees(10);
    EXPECT_NEAR((a + b).degrees(), 40, 1e-12);
    EXPECT_EQ(a - b, a + b);
    EXPECT_NEAR((Angle::fromDegrees(350) + a).degrees(), 20, 1e-12);
    Angle c = Angle::fromDegrees(350);
    c += Angle::fromDegrees(20);
    EXPECT_GT(c.value, PI_2_1);
    c = b;
    c -= a;
    EXPECT_NEAR(c.degrees(), -20, 1e-12);
    EXPECT_TRUE(b < a && a >= b && a != b);
}

TEST(AngleTests, PrintsDegrees)
{
    EXPECT_EQ(Angle::fromDegrees(90).description(), "90.0 deg");
    EXPECT_EQ(Angle::zero.description(), "0.0 deg");
}

} // namespace
} // namespace corvane
