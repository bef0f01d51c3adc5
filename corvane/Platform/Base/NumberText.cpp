// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/NumberText.h>

#include <algorithm>
#include <charconv>
#include <cmath>

namespace corvane {

namespace {

// `std::to_chars` has the digits; which layout it gives is decided by length there, so the scientific one is
// asked for and moved into place.
template <typename T>
std::string_view write(char* out, T value) noexcept
{
    if (std::isnan(value))
        return "nan";
    char digits[numberTextCapacity];
    const char* const end =
        std::to_chars(digits, digits + sizeof digits, value, std::chars_format::scientific).ptr;
    char* at = out;
    const char* from = digits;
    if (*from == '-')
        *at++ = *from++;
    // From here: one digit, perhaps a point and more digits, e, a sign, two or three exponent digits.
    const char* const mark = end[-4] == 'e' ? end - 4 : end - 5;
    if (std::isinf(value) || *mark != 'e') {
        at = std::copy(from, end, at);
        return {out, at};
    }
    int exponent = 0;
    for (const char* digit = mark + 2; digit != end; ++digit)
        exponent = exponent * 10 + (*digit - '0');
    if (mark[1] == '-')
        exponent = -exponent;
    if (exponent < -4 || exponent >= 16) {
        at = std::copy(from, end, at);
        return {out, at};
    }

    const char* const more = from + 2; // behind the point, or past the mark where there is only one digit
    if (exponent < 0) {
        *at++ = '0';
        *at++ = '.';
        at = std::fill_n(at, -exponent - 1, '0');
        *at++ = *from;
        if (more < mark)
            at = std::copy(more, mark, at);
        return {out, at};
    }
    *at++ = *from;
    const auto behind = std::max<std::ptrdiff_t>(mark - more, 0);
    const auto whole = std::min<std::ptrdiff_t>(behind, exponent);
    at = std::copy_n(more, whole, at);
    at = std::fill_n(at, exponent - whole, '0');
    *at++ = '.';
    if (behind > whole)
        at = std::copy(more + whole, mark, at);
    else
        *at++ = '0';
    return {out, at};
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

} // namespace corvane
