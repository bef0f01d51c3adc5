// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Graphics/CGAffineTransform.h>

#include <gtest/gtest.h>

#include <numbers>

namespace corvane {

TEST(CGAffineTransform, OrderOfSteps)
{
    constexpr auto move = CGAffineTransform::translation(10, 0);
    constexpr auto grow = CGAffineTransform::scale(2, 3);
    static_assert(move.concatenating(grow).apply(CGPoint{1, 1}) == CGPoint{22, 3});
    static_assert(grow.concatenating(move).apply(CGPoint{1, 1}) == CGPoint{12, 3});
    static_assert(grow.translatedBy(10, 0) == move.concatenating(grow));
    static_assert(move.scaledBy(2, 3) == grow.concatenating(move));
    static_assert(move.apply(CGSize{1, 1}) == CGSize{1, 1});
}

TEST(CGAffineTransform, RotationIsCounterclockwiseWithYUp)
{
    const auto quarter = CGAffineTransform::rotation(std::numbers::pi / 2);
    const CGPoint turned = quarter.apply(CGPoint{1, 0});
    EXPECT_NEAR(turned.x, 0, 1e-15);
    EXPECT_NEAR(turned.y, 1, 1e-15);
    const CGRect box = quarter.apply(CGRect::make(0, 0, 4, 2));
    EXPECT_NEAR(box.origin.x, -2, 1e-15);
    EXPECT_NEAR(box.size.width, 2, 1e-15);
    EXPECT_NEAR(box.size.height, 4, 1e-15);
    EXPECT_TRUE(quarter.apply(CGRect::null).isNull());
}

TEST(CGAffineTransform, Inverse)
{
    constexpr CGAffineTransform map{2, 1, -1, 3, 5, -7};
    constexpr CGAffineTransform back = map.concatenating(map.inverted());
    EXPECT_NEAR(back.a, 1, 1e-15);
    EXPECT_NEAR(back.b, 0, 1e-15);
    EXPECT_NEAR(back.c, 0, 1e-15);
    EXPECT_NEAR(back.d, 1, 1e-15);
    EXPECT_NEAR(back.tx, 0, 1e-14);
    EXPECT_NEAR(back.ty, 0, 1e-14);
    constexpr CGAffineTransform flat{1, 2, 2, 4, 0, 0};
    static_assert(!flat.isInvertible() && flat.inverted() == flat);
    static_assert(CGAffineTransform::identity.isIdentity() && !map.isIdentity());
}

} // namespace corvane
