// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/AudioVisual/CMTime.h>
#include <corvane/Platform/Media/CMTimeRange.h>

namespace corvane {

// Helpers on time ranges.
//
//     const CMTimeRange clip = rangeWithSeconds(10, 4);
//     middle(clip);                    // 12 s
//     hhmmssDesc(clip);                // "00:00:10 - 00:00:14"
//
// Thread-compatible.

/// From seconds, rounded to microseconds.
[[nodiscard]] inline CMTimeRange rangeWithSeconds(double start, double duration) noexcept
{
    return {timeWithSeconds(start), timeWithSeconds(duration)};
}
/// The moment half-way.
[[nodiscard]] inline CMTime middle(const CMTimeRange& self) noexcept
{
    return self.start + middle(self.duration);
}
/// Whether starts and durations are less than `tolerance` apart; 1/600 s when it is absent.
[[nodiscard]] inline bool isNearlyEqualTo(const CMTimeRange& self, const CMTimeRange& other,
                                          const std::optional<CMTime>& tolerance = std::nullopt) noexcept
{
    return isNearlyEqualTo(self.start, other.start, tolerance) &&
           isNearlyEqualTo(self.duration, other.duration, tolerance);
}
/// "00:00:10 - 00:00:14": start and end. Times that are not numeric stop the process.
[[nodiscard]] inline std::string hhmmssDesc(const CMTimeRange& self,
                                            SourcePlace place = SourcePlace::current())
{
    return hhmmssDesc(self.start, place).append(" - ").append(hhmmssDesc(self.end(), place));
}

} // namespace corvane
