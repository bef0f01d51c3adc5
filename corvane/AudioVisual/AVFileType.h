// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Export.h>
#include <corvane/Platform/Base/Fatal.h>

#include <optional>
#include <span>
#include <string_view>

namespace corvane {

/// A kind of media file, by its type identifier. Any identifier can be one; the constants are those whose
/// path extension is known.
///
///     pathExtension(AVFileType::mp4);              // "mp4"
///     AVFileType::fromPathExtension("MOV");        // AVFileType::mov
///     AVFileType{"org.example.reel"}               // compares and is kept, but has no extension
///
/// Holds the text by reference: it has to outlive the value. Thread-compatible.
struct AVFileType {
    std::string_view rawValue;

    static const AVFileType mov, mp4, m4v, m4a, mobile3GPP, mobile3GPP2, caf, wav, aiff, aifc, amr, mp3, au,
        ac3, eac3, jpg, dng, heic, heif, tif;

    /// All constants above, in that order.
    static CORVANE_API std::span<const AVFileType> allKnown() noexcept;
    /// Without the full stop, in either case; absent when no known type has it.
    static CORVANE_API std::optional<AVFileType> fromPathExtension(std::string_view pathExtension) noexcept;

    friend constexpr bool operator==(const AVFileType&, const AVFileType&) = default;
};

inline constexpr AVFileType AVFileType::mov{"com.apple.quicktime-movie"};
inline constexpr AVFileType AVFileType::mp4{"public.mpeg-4"};
inline constexpr AVFileType AVFileType::m4v{"com.apple.m4v-video"};
inline constexpr AVFileType AVFileType::m4a{"com.apple.m4a-audio"};
inline constexpr AVFileType AVFileType::mobile3GPP{"public.3gpp"};
inline constexpr AVFileType AVFileType::mobile3GPP2{"public.3gpp2"};
inline constexpr AVFileType AVFileType::caf{"com.apple.coreaudio-format"};
inline constexpr AVFileType AVFileType::wav{"com.microsoft.waveform-audio"};
inline constexpr AVFileType AVFileType::aiff{"public.aiff-audio"};
inline constexpr AVFileType AVFileType::aifc{"public.aifc-audio"};
inline constexpr AVFileType AVFileType::amr{"org.3gpp.adaptive-multi-rate-audio"};
inline constexpr AVFileType AVFileType::mp3{"public.mp3"};
inline constexpr AVFileType AVFileType::au{"public.au-audio"};
inline constexpr AVFileType AVFileType::ac3{"public.ac3-audio"};
inline constexpr AVFileType AVFileType::eac3{"public.enhanced-ac3-audio"};
inline constexpr AVFileType AVFileType::jpg{"public.jpeg"};
inline constexpr AVFileType AVFileType::dng{"com.adobe.raw-image"};
inline constexpr AVFileType AVFileType::heic{"public.heic"};
inline constexpr AVFileType AVFileType::heif{"public.heif"};
inline constexpr AVFileType AVFileType::tif{"public.tiff"};

/// The extension for files of this type, without the full stop. A type that has none stops the process with
/// "AVFileType is not supported".
[[nodiscard]] CORVANE_API std::string_view pathExtension(const AVFileType& self,
                                                         SourcePlace place = SourcePlace::current());

} // namespace corvane
