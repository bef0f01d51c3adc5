// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Types.h>

namespace corvane {

/// A place in the plane. Thread-compatible.
struct CGPoint {
    CGFloat x = 0;
    CGFloat y = 0;

    static const CGPoint zero;

    friend constexpr bool operator==(const CGPoint&, const CGPoint&) = default;
};

inline constexpr CGPoint CGPoint::zero{};

} // namespace corvane
