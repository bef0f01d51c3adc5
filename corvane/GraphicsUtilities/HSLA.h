// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/NumberText.h>
#include <corvane/Platform/Base/Types.h>

namespace corvane {

/// A colour by its hue, saturation, lightness and alpha, nominally in 0 … 1; nothing clamps them.
///
///     HSLA{0.5, 1, 0.25}.description(); // "HSLA(0.5, 1.0, 0.25, 1.0)"
///
/// `==` compares exactly. There are no conversions between the colour models. Thread-compatible.
struct HSLA {
    CGFloat h = 0;
    CGFloat s = 0;
    CGFloat l = 0;
    CGFloat a = 1;

    static const HSLA zero;
    static const HSLA black;
    static const HSLA white;
    static const HSLA clear;

    std::string description() const { return numberListText("HSLA(", {h, s, l, a}, ")"); }

    friend constexpr bool operator==(const HSLA&, const HSLA&) = default;
};

inline constexpr HSLA HSLA::zero{0, 0, 0, 0};
inline constexpr HSLA HSLA::black{0, 0, 0, 1};
inline constexpr HSLA HSLA::white{0, 0, 1, 1};
inline constexpr HSLA HSLA::clear{0, 0, 0, 0};

} // namespace corvane
