// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Geometry/CGPoint.h>
#include <corvane/Geometry/CGSize.h>
#include <corvane/Geometry/RectAnchor.h>
#include <corvane/Platform/Graphics/CGRect.h>

namespace corvane {

// Helpers on rectangles: the points of their anchors, dragging an anchor, centring and fitting. y grows
// upward.
//
//     CGRect frame = CGRect::make(0, 0, 10, 20);
//     point(frame, RectAnchor::topLeft);                                  // (0, 20)
//     square(frame, RectAnchor::topLeft, 6);                              // the handle to draw there
//     RectAnchor grabbed = move(frame, RectAnchor::topLeft, {15, -5});    // bottomRight, of (10, −5, 5, 5)
//     fitted(pictureSize, frame);                                         // the picture centred in the frame
//
// Thread-compatible.

[[nodiscard]] constexpr CGPoint center(const CGRect& self) noexcept
{
    return {self.midX(), self.midY()};
}
/// The rectangle of `size` around `center`.
[[nodiscard]] constexpr CGRect rectCenteredAt(CGPoint center, CGSize size) noexcept
{
    return {{center.x - size.width * 0.5, center.y - size.height * 0.5}, size};
}
/// The smallest rectangle with both points on its edges.
[[nodiscard]] constexpr CGRect rectBetween(CGPoint a, CGPoint b) noexcept
{
    return CGRect::make(std::min(a.x, b.x), std::min(a.y, b.y), abs(b.x - a.x), abs(b.y - a.y));
}
/// The smallest rectangle that holds all points; `null` without any.
[[nodiscard]] CORVANE_API CGRect boundingRect(std::span<const CGPoint> points) noexcept;

/// `size` scaled to fit into (or to cover) `bounds`, and centred there.
[[nodiscard]] constexpr CGRect fitted(CGSize size, const CGRect& bounds) noexcept
{
    return rectCenteredAt(center(bounds), scaledToFit(size, {bounds.width(), bounds.height()}));
}
[[nodiscard]] constexpr CGRect filled(CGSize size, const CGRect& bounds) noexcept
{
    return rectCenteredAt(center(bounds), scaledToFill(size, {bounds.width(), bounds.height()}));
}

/// The place of `anchor`.
[[nodiscard]] constexpr CGPoint point(const CGRect& self, RectAnchor anchor) noexcept
{
    return {isLeft(anchor)    ? self.minX()
            : isRight(anchor) ? self.maxX()
                              : self.midX(),
            isTop(anchor)      ? self.maxY()
            : isBottom(anchor) ? self.minY()
                               : self.midY()};
}
/// The rectangle of `size` centred on the place of `anchor`.
[[nodiscard]] constexpr CGRect rect(const CGRect& self, RectAnchor anchor, CGSize size) noexcept
{
    return rectCenteredAt(point(self, anchor), size);
}
[[nodiscard]] constexpr CGRect square(const CGRect& self, RectAnchor anchor, CGFloat edgeSize) noexcept
{
    return rect(self, anchor, {edgeSize, edgeSize});
}

/// Resizes the rectangle so that `anchor` sits at `to` while the opposite side stays (a centre moves only up
/// and down, a middle only left and right). Dragged across the opposite side, the rectangle turns over
/// instead of getting a negative size. Returns the anchor that sits at the point afterwards: continue the
/// drag with that one.
CORVANE_API RectAnchor move(CGRect& self, RectAnchor anchor, CGPoint to) noexcept;

/// Whether origin and size are the same once rounded at `places` decimals.
[[nodiscard]] inline bool isSimilarTo(const CGRect& self, const CGRect& other, Int places = 6) noexcept
{
    return isSimilarTo(self.origin, other.origin, places) && isSimilarTo(self.size, other.size, places);
}
/// Whether origin and size differ by at most `tolerance`.
[[nodiscard]] constexpr bool overlap(const CGRect& self, const CGRect& other,
                                     CGFloat tolerance = 0.000005) noexcept
{
    return overlap(self.origin, other.origin, tolerance) && overlap(self.size, other.size, tolerance);
}
/// "(0.0, 0.0, 10.0, 20.0)"
[[nodiscard]] CORVANE_API std::string description(const CGRect& self);

} // namespace corvane
