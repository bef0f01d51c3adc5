// SPDX-License-Identifier: Apache-2.0
#include <corvane/CoreAnimation/CheckerboardLayer.h>

#include <gtest/gtest.h>

#include <cmath>
#include <functional>

namespace corvane {
namespace {

constexpr int gray = 179; // 0.7
constexpr int white = 255;

// The blue bytes, by pixel from the lower left corner.
class Picture {
public:
    Picture(Int width, Int height, const std::function<void(CGContext&)>& draw) : height_(height)
    {
        auto context = CGContext::createBitmap(width, height);
        draw(*context);
        image_ = context->makeImage();
    }
    int at(Int x, Int y) const { return image_->row(height_ - 1 - y)[4 * x]; }
    int alphaAt(Int x, Int y) const { return image_->row(height_ - 1 - y)[4 * x + 3]; }

private:
    Int height_;
    std::optional<CGImage> image_;
};

// What a board of squares of `edge` shows with its origin at (x0, y0).
int expected(Int x, Int y, Int edge, Int x0 = 0, Int y0 = 0)
{
    const auto square = [edge](Int distance) {
        return static_cast<Int>(std::floor(static_cast<double>(distance) / static_cast<double>(edge)));
    };
    return (square(x - x0) + square(y - y0)) % 2 == 0 ? gray : white;
}

void expectBoard(const Picture& picture, const CGRect& area, Int edge, Int x0 = 0, Int y0 = 0)
{
    for (Int y = static_cast<Int>(area.minY()); y < static_cast<Int>(area.maxY()); ++y)
        for (Int x = static_cast<Int>(area.minX()); x < static_cast<Int>(area.maxX()); ++x) {
            ASSERT_EQ(picture.at(x, y), expected(x, y, edge, x0, y0)) << x << ", " << y;
            ASSERT_EQ(picture.alphaAt(x, y), 255);
        }
}

TEST(CheckerboardLayerTests, DefaultSquaresOfFiveFromTheOrigin)
{
    CheckerboardLayer layer;
    EXPECT_EQ(layer.pattern, nullptr);
    EXPECT_TRUE(layer.needsDisplay());
    layer.setBounds(CGRect::make(0, 0, 47, 33));
    const Picture picture(60, 40, [&](CGContext& context) { layer.display(context); });
    EXPECT_NE(layer.pattern, nullptr);
    expectBoard(picture, layer.bounds(), 5);
    EXPECT_EQ(picture.alphaAt(47, 0), 0);
    EXPECT_EQ(picture.alphaAt(0, 33), 0);
    EXPECT_EQ(picture.at(0, 0), gray);
    EXPECT_EQ(picture.at(5, 0), white);
}

// A layer of these bounds in a picture of 60 by 60, drawn by `display`.
Picture pictureOf(const CGRect& bounds, const std::function<void(CGContext&, CALayer&)>& display)
{
    CheckerboardLayer layer;
    layer.setBounds(bounds);
    return Picture(60, 60, [&](CGContext& context) { display(context, layer); });
}

TEST(CheckerboardLayerTests, TilesBelongToTheCoordinatesAndScaleToWholePixels)
{
    const auto moved = pictureOf(CGRect::make(3, 7, 30, 20), [](CGContext& context, CALayer& layer) {
        context.translateBy(11, 4);
        layer.display(context);
    });
    expectBoard(moved, CGRect::make(14, 11, 30, 20), 5, 11, 4);
    const auto scaled = pictureOf(CGRect::make(0, 0, 20, 20), [](CGContext& context, CALayer& layer) {
        context.scaleBy(3, 3);
        layer.display(context);
    });
    expectBoard(scaled, CGRect::make(0, 0, 60, 60), 15);
}

TEST(CheckerboardLayerTests, AFlippedOrAHostsContextHasTheOriginInItsUpperLeftCorner)
{
    const CGRect bounds = CGRect::make(0, 0, 40, 32);
    const auto flipped = pictureOf(bounds, [](CGContext& context, CALayer& layer) {
        context.flip();
        layer.display(context);
    });
    const auto hosted = pictureOf(bounds, [](CGContext& context, CALayer& layer) {
        context.flip();
        context.translateBy(7, 3);
        CGContext host = CGContext::wrapping(context.cairo());
        layer.display(host);
    });
    for (Int y = 0; y < 32; ++y)
        for (Int x = 0; x < 40; ++x) {
            ASSERT_EQ(flipped.at(x, 59 - y), expected(x, y, 5)) << x << ", " << y;
            ASSERT_EQ(hosted.at(x + 7, 59 - 3 - y), expected(x, y, 5)) << x << ", " << y;
        }
}

TEST(CheckerboardLayerTests, ClipsHoldAndDoNotShiftTheTiles)
{
    CheckerboardLayer layer;
    layer.setBounds(CGRect::make(0, 0, 64, 64));
    for (const CGFloat edge : {13.0, 12.5}) { // whole pixels are copied, others blended at the edges
        const Picture picture(64, 64, [&](CGContext& context) {
            context.clip(CGRect::make(edge, edge, 30, 40));
            layer.display(context);
        });
        expectBoard(picture, CGRect::make(13, 13, 29, 39), 5);
        EXPECT_EQ(picture.alphaAt(11, 20), 0);
        EXPECT_EQ(picture.alphaAt(20, 54), 0);
    }
}

TEST(CheckerboardLayerTests, TheTileSizeIsFrozenUntilUpdatePattern)
{
    CheckerboardLayer layer;
    layer.setBounds(CGRect::make(0, 0, 40, 40));
    const auto draw = [&] { return Picture(40, 40, [&](CGContext& context) { layer.display(context); }); };
    expectBoard(draw(), layer.bounds(), 5);

    // The old tile of 10 by 10 shows the lower left of the new drawing: one square of its first colour.
    layer.cellSize = {20, 20};
    const Picture frozen = draw();
    for (Int y = 0; y < 40; ++y)
        for (Int x = 0; x < 40; ++x)
            ASSERT_EQ(frozen.at(x, y), gray);
    EXPECT_FALSE(layer.needsDisplay());
    layer.updatePattern();
    EXPECT_TRUE(layer.needsDisplay());
    expectBoard(draw(), layer.bounds(), 10);

    // Colours are read while drawing.
    layer.color1 = CGColor::genericGray(0);
    EXPECT_EQ(draw().at(0, 0), 0);
    EXPECT_EQ(draw().at(10, 0), white);
}

TEST(CheckerboardLayerTests, TransparentColoursLetTheGroundThrough)
{
    CheckerboardLayer layer;
    layer.setBounds(CGRect::make(0, 0, 20, 20));
    layer.color2 = CGColor::genericGray(1, 0);
    const Picture picture(20, 20, [&](CGContext& context) {
        context.setFillColor(CGColor::genericGray(0));
        context.fill(CGRect::make(0, 0, 20, 20));
        layer.display(context);
        context.setAlpha(0.5);
        context.clip(CGRect::make(0, 10, 20, 10));
        context.setFillColor(CGColor::genericGray(0));
        context.fill(CGRect::make(0, 0, 20, 20));
        context.setAlpha(1);
        context.fill(CGRect::make(0, 10, 20, 10));
        context.setAlpha(0.5);
        layer.display(context);
    });
    EXPECT_EQ(picture.at(0, 0), gray);
    EXPECT_EQ(picture.at(5, 0), 0);
    EXPECT_NEAR(picture.at(0, 10), gray / 2, 1); // half of the grey over black
    EXPECT_EQ(picture.at(5, 10), 0);
}

TEST(CheckerboardLayerTests, LargeTilesAreDrawnOneByOneInTheSamePlaces)
{
    CheckerboardLayer layer;
    layer.cellSize = {6000, 6000};
    layer.setBounds(CGRect::make(0, 0, 30000, 30000));
    const Picture picture(64, 64, [&](CGContext& context) {
        context.translateBy(-2990, -5980); // shows the corner of four squares at (3000, 6000)
        layer.display(context);
    });
    EXPECT_EQ(picture.at(9, 19), white); // (2999, 5999): the upper left square of the first tile
    EXPECT_EQ(picture.at(10, 19), gray);
    EXPECT_EQ(picture.at(9, 20), gray);
    EXPECT_EQ(picture.at(10, 20), white);
    EXPECT_EQ(picture.alphaAt(63, 63), 255);
}

TEST(CheckerboardLayerTests, FractionalTilesKeepTheirSpacing)
{
    CheckerboardLayer layer;
    layer.setBounds(CGRect::make(0, 0, 100, 100));
    const Picture picture(130, 130, [&](CGContext& context) {
        context.scaleBy(1.25, 1.25); // tiles of 12.5 pixels
        layer.display(context);
    });
    // In the middle of squares far from the origin the colour is still the right one.
    for (Int n = 0; n < 20; ++n) {
        const Int middle = static_cast<Int>((static_cast<double>(n) + 0.5) * 6.25);
        EXPECT_EQ(picture.at(middle, 3), n % 2 == 0 ? gray : white) << n;
    }
}

TEST(CheckerboardLayerTests, OddSizesDrawNothingAndStopNothing)
{
    for (const CGSize size : {CGSize{0, 10}, CGSize{-4, 4}, CGSize{std::nan(""), 4}, CGSize{HUGE_VAL, 4}}) {
        CheckerboardLayer layer;
        layer.cellSize = size;
        layer.setBounds(CGRect::make(0, 0, 20, 20));
        const Picture picture(20, 20, [&](CGContext& context) {
            layer.display(context);
            context.setFillColor(CGColor::genericGray(1));
            context.fill(CGRect::make(0, 0, 1, 1)); // the context still draws
        });
        EXPECT_EQ(picture.alphaAt(0, 0), 255);
        EXPECT_EQ(picture.alphaAt(10, 10), 0);
    }
}

TEST(CheckerboardLayerTests, ACopyHasAPatternOfItsOwn)
{
    auto layer = std::make_unique<CheckerboardLayer>();
    layer->cellSize = {8, 8};
    layer->setBounds(CGRect::make(0, 0, 16, 16));
    const Picture first(16, 16, [&](CGContext& context) { layer->display(context); });
    CheckerboardLayer copy(*layer);
    EXPECT_EQ(copy.pattern, nullptr);
    EXPECT_TRUE(copy.needsDisplay());
    layer.reset();
    const Picture second(16, 16, [&](CGContext& context) { copy.display(context); });
    expectBoard(second, copy.bounds(), 4);
}

} // namespace
} // namespace corvane
