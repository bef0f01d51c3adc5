// SPDX-License-Identifier: Apache-2.0
#include <corvane/Geometry/CGRect.h>

#include <gtest/gtest.h>

namespace corvane {
namespace {

constexpr CGRect page = CGRect::make(0, 0, 10, 20);

TEST(CGRectHelperTests, AnchorsHaveTheirPlaces)
{
    using enum RectAnchor;
    const CGPoint places[] = {{0, 20}, {10, 20}, {10, 0}, {0, 0}, {0, 10}, {5, 20}, {10, 10}, {5, 0}};
    for (const RectAnchor anchor : RectAnchors::allValues)
        EXPECT_EQ(point(page, anchor), places[rawValue(anchor)]) << rawValue(anchor);
    EXPECT_EQ(point(CGRect::make(10, 20, -10, -20), topLeft), (CGPoint{0, 20}));
    EXPECT_EQ(rect(page, topRight, {4, 2}), CGRect::make(8, 19, 4, 2));
    EXPECT_EQ(square(page, middleLeft, 6), CGRect::make(-3, 7, 6, 6));
}

TEST(CGRectHelperTests, DraggingAnAnchorResizesAndTurnsOver)
{
    using enum RectAnchor;
    struct Row {
        RectAnchor dragged;
        CGPoint to;
        CGRect expected;
        RectAnchor anchor;
    };
    const Row rows[] = {
        {topLeft, {15, -5}, CGRect::make(10, -5, 5, 5), bottomRight},
        {topLeft, {2, 25}, CGRect::make(2, 0, 8, 25), topLeft},
        {topRight, {-3, 12}, CGRect::make(-3, 0, 3, 12), topLeft},
        {bottomRight, {12, 30}, CGRect::make(0, 20, 12, 10), topRight},
        {bottomLeft, {4, 6}, CGRect::make(4, 6, 6, 14), bottomLeft},
        {topCenter, {100, 30}, CGRect::make(0, 0, 10, 30), topCenter},
        {bottomCenter, {100, 26}, CGRect::make(0, 20, 10, 6), topCenter},
        {middleLeft, {13, 100}, CGRect::make(10, 0, 3, 20), middleRight},
        {middleRight, {-4, 100}, CGRect::make(-4, 0, 4, 20), middleLeft},
        {topLeft, {10, 0}, CGRect::make(10, 0, 0, 0), topLeft}, // onto the opposite corner: no flip
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(&row - rows);
        CGRect rect = page;
        EXPECT_EQ(move(rect, row.dragged, row.to), row.anchor);
        EXPECT_EQ(rect, row.expected);
    }
}

TEST(CGRectHelperTests, CentresFitsAndBounds)
{
    EXPECT_EQ(center(page), (CGPoint{5, 10}));
    EXPECT_EQ(rectBetween({3, 1}, {1, 4}), CGRect::make(1, 1, 2, 3));
    EXPECT_EQ(fitted({40, 40}, page), CGRect::make(0, 5, 10, 10));
    EXPECT_EQ(filled({40, 40}, page), CGRect::make(-5, 0, 20, 20));
    EXPECT_EQ(boundingRect(std::vector<CGPoint>{{1, 5}, {-2, 3}, {0, 9}}), CGRect::make(-2, 3, 3, 6));
    EXPECT_TRUE(boundingRect({}).isNull());
    EXPECT_TRUE(isSimilarTo(page, CGRect::make(0, 0.0000001, 10, 20)));
    EXPECT_FALSE(isSimilarTo(page, CGRect::make(0, 0, 10.1, 20)));
    EXPECT_TRUE(overlap(page, CGRect::make(0.5, 0, 10.5, 20), 0.5));
    EXPECT_FALSE(overlap(page, CGRect::make(0, 0, 10, 20.00001)));
    EXPECT_EQ(description(page), "(0.0, 0.0, 10.0, 20.0)");
}

} // namespace
} // namespace corvane
