// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Numbers/RealNumber.h>
#include <corvane/Platform/Graphics/CGSize.h>

#include <string>

namespace corvane {

// Arithmetic and helpers on sizes.
//
//     const CGSize thumbnail = scaledToFit(picture, {160, 160});
//     isSimilarTo(thumbnail, picture * (160 / maxEdge(picture)));
//
// Everything follows IEEE arithmetic: fitting an empty size gives infinite or NaN edges. Thread-compatible.

[[nodiscard]] constexpr CGSize operator+(CGSize a, CGSize b) noexcept
{
    return {a.width + b.width, a.height + b.height};
}
[[nodiscard]] constexpr CGSize operator-(CGSize a, CGSize b) noexcept
{
    return {a.width - b.width, a.height - b.height};
}
[[nodiscard]] constexpr CGSize operator*(CGSize a, CGFloat factor) noexcept
{
    return {a.width * factor, a.height * factor};
}
[[nodiscard]] constexpr CGSize operator*(CGFloat factor, CGSize a) noexcept
{
    return a * factor;
}
[[nodiscard]] constexpr CGSize operator/(CGSize a, CGFloat divisor) noexcept
{
    return {a.width / divisor, a.height / divisor};
}

[[nodiscard]] constexpr CGFloat area(CGSize self) noexcept
{
    return self.width * self.height;
}
/// Width by height.
[[nodiscard]] constexpr CGFloat aspectRatio(CGSize self) noexcept
{
    return self.width / self.height;
}
[[nodiscard]] constexpr CGFloat minEdge(CGSize self) noexcept
{
    return std::min(self.width, self.height);
}
[[nodiscard]] constexpr CGFloat maxEdge(CGSize self) noexcept
{
    return std::max(self.width, self.height);
}

/// The largest size of the same proportions within `bounds`.
[[nodiscard]] constexpr CGSize scaledToFit(CGSize self, CGSize bounds) noexcept
{
    return self * std::min(bounds.width / self.width, bounds.height / self.height);
}
/// The smallest size of the same proportions that covers `bounds`.
[[nodiscard]] constexpr CGSize scaledToFill(CGSize self, CGSize bounds) noexcept
{
    return self * std::max(bounds.width / self.width, bounds.height / self.height);
}

/// Whether both edges are the same once rounded at `places` decimals.
[[nodiscard]] inline bool isSimilarTo(CGSize self, CGSize other, Int places = 6) noexcept
{
    return isSimilarTo(self.width, other.width, places) && isSimilarTo(self.height, other.height, places);
}
/// Whether both edges differ by at most `tolerance`.
[[nodiscard]] constexpr bool overlap(CGSize self, CGSize other, CGFloat tolerance = 0.000005) noexcept
{
    return overlap(self.width, other.width, tolerance) && overlap(self.height, other.height, tolerance);
}
/// "(4.0, 3.0)"
[[nodiscard]] CORVANE_API std::string description(CGSize self);

} // namespace corvane
