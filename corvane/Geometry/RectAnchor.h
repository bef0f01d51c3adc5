// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/RawValue.h>

#include <array>

namespace corvane {

/// The eight handles of a rectangle, as an editor shows them around a selected shape. y grows upward: the top
/// is at the maximum y. The corners come first, clockwise from the top left; then the sides. The left and
/// right handles are called middles, the top and bottom ones centers.
///
///     RectAnchor grabbed = RectAnchor::topLeft;
///     opposed(grabbed);          // bottomRight
///     flipHorizontal(grabbed);   // topRight
///     isCorner(grabbed);         // true
///
/// <corvane/Geometry/CGRect.h> places them on a rectangle and drags them. Thread-compatible.
enum class RectAnchor {
    topLeft,
    topRight,
    bottomRight,
    bottomLeft,
    middleLeft,
    topCenter,
    middleRight,
    bottomCenter
};

template <>
inline constexpr Int caseCount<RectAnchor> = 8;

/// The lists of anchors: `RectAnchors::allCorners`.
struct RectAnchors {
    static constexpr std::array allValues = {
        RectAnchor::topLeft,    RectAnchor::topRight,  RectAnchor::bottomRight, RectAnchor::bottomLeft,
        RectAnchor::middleLeft, RectAnchor::topCenter, RectAnchor::middleRight, RectAnchor::bottomCenter};
    static constexpr std::array allCorners = {RectAnchor::topLeft, RectAnchor::topRight,
                                              RectAnchor::bottomRight, RectAnchor::bottomLeft};
    static constexpr std::array allMiddles = {RectAnchor::middleLeft, RectAnchor::middleRight};
    static constexpr std::array allCenters = {RectAnchor::topCenter, RectAnchor::bottomCenter};
};

[[nodiscard]] constexpr bool isCorner(RectAnchor self) noexcept
{
    return rawValue(self) < 4;
}
[[nodiscard]] constexpr bool isMiddle(RectAnchor self) noexcept
{
    return self == RectAnchor::middleLeft || self == RectAnchor::middleRight;
}
[[nodiscard]] constexpr bool isCenter(RectAnchor self) noexcept
{
    return self == RectAnchor::topCenter || self == RectAnchor::bottomCenter;
}
[[nodiscard]] constexpr bool isLeft(RectAnchor self) noexcept
{
    return self == RectAnchor::topLeft || self == RectAnchor::bottomLeft || self == RectAnchor::middleLeft;
}
[[nodiscard]] constexpr bool isTop(RectAnchor self) noexcept
{
    return self == RectAnchor::topLeft || self == RectAnchor::topRight || self == RectAnchor::topCenter;
}
[[nodiscard]] constexpr bool isRight(RectAnchor self) noexcept
{
    return !isLeft(self) && !isCenter(self);
}
[[nodiscard]] constexpr bool isBottom(RectAnchor self) noexcept
{
    return !isTop(self) && !isMiddle(self);
}

/// Top and bottom exchanged; the middles stay.
constexpr void flipVertical(RectAnchor& self) noexcept
{
    using enum RectAnchor;
    constexpr RectAnchor flipped[] = {bottomLeft, bottomRight,  topRight,    topLeft,
                                      middleLeft, bottomCenter, middleRight, topCenter};
    self = flipped[rawValue(self)];
}
/// Left and right exchanged; the centers stay.
constexpr void flipHorizontal(RectAnchor& self) noexcept
{
    using enum RectAnchor;
    constexpr RectAnchor flipped[] = {topRight,    topLeft,   bottomLeft, bottomRight,
                                      middleRight, topCenter, middleLeft, bottomCenter};
    self = flipped[rawValue(self)];
}
/// The anchor on the other side of the centre.
[[nodiscard]] constexpr RectAnchor opposed(RectAnchor self) noexcept
{
    flipVertical(self);
    flipHorizontal(self);
    return self;
}

} // namespace corvane
