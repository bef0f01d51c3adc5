// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/NumberText.h>
#include <corvane/Platform/Base/Types.h>

#include <optional>

namespace corvane {

/// A colour by its red, green, blue and alpha, nominally in 0 … 1; nothing clamps them.
///
///     RGBA orange(1, 0.5, 0);
///     orange.hexString();                   // "#FF7F00"
///     RGBA::fromHexString("#0008")->a;      // 8/15
///     orange.description();                 // "RGBA(1.0, 0.5, 0.0, 1.0)"
///
/// The record lies in memory as red, blue, green, alpha; everything takes and prints red, green, blue,
/// alpha. `==` compares exactly. There are no conversions between the colour models. Thread-compatible.
struct RGBA {
    CGFloat r = 0;
    CGFloat b = 0;
    CGFloat g = 0;
    CGFloat a = 1;

    static const RGBA zero;
    static const RGBA black;
    static const RGBA white;
    static const RGBA clear;

    constexpr RGBA() noexcept = default; ///< black
    constexpr RGBA(CGFloat red, CGFloat green, CGFloat blue, CGFloat alpha = 1) noexcept
        : r(red), b(blue), g(green), a(alpha)
    {}

    /// Reads "#rgb", "#rgba", "#rrggbb" or "#rrggbbaa", in either case. Absent without a "#" or a digit
    /// behind it; for any other number of characters behind the "#" a line on standard output says so.
    ///
    /// The text is scanned, not matched: white space may stand before the "#" and before the digits, the
    /// digits may begin with 0x, the first other character ends them, and a number too large becomes the
    /// largest of 64 bits. Only then the length of the whole text less one, in code points, decides how the
    /// number is split. So "#12xy" is read as "#0012", "#fff " as "#0fff", and " #fff" as "#0fff" too.
    static CORVANE_API std::optional<RGBA> fromHexString(std::string_view text);

    /// "#RRGGBB", with "AA" behind it unless alpha is exactly 1. Components are truncated, not clamped: one
    /// above 1 gives more digits, one below 0 eight of them (the low 32 bits). One that is not finite, or
    /// whose multiple by 255 no `Int` holds, stops the process.
    CORVANE_API std::string hexString() const;

    std::string description() const { return numberListText("RGBA(", {r, g, b, a}, ")"); }

    friend constexpr bool operator==(const RGBA&, const RGBA&) = default;
};

inline constexpr RGBA RGBA::zero{0, 0, 0, 0};
inline constexpr RGBA RGBA::black{0, 0, 0};
inline constexpr RGBA RGBA::white{1, 1, 1};
inline constexpr RGBA RGBA::clear{0, 0, 0, 0};

} // namespace corvane
