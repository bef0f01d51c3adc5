// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/RawValue.h>

namespace corvane {

// Directions and how they turn.
//
//     Orientation facing = Orientation::up;
//     turnLeft(facing);                        // left
//     right(CardinalDirection::north);         // east
//     toggled(ClockDirection::clockwise);      // antiClockwise
//     fromRawValue<Orientation>(3);            // left; absent for 4
//
// The raw values are stored in files; they keep the order below. Thread-compatible.

enum class Orientation { up, down, right, left };
enum class HOrientation { left, right };
enum class VOrientation { up, down };
enum class CardinalDirection { east, west, north, south };
enum class ClockDirection { clockwise, antiClockwise };

template <>
inline constexpr Int caseCount<Orientation> = 4;
template <>
inline constexpr Int caseCount<HOrientation> = 2;
template <>
inline constexpr Int caseCount<VOrientation> = 2;
template <>
inline constexpr Int caseCount<CardinalDirection> = 4;
template <>
inline constexpr Int caseCount<ClockDirection> = 2;

template <typename T>
concept Turnable = std::is_same_v<T, Orientation> || std::is_same_v<T, CardinalDirection>;
template <typename T>
concept Toggleable =
    std::is_same_v<T, HOrientation> || std::is_same_v<T, VOrientation> || std::is_same_v<T, ClockDirection>;

/// The direction after a quarter turn to the left.
[[nodiscard]] constexpr Orientation left(Orientation self) noexcept
{
    using enum Orientation;
    constexpr Orientation turned[] = {left, right, up, down};
    return turned[static_cast<int>(self)];
}
[[nodiscard]] constexpr CardinalDirection left(CardinalDirection self) noexcept
{
    using enum CardinalDirection;
    constexpr CardinalDirection turned[] = {north, south, west, east};
    return turned[static_cast<int>(self)];
}

/// The direction after a quarter turn to the right.
template <Turnable T>
[[nodiscard]] constexpr T right(T self) noexcept
{
    return left(left(left(self)));
}

template <Turnable T>
constexpr void turnLeft(T& self) noexcept
{
    self = left(self);
}
template <Turnable T>
constexpr void turnRight(T& self) noexcept
{
    self = right(self);
}

/// The other case.
template <Toggleable T>
[[nodiscard]] constexpr T toggled(T self) noexcept
{
    return static_cast<T>(1 - static_cast<int>(self));
}
template <Toggleable T>
constexpr void toggle(T& self) noexcept
{
    self = toggled(self);
}

} // namespace corvane
