// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Numbers/RealNumber.h>

#include <optional>
#include <string>
#include <utility>

namespace corvane {

/// A range of numbers; both ends belong to it.
///
///     Interval zoom{0.25, 8};
///     zoom.restrictValue(12);                     // 8
///     zoom.intersection({4, 20});                 // (4, 8)
///     Interval::fromValues(3, 1);                 // (1, 3): ordered
///     zoom.withMax(16).description();             // "[0.25, 16.0]"
///
/// Nothing orders the ends of an interval made from fields or changed through them: `isValid` says whether
/// they are in order, and the operations take them as they are. Infinite ends are allowed; NaN follows IEEE
/// comparisons.
/// `==` compares the ends exactly; `overlap` and `isSimilarTo` compare with a tolerance. Thread-compatible.
struct Interval {
    CGFloat min = 0;
    CGFloat max = 0;

    static const Interval zero; ///< (0, 0)
    static const Interval unit; ///< (0, 1)

    /// The smaller value first.
    static constexpr Interval fromValues(CGFloat value1, CGFloat value2) noexcept
    {
        return {std::min(value1, value2), std::max(value1, value2)};
    }

    constexpr bool isValid() const noexcept { return max >= min; }
    /// Both ends finite.
    constexpr bool isClosed() const noexcept { return min - min == 0 && max - max == 0; }
    constexpr CGFloat length() const noexcept { return max - min; }
    constexpr CGFloat middle() const noexcept { return min + (max - min) * 0.5; }

    constexpr Interval withMin(CGFloat newMin) const noexcept { return {newMin, max}; }
    constexpr Interval withMax(CGFloat newMax) const noexcept { return {min, newMax}; }

    /// There is no lower bound: true for every value up to the larger end, also for one below the interval. A
    /// two-sided test is `restrictValue(value) == value`.
    constexpr bool contains(CGFloat value) const noexcept { return value <= min || value <= max; }

    /// Touching ends intersect.
    constexpr bool intersects(const Interval& other) const noexcept
    {
        return std::min(max, other.max) >= std::max(min, other.min);
    }
    constexpr std::optional<Interval> intersection(const Interval& other) const noexcept
    {
        const Interval common{std::max(min, other.min), std::min(max, other.max)};
        return common.min <= common.max ? std::optional(common) : std::nullopt;
    }
    static constexpr std::optional<Interval> intersection(const Interval& a, const Interval& b) noexcept
    {
        return a.intersection(b);
    }

    /// From the lower min to the higher max, also across a gap between the two.
    constexpr Interval union_(const Interval& other) const noexcept
    {
        return {std::min(min, other.min), std::max(max, other.max)};
    }
    static constexpr Interval union_(const Interval& a, const Interval& b) noexcept { return a.union_(b); }
    constexpr void formUnion(const Interval& other) noexcept { *this = union_(other); }

    constexpr Interval expandingToValue(CGFloat value) const noexcept { return union_({value, value}); }
    constexpr void expandToValueInPlace(CGFloat value) noexcept { *this = expandingToValue(value); }

    /// The nearest value of the interval.
    constexpr CGFloat restrictValue(CGFloat value) const noexcept
    {
        return value < min ? min : value > max ? max : value;
    }
    /// 0 … 1 onto the interval; values outside land outside.
    constexpr CGFloat scaleNormalizedValue(CGFloat value) const noexcept { return value * (max - min) + min; }
    /// From `min` on in hundredths of the way to `max`, which itself is never drawn.
    CGFloat randomValue() const noexcept { return corvane::randomValue<CGFloat>(min, max); }

    /// The two halves; both hold the middle.
    constexpr std::pair<Interval, Interval> bissect() const noexcept
    {
        return {withMax(middle()), withMin(middle())};
    }
    /// The parts below and above `value`, which belongs to both; one part is absent, and the other the whole
    /// interval, when `value` lies outside.
    constexpr std::pair<std::optional<Interval>, std::optional<Interval>>
    bissectAtValue(CGFloat value) const noexcept
    {
        if (min > value)
            return {std::nullopt, *this};
        if (value > max)
            return {*this, std::nullopt};
        return {withMax(value), withMin(value)};
    }

    /// Whether both pairs of ends differ by at most `tolerance`.
    constexpr bool overlap(const Interval& other, CGFloat tolerance = 0.000005) const noexcept
    {
        return corvane::overlap(min, other.min, tolerance) && corvane::overlap(max, other.max, tolerance);
    }
    /// Whether both pairs of ends are the same once rounded at `places` decimals.
    bool isSimilarTo(const Interval& other, Int places = 6) const noexcept
    {
        return corvane::isSimilarTo(min, other.min, places) && corvane::isSimilarTo(max, other.max, places);
    }
    /// Whether the interval has shrunk onto `value`: both ends are similar to it, not one of them.
    bool oneEndPointIsSimilarTo(CGFloat value, Int places = 6) const noexcept
    {
        return corvane::isSimilarTo(min, value, places) && corvane::isSimilarTo(value, max, places);
    }
    /// Whether both ends fall on the same whole number once multiplied by the tenth power of `n`: `n` is the
    /// base, so the usual 10 compares ten decimals.
    bool hasConverged(Int n) const noexcept
    {
        const CGFloat scale = std::pow(static_cast<CGFloat>(n), 10.0);
        return std::floor(min * scale) == std::floor(max * scale);
    }

    /// "[0.0, 1.0]"
    CORVANE_API std::string description() const;

    friend constexpr bool operator==(const Interval&, const Interval&) = default;
};

inline constexpr Interval Interval::zero{};
inline constexpr Interval Interval::unit{0, 1};

} // namespace corvane
