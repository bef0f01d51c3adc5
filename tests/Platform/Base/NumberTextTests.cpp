// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/NumberText.h>

#include <gtest/gtest.h>

#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>

namespace corvane {
namespace {

TEST(NumberTextTests, LayoutIsDecimalInTheMiddleAndScientificOutside)
{
    struct Row {
        double value;
        const char* text;
    };
    const Row rows[] = {
        {0, "0.0"},
        {-0.0, "-0.0"},
        {1, "1.0"},
        {-1.5, "-1.5"},
        {0.1, "0.1"},
        {0.1 + 0.2, "0.30000000000000004"},
        {100, "100.0"},
        {1234.5, "1234.5"},
        {120.25, "120.25"},
        {0.0001, "0.0001"},
        {0.00012345678901234567, "0.00012345678901234567"},
        {0.00009999, "9.999e-05"},
        {1e-5, "1e-05"},
        {1.25e-7, "1.25e-07"},
        {1e-100, "1e-100"},
        {1e15, "1000000000000000.0"},
        {9007199254740993.0, "9007199254740992.0"},
        {9999999999999998.0, "9999999999999998.0"},
        {1e16, "1e+16"},
        {-1.5e16, "-1.5e+16"},
        {1e22, "1e+22"},
        {1e100, "1e+100"},
        {std::numeric_limits<double>::max(), "1.7976931348623157e+308"},
        {-2.2250738585072014e-308, "-2.2250738585072014e-308"},
        {5e-324, "5e-324"},
        {HUGE_VAL, "inf"},
        {-HUGE_VAL, "-inf"},
        {std::nan(""), "nan"},
        {-std::nan(""), "nan"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(numberText(row.value), row.text);
}

TEST(NumberTextTests, SinglePrecisionHasItsOwnShortestDigits)
{
    EXPECT_EQ(numberText(0.1F), "0.1");
    EXPECT_EQ(numberText(16777216.0F), "16777216.0");
    EXPECT_EQ(numberText(1e15F), "1000000000000000.0"); // the nearest float's own digits are 999999986991104
    EXPECT_EQ(numberText(3.4028235e38F), "3.4028235e+38");
    EXPECT_EQ(numberText(1e-45F), "1e-45");
    EXPECT_EQ(numberText(-0.0F), "-0.0");
}

// The text, its digits counted without leading and trailing zeros.
std::ptrdiff_t significantDigits(std::string_view text)
{
    text = text.substr(0, text.find('e'));
    std::string digits;
    for (const char c : text)
        if (c >= '0' && c <= '9')
            digits += c;
    const auto first = digits.find_first_not_of('0');
    return first == std::string::npos ? 0
                                      : static_cast<std::ptrdiff_t>(digits.find_last_not_of('0') - first) + 1;
}

TEST(NumberTextTests, RandomDoublesReadBackExactlyFromTheFewestDigits)
{
    std::mt19937_64 random(20240607);
    for (int n = 0; n < 400'000; ++n) {
        // Half from all bit patterns, half from the magnitudes of everyday.
        double value = std::bit_cast<double>(random());
        if (n % 2 == 1)
            value = std::ldexp(static_cast<double>(static_cast<std::int64_t>(random())), -63 + n % 80 - 20);
        if (!std::isfinite(value))
            continue;
        char buffer[numberTextCapacity];
        const std::string_view text = writeNumber(buffer, value);
        double back = 0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), back);
        ASSERT_EQ(error, std::errc{}) << text;
        ASSERT_EQ(end, text.data() + text.size()) << text;
        ASSERT_EQ(std::bit_cast<std::uint64_t>(back), std::bit_cast<std::uint64_t>(value)) << text;

        const double magnitude = std::abs(value);
        const bool decimal = magnitude >= 1e-4 && magnitude < 1e16;
        ASSERT_EQ(text.find('e') == std::string_view::npos, decimal) << text;

        // One digit fewer does not read back as the same value.
        const int digits = static_cast<int>(significantDigits(text));
        if (n % 16 == 0 && digits > 1) {
            char shorter[40];
            const auto cut = std::to_chars(shorter, shorter + sizeof shorter, value,
                                           std::chars_format::scientific, digits - 2);
            double other = 0;
            std::from_chars(shorter, cut.ptr, other);
            ASSERT_NE(other, value) << text;
        }
    }
}

} // namespace
} // namespace corvane
