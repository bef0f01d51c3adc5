// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <string_view>

namespace corvane {

/// A video codec, by its four-character code.
///
///     for (const AVVideoCodecType& codec : AVVideoCodecTypes::allValues)
///         menu.add(codec.rawValue);
///
/// Holds the text by reference: it has to outlive the value. Thread-compatible.
struct AVVideoCodecType {
    std::string_view rawValue;

    static const AVVideoCodecType h264, hevc, hevcWithAlpha, jpeg, proRes422, proRes422HQ, proRes422LT,
        proRes422Proxy, proRes4444;

    friend constexpr bool operator==(const AVVideoCodecType&, const AVVideoCodecType&) = default;
};

inline constexpr AVVideoCodecType AVVideoCodecType::h264{"avc1"};
inline constexpr AVVideoCodecType AVVideoCodecType::hevc{"hvc1"};
inline constexpr AVVideoCodecType AVVideoCodecType::hevcWithAlpha{"muxa"};
inline constexpr AVVideoCodecType AVVideoCodecType::jpeg{"jpeg"};
inline constexpr AVVideoCodecType AVVideoCodecType::proRes422{"apcn"};
inline constexpr AVVideoCodecType AVVideoCodecType::proRes422HQ{"apch"};
inline constexpr AVVideoCodecType AVVideoCodecType::proRes422LT{"apcs"};
inline constexpr AVVideoCodecType AVVideoCodecType::proRes422Proxy{"apco"};
inline constexpr AVVideoCodecType AVVideoCodecType::proRes4444{"ap4h"};

struct AVVideoCodecTypes {
    static constexpr std::array allValues = {
        AVVideoCodecType::h264,        AVVideoCodecType::hevc,           AVVideoCodecType::hevcWithAlpha,
        AVVideoCodecType::jpeg,        AVVideoCodecType::proRes422,      AVVideoCodecType::proRes422HQ,
        AVVideoCodecType::proRes422LT, AVVideoCodecType::proRes422Proxy, AVVideoCodecType::proRes4444};
};

} // namespace corvane
