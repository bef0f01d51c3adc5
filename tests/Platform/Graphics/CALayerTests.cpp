// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Graphics/CALayer.h>

#include <gtest/gtest.h>

namespace corvane {
namespace {

class Painted : public CALayer {
public:
    int draws = 0;
    bool asksAgain = false;
    void draw(CGContext& in) override
    {
        ++draws;
        in.setFillColor(CGColor::genericGray(1));
        in.fill(CGRect::make(-100, -100, 300, 300));
        if (asksAgain)
            setNeedsDisplay();
    }
};

TEST(CALayerTests, AsksForDisplayOnceUntilItIsDisplayed)
{
    Painted layer;
    int requests = 0;
    layer.displayRequest = [&] { ++requests; };
    EXPECT_FALSE(layer.needsDisplay());
    layer.setBounds(CGRect::make(0, 0, 4, 4));
    layer.setNeedsDisplay();
    EXPECT_EQ(requests, 1);
    EXPECT_TRUE(layer.needsDisplay());

    auto context = CGContext::createBitmap(8, 8);
    layer.display(*context);
    EXPECT_FALSE(layer.needsDisplay());
    layer.setBounds(CGRect::make(0, 0, 4, 4)); // the same: nothing to draw
    EXPECT_EQ(requests, 1);
    layer.asksAgain = true;
    layer.display(*context);
    EXPECT_TRUE(layer.needsDisplay());
    EXPECT_EQ(requests, 2);
    EXPECT_EQ(layer.draws, 2);
}

TEST(CALayerTests, DrawsWithinItsBoundsAndLeavesTheContextAsItWas)
{
    Painted layer;
    layer.setBounds(CGRect::make(2, 1, 4, 3));
    auto context = CGContext::createBitmap(8, 8);
    context->setFillColor(CGColor::genericRGB(1, 0, 0));
    layer.display(*context);
    context->fill(CGRect::make(0, 7, 1, 1));
    const CGImage image = *context->makeImage();
    for (Int y = 0; y < 8; ++y)
        for (Int x = 0; x < 8; ++x) {
            const Int up = 7 - y; // rows come from the top down
            const bool inside = x >= 2 && x < 6 && up >= 1 && up < 4;
            EXPECT_EQ(image.row(y)[4 * x + 3], inside || (x == 0 && up == 7) ? 255 : 0) << x << " " << up;
        }
    EXPECT_EQ(image.row(0)[0], 0); // red again: no blue in it
    EXPECT_EQ(image.row(0)[2], 255);
}

TEST(CALayerTests, CopiesHaveTheBoundsButNotTheRequest)
{
    Painted layer;
    layer.setBounds(CGRect::make(1, 2, 3, 4));
    layer.displayRequest = [] { FAIL(); };
    Painted copy(layer);
    EXPECT_EQ(copy.bounds(), layer.bounds());
    copy.setNeedsDisplay();
    EXPECT_TRUE(copy.needsDisplay());
}

} // namespace
} // namespace corvane
