// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Graphics/CGRect.h>

#include <gtest/gtest.h>

namespace corvane {

TEST(CGRect, EdgesOfNegativeSizes)
{
    constexpr CGRect rect = CGRect::make(10, 20, -4, -6);
    static_assert(rect.minX() == 6 && rect.midX() == 8 && rect.maxX() == 10 && rect.width() == 4);
    static_assert(rect.minY() == 14 && rect.midY() == 17 && rect.maxY() == 20 && rect.height() == 6);
    EXPECT_EQ(rect.standardized(), CGRect::make(6, 14, 4, 6));
    EXPECT_NE(rect, rect.standardized());
    EXPECT_EQ(rect.offsetBy(1, -1), CGRect::make(7, 13, 4, 6));
}

TEST(CGRect, SetOperations)
{
    constexpr CGRect a = CGRect::make(0, 0, 10, 10);
    const struct {
        CGRect other, intersection, union_;
    } rows[] = {
        {CGRect::make(5, 5, 10, 10), CGRect::make(5, 5, 5, 5), CGRect::make(0, 0, 15, 15)},
        {CGRect::make(10, 0, 5, 10), CGRect::make(10, 0, 0, 10), CGRect::make(0, 0, 15, 10)},
        {CGRect::make(11, 0, 5, 10), CGRect::null, CGRect::make(0, 0, 16, 10)},
        {CGRect::make(8, 8, -6, -6), CGRect::make(2, 2, 6, 6), a},
        {CGRect::null, CGRect::null, a},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(a.intersection(row.other), row.intersection);
        EXPECT_EQ(row.other.intersection(a), row.intersection);
        EXPECT_EQ(a.union_(row.other), row.union_);
        EXPECT_EQ(row.other.union_(a), row.union_);
        EXPECT_EQ(a.intersects(row.other), !row.intersection.isNull());
        EXPECT_EQ(a.contains(row.other), row.union_ == a);
    }
}

TEST(CGRect, PointsOnEdges)
{
    constexpr CGRect rect = CGRect::make(0, 0, 10, 20);
    EXPECT_TRUE(rect.contains(CGPoint{0, 0}));
    EXPECT_FALSE(rect.contains(CGPoint{10, 5}));
    EXPECT_FALSE(rect.contains(CGPoint{5, 20}));
    EXPECT_FALSE(CGRect::null.contains(CGPoint{0, 0}));
    EXPECT_FALSE(CGRect::make(3, 3, 0, 5).contains(CGPoint{3, 3}));
}

TEST(CGRect, EmptyNullInsetAndIntegral)
{
    constexpr CGRect rect = CGRect::make(-1.5, 0.25, 4, 2.5);
    EXPECT_EQ(rect.integral(), CGRect::make(-2, 0, 5, 3));
    EXPECT_EQ(rect.insetBy(1, 1), CGRect::make(-0.5, 1.25, 2, 0.5));
    EXPECT_EQ(rect.insetBy(-1, 0), CGRect::make(-2.5, 0.25, 6, 2.5));
    EXPECT_TRUE(rect.insetBy(2, 1).isEmpty());
    EXPECT_FALSE(rect.insetBy(2, 1).isNull());
    EXPECT_TRUE(rect.insetBy(2.5, 0).isNull());
    EXPECT_TRUE(CGRect::null.integral().isNull());
    EXPECT_TRUE(CGRect::null.isEmpty());
}

} // namespace corvane
