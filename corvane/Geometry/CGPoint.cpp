// SPDX-License-Identifier: Apache-2.0
#include <corvane/Geometry/CGPoint.h>
#include <corvane/Platform/Base/NumberText.h>

#include <algorithm>

namespace corvane {

std::string description(CGPoint self)
{
    return "(" + numberText(self.x) + ", " + numberText(self.y) + ")";
}

std::vector<CGPoint> convexHull(std::span<const CGPoint> points)
{
    std::vector<CGPoint> sorted;
    sorted.reserve(points.size());
    for (const CGPoint point : points)
        if (point.x == point.x && point.y == point.y) // NaN has no place in an order
            sorted.push_back(point);
    std::sort(sorted.begin(), sorted.end(), convexHullOrder);
    sorted.erase(std::unique(sorted.begin(), sorted.end()), sorted.end());
    if (sorted.size() < 3)
        return sorted;

    // Andrew's monotone chain: the lower edge from left to right, then the upper edge back.
    std::vector<CGPoint> hull;
    const auto extend = [&hull](std::size_t kept, CGPoint point) {
        while (hull.size() > kept &&
               cross(hull.back() - hull[hull.size() - 2], point - hull[hull.size() - 2]) <= 0)
            hull.pop_back();
        hull.push_back(point);
    };
    for (const CGPoint point : sorted)
        extend(1, point);
    const std::size_t lower = hull.size();
    for (auto point = sorted.rbegin() + 1; point != sorted.rend(); ++point)
        extend(lower, *point);
    hull.pop_back(); // the first point again
    return hull;
}

} // namespace corvane
