// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Types.h>

namespace corvane {

/// A width and a height; either may be negative until a rectangle is standardized. Thread-compatible.
struct CGSize {
    CGFloat width = 0;
    CGFloat height = 0;

    static const CGSize zero;

    friend constexpr bool operator==(const CGSize&, const CGSize&) = default;
};

inline constexpr CGSize CGSize::zero{};

} // namespace corvane
