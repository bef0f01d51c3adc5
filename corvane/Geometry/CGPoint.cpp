// SPDX-License-Identifier: Apache-2.0
#include <corvane/Geometry/CGPoint.h>
#include <corvane/Platform/Base/NumberText.h>

#include <algorithm>

namespace corvane {

std::string description(CGPoint self)
{
    return numberListText("(", {self.x, self.y}, ")");
}

namespace {

// The points that may be corners. The four points that reach furthest diagonally leave a rectangle between
// them; around a point strictly inside it they lie in four different quadrants, so that it cannot be one.
// Only comparisons decide, so nothing is lost to rounding.
std::vector<CGPoint> candidates(std::span<const CGPoint> points)
{
    std::vector<CGPoint> kept;
    kept.reserve(points.size());
    for (const CGPoint point : points)
        if (std::isfinite(point.x) && std::isfinite(point.y))
            kept.push_back(point);
    if (kept.empty())
        return kept;
    CGPoint bottomLeft = kept.front(), bottomRight = bottomLeft, topRight = bottomLeft, topLeft = bottomLeft;
    for (const CGPoint point : kept) {
        if (point.x + point.y < bottomLeft.x + bottomLeft.y)
            bottomLeft = point;
        if (point.x + point.y > topRight.x + topRight.y)
            topRight = point;
        if (point.x - point.y > bottomRight.x - bottomRight.y)
            bottomRight = point;
        if (point.x - point.y < topLeft.x - topLeft.y)
            topLeft = point;
    }
    const CGPoint low{std::max(bottomLeft.x, topLeft.x), std::max(bottomLeft.y, bottomRight.y)};
    const CGPoint high{std::min(bottomRight.x, topRight.x), std::min(topLeft.y, topRight.y)};
    std::erase_if(kept, [low, high](CGPoint point) {
        // All four compared, so that there is one branch to predict instead of four.
        return (low.x < point.x) & (point.x < high.x) & (low.y < point.y) & (point.y < high.y);
    });
    return kept;
}

// Appends `point` to a chain that begins at `first` and turns only left, dropping what is no corner any more.
void extend(std::vector<CGPoint>& hull, std::size_t first, CGPoint point)
{
    while (hull.size() > first + 1 &&
           cross(hull.back() - hull[hull.size() - 2], point - hull[hull.size() - 2]) <= 0)
        hull.pop_back();
    hull.push_back(point);
}

} // namespace

std::vector<CGPoint> convexHull(std::span<const CGPoint> points)
{
    std::vector<CGPoint> sorted = candidates(points);
    std::sort(sorted.begin(), sorted.end(), convexHullOrder);
    sorted.erase(std::unique(sorted.begin(), sorted.end()), sorted.end());
    if (sorted.size() < 3)
        return sorted;

    // Andrew's monotone chain: the lower edge from left to right, then the upper edge back. The line
    // between the ends parts the points, so that each is tried on one edge only.
    const CGPoint from = sorted.front(), to = sorted.back();
    std::vector<CGPoint> hull;
    hull.reserve(sorted.size() + 1); // pages that are not written cost nothing
    hull.push_back(from);
    std::size_t above = 0;
    for (const CGPoint point : sorted) {
        const CGFloat side = cross(to - from, point - from);
        if (side < 0)
            extend(hull, 0, point);
        sorted[above] = point;
        above += side > 0;
    }
    extend(hull, 0, to);
    const std::size_t lower = hull.size() - 1;
    while (above > 0)
        extend(hull, lower, sorted[--above]);
    extend(hull, lower, from);
    hull.pop_back();
    return hull;
}

} // namespace corvane
