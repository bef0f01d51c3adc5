// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/PropertyValue.h>
#include <corvane/Platform/Graphics/ByteSource.h>
#include <corvane/Platform/Graphics/CGImage.h>

#include <cstdlib>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

// What stands between image sources and destinations and the libraries that know the formats. Each format is
// one `ImageFormat` in a source file of its own; a new one is added there and in `imageFormats`.
namespace corvane::images {

/// What the headers of one image say.
struct ImageHeader {
    Int width = 0;
    Int height = 0;
    int orientation = 1;
    int depth = 8;
    bool hasAlpha = false;
    double dpiWidth = 72;
    double dpiHeight = 72;
    const char* colorModel = "RGB";
    Data profile; ///< ICC bytes; empty where none is embedded
};

struct DecodeRequest {
    /// At most so many pixels for the longer side; 0 for no limit.
    Int edge = 0;
    bool applyOrientation = false;
    /// Declared pixels above this are refused.
    std::uint64_t pixelLimit = 0;
};

/// Reads one file. Used by one thread.
class ImageDecoder {
public:
    ImageDecoder() = default;
    ImageDecoder(const ImageDecoder&) = delete;
    ImageDecoder& operator=(const ImageDecoder&) = delete;
    virtual ~ImageDecoder() = default;

    virtual Int count() { return 1; }
    virtual std::optional<ImageHeader> header(Int index) = 0;
    virtual std::optional<CGImage> decode(Int index, const DecodeRequest& request) = 0;
};

/// Writes one file into memory. Used by one thread.
class ImageEncoder {
public:
    ImageEncoder() = default;
    ImageEncoder(const ImageEncoder&) = delete;
    ImageEncoder& operator=(const ImageEncoder&) = delete;
    virtual ~ImageEncoder() = default;

    virtual bool add(const CGImage& image, const PropertyDictionary& options) = 0;
    virtual std::optional<Data> finish() = 0;
};

struct ImageFormat {
    std::string_view type;
    bool holdsMany;
    /// Whether a file that begins with these (at most 64) bytes is of this format.
    bool (*recognises)(DataView beginning);
    std::unique_ptr<ImageDecoder> (*makeDecoder)(ByteSource);
    /// For `count` images.
    std::unique_ptr<ImageEncoder> (*makeEncoder)(Int count);
};

// What a format is made with.
template <typename Decoder>
std::unique_ptr<ImageDecoder> makeDecoder(ByteSource bytes)
{
    return std::make_unique<Decoder>(std::move(bytes));
}
template <typename Encoder>
std::unique_ptr<ImageEncoder> makeEncoder(Int count)
{
    if constexpr (std::is_constructible_v<Encoder, Int>)
        return std::make_unique<Encoder>(count);
    else
        return std::make_unique<Encoder>();
}

extern const ImageFormat pngFormat;
extern const ImageFormat jpegFormat;
extern const ImageFormat tiffFormat;
extern const ImageFormat heicFormat;

std::span<const ImageFormat* const> imageFormats();

/// Whether an image of these dimensions may be decoded: no side beyond a million pixels, no more pixels than
/// the request's limit.
bool isWithinLimits(const ImageHeader& header, const DecodeRequest& request);

struct FreeBytes {
    void operator()(std::uint8_t* bytes) const noexcept { std::free(bytes); }
};
using RawBytes = std::unique_ptr<std::uint8_t, FreeBytes>;
/// Memory that is not set, and so not committed before it is used; null for a count below 1 and beyond a
/// gigabyte.
RawBytes allocateBytes(Int count);

/// Whether `beginning` starts with `magic`.
bool startsWith(DataView beginning, std::string_view magic);

/// A number of `options`, or `otherwise` where it is missing or no finite number.
double number(const PropertyDictionary& options, std::string_view key, double otherwise);
/// The orientation of `options`, 1 where it is missing or not in 1 to 8.
int orientation(const PropertyDictionary& options);
/// Lossy quality of `options` from 0 to 1.
double quality(const PropertyDictionary& options, double otherwise);

} // namespace corvane::images
