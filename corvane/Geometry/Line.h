// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Geometry/CGPoint.h>

#include <optional>

namespace corvane {

/// The line of the points with a·x + b·y + c = 0.
///
///     const Line axis = Line::fromPoints({0, 0}, {1, 0});   // (0, 1, 0)
///     axis.distance({3, 2});                                // 2: above, on the left of the direction
///     Line above = axis;
///     above.offsetBy(-2);                                   // through (0, 2)
///
/// Lines made from points have a normal (a, b) of unit length; fields that are set are taken as they are.
/// `==` compares the fields exactly, so one line has many unequal equations. Thread-compatible.
struct Line {
    CGFloat a = 0;
    CGFloat b = 0;
    CGFloat c = 0;

    /// Through both points; equal points give (0, 0, 0).
    static CORVANE_API Line fromPoints(CGPoint p1, CGPoint p2) noexcept;

    constexpr Line withA(CGFloat newA) const noexcept { return {newA, b, c}; }
    constexpr Line withB(CGFloat newB) const noexcept { return {a, newB, c}; }
    constexpr Line withC(CGFloat newC) const noexcept { return {a, b, newC}; }

    /// Signed, positive on the side that the normal points to. A distance only while (a, b) has unit length.
    constexpr CGFloat distance(CGPoint from) const noexcept { return a * from.x + b * from.y + c; }

    /// Absent for parallel lines. The point comes mirrored on the x axis: its y has the opposite sign of
    /// where the lines cross, so x = 1 and y = 2 give (1, −2).
    constexpr std::optional<CGPoint> intersects(const Line& other) const noexcept
    {
        const CGFloat det = other.b * a - other.a * b;
        if (det == 0)
            return std::nullopt;
        return CGPoint{(b * other.c - other.b * c) / det, (a * other.c - other.a * c) / det};
    }

    /// Adds to `c`, which moves the line against its normal.
    constexpr void offsetBy(CGFloat distance) noexcept { c += distance; }

    friend constexpr bool operator==(const Line&, const Line&) = default;
};

} // namespace corvane
