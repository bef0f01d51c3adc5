// SPDX-License-Identifier: Apache-2.0
#include <corvane/CoreGraphics/CGImage.h>
#include <corvane/CoreGraphics/CGImageDestination.h>
#include <corvane/CoreGraphics/CGImageSource.h>
#include <tests/Support/ImageFiles.h>
#include <tests/Support/TemporaryFolder.h>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>

namespace corvane {

namespace {

using tests::ImageFile;
using tests::Pixel;

double value(const PropertyDictionary& properties, const char* key)
{
    const PropertyValue* found = find(properties, key);
    return found != nullptr && found->asNumber() != nullptr ? found->asNumber()->doubleValue() : -1;
}

// The largest difference of a component from what is expected, multiplied by alpha as the image is.
int difference(std::uint32_t word, const Pixel& expected)
{
    const int alpha = expected.alpha;
    const auto multiplied = [alpha](int component) { return (component * alpha + 127) / 255; };
    const int wanted[] = {multiplied(expected.blue), multiplied(expected.green), multiplied(expected.red),
                          alpha};
    int worst = 0;
    for (int i = 0; i < 4; ++i)
        worst = std::max(worst, std::abs(static_cast<int>(word >> (8 * i) & 0xFF) - wanted[i]));
    return worst;
}

Data colourful(CGImageExportFormat format, const PropertyDictionary& options = {})
{
    // Upper left red, upper right green, lower left blue, lower right white.
    const auto picture = drawWith(48, 32, [](CGContext& context) {
        const CGColor colours[] = {CGColor::genericRGB(0, 0, 1), CGColor::genericGray(1),
                                   CGColor::genericRGB(1, 0, 0), CGColor::genericRGB(0, 1, 0)};
        for (int i = 0; i < 4; ++i) {
            context.setFillColor(colours[i]);
            context.fill(CGRect::make(i % 2 * 24, i / 2 * 16, 24, 16));
        }
    });
    return *data(*picture, format, options);
}

// R, G, B or W for the colour near the corner; the order is upper left, upper right, lower left, lower right.
std::string corners(const CGImage& image)
{
    std::string letters;
    for (const Int y : {Int{2}, image.height() - 3})
        for (const Int x : {Int{2}, image.width() - 3}) {
            const std::uint32_t word = image.pixel(x, y);
            const bool red = (word >> 16 & 0xFF) > 128, green = (word >> 8 & 0xFF) > 128,
                       blue = (word & 0xFF) > 128;
            letters += red && green && blue ? 'W' : red ? 'R' : green ? 'G' : blue ? 'B' : '?';
        }
    return letters;
}

} // namespace

TEST(CGImageSource, ReadsEveryKind)
{
    for (const ImageFile& file : tests::imageFiles()) {
        const auto source = CGImageSource::createBorrowing(file.bytes);
        ASSERT_TRUE(source) << file.name;
        const auto properties = source->properties(0);
        ASSERT_TRUE(properties) << file.name;
        EXPECT_EQ(value(*properties, kCGImagePropertyPixelWidth), file.width) << file.name;
        EXPECT_EQ(value(*properties, kCGImagePropertyPixelHeight), file.height) << file.name;
        EXPECT_EQ(value(*properties, kCGImagePropertyDepth), file.depth) << file.name;
        EXPECT_EQ(value(*properties, kCGImagePropertyHasAlpha), file.hasAlpha ? 1 : 0) << file.name;
        EXPECT_EQ(value(*properties, kCGImagePropertyOrientation), 1) << file.name;

        const auto image = source->image(0);
        ASSERT_TRUE(image) << file.name;
        ASSERT_EQ(image->size(),
                  (CGSize{static_cast<CGFloat>(file.width), static_cast<CGFloat>(file.height)}));
        int worst = 0;
        for (Int y = 0; y < file.height; ++y)
            for (Int x = 0; x < file.width; ++x)
                worst = std::max(worst, difference(image->pixel(x, y), file.expected(x, y)));
        EXPECT_LE(worst, file.tolerance) << file.name;
        EXPECT_EQ(source->count(), 1) << file.name;
        EXPECT_FALSE(source->image(1)) << file.name;
        EXPECT_FALSE(source->properties(-1)) << file.name;
    }
}

TEST(CGImageSource, ThumbnailsAverageAreas)
{
    for (const ImageFile& file : tests::imageFiles()) {
        if (file.depth == 1 || file.name.find("palette") != std::string::npos || file.tolerance > 10)
            continue; // their neighbours have nothing in common
        const auto source = CGImageSource::createBorrowing(file.bytes);
        const auto small = source->thumbnail(0, {{kCGImageSourceThumbnailMaxPixelSize, 10}});
        ASSERT_TRUE(small) << file.name;
        ASSERT_EQ(small->width(), 10);
        ASSERT_EQ(small->height(), 6);
        int worst = 0;
        for (int y = 0; y < 6; ++y)
            for (int x = 0; x < 10; ++x) {
                // Each pixel is the mean over its share of the source, weighted where it takes part of a pixel.
                double sum[4] = {}, area = 0;
                const double left = x * 3.7, right = left + 3.7, top = y * 23 / 6.0, bottom = top + 23 / 6.0;
                for (int v = static_cast<int>(top); v < std::min<double>(std::ceil(bottom), 23); ++v)
                    for (int u = static_cast<int>(left); u < std::min<double>(std::ceil(right), 37); ++u) {
                        const double wide = std::min(right, u + 1.0) - std::max(left, u * 1.0);
                        const double high = std::min(bottom, v + 1.0) - std::max(top, v * 1.0);
                        if (wide <= 0 || high <= 0)
                            continue;
                        const Pixel p = file.expected(u, v);
                        const double weight = wide * high;
                        const double scale = weight * p.alpha / 255;
                        sum[0] += p.blue * scale;
                        sum[1] += p.green * scale;
                        sum[2] += p.red * scale;
                        sum[3] += p.alpha * weight;
                        area += weight;
                    }
                for (int c = 0; c < 4; ++c)
                    worst = std::max(worst, std::abs(static_cast<int>(small->pixel(x, y) >> (8 * c) & 0xFF) -
                                                     static_cast<int>(std::lround(sum[c] / area))));
            }
        EXPECT_LE(worst, file.tolerance + 1) << file.name;
    }
}

TEST(CGImageSource, ThumbnailSizes)
{
    const Data wide = *PNGData(*emptyWith(300, 7));
    const auto source = CGImageSource::createBorrowing(wide);
    constexpr double infinity = std::numeric_limits<double>::infinity();
    const struct {
        double edge;
        Int width, height;
    } rows[] = {{300, 300, 7}, {1e6, 300, 7},   {infinity, 300, 7}, {299.99, 299, 7},
                {150, 150, 4}, {100.9, 100, 2}, {10, 10, 1},        {1, 1, 1}};
    for (const auto& row : rows) {
        const auto small = source->thumbnail(0, {{kCGImageSourceThumbnailMaxPixelSize, row.edge}});
        ASSERT_TRUE(small) << row.edge;
        EXPECT_EQ(small->width(), row.width) << row.edge;
        EXPECT_EQ(small->height(), row.height) << row.edge;
    }
    for (const double edge : {0.0, -5.0, 0.99, -infinity, std::numeric_limits<double>::quiet_NaN()})
        EXPECT_FALSE(source->thumbnail(0, {{kCGImageSourceThumbnailMaxPixelSize, edge}})) << edge;
    EXPECT_FALSE(source->thumbnail(0, {{kCGImageSourceThumbnailMaxPixelSize, "10"}}));
    EXPECT_EQ(source->thumbnail(0)->width(), 300);
}

TEST(CGImageSource, LargeReductionsAreExact)
{
    // A white column in a black picture is the same share of light at every reduction.
    auto context = CGContext::createBitmap(3000, 900);
    context->setFillColor(CGColor::genericGray(0));
    context->fill(CGRect::make(0, 0, 3000, 900));
    context->setFillColor(CGColor::genericGray(1));
    context->fill(CGRect::make(1500, 0, 1500, 900));
    const Data file = *PNGData(*std::move(*context).makeImage());
    for (const Int edge : {Int{2}, Int{3}, Int{10}, Int{77}, Int{1000}, Int{2999}}) {
        const auto small = thumbnail(DataView(file), static_cast<CGFloat>(edge));
        ASSERT_TRUE(small);
        double light = 0;
        for (Int x = 0; x < edge; ++x)
            light += static_cast<double>(small->pixel(x, 0) & 0xFF) / 255;
        EXPECT_NEAR(light / static_cast<double>(edge), 0.5, 0.002) << edge;
        EXPECT_EQ(small->pixel(0, 0), 0xFF000000u);
        EXPECT_EQ(small->pixel(edge - 1, 0), 0xFFFFFFFFu);
    }
}

TEST(CGImageSource, TransparentColourDoesNotShine)
{
    // One opaque red pixel beside three that are transparent.
    auto context = CGContext::createBitmap(2, 2);
    context->setFillColor(CGColor::genericRGB(1, 0, 0));
    context->fill(CGRect::make(0, 0, 1, 1));
    const Data file = *PNGData(*std::move(*context).makeImage());
    EXPECT_EQ(thumbnail(DataView(file), 1)->pixel(0, 0), 0x40400000u);
}

TEST(CGImageSource, Orientations)
{
    const struct {
        int orientation;
        const char* upright;
    } rows[] = {{1, "RGBW"}, {2, "GRWB"}, {3, "WBGR"}, {4, "BWRG"},
                {5, "RBGW"}, {6, "BRWG"}, {7, "WGBR"}, {8, "GWRB"}};
    for (const auto format : {CGImageExportFormat::png, CGImageExportFormat::jpg, CGImageExportFormat::tiff,
                              CGImageExportFormat::heic})
        for (const auto& row : rows) {
            const Data file = colourful(format, {{kCGImagePropertyOrientation, row.orientation}});
            const std::string name =
                std::string(fileExtension(format)) + " " + std::to_string(row.orientation);
            const bool turned = row.orientation >= 5;
            const CGSize displayed = turned ? CGSize{32, 48} : CGSize{48, 32};
            // HEIC is displayed as its own transformations say, whoever asks.
            const bool applied = format == CGImageExportFormat::heic;
            const auto properties = CGImageSource::createBorrowing(file)->properties(0);
            ASSERT_TRUE(properties) << name;
            EXPECT_EQ(value(*properties, kCGImagePropertyOrientation), applied ? 1 : row.orientation) << name;
            EXPECT_EQ(imageSize(DataView(file)), applied ? displayed : (CGSize{48, 32})) << name;
            EXPECT_EQ(orientedImageSize(DataView(file)), displayed) << name;
            EXPECT_EQ(corners(*image(DataView(file))), applied ? row.upright : "RGBW") << name;
            EXPECT_EQ(corners(*orientedImage(DataView(file))), row.upright) << name;
            const auto small = thumbnail(DataView(file), 24);
            EXPECT_EQ(corners(*small), row.upright) << name;
            EXPECT_EQ(small->size(), (turned ? CGSize{16, 24} : CGSize{24, 16})) << name;
            const auto untouched = CGImageSource::createBorrowing(file)->thumbnail(
                0, {{kCGImageSourceThumbnailMaxPixelSize, 24}});
            EXPECT_EQ(corners(*untouched), applied ? row.upright : "RGBW") << name;
        }
    // A number outside of 1 to 8 cannot be written and reads as 1.
    EXPECT_EQ(
        value(*CGImageSource::create(colourful(CGImageExportFormat::jpg, {{kCGImagePropertyOrientation, 9}}))
                   ->properties(0),
              kCGImagePropertyOrientation),
        1);
}

TEST(CGImageSource, ProfilesBecomeSRGB)
{
    const Data profile = tests::swappedProfile();
    for (const Data& file :
         {tests::jpegWithProfile(220, 40, 60, profile), tests::pngWithProfile(220, 40, 60, profile)}) {
        const auto source = CGImageSource::createBorrowing(file);
        EXPECT_EQ(*find(*source->properties(0), kCGImagePropertyProfileName), PropertyValue("Swapped"));
        for (const auto& image :
             {source->image(0), source->thumbnail(0, {{kCGImageSourceThumbnailMaxPixelSize, 4}})}) {
            ASSERT_TRUE(image);
            EXPECT_LE(difference(image->pixel(1, 1), {40, 220, 60, 255}), 4);
        }
    }
    // Bytes that are no profile change nothing.
    const Data nonsense(300, std::byte{7});
    const auto plain = image(DataView(tests::jpegWithProfile(220, 40, 60, nonsense)));
    ASSERT_TRUE(plain);
    EXPECT_LE(difference(plain->pixel(1, 1), {220, 40, 60, 255}), 4);
}

TEST(CGImageSource, Resolution)
{
    for (const auto format :
         {CGImageExportFormat::png, CGImageExportFormat::jpg, CGImageExportFormat::tiff}) {
        const Data file =
            colourful(format, {{kCGImagePropertyDPIWidth, 300}, {kCGImagePropertyDPIHeight, 150}});
        const auto properties = CGImageSource::createBorrowing(file)->properties(0);
        EXPECT_NEAR(value(*properties, kCGImagePropertyDPIWidth), 300, 0.02) << fileExtension(format);
        EXPECT_NEAR(value(*properties, kCGImagePropertyDPIHeight), 150, 0.02) << fileExtension(format);
        const auto unstated = CGImageSource::create(colourful(format))->properties(0);
        EXPECT_EQ(value(*unstated, kCGImagePropertyDPIWidth), 72) << fileExtension(format);
    }
}

TEST(CGImageSource, TruncatedFilesGiveNothing)
{
    for (const ImageFile& file : tests::imageFiles()) {
        const bool isTIFF = file.name.starts_with("TIFF");
        for (const std::size_t left : {std::size_t{0}, std::size_t{1}, std::size_t{12}, file.bytes.size() / 2,
                                       file.bytes.size() - 1}) {
            if (isTIFF && left == file.bytes.size() - 1)
                continue; // its last byte may be in the padding behind a tag
            const Data cut(file.bytes.begin(), file.bytes.begin() + static_cast<std::ptrdiff_t>(left));
            EXPECT_FALSE(image(DataView(cut))) << file.name << " " << left;
            EXPECT_FALSE(thumbnail(DataView(cut), 5)) << file.name << " " << left;
        }
    }
    const Data heic = colourful(CGImageExportFormat::heic);
    for (const std::size_t left : {heic.size() / 4, heic.size() / 2, heic.size() - 1}) {
        const Data cut(heic.begin(), heic.begin() + static_cast<std::ptrdiff_t>(left));
        EXPECT_FALSE(image(DataView(cut))) << left;
    }
}

TEST(CGImageSource, ByTheBytesAndNotByTheName)
{
    const tests::TemporaryFolder folder;
    const auto picture = *emptyWith(5, 4);
    const URL lying = URL::fromPath(folder / "really a jpeg.png");
    ASSERT_TRUE(write(picture, CGImageExportFormat::jpg, lying));
    EXPECT_EQ(CGImageSource::create(lying)->type(), "public.jpeg");
    EXPECT_EQ(imageSize(lying), (CGSize{5, 4}));

    for (const char* content :
         {"", "P", "just some text, long enough to be looked at twice or so\n", "\x89PNG\r\n\x1A\n"}) {
        const URL url = URL::fromPath(folder.write("text.jpg", content));
        EXPECT_FALSE(image(url)) << content;
        EXPECT_FALSE(thumbnail(url, 10)) << content;
        EXPECT_FALSE(imageSize(url)) << content;
    }
    const std::string zeros(5000, '\0');
    EXPECT_FALSE(CGImageSource::create(URL::fromPath(folder.write("zeros.tiff", zeros))));
    EXPECT_FALSE(CGImageSource::create(URL::fromPath(folder / "missing.png")));
    EXPECT_FALSE(CGImageSource::create(URL::fromPath(folder.path().string())));
    EXPECT_FALSE(CGImageSource::create(*URL::fromString("https://example.org/sea.jpg")));
    // A pipe that nobody writes to is not waited for.
    const std::string pipe = folder / "pipe.png";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_FALSE(CGImageSource::create(URL::fromPath(pipe)));
}

TEST(CGImageSource, DeclaredSizesHaveALimit)
{
    const Data file = colourful(CGImageExportFormat::png);
    EXPECT_TRUE(CGImageSource::create(file, {{kCGImageSourcePixelLimit, 48 * 32}})->image(0));
    EXPECT_FALSE(CGImageSource::create(file, {{kCGImageSourcePixelLimit, 48 * 32 - 1}})->image(0));
    EXPECT_FALSE(CGImageSource::create(file, {{kCGImageSourcePixelLimit, 0}})->thumbnail(0));

    // A JPEG that says 60000 by 60000: the properties say so too, and nothing is decoded.
    Data lying = colourful(CGImageExportFormat::jpg);
    const std::byte frame[] = {std::byte{0xFF}, std::byte{0xC0}};
    const auto at = std::search(lying.begin(), lying.end(), std::begin(frame), std::end(frame));
    ASSERT_NE(at, lying.end());
    for (const int i : {5, 7}) {
        at[i] = std::byte{60000 >> 8};
        at[i + 1] = std::byte{60000 & 0xFF};
    }
    EXPECT_EQ(imageSize(DataView(lying)), (CGSize{60000, 60000}));
    EXPECT_FALSE(image(DataView(lying)));
    EXPECT_FALSE(thumbnail(DataView(lying), 100));
    // The same within the limit: there are not enough bytes for it.
    EXPECT_FALSE(CGImageSource::create(lying, {{kCGImageSourcePixelLimit, 4e9}})->image(0));
}

} // namespace corvane
