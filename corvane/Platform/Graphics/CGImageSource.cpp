// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Graphics/CGImageSource.h>
#include <corvane/Platform/Graphics/ColourMatch.h>
#include <corvane/Platform/Graphics/ImageCodec.h>

#include <array>
#include <cmath>
#include <new>

namespace corvane {

using namespace images;

namespace {

constexpr std::uint64_t defaultPixelLimit = 300'000'000;

std::uint64_t limitOf(const PropertyDictionary& options)
{
    const PropertyValue* value = find(options, kCGImageSourcePixelLimit);
    const Number* limit = value != nullptr ? value->asNumber() : nullptr;
    return limit != nullptr ? limit->unsignedValue() : defaultPixelLimit;
}

bool isSet(const PropertyDictionary& options, std::string_view key)
{
    const PropertyValue* value = find(options, key);
    return value != nullptr && value->asNumber() != nullptr && value->asNumber()->boolValue();
}

// The edge in whole pixels, 0 for none; absent when no image is as small as that.
std::optional<Int> edgeOf(const PropertyDictionary& options)
{
    const PropertyValue* value = find(options, kCGImageSourceThumbnailMaxPixelSize);
    if (value == nullptr)
        return 0;
    const Number* edge = value->asNumber();
    if (edge == nullptr || !(edge->doubleValue() >= 1)) // also for NaN
        return std::nullopt;
    return edge->intValue();
}

} // namespace

struct CGImageSource::State {
    ByteSource bytes;
    const ImageFormat* format;
    std::uint64_t pixelLimit;

    // Null when there is no image of that index.
    std::unique_ptr<ImageDecoder> decoderFor(Int index) const
    {
        std::unique_ptr<ImageDecoder> decoder = format->makeDecoder(bytes);
        // Counting the pages of a file may take a walk through it, and nobody needs that for the first.
        const bool exists = index == 0 || (index > 0 && index < decoder->count());
        return exists ? std::move(decoder) : nullptr;
    }

    static std::unique_ptr<State> create(std::optional<ByteSource> bytes, const PropertyDictionary& options)
    {
        if (!bytes)
            return nullptr;
        std::array<std::byte, 64> beginning;
        const DataView read = std::span(beginning).first(bytes->read(0, beginning));
        for (const ImageFormat* format : imageFormats())
            if (format->recognises(read))
                return std::make_unique<State>(State{*std::move(bytes), format, limitOf(options)});
        return nullptr;
    }

    std::optional<CGImage> decode(Int index, DecodeRequest request) const
    {
        request.pixelLimit = pixelLimit;
        try {
            const std::unique_ptr<ImageDecoder> decoder = decoderFor(index);
            return decoder ? decoder->decode(index, request) : std::nullopt;
        } catch (const std::bad_alloc&) {
            return std::nullopt; // a picture that is too large for this machine
        }
    }
};

CGImageSource::CGImageSource(std::unique_ptr<State> state) noexcept : state_(std::move(state)) {}
CGImageSource::CGImageSource(CGImageSource&&) noexcept = default;
CGImageSource& CGImageSource::operator=(CGImageSource&&) noexcept = default;
CGImageSource::~CGImageSource() = default;

std::optional<CGImageSource> CGImageSource::create(const URL& url, const PropertyDictionary& options)
{
    return url.isFileURL() ? made(State::create(ByteSource::open(url.path()), options)) : std::nullopt;
}

std::optional<CGImageSource> CGImageSource::create(Data data, const PropertyDictionary& options)
{
    return made(State::create(ByteSource::owning(std::move(data)), options));
}

std::optional<CGImageSource> CGImageSource::createBorrowing(DataView data, const PropertyDictionary& options)
{
    return made(State::create(ByteSource::viewing(data), options));
}

std::optional<CGImageSource> CGImageSource::made(std::unique_ptr<State> state)
{
    if (!state)
        return std::nullopt;
    return CGImageSource(std::move(state));
}

std::string_view CGImageSource::type() const noexcept
{
    return state_->format->type;
}

Int CGImageSource::count() const
{
    return state_->decoderFor(0)->count();
}

std::optional<PropertyDictionary> CGImageSource::properties(Int index, const PropertyDictionary&) const
{
    const std::unique_ptr<ImageDecoder> decoder = state_->decoderFor(index);
    if (!decoder)
        return std::nullopt;
    const std::optional<ImageHeader> header = decoder->header(index);
    if (!header)
        return std::nullopt;
    PropertyDictionary properties{
        {kCGImagePropertyPixelWidth, header->width},        {kCGImagePropertyPixelHeight, header->height},
        {kCGImagePropertyOrientation, header->orientation}, {kCGImagePropertyDepth, header->depth},
        {kCGImagePropertyHasAlpha, header->hasAlpha},       {kCGImagePropertyDPIWidth, header->dpiWidth},
        {kCGImagePropertyDPIHeight, header->dpiHeight},     {kCGImagePropertyColorModel, header->colorModel}};
    if (std::string name = profileName(header->profile); !name.empty())
        properties.emplace(kCGImagePropertyProfileName, std::move(name));
    return properties;
}

std::optional<CGImage> CGImageSource::image(Int index, const PropertyDictionary&) const
{
    return state_->decode(index, {});
}

std::optional<CGImage> CGImageSource::thumbnail(Int index, const PropertyDictionary& options) const
{
    const std::optional<Int> edge = edgeOf(options);
    if (!edge)
        return std::nullopt;
    return state_->decode(
        index,
        {.edge = *edge, .applyOrientation = isSet(options, kCGImageSourceCreateThumbnailWithTransform)});
}

} // namespace corvane
