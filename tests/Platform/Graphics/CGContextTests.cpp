// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Graphics/CGContext.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <numbers>
#include <string>

namespace corvane {

namespace {

constexpr CGColor red = CGColor::genericRGB(1, 0, 0);
constexpr CGColor green = CGColor::genericRGB(0, 1, 0);
constexpr std::uint32_t redWord = 0xFFFF0000;
constexpr std::uint32_t greenWord = 0xFF00FF00;

// Red above green.
CGImage flag()
{
    auto context = CGContext::createBitmap(2, 2);
    context->setFillColor(green);
    context->fill(CGRect::make(0, 0, 2, 1));
    context->setFillColor(red);
    context->fill(CGRect::make(0, 1, 2, 1));
    return *std::move(*context).makeImage();
}

Int inkedRows(const CGImage& image, Int from, Int to)
{
    Int count = 0;
    for (Int y = from; y < to; ++y)
        for (Int x = 0; x < image.width(); ++x)
            if (image.pixel(x, y) != 0) {
                ++count;
                break;
            }
    return count;
}

} // namespace

TEST(CGContext, Limits)
{
    EXPECT_FALSE(CGContext::createBitmap(0, 1));
    EXPECT_FALSE(CGContext::createBitmap(1, 32768));
    EXPECT_FALSE(CGContext::createBitmap(-1, 1));
    const auto wide = CGContext::createBitmap(32767, 1);
    ASSERT_TRUE(wide);
    EXPECT_EQ(wide->makeImage()->pixel(32766, 0), 0u);
}

TEST(CGContext, OriginIsTheLowerLeftCornerUntilFlipped)
{
    auto context = CGContext::createBitmap(4, 3);
    context->setFillColor(red);
    context->fill(CGRect::make(0, 0, 1, 1));
    context->saveGState();
    context->flip();
    EXPECT_TRUE(context->isFlipped());
    context->setFillColor(green);
    context->fill(CGRect::make(3, 0, 1, 1));
    context->restoreGState();
    EXPECT_FALSE(context->isFlipped());
    context->fill(CGRect::make(4, 3, -1, -1)); // red again, over the green
    const CGImage image = *context->makeImage();
    EXPECT_EQ(image.pixel(0, 2), redWord);
    EXPECT_EQ(image.pixel(0, 0), 0u);
    EXPECT_EQ(image.pixel(3, 0), redWord);
}

TEST(CGContext, ImagesAreUprightEitherWay)
{
    for (const bool flipped : {false, true}) {
        auto context = CGContext::createBitmap(4, 4);
        if (flipped)
            context->flip();
        context->draw(flag(), CGRect::make(1, 1, 2, 2));
        const CGImage image = *context->makeImage();
        EXPECT_EQ(image.pixel(1, 1), redWord) << flipped;
        EXPECT_EQ(image.pixel(2, 2), greenWord) << flipped;
        EXPECT_EQ(image.pixel(0, 0), 0u);
        EXPECT_EQ(image.pixel(3, 3), 0u);
    }
}

TEST(CGContext, ScaledImagesKeepTheirEdges)
{
    for (const auto quality : {CGInterpolationQuality::none, CGInterpolationQuality::low,
                               CGInterpolationQuality::medium, CGInterpolationQuality::high}) {
        auto context = CGContext::createBitmap(20, 20);
        context->setInterpolationQuality(quality);
        context->draw(flag(), CGRect::make(0, 0, 20, 20));
        const CGImage image = *context->makeImage();
        EXPECT_TRUE(image.isOpaque()) << static_cast<int>(quality);
        EXPECT_EQ(image.pixel(0, 0), redWord);
        EXPECT_EQ(image.pixel(19, 19), greenWord);
        // In between, only the nearest pixel has no mixture.
        const bool mixes = image.pixel(10, 9) != redWord || image.pixel(10, 10) != greenWord;
        EXPECT_EQ(mixes, quality != CGInterpolationQuality::none);
    }
}

TEST(CGContext, AlphaAndClip)
{
    auto context = CGContext::createBitmap(4, 1);
    context->saveGState();
    context->clip(CGRect::make(0, 0, 2, 1));
    EXPECT_EQ(context->clipBounds(), CGRect::make(0, 0, 2, 1));
    context->setFillColor(CGColor::genericRGB(1, 0, 0, 0.5));
    context->fill(CGRect::make(0, 0, 4, 1));
    context->restoreGState();
    context->setAlpha(0.5);
    context->draw(flag(), CGRect::make(2, -1, 2, 2)); // its upper row shows
    const CGImage image = *context->makeImage();
    for (Int x = 0; x < 4; ++x) {
        EXPECT_NEAR(static_cast<int>(image.pixel(x, 0) >> 24), 128, 1) << x;
        EXPECT_NEAR(static_cast<int>(image.pixel(x, 0) >> 16 & 0xFF), 128, 1) << x;
        EXPECT_EQ(image.pixel(x, 0) & 0xFFFF, 0u) << x;
    }
    context->clear(CGRect::make(0, 0, 4, 1));
    EXPECT_EQ(context->makeImage()->pixel(1, 0), 0u);
    EXPECT_NE(image.pixel(1, 0), 0u); // an image does not change any more
}

TEST(CGContext, TransformationsCompose)
{
    auto context = CGContext::createBitmap(10, 10);
    EXPECT_TRUE(context->transform().isIdentity());
    context->translateBy(5, 5);
    context->rotate(std::numbers::pi / 2);
    context->setFillColor(red);
    context->fill(CGRect::make(0, 0, 3, 1)); // counterclockwise: upward, to the left of (5, 5)
    const CGImage image = *context->makeImage();
    EXPECT_EQ(image.pixel(4, 4), redWord);
    EXPECT_EQ(image.pixel(4, 2), redWord);
    EXPECT_EQ(image.pixel(5, 4), 0u);
    const CGPoint tip = context->transform().apply(CGPoint{3, 0});
    EXPECT_NEAR(tip.x, 5, 1e-12);
    EXPECT_NEAR(tip.y, 8, 1e-12);
}

TEST(CGContext, TextStandsOnItsBaseline)
{
    for (const bool flipped : {false, true}) {
        auto context = CGContext::createBitmap(100, 40);
        if (flipped)
            context->flip();
        context->setFillColor(red);
        context->drawText("HHH", {5, 20}, 16);
        const CGImage image = *context->makeImage();
        EXPECT_GE(inkedRows(image, 0, 20), 8) << flipped;
        EXPECT_LE(inkedRows(image, 21, 40), 0) << flipped;
    }
    auto context = CGContext::createBitmap(10, 10);
    EXPECT_GT(context->textWidth("HHH", 16), context->textWidth("H", 16) * 2);
    EXPECT_EQ(context->textWidth("H", 0), 0);
    // Text that is cut in the middle of a character is drawn up to there, and drawing goes on.
    EXPECT_EQ(context->textWidth("H\xC3", 16), context->textWidth("H", 16));
    EXPECT_EQ(context->textWidth(std::string_view("H\xED\xA0\x80H"), 16), context->textWidth("H", 16));
    context->drawText("\xFF", {0, 0}, 12);
    context->setFillColor(red);
    context->fill(CGRect::make(0, 0, 10, 10));
    EXPECT_EQ(context->makeImage()->pixel(5, 5), redWord);
}

TEST(CGContext, WrapsTheHostsContext)
{
    auto host = CGContext::createBitmap(4, 4);
    host->flip(); // as cairo's own surfaces are
    {
        auto context = CGContext::wrapping(host->cairo());
        EXPECT_TRUE(context.isFlipped());
        EXPECT_TRUE(context.transform().isIdentity());
        EXPECT_EQ(context.width(), 0);
        EXPECT_FALSE(context.makeImage());
        context.setFillColor(red);
        context.fill(CGRect::make(0, 0, 1, 1));
        context.draw(flag(), CGRect::make(2, 2, 2, 2));
        EXPECT_FALSE(std::move(context).makeImage());
    }
    const CGImage image = *host->makeImage();
    EXPECT_EQ(image.pixel(0, 0), redWord);
    EXPECT_EQ(image.pixel(2, 2), redWord);
    EXPECT_EQ(image.pixel(2, 3), greenWord);
}

TEST(CGContext, SurfacesKeepTheirPixels)
{
    std::shared_ptr<cairo_surface_t> surface;
    {
        const CGImage image = flag();
        surface = cairoSurface(image);
    }
    EXPECT_TRUE(surface);
    EXPECT_FALSE(cairoSurface(*CGImage::fromPixels(PixelMemory::allocateZeroed(32768, 1))));
}

} // namespace corvane
