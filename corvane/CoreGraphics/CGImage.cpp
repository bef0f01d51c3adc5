// SPDX-License-Identifier: Apache-2.0
#include <corvane/CoreGraphics/CGImage.h>
#include <corvane/Numbers/RealNumber.h>
#include <corvane/Platform/Files/FileManager.h>
#include <corvane/Platform/Graphics/CGImageDestination.h>
#include <corvane/Platform/Graphics/CGImageSource.h>

#include <cstdio>
#include <filesystem>

namespace corvane {

namespace {

// No copy of the bytes: the sources made here do not outlive their call.
std::optional<CGImageSource> source(DataView bytes, const PropertyDictionary& options = {})
{
    return CGImageSource::createBorrowing(bytes, options);
}

std::optional<CGImageSource> source(const URL& url, const PropertyDictionary& options = {})
{
    return CGImageSource::create(url, options);
}

PropertyDictionary thumbnailOptions(CGFloat edge)
{
    return {{kCGImageSourceShouldCache, false},
            {kCGImageSourceShouldAllowFloat, true},
            {kCGImageSourceCreateThumbnailWithTransform, true},
            {kCGImageSourceCreateThumbnailFromImageAlways, true},
            {kCGImageSourceThumbnailMaxPixelSize, edge}};
}

std::optional<CGImage> firstImage(const std::optional<CGImageSource>& from)
{
    return from ? from->image(0) : std::nullopt;
}

std::optional<CGImage> firstThumbnail(const std::optional<CGImageSource>& from, CGFloat edge)
{
    return from ? from->thumbnail(0, thumbnailOptions(edge)) : std::nullopt;
}

template <typename Place>
std::optional<PropertyDictionary> firstProperties(const Place& place)
{
    const PropertyDictionary options{{kCGImageSourceShouldCache, false}};
    const std::optional<CGImageSource> from = source(place, options);
    return from ? from->properties(0, options) : std::nullopt;
}

constexpr CGFloat wholeEdge = 1000000.0;

// The edges of a turned rectangle miss whole numbers by rounding errors, which must not cost a row of pixels.
constexpr CGFloat closeToWhole = 1e-6;
constexpr CGFloat largestSide = 32767;

} // namespace

std::optional<CGImage> image(const URL& from)
{
    return firstImage(source(from));
}

std::optional<CGImage> image(DataView from)
{
    return firstImage(source(from));
}

std::optional<CGImage> image(const CGContext& from)
{
    return from.makeImage();
}

std::optional<CGImage> thumbnail(const URL& at, CGFloat edge)
{
    return firstThumbnail(source(at), edge);
}

std::optional<CGImage> thumbnail(DataView from, CGFloat edge)
{
    return firstThumbnail(source(from), edge);
}

std::optional<CGImage> orientedImage(const URL& at)
{
    return thumbnail(at, wholeEdge);
}

std::optional<CGImage> orientedImage(DataView from)
{
    return thumbnail(from, wholeEdge);
}

std::optional<CGSize> imageSize(const PropertyDictionary& properties)
{
    const PropertyValue* width = find(properties, kCGImagePropertyPixelWidth);
    const PropertyValue* height = find(properties, kCGImagePropertyPixelHeight);
    if (width == nullptr || height == nullptr || width->asNumber() == nullptr ||
        height->asNumber() == nullptr)
        return std::nullopt;
    return CGSize{width->asNumber()->doubleValue(), height->asNumber()->doubleValue()};
}

std::optional<CGSize> imageSize(const URL& at)
{
    const auto properties = firstProperties(at);
    return properties ? imageSize(*properties) : std::nullopt;
}

std::optional<CGSize> imageSize(DataView from)
{
    const auto properties = firstProperties(from);
    return properties ? imageSize(*properties) : std::nullopt;
}

std::optional<CGSize> orientedImageSize(const PropertyDictionary& properties)
{
    const std::optional<CGSize> size = imageSize(properties);
    const PropertyValue* value = find(properties, kCGImagePropertyOrientation);
    const Number* number = value != nullptr ? value->asNumber() : nullptr;
    const Int orientation = number != nullptr ? number->exactInt().value_or(0) : 0;
    const bool isTurned = orientation >= 5 && orientation <= 8;
    return size && isTurned ? CGSize{size->height, size->width} : size;
}

std::optional<CGSize> orientedImageSize(const URL& at)
{
    const auto properties = firstProperties(at);
    return properties ? orientedImageSize(*properties) : std::nullopt;
}

std::optional<CGSize> orientedImageSize(DataView from)
{
    const auto properties = firstProperties(from);
    return properties ? orientedImageSize(*properties) : std::nullopt;
}

std::optional<CGImage> drawWith(Int width, Int height, const std::function<void(CGContext&)>& draw)
{
    std::optional<CGContext> context = CGContext::createBitmap(width, height);
    if (!context) {
        std::puts("CGContext.createRGBBitmapContex cannot create context");
        return std::nullopt;
    }
    draw(*context);
    return std::move(*context).makeImage();
}

std::optional<CGImage> drawWith(CGSize size, const std::function<void(CGContext&)>& draw)
{
    return drawWith(roundInt(size.width), roundInt(size.height), draw);
}

std::optional<CGImage> emptyWith(Int width, Int height)
{
    return drawWith(width, height, [](CGContext&) {});
}

std::optional<CGImage> empty(CGSize with)
{
    return drawWith(with, [](CGContext&) {});
}

std::optional<CGImage> drawnCopy(const CGImage& image)
{
    return drawWith(image.size(), [&](CGContext& context) { context.draw(image, image.rect()); });
}

std::optional<CGImage> applying(const CGImage& image, const CGAffineTransform& transform)
{
    const CGRect box = transform.apply(image.rect()).insetBy(closeToWhole, closeToWhole).integral();
    const bool fits = box.width() <= largestSide && box.height() <= largestSide; // not for NaN
    const auto map = transform.concatenating(CGAffineTransform::translation(-box.minX(), -box.minY()));
    return drawWith(fits ? box.size : CGSize::zero, [&](CGContext& context) {
        if (!map.isInvertible())
            return;
        context.concatenate(map);
        context.draw(image, image.rect());
    });
}

std::shared_ptr<cairo_surface_t> nsImage(const CGImage& image)
{
    return cairoSurface(image);
}

std::optional<PropertyDictionary> defaultPNGWritingOptions()
{
    return std::nullopt;
}

std::optional<PropertyDictionary> defaultJPGWritingOptions(double compression)
{
    return PropertyDictionary{{kCGImageDestinationLossyCompressionQuality, compression}};
}

std::optional<PropertyDictionary> defaultTIFFWritingOptions()
{
    constexpr std::uint64_t lzw = 5; // in the compression tag
    return PropertyDictionary{
        {kCGImagePropertyTIFFDictionary, PropertyDictionary{{kCGImagePropertyTIFFCompression, lzw}}}};
}

std::optional<PropertyDictionary> defaultHEICWritingOptions()
{
    return std::nullopt;
}

std::optional<PropertyDictionary> defaultWritingOptions(CGImageExportFormat format)
{
    switch (format) {
    case CGImageExportFormat::png:
        return defaultPNGWritingOptions();
    case CGImageExportFormat::jpg:
        return defaultJPGWritingOptions();
    case CGImageExportFormat::tiff:
        return defaultTIFFWritingOptions();
    case CGImageExportFormat::heic:
        return defaultHEICWritingOptions();
    }
    return std::nullopt;
}

std::optional<Data> data(const CGImage& image, CGImageExportFormat format,
                         const std::optional<PropertyDictionary>& options)
{
    Data bytes;
    auto destination = CGImageDestination::create(bytes, cgType(format), 1);
    if (!destination) {
        std::puts("CGImageDestinationCreateWithData fails");
        return std::nullopt;
    }
    destination->addImage(image, options.value_or(PropertyDictionary()));
    if (!destination->finalize())
        return std::nullopt;
    return bytes;
}

std::optional<Data> data(const CGImage& image, CGImageExportFormat format)
{
    return data(image, format, defaultWritingOptions(format));
}

std::optional<Data> JPEGData(const CGImage& image, double compression)
{
    return data(image, CGImageExportFormat::jpg, defaultJPGWritingOptions(compression));
}

std::optional<Data> PNGData(const CGImage& image)
{
    return data(image, CGImageExportFormat::png, defaultPNGWritingOptions());
}

std::optional<Data> TIFFData(const CGImage& image)
{
    return data(image, CGImageExportFormat::tiff, defaultTIFFWritingOptions());
}

std::optional<Data> HEICData(const CGImage& image)
{
    return data(image, CGImageExportFormat::heic, defaultHEICWritingOptions());
}

bool write(const CGImage& image, CGImageExportFormat as, const URL& to,
           const std::optional<PropertyDictionary>& options)
{
    auto destination = CGImageDestination::create(to, cgType(as), 1);
    if (!destination) {
        std::puts("CGImageDestinationCreateWithURL fails");
        return false;
    }
    destination->addImage(image, options.value_or(PropertyDictionary()));
    return destination->finalize();
}

bool write(const CGImage& image, CGImageExportFormat as, const URL& to)
{
    return write(image, as, to, defaultWritingOptions(as));
}

namespace {

bool writeAnew(const CGImage& image, CGImageExportFormat as, const URL& to,
               const std::optional<PropertyDictionary>& options)
{
    try {
        if (to.isFileURL())
            FileManager::removeItem(to.path());
    } catch (const std::filesystem::filesystem_error&) {
        // Nothing was there, or it cannot be removed: the destination tells.
    }
    return write(image, as, to, options);
}

} // namespace

bool writeAsJPEG(const CGImage& image, const URL& to, double compression)
{
    return writeAnew(image, CGImageExportFormat::jpg, to, defaultJPGWritingOptions(compression));
}

bool writeAsPNG(const CGImage& image, const URL& to)
{
    return writeAnew(image, CGImageExportFormat::png, to, defaultPNGWritingOptions());
}

bool writeAsTIFF(const CGImage& image, const URL& to)
{
    return writeAnew(image, CGImageExportFormat::tiff, to, defaultTIFFWritingOptions());
}

bool writeAsHEIC(const CGImage& image, const URL& to)
{
    return writeAnew(image, CGImageExportFormat::heic, to, defaultHEICWritingOptions());
}

} // namespace corvane
