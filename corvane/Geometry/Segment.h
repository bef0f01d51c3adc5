// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Geometry/CGPoint.h>
#include <corvane/Platform/Graphics/CGRect.h>

#include <optional>

namespace corvane {

/// A straight piece between two points, with a direction.
///
///     Segment side{{0, 0}, {4, 0}};
///     side.point(0.25);                             // (1, 0)
///     side.intersects({{1, -1}, {1, 1}});           // (1, 0)
///     side.distance({5, 1});                        // value 1, param 1.25
///     side.isSimilarToReversed({{4, 0}, {0, 0}});   // true
///
/// A parameter counts along the segment: 0 at the start, 1 at the end. Comparisons: `==` and `isEqualTo`
/// exactly, `overlap` within a tolerance, `isSimilarTo` once rounded at decimals; always start with start and
/// end with end. Thread-compatible.
struct Segment {
    CGPoint start;
    CGPoint end;

    static const Segment zero;

    struct Distance {
        CGFloat value;
        CGFloat param;
    };
    struct Intersection {
        CGPoint point;
        CGFloat param1; ///< along this segment
        CGFloat param2; ///< along the other
    };

    constexpr CGFloat deltaX() const noexcept { return end.x - start.x; }
    constexpr CGFloat deltaY() const noexcept { return end.y - start.y; }
    CGFloat length() const noexcept { return std::hypot(deltaY(), deltaX()); }
    constexpr CGPoint midpoint() const noexcept { return point(0.5); }
    constexpr CGRect boundingRect() const noexcept
    {
        return CGRect::make(std::min(start.x, end.x), std::min(start.y, end.y), abs(deltaX()), abs(deltaY()));
    }
    constexpr CGRect bounds() const noexcept { return boundingRect(); }
    /// Of unit length, a quarter turn counterclockwise from the direction; (0, 0) for a segment without
    /// length.
    CORVANE_API CGPoint normal() const noexcept;
    constexpr Segment reversed() const noexcept { return {end, start}; }
    constexpr Segment withStart(CGPoint newStart) const noexcept { return {newStart, end}; }
    constexpr Segment withEnd(CGPoint newEnd) const noexcept { return {start, newEnd}; }

    constexpr bool isEqualTo(const Segment& other) const noexcept { return *this == other; }
    constexpr bool isEqualToReversed(const Segment& other) const noexcept
    {
        return *this == other.reversed();
    }
    constexpr bool overlap(const Segment& other, CGFloat tolerance = 0.000005) const noexcept
    {
        return corvane::overlap(start, other.start, tolerance) && corvane::overlap(end, other.end, tolerance);
    }
    constexpr bool overlapReversed(const Segment& other, CGFloat tolerance = 0.000005) const noexcept
    {
        return overlap(other.reversed(), tolerance);
    }
    bool isSimilarTo(const Segment& other, Int places = 6) const noexcept
    {
        return corvane::isSimilarTo(start, other.start, places) &&
               corvane::isSimilarTo(end, other.end, places);
    }
    bool isSimilarToReversed(const Segment& other, Int places = 6) const noexcept
    {
        return isSimilarTo(other.reversed(), places);
    }
    /// Whether the directions agree; the places do not matter, so parallel segments apart are colinear.
    /// Slopes are compared, and a segment whose slope is none, because its ends differ by at most `tolerance`
    /// in x, is colinear with every other.
    constexpr bool isColinearTo(const Segment& other, CGFloat tolerance = 0.000005) const noexcept
    {
        return corvane::overlap(deltaX(), 0, tolerance) || corvane::overlap(other.deltaX(), 0, tolerance) ||
               corvane::overlap(deltaY() / deltaX(), other.deltaY() / other.deltaX(), tolerance);
    }
    /// Whether both ends are similar.
    bool isPoint(Int places = 6) const noexcept { return corvane::isSimilarTo(start, end, places); }

    /// Whether `p` lies on the line at six decimals and in the bounding rectangle, whose upper edges do not
    /// belong to it. So the end with the larger coordinates is not contained, and a horizontal or vertical
    /// segment, whose rectangle is empty, contains nothing.
    CORVANE_API bool contains(CGPoint p) const noexcept;
    /// From `p` to the line through the segment, and the parameter of the foot, which is not clamped: outside
    /// 0 … 1 the nearest point of the segment is an end. Both are 0 for a segment without length.
    CORVANE_API Distance distance(CGPoint from) const noexcept;

    /// Not clamped: parameters outside 0 … 1 continue the line.
    constexpr CGPoint point(CGFloat at) const noexcept { return start + (end - start) * at; }
    /// The distance of `p` from the start in lengths of the segment; unsigned.
    CGFloat parameter(CGPoint p) const noexcept { return corvane::distance(start, p) / length(); }

    /// Where the segments cross; touching counts. Absent for (nearly) parallel segments, even where they
    /// overlap.
    constexpr std::optional<CGPoint> intersects(const Segment& other) const noexcept
    {
        const auto found = findIntersection(other);
        return found ? std::optional(found->point) : std::nullopt;
    }
    /// Where the segment is at the height `horizontal`; absent outside its heights and for a horizontal
    /// segment.
    CORVANE_API std::optional<CGPoint> intersects(CGFloat horizontal) const noexcept;
    /// `intersects` with the parameters of the point.
    constexpr std::optional<Intersection> findIntersection(const Segment& other) const noexcept
    {
        const CGPoint r = end - start;
        const CGPoint q = other.end - other.start;
        const CGFloat den = cross(q, r);
        if (corvane::overlap(den, 0, parallelTolerance))
            return std::nullopt;
        const CGPoint w = other.start - start;
        const CGFloat numA = cross(q, w);
        const CGFloat numB = cross(r, w);
        // Both parameters in 0 … 1, tested before the divisions.
        const bool crossing = den > 0 ? numA >= 0 && numB >= 0 && numA <= den && numB <= den
                                      : numA <= 0 && numB <= 0 && numA >= den && numB >= den;
        if (!crossing)
            return std::nullopt;
        const CGFloat t = numB / den;
        return Intersection{other.start + q * t, numA / den, t};
    }

    friend constexpr bool operator==(const Segment&, const Segment&) = default;

private:
    static constexpr CGFloat parallelTolerance = 0.00001;
};

inline constexpr Segment Segment::zero{};

} // namespace corvane
