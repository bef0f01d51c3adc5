// SPDX-License-Identifier: Apache-2.0
#include <corvane/AudioVisual/CMTime.h>
#include <corvane/Numbers/RealNumber.h>

#include <cstdio>
#include <limits>

namespace corvane {

namespace {

// Six numbers of at most 21 characters and what stands between them.
using TextBuffer = char[96];

std::string secondsText(const CMTime& time, const char* format, SourcePlace place)
{
    const auto [hh, mm, ss] = hhmmss(time, place);
    TextBuffer text;
    return std::string(text, static_cast<std::size_t>(std::snprintf(text, sizeof text, format, hh, mm, ss)));
}

std::string millisecondsText(const CMTime& time, const char* format, SourcePlace place)
{
    const auto [hh, mm, ss, ms] = hhmmssms(time, place);
    TextBuffer text;
    return std::string(text,
                       static_cast<std::size_t>(std::snprintf(text, sizeof text, format, hh, mm, ss, ms)));
}

} // namespace

bool isNearlyEqualTo(const CMTime& self, const CMTime& other, const std::optional<CMTime>& tolerance) noexcept
{
    return absoluteValue(self - other) < tolerance.value_or(CMTime::make(1, 600));
}

bool isNearlyEqualTo(const CMTime& self, const CMTime& other, double tolerance) noexcept
{
    return isNearlyEqualTo(self, other, timeWithSeconds(tolerance));
}

HoursMinutesSeconds hhmmss(const CMTime& self, SourcePlace place)
{
    const Int seconds = floorInt(self.seconds(), place);
    const Int rest = seconds % 3600;
    return {static_cast<double>(seconds / 3600), static_cast<double>(rest / 60),
            static_cast<double>(rest % 60)};
}

HoursMinutesSecondsMilliseconds hhmmssms(const CMTime& self, SourcePlace place)
{
    const auto [hh, mm, ss] = hhmmss(self, place);
    const double seconds = self.seconds();
    return {hh, mm, ss, (seconds - std::floor(seconds)) * 1000};
}

std::string hhmmssDesc(const CMTime& self, SourcePlace place)
{
    return secondsText(self, "%02.0f:%02.0f:%02.0f", place);
}

std::string hhmmssmsDesc(const CMTime& self, SourcePlace place)
{
    return millisecondsText(self, "%02.0f:%02.0f:%02.0f:%03.0f", place);
}

std::string hhmmssName(const CMTime& self, SourcePlace place)
{
    return secondsText(self, "%02.0f-%02.0f-%02.0f", place);
}

std::string hhmmssmsName(const CMTime& self, SourcePlace place)
{
    return millisecondsText(self, "%02.0f-%02.0f-%02.0f-%03.0f", place);
}

CMTimeSplit split(const CMTime& self, Int count, SourcePlace place)
{
    using Limits = std::numeric_limits<std::int32_t>;
    precondition(count >= Limits::min() && count <= Limits::max(),
                 "The number of parts of a time does not fit 32 bits", place);
    return CMTimeSplit(multiplyByRatio(self, 1, static_cast<std::int32_t>(count)), count);
}

} // namespace corvane
