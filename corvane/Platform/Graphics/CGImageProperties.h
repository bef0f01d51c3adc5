// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace corvane {

// Keys of the dictionaries that image sources and destinations take and give.

/// Options of a source. The first two are understood and need nothing: nothing is cached, and floating-point
/// samples are read.
inline constexpr char kCGImageSourceShouldCache[] = "kCGImageSourceShouldCache";
inline constexpr char kCGImageSourceShouldAllowFloat[] = "kCGImageSourceShouldAllowFloat";
/// Truth value: the thumbnail is turned and mirrored as the orientation says. Without it, it is not.
inline constexpr char kCGImageSourceCreateThumbnailWithTransform[] =
    "kCGImageSourceCreateThumbnailWithTransform";
/// Understood and always so: embedded previews are never used.
inline constexpr char kCGImageSourceCreateThumbnailFromImageAlways[] =
    "kCGImageSourceCreateThumbnailFromImageAlways";
/// Number: what the longer side of the thumbnail may have in pixels, at most. Without it the image keeps its
/// size.
inline constexpr char kCGImageSourceThumbnailMaxPixelSize[] = "kCGImageSourceThumbnailMaxPixelSize";
/// Number: an image that declares more pixels than this is refused before anything of it is decoded. 300
/// million without it. Given when the source is created.
inline constexpr char kCGImageSourcePixelLimit[] = "kCGImageSourcePixelLimit";

/// Option of a destination. Number from 0 (smallest) to 1 (best), for JPEG and HEIC.
inline constexpr char kCGImageDestinationLossyCompressionQuality[] =
    "kCGImageDestinationLossyCompressionQuality";

/// Properties of an image in a file. Width and height are whole numbers and count pixels as they are stored.
inline constexpr char kCGImagePropertyPixelWidth[] = "PixelWidth";
inline constexpr char kCGImagePropertyPixelHeight[] = "PixelHeight";
/// Number from 1 to 8 as EXIF counts them; 1 where the file says nothing or nonsense. Also an option of a
/// destination.
inline constexpr char kCGImagePropertyOrientation[] = "Orientation";
/// Bits a component in the file.
inline constexpr char kCGImagePropertyDepth[] = "Depth";
/// Truth value: whether pixels may be translucent.
inline constexpr char kCGImagePropertyHasAlpha[] = "HasAlpha";
/// Dots an inch; 72 where the file says nothing. Also options of a destination.
inline constexpr char kCGImagePropertyDPIWidth[] = "DPIWidth";
inline constexpr char kCGImagePropertyDPIHeight[] = "DPIHeight";
/// One of the four texts below: the colours of the file, not of the images that are made from it.
inline constexpr char kCGImagePropertyColorModel[] = "ColorModel";
inline constexpr char kCGImagePropertyColorModelRGB[] = "RGB";
inline constexpr char kCGImagePropertyColorModelGray[] = "Gray";
inline constexpr char kCGImagePropertyColorModelCMYK[] = "CMYK";
inline constexpr char kCGImagePropertyColorModelLab[] = "Lab";
/// The description in the embedded colour profile. Missing where the file embeds none.
inline constexpr char kCGImagePropertyProfileName[] = "ProfileName";

/// Dictionary under which TIFF's own settings stand, and of those the compression: 1 none, 5 LZW, 8 Deflate,
/// 32773 PackBits. Without it a TIFF file is not compressed.
inline constexpr char kCGImagePropertyTIFFDictionary[] = "{TIFF}";
inline constexpr char kCGImagePropertyTIFFCompression[] = "Compression";

} // namespace corvane
