// SPDX-License-Identifier: Apache-2.0
#include <corvane/GraphicsUtilities/RGBA.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>

namespace corvane {
namespace {

static_assert(offsetof(RGBA, r) < offsetof(RGBA, b) && offsetof(RGBA, b) < offsetof(RGBA, g) &&
              offsetof(RGBA, g) < offsetof(RGBA, a));
static_assert(RGBA(0.1, 0.2, 0.3).g == 0.2 && RGBA(0.1, 0.2, 0.3).b == 0.3 && RGBA(0.1, 0.2, 0.3).a == 1);
static_assert(RGBA::zero == RGBA::clear && RGBA::black == RGBA(0, 0, 0) && RGBA::white == RGBA(1, 1, 1));

TEST(RGBATests, PrintsRedGreenBlueAlpha)
{
    EXPECT_EQ(RGBA(1, 0.5, 0).description(), "RGBA(1.0, 0.5, 0.0, 1.0)");
    EXPECT_EQ(RGBA::clear.description(), "RGBA(0.0, 0.0, 0.0, 0.0)");
}

TEST(RGBATests, HexStringTruncatesWithoutClamping)
{
    struct Row {
        RGBA color;
        const char* text;
    };
    const Row rows[] = {
        {RGBA(1, 0.5, 0), "#FF7F00"},       {RGBA::white, "#FFFFFF"},
        {RGBA(0, 0, 0, 0.5), "#0000007F"},  {RGBA(0, 0, 0, std::nextafter(1, 0)), "#000000FE"},
        {RGBA(2, 0.01, 0), "#1FE0200"},     {RGBA(-1, 0, 0), "#FFFFFF010000"},
        {RGBA(0, 0, 1, 20), "#0000FF13EC"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(row.color.hexString(), row.text);
}

TEST(RGBATests, ParsesAsAScannerDoes)
{
    constexpr double f = 15;
    constexpr double ff = 255;
    struct Row {
        const char* text;
        std::optional<RGBA> color;
        bool message;
    };
    const Row rows[] = {
        {"#fff", RGBA::white, false},
        {"#0008", RGBA(0, 0, 0, 8 / f), false},
        {"#1aF", RGBA(1 / f, 10 / f, 15 / f), false},
        {"#FF7f00", RGBA(1, 127 / ff, 0), false},
        {"#11223344", RGBA(17 / ff, 34 / ff, 51 / ff, 68 / ff), false},
        {"123456", std::nullopt, false},
        {"", std::nullopt, false},
        {"#", std::nullopt, false},
        {"#ggg", std::nullopt, false},
        {"#12345", std::nullopt, true},
        {"#12", std::nullopt, true},
        {"#0123456789abcdef0", std::nullopt, true},
        {"#12xy", RGBA(0, 0, 1 / f, 2 / f), false},
        {" #fff", RGBA(0, 1, 1, 1), false},
        {"#  ff", RGBA(0, 0, 1, 1), false},
        {"#0xff", RGBA(0, 0, 1, 1), false},
        {"#0xg", RGBA(0, 0, 0), false}, // the 0 is a digit, and nothing follows the x
        {"#ff\u00e9", RGBA(0, 1, 1), false},
        {"#-12", std::nullopt, false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text);
        testing::internal::CaptureStdout();
        const auto parsed = RGBA::fromHexString(row.text);
        EXPECT_EQ(testing::internal::GetCapturedStdout(),
                  row.message
                      ? "Invalid hex string, number of chars after '#' should be either 3, 4, 6 or 8\n"
                      : "");
        EXPECT_EQ(parsed, row.color);
    }
}

TEST(RGBATests, EveryByteComesBackFromItsText)
{
    for (int byte = 0; byte < 256; ++byte) {
        const auto component = [](int value) { return (value + 0.5) / 255; };
        const RGBA color(component(byte), component(255 - byte), component(byte ^ 0x55),
                         component(byte ^ 0xAA));
        const std::string text = color.hexString();
        const auto parsed = RGBA::fromHexString(text);
        ASSERT_TRUE(parsed);
        EXPECT_EQ(parsed->r, byte / 255.0);
        EXPECT_EQ(parsed->g, (255 - byte) / 255.0);
        EXPECT_EQ(parsed->b, (byte ^ 0x55) / 255.0);
        EXPECT_EQ(parsed->a, (byte ^ 0xAA) / 255.0);
    }
}

} // namespace
} // namespace corvane
