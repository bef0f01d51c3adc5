// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Graphics/CGRect.h>

#include <cmath>

namespace corvane {

/// An affine map of the plane: x' = a·x + c·y + tx, y' = b·x + d·y + ty.
///
///     const auto quarter = CGAffineTransform::rotation(std::numbers::pi / 2);
///     quarter.apply(CGPoint{1, 0});              // (0, 1): counterclockwise, y grows upward
///     quarter.translatedBy(10, 0).apply(p);      // moves p first, then turns it
///     quarter.concatenating(other).apply(p);     // turns p first, then applies `other`
///
/// Thread-compatible.
struct CGAffineTransform {
    CGFloat a = 1;
    CGFloat b = 0;
    CGFloat c = 0;
    CGFloat d = 1;
    CGFloat tx = 0;
    CGFloat ty = 0;

    static const CGAffineTransform identity;

    static constexpr CGAffineTransform translation(CGFloat tx, CGFloat ty) noexcept
    {
        return {1, 0, 0, 1, tx, ty};
    }
    static constexpr CGAffineTransform scale(CGFloat sx, CGFloat sy) noexcept { return {sx, 0, 0, sy, 0, 0}; }
    /// By `angle` radians, counterclockwise where y grows upward.
    static CGAffineTransform rotation(CGFloat angle) noexcept
    {
        const CGFloat sine = std::sin(angle);
        const CGFloat cosine = std::cos(angle);
        return {cosine, sine, -sine, cosine, 0, 0};
    }

    /// This map first, `next` on its result.
    constexpr CGAffineTransform concatenating(const CGAffineTransform& next) const noexcept
    {
        return {a * next.a + b * next.c,
                a * next.b + b * next.d,
                c * next.a + d * next.c,
                c * next.b + d * next.d,
                tx * next.a + ty * next.c + next.tx,
                tx * next.b + ty * next.d + next.ty};
    }
    /// These three work on the map's own coordinates: the new step happens before this map.
    constexpr CGAffineTransform translatedBy(CGFloat x, CGFloat y) const noexcept
    {
        return translation(x, y).concatenating(*this);
    }
    constexpr CGAffineTransform scaledBy(CGFloat x, CGFloat y) const noexcept
    {
        return scale(x, y).concatenating(*this);
    }
    CGAffineTransform rotatedBy(CGFloat angle) const noexcept { return rotation(angle).concatenating(*this); }

    constexpr CGFloat determinant() const noexcept { return a * d - b * c; }
    /// Whether the map can be undone: a finite determinant that is not zero.
    constexpr bool isInvertible() const noexcept
    {
        const CGFloat area = determinant();
        return area != 0 && area - area == 0;
    }
    /// The map that undoes this one; a map that cannot be undone gives itself.
    constexpr CGAffineTransform inverted() const noexcept
    {
        if (!isInvertible())
            return *this;
        const CGFloat area = determinant();
        return {d / area, -b / area, -c / area, a / area, (c * ty - d * tx) / area, (b * tx - a * ty) / area};
    }
    constexpr bool isIdentity() const noexcept { return *this == CGAffineTransform{}; }

    constexpr CGPoint apply(CGPoint point) const noexcept
    {
        return {a * point.x + c * point.y + tx, b * point.x + d * point.y + ty};
    }
    /// The size as a vector: translation plays no part.
    constexpr CGSize apply(CGSize size) const noexcept
    {
        return {a * size.width + c * size.height, b * size.width + d * size.height};
    }
    /// The smallest upright rectangle that holds the four transformed corners.
    constexpr CGRect apply(const CGRect& rect) const noexcept
    {
        if (rect.isNull())
            return rect;
        const CGPoint corners[] = {
            apply(CGPoint{rect.minX(), rect.minY()}), apply(CGPoint{rect.maxX(), rect.minY()}),
            apply(CGPoint{rect.minX(), rect.maxY()}), apply(CGPoint{rect.maxX(), rect.maxY()})};
        CGPoint low = corners[0];
        CGPoint high = corners[0];
        for (const CGPoint corner : corners) {
            low = {corner.x < low.x ? corner.x : low.x, corner.y < low.y ? corner.y : low.y};
            high = {corner.x > high.x ? corner.x : high.x, corner.y > high.y ? corner.y : high.y};
        }
        return {low, {high.x - low.x, high.y - low.y}};
    }

    friend constexpr bool operator==(const CGAffineTransform&, const CGAffineTransform&) = default;
};

inline constexpr CGAffineTransform CGAffineTransform::identity{};

} // namespace corvane
