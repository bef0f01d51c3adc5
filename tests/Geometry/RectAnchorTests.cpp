// SPDX-License-Identifier: Apache-2.0
#include <corvane/Geometry/RectAnchor.h>

#include <gtest/gtest.h>

namespace corvane {
namespace {

TEST(RectAnchorTests, EveryAnchorKnowsItsSidesAndPartners)
{
    using enum RectAnchor;
    struct Row {
        RectAnchor anchor;
        Int raw;
        bool corner, middle, center, left, right, top, bottom;
        RectAnchor opposed, vertical, horizontal;
    };
    const Row rows[] = {
        {topLeft, 0, true, false, false, true, false, true, false, bottomRight, bottomLeft, topRight},
        {topRight, 1, true, false, false, false, true, true, false, bottomLeft, bottomRight, topLeft},
        {bottomRight, 2, true, false, false, false, true, false, true, topLeft, topRight, bottomLeft},
        {bottomLeft, 3, true, false, false, true, false, false, true, topRight, topLeft, bottomRight},
        {middleLeft, 4, false, true, false, true, false, false, false, middleRight, middleLeft, middleRight},
        {topCenter, 5, false, false, true, false, false, true, false, bottomCenter, bottomCenter, topCenter},
        {middleRight, 6, false, true, false, false, true, false, false, middleLeft, middleRight, middleLeft},
        {bottomCenter, 7, false, false, true, false, false, false, true, topCenter, topCenter, bottomCenter},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.raw);
        EXPECT_EQ(RectAnchors::allValues[static_cast<std::size_t>(row.raw)], row.anchor);
        EXPECT_EQ(fromRawValue<RectAnchor>(row.raw), row.anchor);
        EXPECT_EQ(rawValue(row.anchor), row.raw);
        EXPECT_EQ(isCorner(row.anchor), row.corner);
        EXPECT_EQ(isMiddle(row.anchor), row.middle);
        EXPECT_EQ(isCenter(row.anchor), row.center);
        EXPECT_EQ(isLeft(row.anchor), row.left);
        EXPECT_EQ(isRight(row.anchor), row.right);
        EXPECT_EQ(isTop(row.anchor), row.top);
        EXPECT_EQ(isBottom(row.anchor), row.bottom);
        EXPECT_EQ(opposed(row.anchor), row.opposed);
        RectAnchor flipped = row.anchor;
        flipVertical(flipped);
        EXPECT_EQ(flipped, row.vertical);
        flipped = row.anchor;
        flipHorizontal(flipped);
        EXPECT_EQ(flipped, row.horizontal);
    }
    EXPECT_EQ(fromRawValue<RectAnchor>(8), std::nullopt);
    EXPECT_EQ(fromRawValue<RectAnchor>(-1), std::nullopt);
    EXPECT_EQ(RectAnchors::allCorners, (std::array{topLeft, topRight, bottomRight, bottomLeft}));
    EXPECT_EQ(RectAnchors::allMiddles, (std::array{middleLeft, middleRight}));
    EXPECT_EQ(RectAnchors::allCenters, (std::array{topCenter, bottomCenter}));
}

} // namespace
} // namespace corvane
