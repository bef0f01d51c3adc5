// SPDX-License-Identifier: Apache-2.0
#include <corvane/Geometry/CGRect.h>
#include <corvane/Platform/Base/NumberText.h>

namespace corvane {

CGRect boundingRect(std::span<const CGPoint> points) noexcept
{
    if (points.empty())
        return CGRect::null;
    CGPoint low = points.front();
    CGPoint high = low;
    for (const CGPoint point : points) {
        low = {std::min(low.x, point.x), std::min(low.y, point.y)};
        high = {std::max(high.x, point.x), std::max(high.y, point.y)};
    }
    return rectBetween(low, high);
}

RectAnchor move(CGRect& self, RectAnchor anchor, CGPoint to) noexcept
{
    auto& [origin, size] = self;
    if (isLeft(anchor)) {
        size.width = self.maxX() - to.x;
        origin.x = to.x;
    } else if (isRight(anchor)) {
        size.width = to.x - origin.x;
    }
    if (isTop(anchor)) {
        size.height = to.y - origin.y;
    } else if (isBottom(anchor)) {
        size.height = self.maxY() - to.y;
        origin.y = to.y;
    }
    if (size.height < 0) {
        size.height = -size.height;
        origin.y -= size.height;
        flipVertical(anchor);
    }
    if (size.width < 0) {
        size.width = -size.width;
        origin.x -= size.width;
        flipHorizontal(anchor);
    }
    return anchor;
}

std::string description(const CGRect& self)
{
    return numberListText("(", {self.origin.x, self.origin.y, self.size.width, self.size.height}, ")");
}

} // namespace corvane
