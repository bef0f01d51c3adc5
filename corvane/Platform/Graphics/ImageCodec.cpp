// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Graphics/CGImageProperties.h>
#include <corvane/Platform/Graphics/ImageCodec.h>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace corvane::images {

std::span<const ImageFormat* const> imageFormats()
{
    static const ImageFormat* const formats[] = {&jpegFormat, &pngFormat, &heicFormat, &tiffFormat};
    return formats;
}

bool isWithinLimits(const ImageHeader& header, const DecodeRequest& request)
{
    constexpr Int longestSide = 1'000'000; // rows are held in memory
    return header.width >= 1 && header.height >= 1 && header.width <= longestSide &&
           header.height <= longestSide &&
           static_cast<std::uint64_t>(header.width) * static_cast<std::uint64_t>(header.height) <=
               request.pixelLimit;
}

RawBytes allocateBytes(Int count)
{
    constexpr Int most = Int{1} << 30;
    return RawBytes(count < 1 || count > most
                        ? nullptr
                        : static_cast<std::uint8_t*>(std::malloc(static_cast<std::size_t>(count))));
}

bool startsWith(DataView beginning, std::string_view magic)
{
    return beginning.size() >= magic.size() && std::memcmp(beginning.data(), magic.data(), magic.size()) == 0;
}

double number(const PropertyDictionary& options, std::string_view key, double otherwise)
{
    const PropertyValue* value = find(options, key);
    const Number* found = value != nullptr ? value->asNumber() : nullptr;
    return found != nullptr && std::isfinite(found->doubleValue()) ? found->doubleValue() : otherwise;
}

int orientation(const PropertyDictionary& options)
{
    const double value = number(options, kCGImagePropertyOrientation, 1);
    return value >= 1 && value <= 8 && value == std::floor(value) ? static_cast<int>(value) : 1;
}

double quality(const PropertyDictionary& options, double otherwise)
{
    return std::clamp(number(options, kCGImageDestinationLossyCompressionQuality, otherwise), 0.0, 1.0);
}

} // namespace corvane::images
