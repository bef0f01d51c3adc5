// SPDX-License-Identifier: Apache-2.0
#include <corvane/Geometry/Segment.h>

namespace corvane {

CGPoint Segment::normal() const noexcept
{
    const CGPoint turned{start.y - end.y, end.x - start.x};
    const CGFloat scale = length();
    return scale == 0 ? turned : turned / scale;
}

bool Segment::contains(CGPoint p) const noexcept
{
    const CGFloat area = cross(p - start, end - start) * 0.5;
    return std::round(area * 1000000) == 0 && boundingRect().contains(p);
}

Segment::Distance Segment::distance(CGPoint from) const noexcept
{
    const CGFloat scale = length();
    if (scale == 0)
        return {0, 0};
    const CGFloat t = dot(from - start, end - start) / (scale * scale);
    return {corvane::distance(point(t), from), t};
}

std::optional<CGPoint> Segment::intersects(CGFloat horizontal) const noexcept
{
    if (corvane::overlap(deltaY(), 0, parallelTolerance))
        return std::nullopt;
    if (!(std::min(start.y, end.y) <= horizontal && horizontal <= std::max(start.y, end.y)))
        return std::nullopt;
    return CGPoint{start.x + deltaX() * ((horizontal - start.y) / deltaY()), horizontal};
}

} // namespace corvane
