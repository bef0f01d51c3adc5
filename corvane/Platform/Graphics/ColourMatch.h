// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Types.h>

#include <memory>
#include <string>

namespace corvane::images {

/// How the samples of a row of 8-bit pixels lie. Ink of CMYK counts from 0 (none) up.
enum class Layout { gray, grayAlpha, grayAlphaMultiplied, rgb, rgba, rgbaMultiplied, bgraMultiplied, cmyk };

constexpr Int samplesPerPixel(Layout layout) noexcept
{
    switch (layout) {
    case Layout::gray:
        return 1;
    case Layout::grayAlpha:
    case Layout::grayAlphaMultiplied:
        return 2;
    case Layout::rgb:
        return 3;
    default:
        return 4;
    }
}

/// Turns rows of any layout into rows of an image: sRGB, B, G, R, A, multiplied by alpha.
class ColourMatch {
public:
    /// `profile` is what the file embeds: nothing, a profile of another colour model and one that cannot be
    /// read all mean that the samples are sRGB already (plain grey, plain ink).
    ColourMatch(Layout layout, DataView profile);

    /// `from` and `to` may be the same for layouts of four samples. Thread-compatible.
    void convert(Layout layout, const std::uint8_t* from, std::uint8_t* to, Int pixels) const;
    /// Whether rows of B, G, R, A are what they should be without `convert`.
    bool isIdentity() const noexcept { return transform_ == nullptr; }

private:
    std::shared_ptr<void> transform_;
};

/// A row of an image as R, G, B, and A if asked for, with alpha divided out of the colours. Multiplying again
/// gives back the same bytes.
void divideAlphaOut(const std::uint8_t* from, std::uint8_t* to, Int pixels, bool keepsAlpha);

/// The description in an ICC profile, as UTF-8; empty where there is none.
std::string profileName(DataView profile);

} // namespace corvane::images
