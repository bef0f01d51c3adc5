// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/PropertyValue.h>
#include <corvane/Platform/Base/URL.h>
#include <corvane/Platform/Graphics/CGImage.h>
#include <corvane/Platform/Graphics/CGImageProperties.h>

#include <memory>
#include <optional>
#include <string_view>

namespace corvane {

/// Reads images from the bytes of a PNG, JPEG, TIFF or HEIC file.
///
///     if (auto source = CGImageSource::create(URL::fromPath("/home/ana/sea.jpg"))) {
///         auto properties = source->properties(0);   // from the file's headers alone
///         auto small = source->thumbnail(0, {{kCGImageSourceThumbnailMaxPixelSize, 256.0}});
///         auto whole = source->image(0);             // as stored, orientation not applied
///     }
///
/// What a file is, is told from its bytes, never from its name. Files are read piece by piece while they are
/// decoded and are not mapped, so that one that is cut short meanwhile is an absent image and no signal.
/// Whatever is wrong with a file (missing, empty, truncated, corrupt, not an image, larger than the limit) is
/// an absent result; there is no partial picture. Embedded colour profiles are applied: images are sRGB.
///
/// Thread-safe: each call decodes for itself. The file stays open as long as the source lives.
class CORVANE_API CGImageSource {
public:
    /// Absent when the file cannot be read, is not a regular file, or begins as none of the four formats
    /// does.
    static std::optional<CGImageSource> create(const URL& url, const PropertyDictionary& options = {});
    static std::optional<CGImageSource> create(Data data, const PropertyDictionary& options = {});
    /// The same without a copy: `data` must outlive the source.
    static std::optional<CGImageSource> createBorrowing(DataView data,
                                                        const PropertyDictionary& options = {});

    CGImageSource(CGImageSource&&) noexcept;
    CGImageSource& operator=(CGImageSource&&) noexcept;
    ~CGImageSource();

    /// "public.png", "public.jpeg", "public.tiff" or "public.heic".
    std::string_view type() const noexcept;
    /// The pages of a TIFF file, the pictures of a HEIC file (the primary one first), otherwise 1. 0 where
    /// even the headers are broken.
    Int count() const;

    /// Pixel width and height, orientation, depth, alpha, colour model, resolution and profile name, read
    /// from the headers without decoding. The dimensions are as stored; those of HEIC are as displayed, with
    /// orientation 1, since the format applies its transformations by itself.
    std::optional<PropertyDictionary> properties(Int index, const PropertyDictionary& options = {}) const;

    /// The image at its full size, with its rows as the file stores them.
    std::optional<CGImage> image(Int index, const PropertyDictionary& options = {}) const;

    /// The image with its longer side at most `kCGImageSourceThumbnailMaxPixelSize` pixels: reduced by
    /// averaging areas, never enlarged, always from the full image. A fraction of a pixel counts as nothing,
    /// and the shorter side is rounded, to 1 at least. Absent for a size that is not a number or is below 1.
    /// Memory stays in proportion to the thumbnail and a few rows, except for progressive JPEG, interlaced
    /// PNG, HEIC and TIFF of the rarer kinds.
    std::optional<CGImage> thumbnail(Int index, const PropertyDictionary& options = {}) const;

private:
    struct State;
    explicit CGImageSource(std::unique_ptr<State> state) noexcept;
    static std::optional<CGImageSource> made(std::unique_ptr<State> state);

    std::unique_ptr<State> state_;
};

} // namespace corvane
