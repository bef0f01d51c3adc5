// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Text/Format.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <limits>

namespace corvane {
namespace {

using Arguments = std::vector<FormatArgument>;

TEST(FormatTests, TheGrammarIsThatOfPrintf)
{
    for (const char* format :
         {"%d", "%5d|", "%-5d|", "%05d", "%+d", "% d", "%.3d", "%8.3d", "%i", "%x", "%#X", "%#010x", "%o"})
        for (const int value : {0, 7, -7, 123456}) {
            char expected[64];
            std::snprintf(expected, sizeof expected, format, value);
            if (std::string_view(format).find_first_of("xXo") != std::string_view::npos && value < 0)
                continue; // whole numbers are wider here
            EXPECT_EQ(formatted(format, Arguments{value}, Locale()), expected) << format;
        }
    const double inf = std::numeric_limits<double>::infinity();
    for (const char* format : {"%f", "%.2f", "%+010.3f", "%e", "%.0f", "%#.0f", "%g", "%#g", "%G", "%-12g|",
                               "%a", "%020a", "%06f"})
        for (const double value : {0.0, 1.5, -1234567.891, 1e-7, inf, -inf}) {
            char expected[128];
            std::snprintf(expected, sizeof expected, format, value);
            EXPECT_EQ(formatted(format, Arguments{value}, Locale()), expected) << format;
        }
}

TEST(FormatTests, PositionsTextsAndExtents)
{
    EXPECT_EQ(formatted("%2$s %1$s %%", Arguments{"a", "b"}, Locale()), "b a %");
    EXPECT_EQ(formatted("[%5s][%-5@][%.1s]", Arguments{"e\u0301", "\u4E2D", "e\u0301x"}, Locale()),
              "[    e\u0301][\u4E2D    ][e\u0301]");
    EXPECT_EQ(formatted("[%*d][%.*f]", Arguments{-4, 7, 1, 2.25}, Locale()), "[7   ][2.2]");
    EXPECT_EQ(formatted("%1$*2$d", Arguments{7, 3}, Locale()), "  7");
    EXPECT_EQ(formatted("%llu %c %hhd", Arguments{std::uint64_t{18446744073709551615U}, 'x', 300}, Locale()),
              "18446744073709551615 x 300");
}

TEST(FormatTests, NumbersFollowTheLocale)
{
    struct Row {
        const char *locale, *text;
    };
    const Row rows[] = {{"en_US", "1,234,567 1,234.50 1234.5 1,000"},
                        {"de_DE", "1.234.567 1.234,50 1234,5 1.000"},
                        {"es_ES", "1.234.567 1234,50 1234,5 1000"}, // four digits stand together
                        {"hi_IN", "12,34,567 1,234.50 1234.5 1,000"},
                        {"", "1234567 1234.50 1234.5 1000"}};
    for (const Row& row : rows)
        EXPECT_EQ(formatted("%d %.2f %g %u", Arguments{1234567, 1234.5, 1234.5, 1000U}, Locale(row.locale)),
                  row.text);
    EXPECT_EQ(formatted("%010d", Arguments{-12345}, Locale("en_US")), "-00012,345");
}

TEST(FormatTests, PlaceholdersTellWhatTheyTake)
{
    using enum PlaceholderKind;
    using Kinds = std::vector<std::optional<PlaceholderKind>>;
    EXPECT_EQ(placeholders("%d %s %%"), (Kinds{integer, text}));
    EXPECT_EQ(placeholders("%3$f %1$*2$d"), (Kinds{integer, integer, real}));
    EXPECT_EQ(placeholders("%2$@"), (Kinds{std::nullopt, text}));
    for (const char* broken : {"%", "%y", "%1$d %1$s", "%n", "%99999d", "%5"})
        EXPECT_EQ(placeholders(broken), std::nullopt) << broken;
}

} // namespace
} // namespace corvane
