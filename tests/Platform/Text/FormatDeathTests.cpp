// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Text/Format.h>

#include <gtest/gtest.h>

namespace corvane {
namespace {

void print(std::string_view format, std::initializer_list<FormatArgument> list)
{
    const std::vector<FormatArgument> arguments(list);
    static_cast<void>(formatted(format, arguments, Locale()));
}

TEST(FormatDeathTests, FormatsThatDoNotFitStopTheProcess)
{
    EXPECT_DEATH(print("%d", {"text"}), "Fatal error: A localized text asks for an argument of another type");
    EXPECT_DEATH(print("%f", {1}), "Fatal error: A localized text asks for an argument of another type");
    EXPECT_DEATH(print("%s", {1.5}), "Fatal error: A localized text asks for an argument of another type");
    EXPECT_DEATH(print("%d %d", {1}),
                 "Fatal error: A localized text asks for an argument that it is not given");
    EXPECT_DEATH(print("%*d", {5000, 1}), "Fatal error: A width or precision");
    EXPECT_DEATH(print("100% wool", {1}), "Fatal error: A localized text is no format");
    EXPECT_DEATH(print("%9999d", {1}), "Fatal error: A localized text is no format");
}

} // namespace
} // namespace corvane
