// SPDX-License-Identifier: Apache-2.0
#include <corvane/Geometry/Line.h>

namespace corvane {

Line Line::fromPoints(CGPoint p1, CGPoint p2) noexcept
{
    const CGFloat a = p1.y - p2.y;
    const CGFloat b = p2.x - p1.x;
    const CGFloat scale = std::hypot(a, b);
    if (scale == 0)
        return {};
    return {a / scale, b / scale, (p1.x * p2.y - p1.y * p2.x) / scale};
}

} // namespace corvane
