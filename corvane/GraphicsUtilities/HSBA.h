// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/NumberText.h>
#include <corvane/Platform/Base/Types.h>

namespace corvane {

/// A colour by its hue, saturation, brightness and alpha, nominally in 0 … 1; nothing clamps them.
///
///     HSBA{0.5, 1, 0.25}.description(); // "HSBA(0.5, 1.0, 0.25, 1.0)"
///
/// `==` compares exactly. There are no conversions between the colour models. Thread-compatible.
struct HSBA {
    CGFloat h = 0;
    CGFloat s = 0;
    CGFloat b = 0;
    CGFloat a = 1;

    static const HSBA zero;
    static const HSBA black;
    static const HSBA white;
    static const HSBA clear;

    std::string description() const { return numberListText("HSBA(", {h, s, b, a}, ")"); }

    friend constexpr bool operator==(const HSBA&, const HSBA&) = default;
};

inline constexpr HSBA HSBA::zero{0, 0, 0, 0};
inline constexpr HSBA HSBA::black{0, 0, 0, 1};
inline constexpr HSBA HSBA::white{0, 0, 1, 1};
inline constexpr HSBA HSBA::clear{0, 0, 0, 0};

} // namespace corvane
