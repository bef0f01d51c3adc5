// SPDX-License-Identifier: Apache-2.0
#include <corvane/CoreGraphics/CGImage.h>
#include <corvane/CoreGraphics/CGImageSource.h>
#include <tests/Support/Hardship.h>
#include <tests/Support/TemporaryFolder.h>

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <numbers>

namespace corvane {

namespace {

// Every alpha, with every kind of colour.
CGImage translucent()
{
    PixelMemory pixels = PixelMemory::allocate(256, 64);
    for (Int y = 0; y < 64; ++y)
        for (Int x = 0; x < 256; ++x) {
            const auto at = [&](Int level) { return static_cast<std::uint8_t>(level * x / 255); };
            std::uint8_t* pixel = pixels.row(y) + x * 4;
            pixel[0] = at(y * 4);
            pixel[1] = at(255 - y * 4);
            pixel[2] = at((y * 37) % 256);
            pixel[3] = static_cast<std::uint8_t>(x);
        }
    return *CGImage::fromPixels(std::move(pixels));
}

CGImage opaque()
{
    return *drawWith(64, 48, [](CGContext& context) {
        for (int i = 0; i < 12; ++i) {
            context.setFillColor(CGColor::genericRGB(i / 12.0, 1 - i / 12.0, 0.5));
            context.fill(CGRect::make(0, i * 4, 64, 4));
        }
    });
}

int worstDifference(const CGImage& a, const CGImage& b)
{
    if (!(a.size() == b.size()))
        return 1000;
    int worst = 0;
    for (std::size_t i = 0; i < a.pixels().size(); ++i)
        worst = std::max(worst,
                         std::abs(std::to_integer<int>(a.pixels()[i]) - std::to_integer<int>(b.pixels()[i])));
    return worst;
}

constexpr CGImageExportFormat allFormats[] = {CGImageExportFormat::png, CGImageExportFormat::jpg,
                                              CGImageExportFormat::tiff, CGImageExportFormat::heic};

std::string printedBy(const std::function<void()>& action)
{
    testing::internal::CaptureStdout();
    action();
    std::fflush(stdout);
    return testing::internal::GetCapturedStdout();
}

} // namespace

TEST(CoreGraphicsImage, WritesAndReadsBack)
{
    const tests::TemporaryFolder folder;
    const auto inMemory = [](const CGImage& picture, CGImageExportFormat format) {
        const auto bytes = data(picture, format);
        return bytes ? image(DataView(*bytes)) : std::nullopt;
    };
    const auto inFile = [&](const CGImage& picture, CGImageExportFormat format) {
        const URL url = URL::fromPath(folder / fileExtension(format));
        return write(picture, format, url) ? image(url) : std::nullopt;
    };
    for (const auto format : allFormats)
        for (const CGImage& picture : {opaque(), translucent(), *emptyWith(1, 1), *emptyWith(17, 3)}) {
            for (const auto& read : {inMemory(picture, format), inFile(picture, format)}) {
                ASSERT_TRUE(read) << fileExtension(format);
                ASSERT_EQ(read->size(), picture.size()) << fileExtension(format);
                const int tolerance = format == CGImageExportFormat::jpg    ? 6
                                      : format == CGImageExportFormat::heic ? 40
                                                                            : 0;
                if (tolerance == 0 || picture.isOpaque()) {
                    EXPECT_LE(worstDifference(*read, picture), tolerance) << fileExtension(format);
                }
            }
        }
}

TEST(CoreGraphicsImage, JPEGIsDrawnOverWhite)
{
    const auto read = image(DataView(*JPEGData(translucent())));
    ASSERT_TRUE(read);
    EXPECT_TRUE(read->isOpaque());
    const CGImage picture = translucent();
    const auto overWhite = drawWith(picture.size(), [&](CGContext& context) {
        context.setFillColor(CGColor::genericGray(1));
        context.fill(picture.rect());
        context.draw(picture, picture.rect());
    });
    EXPECT_LE(worstDifference(*read, *overWhite), 30);
}

TEST(CoreGraphicsImage, HEICKeepsAlpha)
{
    const CGImage half = *drawWith(64, 64, [](CGContext& context) {
        context.setFillColor(CGColor::genericRGB(0.2, 0.6, 0.4, 0.5));
        context.fill(CGRect::make(0, 0, 64, 64));
    });
    const auto read = image(DataView(*HEICData(half)));
    ASSERT_TRUE(read);
    EXPECT_LE(worstDifference(*read, half), 8);
}

TEST(CoreGraphicsImage, DefaultOptions)
{
    EXPECT_FALSE(defaultPNGWritingOptions());
    EXPECT_FALSE(defaultHEICWritingOptions());
    EXPECT_EQ(defaultJPGWritingOptions(),
              (PropertyDictionary{{kCGImageDestinationLossyCompressionQuality, 1.0}}));
    EXPECT_EQ(defaultWritingOptions(CGImageExportFormat::jpg), defaultJPGWritingOptions(1.0));
    const auto tiff = defaultWritingOptions(CGImageExportFormat::tiff);
    const PropertyDictionary* settings = find(*tiff, kCGImagePropertyTIFFDictionary)->asDictionary();
    ASSERT_TRUE(settings);
    EXPECT_EQ(find(*settings, kCGImagePropertyTIFFCompression)->asNumber()->kind(),
              Number::Kind::unsignedInteger);
    EXPECT_EQ(*find(*settings, kCGImagePropertyTIFFCompression), PropertyValue(5));

    EXPECT_EQ(JPEGData(opaque()), JPEGData(opaque(), 1.0));
    EXPECT_LT(JPEGData(opaque(), 0.1)->size(), JPEGData(opaque())->size());
    EXPECT_LT(TIFFData(opaque())->size(), data(opaque(), CGImageExportFormat::tiff, std::nullopt)->size());
}

TEST(CoreGraphicsImage, SizesFromProperties)
{
    const auto properties = [](PropertyValue orientation) {
        return PropertyDictionary{{kCGImagePropertyPixelWidth, 4000},
                                  {kCGImagePropertyPixelHeight, 3000},
                                  {kCGImagePropertyOrientation, std::move(orientation)}};
    };
    EXPECT_EQ(imageSize(properties(6)), (CGSize{4000, 3000}));
    for (const int turned : {5, 6, 7, 8})
        EXPECT_EQ(orientedImageSize(properties(turned)), (CGSize{3000, 4000})) << turned;
    for (const PropertyValue& other : {PropertyValue(3), PropertyValue(0), PropertyValue(9),
                                       PropertyValue(-6), PropertyValue(6.5), PropertyValue("6")})
        EXPECT_EQ(orientedImageSize(properties(other)), (CGSize{4000, 3000}));
    EXPECT_EQ(orientedImageSize(PropertyDictionary{{kCGImagePropertyPixelWidth, 4000},
                                                   {kCGImagePropertyPixelHeight, 3000}}),
              (CGSize{4000, 3000}));
    EXPECT_FALSE(imageSize(PropertyDictionary{{kCGImagePropertyPixelWidth, 4000}}));
    EXPECT_FALSE(
        orientedImageSize({{kCGImagePropertyPixelWidth, 4000}, {kCGImagePropertyPixelHeight, "3000"}}));
}

TEST(CoreGraphicsImage, GeneralPathKeepsAndDedicatedWritersRemove)
{
    const tests::TemporaryFolder folder;
    const std::string path = folder.write("a.jpg", "old");
    const URL url = URL::fromPath(path);
    // An image of a size that the format cannot hold fails after the destination was made.
    const CGImage tooWide = *CGImage::fromPixels(PixelMemory::allocateZeroed(65536, 1));
    EXPECT_EQ(printedBy([&] { EXPECT_FALSE(write(tooWide, CGImageExportFormat::jpg, url)); }), "");
    EXPECT_EQ(folder.read(path), "old");
    EXPECT_EQ(printedBy([&] { EXPECT_FALSE(writeAsJPEG(tooWide, url)); }), "");
    EXPECT_FALSE(std::filesystem::exists(path));

    for (const auto writer : {+[](const CGImage&i, const URL&u) { return writeAsJPEG(i, u, 0.5); },
                              &writeAsPNG, &writeAsTIFF, &writeAsHEIC}) {
        EXPECT_TRUE(writer(opaque(), url)); // nothing there, or the one before
        EXPECT_EQ(imageSize(url), opaque().size());
    }
    EXPECT_EQ(CGImageSource::create(url)->type(), "public.heic");
    EXPECT_TRUE(write(opaque(), CGImageExportFormat::png, url));
    EXPECT_EQ(image(url), opaque());
}

TEST(CoreGraphicsImage, FixedLines)
{
    const tests::TemporaryFolder folder;
    const URL nowhere = URL::fromPath(folder / "no/such/folder.png");
    const std::string line = "CGImageDestinationCreateWithURL fails\n";
    EXPECT_EQ(printedBy([&] { EXPECT_FALSE(write(opaque(), CGImageExportFormat::png, nowhere)); }), line);
    EXPECT_EQ(printedBy([&] { EXPECT_FALSE(writeAsTIFF(opaque(), nowhere)); }), line);
    tests::asOrdinaryUser(folder, [&] {
        std::filesystem::permissions(folder.path(), std::filesystem::perms::owner_read);
        const URL barred = URL::fromPath(folder / "barred.png");
        EXPECT_EQ(printedBy([&] { EXPECT_FALSE(writeAsPNG(opaque(), barred)); }), line);
        std::filesystem::permissions(folder.path(), std::filesystem::perms::owner_all);
    });
    const std::string context = "CGContext.createRGBBitmapContex cannot create context\n";
    bool called = false;
    EXPECT_EQ(printedBy([&] { EXPECT_FALSE(drawWith(0, 5, [&](CGContext&) { called = true; })); }), context);
    EXPECT_EQ(printedBy([&] { EXPECT_FALSE(emptyWith(5, 32768)); }), context);
    EXPECT_EQ(printedBy([&] { EXPECT_FALSE(empty({0.4, 5})); }), context);
    EXPECT_FALSE(called);
    EXPECT_EQ(printedBy([&] { EXPECT_FALSE(image(URL::fromPath(folder / "missing.png"))); }), "");
}

TEST(CoreGraphicsImage, FullDiskKeepsTheOldFile)
{
    // No disk of this process takes more than 1000 bytes.
    const tests::TemporaryFolder folder;
    const std::string path = folder.write("a.tiff", "old");
    struct rlimit before {};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    struct rlimit tight = before;
    tight.rlim_cur = 1000;
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &tight), 0);
    const bool written = write(translucent(), CGImageExportFormat::tiff, URL::fromPath(path));
    ::setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handler);
    EXPECT_FALSE(written);
    EXPECT_EQ(folder.read(path), "old");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 1);
}

TEST(CoreGraphicsImage, DrawingRoundsItsSize)
{
    EXPECT_EQ(empty({10.5, 2.49})->size(), (CGSize{11, 2}));
    const auto blank = emptyWith(3, 2);
    EXPECT_TRUE(std::ranges::all_of(blank->pixels(), [](std::byte byte) { return byte == std::byte{0}; }));
    auto context = CGContext::createBitmap(2, 2);
    const auto early = image(*context);
    context->fill(CGRect::make(0, 0, 2, 2));
    EXPECT_NE(early, image(*context));
}

TEST(CoreGraphicsImage, DrawnCopyHasTheSamePixelsElsewhere)
{
    for (const CGImage& picture : {opaque(), translucent()}) {
        const auto copy = drawnCopy(picture);
        ASSERT_TRUE(copy);
        EXPECT_EQ(*copy, picture);
        EXPECT_NE(copy->row(0), picture.row(0));
    }
}

TEST(CoreGraphicsImage, ApplyingWholePixelMapsIsExact)
{
    const CGImage picture = translucent();
    const Int w = picture.width() - 1;
    const Int h = picture.height() - 1;
    using T = CGAffineTransform;
    constexpr CGFloat quarter = std::numbers::pi / 2;
    const struct {
        T map;
        std::function<std::uint32_t(Int, Int)> source;
    } rows[] = {
        {T::identity, [&](Int x, Int y) { return picture.pixel(x, y); }},
        {T::translation(7, -3), [&](Int x, Int y) { return picture.pixel(x, y); }},
        {T::scale(-1, 1), [&](Int x, Int y) { return picture.pixel(w - x, y); }},
        {T::scale(1, -1), [&](Int x, Int y) { return picture.pixel(x, h - y); }},
        {T::rotation(2 * quarter), [&](Int x, Int y) { return picture.pixel(w - x, h - y); }},
        {T::rotation(quarter), [&](Int x, Int y) { return picture.pixel(w - y, x); }}, // counterclockwise
        {T::rotation(-quarter), [&](Int x, Int y) { return picture.pixel(y, h - x); }},
    };
    for (const auto& row : rows) {
        const auto result = applying(picture, row.map);
        ASSERT_TRUE(result);
        const bool turned = std::fabs(row.map.b) > 0.5;
        ASSERT_EQ(result->size(),
                  turned ? (CGSize{picture.size().height, picture.size().width}) : picture.size());
        int wrong = 0;
        for (Int y = 0; y < result->height(); ++y)
            for (Int x = 0; x < result->width(); ++x)
                wrong += result->pixel(x, y) != row.source(x, y) ? 1 : 0;
        EXPECT_EQ(wrong, 0) << row.map.a << " " << row.map.b << " " << row.map.c << " " << row.map.d;
    }
}

TEST(CoreGraphicsImage, ApplyingOtherMaps)
{
    using T = CGAffineTransform;
    const CGImage picture = opaque(); // 64 by 48
    const auto doubled = applying(picture, T::scale(2, 2));
    EXPECT_EQ(doubled->size(), (CGSize{128, 96}));
    EXPECT_TRUE(doubled->isOpaque());
    EXPECT_EQ(applying(picture, T::scale(0.5, 0.26))->size(), (CGSize{32, 13}));
    EXPECT_EQ(applying(picture, T::translation(0.5, 0))->size(), (CGSize{65, 48}));
    const auto turned = applying(picture, T::rotation(std::numbers::pi / 4));
    EXPECT_EQ(turned->size(), (CGSize{80, 80})); // 79.2 rounded outward
    EXPECT_EQ(turned->pixel(0, 0), 0u);
    EXPECT_EQ(turned->pixel(40, 40) >> 24, 255u);
    const std::string line = "CGContext.createRGBBitmapContex cannot create context\n";
    for (const T& map : {T::scale(0, 1), T::scale(1000, 1), T::scale(std::nan(""), 1),
                         T::scale(std::numeric_limits<CGFloat>::infinity(), 1)})
        EXPECT_EQ(printedBy([&] { EXPECT_FALSE(applying(picture, map)); }), line);
}

TEST(CoreGraphicsImage, DesktopImageSharesItsPixels)
{
    std::shared_ptr<cairo_surface_t> surface;
    {
        const CGImage picture = opaque();
        surface = nsImage(picture);
    }
    EXPECT_TRUE(surface);
}

} // namespace corvane
