// SPDX-License-Identifier: Apache-2.0
#include <corvane/AudioVisual/AVFileType.h>

#include <algorithm>
#include <array>

namespace corvane {

namespace {

constexpr std::array types = {
    AVFileType::mov,         AVFileType::mp4, AVFileType::m4v,  AVFileType::m4a,  AVFileType::mobile3GPP,
    AVFileType::mobile3GPP2, AVFileType::caf, AVFileType::wav,  AVFileType::aiff, AVFileType::aifc,
    AVFileType::amr,         AVFileType::mp3, AVFileType::au,   AVFileType::ac3,  AVFileType::eac3,
    AVFileType::jpg,         AVFileType::dng, AVFileType::heic, AVFileType::heif, AVFileType::tif};
constexpr std::array<std::string_view, types.size()> extensions = {
    "mov", "mp4", "m4v", "m4a", "3gp",  "3g2", "caf", "wav",  "aif",  "aifc",
    "amr", "mp3", "au",  "ac3", "eac3", "jpg", "dng", "heic", "heif", "tif"};

bool equalInEitherCase(std::string_view text, std::string_view lower)
{
    const auto lowered = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; };
    return std::equal(text.begin(), text.end(), lower.begin(), lower.end(),
                      [&](char a, char b) { return lowered(a) == b; });
}

} // namespace

std::span<const AVFileType> AVFileType::allKnown() noexcept
{
    return types;
}

std::optional<AVFileType> AVFileType::fromPathExtension(std::string_view pathExtension) noexcept
{
    for (std::size_t n = 0; n < types.size(); ++n)
        if (equalInEitherCase(pathExtension, extensions[n]))
            return types[n];
    return std::nullopt;
}

std::string_view pathExtension(const AVFileType& self, SourcePlace place)
{
    const auto at = std::find(types.begin(), types.end(), self);
    if (at == types.end())
        fatalError("AVFileType is not supported", place);
    return extensions[static_cast<std::size_t>(at - types.begin())];
}

} // namespace corvane
