// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace corvane::detail {

/// The code point at a place of a text and its length in bytes.
struct CodePoint {
    char32_t value;
    std::size_t length;
};

/// What a byte that is no part of UTF-8 reads as: no code point has it, and each such byte its own.
constexpr char32_t badByte = 0x110000;

constexpr bool isBadByte(CodePoint point) noexcept
{
    return point.value >= badByte;
}

/// The code point at `at`, which is below the text's size. A byte that does not begin a whole and shortest form
/// of a code point stands alone, as `badByte` plus its value.
constexpr CodePoint codePointAt(std::string_view text, std::size_t at) noexcept
{
    const auto byte = [&](std::size_t i) -> char32_t { return static_cast<unsigned char>(text[at + i]); };
    const char32_t first = byte(0);
    if (first < 0x80)
        return {first, 1};
    const std::size_t room = text.size() - at;
    const auto follows = [&](std::size_t i) { return (byte(i) & 0xC0) == 0x80; };
    if (first >= 0xE0 && first < 0xF0) {
        if (room >= 3 && follows(1) && follows(2)) {
            const char32_t value = (first & 0x0F) << 12 | (byte(1) & 0x3F) << 6 | (byte(2) & 0x3F);
            if (value >= 0x800 && (value < 0xD800 || value > 0xDFFF))
                return {value, 3};
        }
    } else if (first >= 0xC2 && first < 0xE0) {
        if (room >= 2 && follows(1))
            return {(first & 0x1F) << 6 | (byte(1) & 0x3F), 2};
    } else if (first >= 0xF0 && first < 0xF5) {
        if (room >= 4 && follows(1) && follows(2) && follows(3)) {
            const char32_t value =
                (first & 0x07) << 18 | (byte(1) & 0x3F) << 12 | (byte(2) & 0x3F) << 6 | (byte(3) & 0x3F);
            if (value >= 0x10000 && value < 0x110000)
                return {value, 4};
        }
    }
    return {badByte + first, 1};
}

/// Whether a code point is a character of its own wherever all its neighbours say so too; a carriage return is no
/// such neighbour.
bool isAloneByTable(CodePoint point) noexcept;
inline bool standsAlone(CodePoint point) noexcept
{
    if (point.value < 0x300)
        return point.value != 0x0D;
    const bool isIdeograph = point.value >= 0x4E00 && point.value < 0xA000;
    return isIdeograph || isAloneByTable(point);
}

/// Appends a code point; one that no text may hold becomes U+FFFD.
inline void appendUtf8(std::string& out, char32_t value)
{
    if (value >= 0x110000 || (value >= 0xD800 && value <= 0xDFFF))
        value = 0xFFFD;
    const auto put = [&](char32_t byte) { out.push_back(static_cast<char>(byte)); };
    if (value < 0x80) {
        put(value);
    } else if (value < 0x800) {
        put(0xC0 | value >> 6);
        put(0x80 | (value & 0x3F));
    } else if (value < 0x10000) {
        put(0xE0 | value >> 12);
        put(0x80 | (value >> 6 & 0x3F));
        put(0x80 | (value & 0x3F));
    } else {
        put(0xF0 | value >> 18);
        put(0x80 | (value >> 12 & 0x3F));
        put(0x80 | (value >> 6 & 0x3F));
        put(0x80 | (value & 0x3F));
    }
}

} // namespace corvane::detail
