// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Graphics/CGPattern.h>

#include <gtest/gtest.h>

namespace corvane {
namespace {

struct Tile {
    int drawn = 0;
    int released = 0;
};

// A dot of one pixel in the lower left corner of its bounds, and more beyond them that must not show.
const CGPatternCallbacks callbacks{.version = 0,
                                   .drawPattern =
                                       [](void* info, CGContext& in) {
                                           ++static_cast<Tile*>(info)->drawn;
                                           in.setFillColor(CGColor::genericGray(1));
                                           in.fill(CGRect::make(1, 2, 1, 1));
                                           in.fill(CGRect::make(3, 2, 9, 9));
                                       },
                                   .releaseInfo = [](void* info) { ++static_cast<Tile*>(info)->released; }};

TEST(CGPatternTests, TilesLieAtStepsFromTheBoundsAndShowNothingBeyondThem)
{
    Tile tile;
    {
        const auto pattern = CGPattern::create(&tile, CGRect::make(1, 2, 2, 2), 4, 5, callbacks);
        EXPECT_EQ(tile.drawn, 0);
        auto context = CGContext::createBitmap(16, 16);
        fill(*context, *pattern, CGRect::make(0, 0, 16, 16));
        EXPECT_EQ(tile.drawn, 1); // once a fill, however many tiles there are
        const CGImage image = *context->makeImage();
        for (Int y = 0; y < 16; ++y)
            for (Int x = 0; x < 16; ++x)
                ASSERT_EQ(image.row(15 - y)[4 * x + 3], x % 4 == 1 && y % 5 == 2 ? 255 : 0) << x << ", " << y;
        EXPECT_EQ(tile.released, 0);
    }
    EXPECT_EQ(tile.released, 1);
}

} // namespace
} // namespace corvane
