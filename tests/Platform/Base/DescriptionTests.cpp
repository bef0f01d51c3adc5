// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/Description.h>

#include <gtest/gtest.h>

namespace corvane {
namespace {

using namespace std::string_view_literals;

struct Point {
    std::string description() const { return "(1.0, 2.0)"; }
};
struct Colour {};
std::string to_string(Colour)
{
    return "red";
}

TEST(DescriptionTests, ValuesAndArraysAsText)
{
    EXPECT_EQ(describe(-7), "-7");
    EXPECT_EQ(describe(1.0), "1.0");
    EXPECT_EQ(describe(0.1F), "0.1");
    EXPECT_EQ(describe(true), "true");
    EXPECT_EQ(describe('a'), "\"a\"");
    EXPECT_EQ(describe("Ünï \"q\" \\ \n\r\t\0\x1b\x7f"sv), R"("Ünï \"q\" \\ \n\r\t\0\u{1B}\u{7F}")");
    EXPECT_EQ(describe(Point()), "(1.0, 2.0)");
    EXPECT_EQ(describe(Colour()), "red");
    EXPECT_EQ(describe(std::optional<int>()), "nil");
    EXPECT_EQ(describe(std::vector<std::vector<std::string>>{{}, {"a", "b"}}), R"([[], ["a", "b"]])");
}

} // namespace
} // namespace corvane
