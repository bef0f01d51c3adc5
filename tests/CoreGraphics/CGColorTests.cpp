// SPDX-License-Identifier: Apache-2.0
#include <corvane/CoreGraphics/CGColor.h>

#include <gtest/gtest.h>

#include <cmath>
#include <set>

namespace corvane {
namespace {

static_assert(CGColors::create(RGBA(0.1, 0.2, 0.3, 0.4)) == CGColor::genericRGB(0.1, 0.2, 0.3, 0.4));
static_assert(CGColors::create(0.7, 0.5) == CGColor::genericGray(0.7, 0.5));

TEST(CGColorHelperTests, MakesColoursFromTexts)
{
    EXPECT_EQ(CGColors::create("#ff0000"), CGColors::red);
    EXPECT_EQ(CGColors::create("#00f8"), CGColor::genericRGB(0, 0, 1, 8.0 / 15));
    EXPECT_EQ(CGColors::create("red"), std::nullopt);
}

TEST(CGColorHelperTests, NamedColoursHaveTheirValues)
{
    struct Row {
        CGColor color;
        const char* hex;
    };
    const Row rows[] = {
        {CGColors::blue, "#0000FF"},      {CGColors::brown, "#996633"},   {CGColors::cyan, "#00FFFF"},
        {CGColors::darkGray, "#555555"},  {CGColors::gray, "#7F7F7F"},    {CGColors::green, "#00FF00"},
        {CGColors::lightGray, "#AAAAAA"}, {CGColors::magenta, "#FF00FF"}, {CGColors::orange, "#FF7F00"},
        {CGColors::purple, "#7F007F"},    {CGColors::red, "#FF0000"},     {CGColors::yellow, "#FFFF00"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(nsColor(row.color)->hexString(), row.hex);
}

TEST(CGColorHelperTests, RandomColoursAreOpaqueHundredths)
{
    std::set<double> reds;
    for (int n = 0; n < 300; ++n) {
        const CGColor color = CGColors::randomColor();
        EXPECT_EQ(color.alpha(), 1);
        EXPECT_EQ(color.model(), CGColor::Model::rgb);
        for (const double component : {color.red(), color.green(), color.blue()}) {
            EXPECT_EQ(component, std::round(component * 100) / 100);
            EXPECT_LT(component, 1);
        }
        reds.insert(color.red());
    }
    EXPECT_GT(reds.size(), 50U);
}

TEST(CGColorHelperTests, KitColoursAreClampedAndFinite)
{
    EXPECT_EQ(nsColor(CGColor::genericGray(0.25, 0.5)), RGBA(0.25, 0.25, 0.25, 0.5));
    EXPECT_EQ(nsColor(CGColor::genericRGB(2, -1, 0.5)), RGBA(1, 0, 0.5));
    EXPECT_EQ(nsColor(CGColor::genericRGB(0, std::nan(""), 0)), std::nullopt);
    EXPECT_EQ(nsColor(CGColor::genericGray(0, HUGE_VAL)), std::nullopt);
}

} // namespace
} // namespace corvane
