// SPDX-License-Identifier: Apache-2.0
#include <corvane/GraphicsUtilities/RGBA.h>
#include <corvane/Numbers/RealNumber.h>

#include <charconv>
#include <cstdio>
#include <limits>

namespace corvane {

namespace {

std::string_view withoutLeadingSpace(std::string_view text)
{
    const auto first = text.find_first_not_of(" \t\n\v\f\r");
    return first == std::string_view::npos ? std::string_view() : text.substr(first);
}

// The number as a scanner of hexadecimal numbers reads it; absent without a digit.
std::optional<std::uint64_t> scanHex(std::string_view text)
{
    text = withoutLeadingSpace(text);
    std::uint64_t number = 0;
    const auto scan = [&number](std::string_view digits) {
        const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), number, 16);
        if (result.ec == std::errc::result_out_of_range)
            number = std::numeric_limits<std::uint64_t>::max();
        return result.ec != std::errc::invalid_argument;
    };
    const bool prefixed = text.starts_with("0x") || text.starts_with("0X");
    if ((prefixed && scan(text.substr(2))) || scan(text))
        return number;
    return std::nullopt;
}

// One component, two digits at least.
char* writeComponent(char* out, CGFloat component)
{
    const auto value = static_cast<std::uint32_t>(toByte(component));
    if (value < 16)
        *out++ = '0';
    out = std::to_chars(out, out + 8, value, 16).ptr;
    return out;
}

} // namespace

std::optional<RGBA> RGBA::fromHexString(std::string_view text)
{
    const std::string_view marked = withoutLeadingSpace(text);
    if (!marked.starts_with('#'))
        return std::nullopt;
    const auto number = scanHex(marked.substr(1));
    if (!number)
        return std::nullopt;
    const auto digits =
        std::count_if(text.begin(), text.end(), [](char c) { return (c & '\xC0') != '\x80'; }) - 1;
    // The component that is the `place`-th digit, or pair of digits, from the right.
    const auto digit = [&](int place) { return static_cast<CGFloat>(*number >> 4 * place & 15) / 15; };
    const auto pair = [&](int place) { return static_cast<CGFloat>(*number >> 8 * place & 255) / 255; };
    switch (digits) {
    case 3:
        return RGBA(digit(2), digit(1), digit(0));
    case 4:
        return RGBA(digit(3), digit(2), digit(1), digit(0));
    case 6:
        return RGBA(pair(2), pair(1), pair(0));
    case 8:
        return RGBA(pair(3), pair(2), pair(1), pair(0));
    default:
        std::puts("Invalid hex string, number of chars after '#' should be either 3, 4, 6 or 8");
        return std::nullopt;
    }
}

std::string RGBA::hexString() const
{
    char text[1 + 4 * 8] = "#";
    char* end = text + 1;
    end = writeComponent(end, r);
    end = writeComponent(end, g);
    end = writeComponent(end, b);
    if (a != 1)
        end = writeComponent(end, a);
    for (char* at = text; at != end; ++at)
        if (*at >= 'a')
            *at = static_cast<char>(*at - ('a' - 'A'));
    return std::string(text, end);
}

} // namespace corvane
