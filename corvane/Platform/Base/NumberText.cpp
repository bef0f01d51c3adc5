// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/NumberText.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <concepts>
#include <cstdint>

namespace corvane {

namespace {

// A single-precision value from 2^24 on. Its fixed layout in `std::to_chars` has every digit of the exact
// value; here are the few that tell it from its neighbours, with zeros up to the point.
char* writeLargeSingle(char* out, float value) noexcept
{
    char digits[numberTextCapacity];
    const auto written = std::to_chars(digits, digits + sizeof digits, value, std::chars_format::scientific);
    const char* const mark = written.ptr - 4; // the e; behind it a sign and two exponent digits
    std::ptrdiff_t missing = (mark[2] - '0') * 10 + (mark[3] - '0') + 1;
    for (const char* at = digits; at != mark; ++at) {
        if (*at == '.')
            continue;
        missing -= *at != '-';
        *out++ = *at;
    }
    return std::fill_n(out, missing, '0');
}

template <typename T>
std::string_view write(char* out, T value) noexcept
{
    if (std::isnan(value))
        return "nan";
    const T magnitude = std::abs(value);
    const bool decimal = magnitude == 0 || (magnitude >= T(1e-4) && magnitude < T(1e16));
    const auto format = decimal ? std::chars_format::fixed : std::chars_format::scientific;
    char* end = nullptr;
    if (std::same_as<T, float> && decimal && magnitude >= T(0x1p24))
        end = writeLargeSingle(out, static_cast<float>(value));
    else
        end = std::to_chars(out, out + numberTextCapacity, value, format).ptr;
    if (decimal && static_cast<T>(static_cast<std::int64_t>(magnitude)) == magnitude) {
        *end++ = '.';
        *end++ = '0';
    }
    return {out, end};
}

} // namespace

std::string_view writeNumber(std::span<char, numberTextCapacity> buffer, double value) noexcept
{
    return write(buffer.data(), value);
}

std::string_view writeNumber(std::span<char, numberTextCapacity> buffer, float value) noexcept
{
    return write(buffer.data(), value);
}

std::string numberText(double value)
{
    char buffer[numberTextCapacity];
    return std::string(write(buffer, value));
}

std::string numberText(float value)
{
    char buffer[numberTextCapacity];
    return std::string(write(buffer, value));
}

std::string numberListText(std::string_view open, std::initializer_list<double> values,
                           std::string_view close)
{
    std::string text(open);
    for (const double& value : values) {
        if (&value != values.begin())
            text += ", ";
        char buffer[numberTextCapacity];
        text += write(buffer, value);
    }
    text += close;
    return text;
}

} // namespace corvane
