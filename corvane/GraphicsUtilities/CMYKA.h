// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/NumberText.h>
#include <corvane/Platform/Base/Types.h>

namespace corvane {

/// A colour by its cyan, magenta, yellow, black ink and alpha, nominally in 0 … 1; nothing clamps them.
///
///     CMYKA{0, 0.5, 1, 0}.description(); // "CMYKA(0.0, 0.5, 1.0, 0.0, 1.0)"
///
/// `==` compares exactly. There are no conversions between the colour models. Unlike in the other models
/// `clear` is not all zero: it is black ink without alpha. Thread-compatible.
struct CMYKA {
    CGFloat c = 0;
    CGFloat m = 0;
    CGFloat y = 0;
    CGFloat k = 0;
    CGFloat a = 1;

    static const CMYKA zero;
    static const CMYKA black;
    static const CMYKA white;
    static const CMYKA clear;

    std::string description() const { return numberListText("CMYKA(", {c, m, y, k, a}, ")"); }

    friend constexpr bool operator==(const CMYKA&, const CMYKA&) = default;
};

inline constexpr CMYKA CMYKA::zero{0, 0, 0, 0, 0};
inline constexpr CMYKA CMYKA::black{0, 0, 0, 1, 1};
inline constexpr CMYKA CMYKA::white{0, 0, 0, 0, 1};
inline constexpr CMYKA CMYKA::clear{0, 0, 0, 1, 0};

} // namespace corvane
