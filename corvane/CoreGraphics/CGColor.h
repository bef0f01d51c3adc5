// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/GraphicsUtilities/RGBA.h>
#include <corvane/Platform/Graphics/CGColor.h>

namespace corvane {

/// Colours to draw with, from records, texts, grey levels, chance and names.
///
///     context.setFillColor(CGColors::orange);
///     context.setFillColor(CGColors::create(RGBA(0.1, 0.2, 0.6)));
///     if (auto ink = CGColors::create("#1a3399cc"))
///         context.setFillColor(*ink);
///
/// Components are taken as they are. Thread-safe.
struct CGColors {
    static constexpr CGColor create(const RGBA& rgba) noexcept
    {
        return CGColor::genericRGB(rgba.r, rgba.g, rgba.b, rgba.a);
    }
    /// Absent where `RGBA::fromHexString` is.
    static CORVANE_API std::optional<CGColor> create(std::string_view hexString);
    static constexpr CGColor create(CGFloat white, CGFloat alpha) noexcept
    {
        return CGColor::genericGray(white, alpha);
    }
    /// Opaque; red, green and blue are three draws in hundredths, so none is ever 1.
    static CORVANE_API CGColor randomColor() noexcept;

    static constexpr CGColor blue = CGColor::genericRGB(0, 0, 1);
    static constexpr CGColor brown = CGColor::genericRGB(0.6, 0.4, 0.2);
    static constexpr CGColor cyan = CGColor::genericRGB(0, 1, 1);
    static constexpr CGColor darkGray = CGColor::genericRGB(1.0 / 3, 1.0 / 3, 1.0 / 3);
    static constexpr CGColor gray = CGColor::genericRGB(0.5, 0.5, 0.5);
    static constexpr CGColor green = CGColor::genericRGB(0, 1, 0);
    static constexpr CGColor lightGray = CGColor::genericRGB(2.0 / 3, 2.0 / 3, 2.0 / 3);
    static constexpr CGColor magenta = CGColor::genericRGB(1, 0, 1);
    static constexpr CGColor orange = CGColor::genericRGB(1, 0.5, 0);
    static constexpr CGColor purple = CGColor::genericRGB(0.5, 0, 0.5);
    static constexpr CGColor red = CGColor::genericRGB(1, 0, 0);
    static constexpr CGColor yellow = CGColor::genericRGB(1, 1, 0);
};

/// The colour as the desktop's kits take it: red, green, blue and alpha in 0 … 1, clamped. Absent when a
/// component is NaN or infinite, which they refuse.
[[nodiscard]] CORVANE_API std::optional<RGBA> nsColor(const CGColor& color) noexcept;

} // namespace corvane
