// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/CoreGraphics/CGImageExportFormat.h>
#include <corvane/Platform/Base/PropertyValue.h>
#include <corvane/Platform/Base/URL.h>
#include <corvane/Platform/Graphics/CGAffineTransform.h>
#include <corvane/Platform/Graphics/CGContext.h>
#include <corvane/Platform/Graphics/CGImage.h>

#include <functional>
#include <memory>
#include <optional>

namespace corvane {

// Images from files and memory, thumbnails, sizes, drawing and export, in one call each.
//
//     const URL photo = URL::fromPath("/home/ana/sea.jpg");
//     if (auto small = thumbnail(photo, 256))
//         writeAsPNG(*small, URL::fromPath("/tmp/sea.png"));
//     std::optional<CGSize> size = orientedImageSize(photo);   // from the headers alone
//
// Formats are PNG, JPEG, TIFF and HEIC, recognised by their bytes. Whatever is wrong with a file, its format
// or its disk is an absent result or false; nothing is thrown. Size, rectangle and pixels are members of
// `CGImage`; more control is in `CGImageSource` and `CGImageDestination`. All of this is thread-safe.

/// The first image, as stored: its orientation tag is not applied.
CORVANE_API std::optional<CGImage> image(const URL& from);
CORVANE_API std::optional<CGImage> image(DataView from);
/// What has been drawn so far. Absent for a context that is not a bitmap.
CORVANE_API std::optional<CGImage> image(const CGContext& from);

/// The first image, upright, its longer side at most `edge` pixels. Smaller images keep their size; an
/// embedded preview is never used. Absent for an edge below 1 or NaN.
CORVANE_API std::optional<CGImage> thumbnail(const URL& at, CGFloat edge);
CORVANE_API std::optional<CGImage> thumbnail(DataView from, CGFloat edge);

/// The first image, upright: a thumbnail with an edge of 1000000.
CORVANE_API std::optional<CGImage> orientedImage(const URL& at);
CORVANE_API std::optional<CGImage> orientedImage(DataView from);

/// Pixel width and height as stored; from `properties` absent when either is missing or not a number. Files
/// are not decoded.
CORVANE_API std::optional<CGSize> imageSize(const PropertyDictionary& properties);
CORVANE_API std::optional<CGSize> imageSize(const URL& at);
CORVANE_API std::optional<CGSize> imageSize(DataView from);

/// The same as displayed: width and height exchanged where the orientation is 5, 6, 7 or 8.
CORVANE_API std::optional<CGSize> orientedImageSize(const PropertyDictionary& properties);
CORVANE_API std::optional<CGSize> orientedImageSize(const URL& at);
CORVANE_API std::optional<CGSize> orientedImageSize(DataView from);

/// What `draw` draws on a transparent bitmap; see `CGContext` for its coordinates. For a side outside of 1 to
/// 32767, prints "CGContext.createRGBBitmapContex cannot create context" (so spelt) and is absent.
CORVANE_API std::optional<CGImage> drawWith(Int width, Int height,
                                            const std::function<void(CGContext&)>& draw);
/// Sides are rounded to whole pixels, halves away from zero: 10.5 is 11. One that is not finite or does not
/// fit stops the process.
CORVANE_API std::optional<CGImage> drawWith(CGSize size, const std::function<void(CGContext&)>& draw);
/// Nothing but transparent pixels.
CORVANE_API std::optional<CGImage> emptyWith(Int width, Int height);
CORVANE_API std::optional<CGImage> empty(CGSize with);

/// A new image of the same size into which this one is drawn: the same pixels, in memory of their own.
CORVANE_API std::optional<CGImage> drawnCopy(const CGImage& image);

/// The image drawn through `transform`, in coordinates with the origin in the image's lower left corner and y
/// upward: a positive rotation turns it counterclockwise. The result is the bounding box of the transformed
/// rectangle, rounded outward to whole pixels (sides that miss a whole number by no more than a millionth of
/// a pixel are taken for it), with the box's own lower left corner as its origin: translation by whole pixels
/// changes nothing. What the image does not cover is transparent. Whole-pixel maps (mirroring, quarter turns)
/// are exact, others are interpolated. Absent, with the line that `drawWith` prints, when the box has no area,
/// a side above 32767 or numbers that are not finite.
CORVANE_API std::optional<CGImage> applying(const CGImage& image, const CGAffineTransform& transform);

/// The desktop's image object for hosts that draw by themselves: a cairo image surface of the bitmap's own
/// pixel size that shares its pixels. For reading only. Null when memory is short or a side is above 32767
/// pixels.
CORVANE_API std::shared_ptr<cairo_surface_t> nsImage(const CGImage& image);

/// Options with which images are written when none are given; absent where none are passed on. HEIC is then
/// written at a quality of 0.8.
CORVANE_API std::optional<PropertyDictionary> defaultPNGWritingOptions();
CORVANE_API std::optional<PropertyDictionary> defaultJPGWritingOptions(double compression = 1.0);
CORVANE_API std::optional<PropertyDictionary> defaultTIFFWritingOptions(); ///< LZW
CORVANE_API std::optional<PropertyDictionary> defaultHEICWritingOptions();
CORVANE_API std::optional<PropertyDictionary> defaultWritingOptions(CGImageExportFormat format);

/// The image as the bytes of a file. JPEG has no alpha: a translucent image is drawn over white.
/// `compression` is the quality, from 0 (smallest) to 1 (best). Prints "CGImageDestinationCreateWithData
/// fails" where that happens.
CORVANE_API std::optional<Data> data(const CGImage& image, CGImageExportFormat format,
                                     const std::optional<PropertyDictionary>& options);
CORVANE_API std::optional<Data> data(const CGImage& image, CGImageExportFormat format);
CORVANE_API std::optional<Data> JPEGData(const CGImage& image, double compression = 1.0);
CORVANE_API std::optional<Data> PNGData(const CGImage& image);
CORVANE_API std::optional<Data> TIFFData(const CGImage& image);
CORVANE_API std::optional<Data> HEICData(const CGImage& image);

/// Writes the image to a file. What is there already is not removed first: it is replaced in one step when
/// the new file is complete, and stays when that fails. Prints "CGImageDestinationCreateWithURL fails" when
/// the folder does not exist or cannot be written, or when the URL is that of a folder.
CORVANE_API bool write(const CGImage& image, CGImageExportFormat as, const URL& to,
                       const std::optional<PropertyDictionary>& options);
CORVANE_API bool write(const CGImage& image, CGImageExportFormat as, const URL& to);

/// These, unlike `write`, remove whatever item is at the URL before anything else, a folder with all that is
/// in it included: when writing then fails, the old item is gone. With the default options, and the same line
/// printed.
CORVANE_API bool writeAsJPEG(const CGImage& image, const URL& to, double compression = 1.0);
CORVANE_API bool writeAsPNG(const CGImage& image, const URL& to);
CORVANE_API bool writeAsTIFF(const CGImage& image, const URL& to);
CORVANE_API bool writeAsHEIC(const CGImage& image, const URL& to);

} // namespace corvane
