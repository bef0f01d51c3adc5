// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Graphics/CGPoint.h>
#include <corvane/Platform/Graphics/CGSize.h>

#include <cmath>
#include <limits>

namespace corvane {

/// A rectangle: an origin and a size that extends from it.
///
///     constexpr auto page = CGRect::make(0, 0, 210, 297);
///     constexpr auto body = page.insetBy(20, 20);
///     static_assert(page.contains(body) && body.midX() == 105);
///
/// y grows upward: `maxY()` is the top edge. A negative width or height is allowed and means that the
/// rectangle extends the other way; every operation below looks at the standardized rectangle. Points on the
/// minimum edges belong to a rectangle, points on the maximum edges do not. `null` is the result of an
/// intersection that does not exist, which an empty rectangle (with a place) is not. `==` compares the fields
/// exactly. Thread-compatible.
struct CGRect {
    CGPoint origin;
    CGSize size;

    static const CGRect zero;
    static const CGRect null;

    static constexpr CGRect make(CGFloat x, CGFloat y, CGFloat width, CGFloat height) noexcept
    {
        return {{x, y}, {width, height}};
    }

    constexpr CGFloat width() const noexcept { return size.width < 0 ? -size.width : size.width; }
    constexpr CGFloat height() const noexcept { return size.height < 0 ? -size.height : size.height; }
    constexpr CGFloat minX() const noexcept { return size.width < 0 ? origin.x + size.width : origin.x; }
    constexpr CGFloat midX() const noexcept { return origin.x + size.width / 2; }
    constexpr CGFloat maxX() const noexcept { return size.width < 0 ? origin.x : origin.x + size.width; }
    constexpr CGFloat minY() const noexcept { return size.height < 0 ? origin.y + size.height : origin.y; }
    constexpr CGFloat midY() const noexcept { return origin.y + size.height / 2; }
    constexpr CGFloat maxY() const noexcept { return size.height < 0 ? origin.y : origin.y + size.height; }

    constexpr bool isNull() const noexcept
    {
        return origin.x == std::numeric_limits<CGFloat>::infinity() ||
               origin.y == std::numeric_limits<CGFloat>::infinity();
    }
    /// No area: null, or a width or height of zero.
    constexpr bool isEmpty() const noexcept { return isNull() || size.width == 0 || size.height == 0; }

    /// The same area with a width and height of at least zero.
    constexpr CGRect standardized() const noexcept
    {
        return isNull() ? *this : make(minX(), minY(), width(), height());
    }

    constexpr bool contains(CGPoint point) const noexcept
    {
        return !isNull() && point.x >= minX() && point.x < maxX() && point.y >= minY() && point.y < maxY();
    }
    constexpr bool contains(const CGRect& other) const noexcept { return union_(other) == standardized(); }
    constexpr bool intersects(const CGRect& other) const noexcept { return !intersection(other).isNull(); }

    /// The common area; `null` when there is none. Rectangles that share only an edge have an empty one.
    constexpr CGRect intersection(const CGRect& other) const noexcept;
    /// The smallest rectangle that holds both; a null one adds nothing.
    constexpr CGRect union_(const CGRect& other) const noexcept;

    /// Moved in by `dx` on the left and the right and by `dy` above and below (outward when negative); `null`
    /// when nothing is left.
    constexpr CGRect insetBy(CGFloat dx, CGFloat dy) const noexcept;
    constexpr CGRect offsetBy(CGFloat dx, CGFloat dy) const noexcept
    {
        const CGRect from = standardized();
        return isNull() ? from
                        : make(from.origin.x + dx, from.origin.y + dy, from.size.width, from.size.height);
    }
    /// The smallest rectangle with whole-numbered edges that holds this one.
    CGRect integral() const noexcept
    {
        if (isNull())
            return *this;
        const CGFloat x = std::floor(minX());
        const CGFloat y = std::floor(minY());
        return make(x, y, std::ceil(maxX()) - x, std::ceil(maxY()) - y);
    }

    friend constexpr bool operator==(const CGRect&, const CGRect&) = default;
};

inline constexpr CGRect CGRect::zero{};
inline constexpr CGRect CGRect::null{
    {std::numeric_limits<CGFloat>::infinity(), std::numeric_limits<CGFloat>::infinity()}, {}};

constexpr CGRect CGRect::intersection(const CGRect& other) const noexcept
{
    if (isNull() || other.isNull())
        return null;
    const CGFloat left = minX() > other.minX() ? minX() : other.minX();
    const CGFloat right = maxX() < other.maxX() ? maxX() : other.maxX();
    const CGFloat bottom = minY() > other.minY() ? minY() : other.minY();
    const CGFloat top = maxY() < other.maxY() ? maxY() : other.maxY();
    return left > right || bottom > top ? null : make(left, bottom, right - left, top - bottom);
}

constexpr CGRect CGRect::union_(const CGRect& other) const noexcept
{
    if (isNull() || other.isNull())
        return isNull() ? other.standardized() : standardized();
    const CGFloat left = minX() < other.minX() ? minX() : other.minX();
    const CGFloat right = maxX() > other.maxX() ? maxX() : other.maxX();
    const CGFloat bottom = minY() < other.minY() ? minY() : other.minY();
    const CGFloat top = maxY() > other.maxY() ? maxY() : other.maxY();
    return make(left, bottom, right - left, top - bottom);
}

constexpr CGRect CGRect::insetBy(CGFloat dx, CGFloat dy) const noexcept
{
    const CGRect from = standardized();
    const CGSize left{from.size.width - 2 * dx, from.size.height - 2 * dy};
    if (isNull() || left.width < 0 || left.height < 0)
        return null;
    return {{from.origin.x + dx, from.origin.y + dy}, left};
}

} // namespace corvane
