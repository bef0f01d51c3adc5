// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Numbers/RealNumber.h>
#include <corvane/Platform/Base/Export.h>
#include <corvane/Platform/Graphics/CGPoint.h>

#include <string>
#include <vector>

namespace corvane {

// Arithmetic and helpers on points, which stand for vectors too.
//
//     const CGPoint middle = a + (b - a) * 0.5;
//     isSimilarTo(middle, midpoint(a, b));              // true: equal at six decimals
//     distance(a, b);
//     std::vector<CGPoint> corners = convexHull(points);
//
// Everything follows IEEE arithmetic, coordinate by coordinate. Thread-compatible.

[[nodiscard]] constexpr CGPoint operator+(CGPoint a, CGPoint b) noexcept
{
    return {a.x + b.x, a.y + b.y};
}
[[nodiscard]] constexpr CGPoint operator-(CGPoint a, CGPoint b) noexcept
{
    return {a.x - b.x, a.y - b.y};
}
[[nodiscard]] constexpr CGPoint operator-(CGPoint a) noexcept
{
    return {-a.x, -a.y};
}
[[nodiscard]] constexpr CGPoint operator*(CGPoint a, CGFloat factor) noexcept
{
    return {a.x * factor, a.y * factor};
}
[[nodiscard]] constexpr CGPoint operator*(CGFloat factor, CGPoint a) noexcept
{
    return a * factor;
}
[[nodiscard]] constexpr CGPoint operator/(CGPoint a, CGFloat divisor) noexcept
{
    return {a.x / divisor, a.y / divisor};
}
constexpr CGPoint& operator+=(CGPoint& a, CGPoint b) noexcept
{
    return a = a + b;
}
constexpr CGPoint& operator-=(CGPoint& a, CGPoint b) noexcept
{
    return a = a - b;
}
constexpr CGPoint& operator*=(CGPoint& a, CGFloat factor) noexcept
{
    return a = a * factor;
}
constexpr CGPoint& operator/=(CGPoint& a, CGFloat divisor) noexcept
{
    return a = a / divisor;
}

[[nodiscard]] constexpr CGFloat dot(CGPoint a, CGPoint b) noexcept
{
    return a.x * b.x + a.y * b.y;
}
/// Twice the signed area of the triangle (origin, a, b): positive when `b` lies counterclockwise of `a`.
[[nodiscard]] constexpr CGFloat cross(CGPoint a, CGPoint b) noexcept
{
    return a.x * b.y - a.y * b.x;
}
/// From the origin.
[[nodiscard]] inline CGFloat length(CGPoint self) noexcept
{
    return std::hypot(self.x, self.y);
}
[[nodiscard]] inline CGFloat distance(CGPoint a, CGPoint b) noexcept
{
    return length(b - a);
}
[[nodiscard]] constexpr CGPoint midpoint(CGPoint a, CGPoint b) noexcept
{
    return a + (b - a) * 0.5;
}
/// Both coordinates rounded, halves away from zero.
[[nodiscard]] inline CGPoint round(CGPoint self) noexcept
{
    return {std::round(self.x), std::round(self.y)};
}

/// Whether both coordinates are the same once rounded at `places` decimals.
[[nodiscard]] inline bool isSimilarTo(CGPoint self, CGPoint other, Int places = 6) noexcept
{
    return isSimilarTo(self.x, other.x, places) && isSimilarTo(self.y, other.y, places);
}
/// Whether both coordinates differ by at most `tolerance`.
[[nodiscard]] constexpr bool overlap(CGPoint self, CGPoint other, CGFloat tolerance = 0.000005) noexcept
{
    return overlap(self.x, other.x, tolerance) && overlap(self.y, other.y, tolerance);
}
/// "(1.0, 2.5)"
[[nodiscard]] CORVANE_API std::string description(CGPoint self);

/// The order in which a convex hull visits points: by x, then by y.
[[nodiscard]] constexpr bool convexHullOrder(CGPoint a, CGPoint b) noexcept
{
    return a.x < b.x || (a.x == b.x && a.y < b.y);
}
/// The corners of the smallest convex polygon around `points`: counterclockwise (y upward) from the first
/// point in `convexHullOrder`, without repetitions and without points on the edges between two corners. One
/// or two corners where all points coincide or lie on one line; points that are not finite are left out.
/// O(n log n).
[[nodiscard]] CORVANE_API std::vector<CGPoint> convexHull(std::span<const CGPoint> points);

} // namespace corvane
