// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Fatal.h>
#include <corvane/Platform/Media/CMTime.h>

#include <optional>

namespace corvane {

// Media times beside plain numbers, as hours, minutes and seconds, and split into instants.
//
//     const CMTime clip = timeWithSeconds(3725.5);
//     hhmmssmsDesc(clip);                               // "01:02:05:500"
//     clip / 2 > 1800.0 && middle(clip) == clip / 2;    // true: a plain number is seconds
//     for (const CMTime& at : split(clip, 12))          // the middles of twelve equal parts
//         addFrame(at);
//
// Plain seconds become times of microseconds by rounding to the nearest. Thread-compatible.

[[nodiscard]] inline CMTime timeWithSeconds(double seconds) noexcept
{
    return CMTime::makeWithSeconds(seconds, 1000000);
}

/// Whether the times are less than `tolerance` apart; 1/600 s when it is absent.
[[nodiscard]] CORVANE_API bool
isNearlyEqualTo(const CMTime& self, const CMTime& other,
                const std::optional<CMTime>& tolerance = std::nullopt) noexcept;
[[nodiscard]] CORVANE_API bool isNearlyEqualTo(const CMTime& self, const CMTime& other,
                                               double tolerance) noexcept;

/// Half of the time.
[[nodiscard]] inline CMTime middle(const CMTime& self) noexcept
{
    return multiplyByRatio(self, 1, 2);
}

struct HoursMinutesSeconds {
    double hh, mm, ss;
};
struct HoursMinutesSecondsMilliseconds {
    double hh, mm, ss;
    double ms; ///< with its fraction, in [0, 1000]
};

// Whole seconds are those below the time, so −0.5 s is −1 s and 500 ms; the parts of negative seconds are
// negative. Hours do not wrap at a day. A time that is not numeric, or whose seconds no `Int` holds, stops
// the process.

[[nodiscard]] CORVANE_API HoursMinutesSeconds hhmmss(const CMTime& self,
                                                     SourcePlace place = SourcePlace::current());
[[nodiscard]] CORVANE_API HoursMinutesSecondsMilliseconds
hhmmssms(const CMTime& self, SourcePlace place = SourcePlace::current());

/// "01:02:05"; one second below zero is "00:00:-1".
[[nodiscard]] CORVANE_API std::string hhmmssDesc(const CMTime& self,
                                                 SourcePlace place = SourcePlace::current());
/// "01:02:05:500". The milliseconds are rounded by themselves: 0.9996 s is "00:00:00:1000".
[[nodiscard]] CORVANE_API std::string hhmmssmsDesc(const CMTime& self,
                                                   SourcePlace place = SourcePlace::current());
/// "01-02-05", for file names.
[[nodiscard]] CORVANE_API std::string hhmmssName(const CMTime& self,
                                                 SourcePlace place = SourcePlace::current());
/// "01-02-05-500"
[[nodiscard]] CORVANE_API std::string hhmmssmsName(const CMTime& self,
                                                   SourcePlace place = SourcePlace::current());

/// The middles of equal parts of a time, one after the other: by `next()`, which is absent at the end, or
/// in a loop. Made by `split`.
class CMTimeSplit {
public:
    std::optional<CMTime> next() noexcept
    {
        if (made_ >= count_)
            return std::nullopt;
        ++made_;
        current_ = current_ + step_;
        return current_;
    }

    class Iterator;
    Iterator begin() const noexcept;
    std::nullptr_t end() const noexcept { return nullptr; }

private:
    friend CORVANE_API CMTimeSplit split(const CMTime& self, Int count, SourcePlace place);
    CMTimeSplit(const CMTime& step, Int count) noexcept
        : step_(step), current_(multiplyByRatio(step, 1, 2) - step), count_(count)
    {}

    CMTime step_;
    CMTime current_;
    Int count_;
    Int made_ = 0;
};

class CMTimeSplit::Iterator {
public:
    explicit Iterator(CMTimeSplit rest) noexcept : rest_(rest), time_(rest_.next()) {}
    const CMTime& operator*() const noexcept { return *time_; }
    Iterator& operator++() noexcept
    {
        time_ = rest_.next();
        return *this;
    }
    bool operator!=(std::nullptr_t) const noexcept { return time_.has_value(); }

private:
    CMTimeSplit rest_;
    std::optional<CMTime> time_;
};

inline CMTimeSplit::Iterator CMTimeSplit::begin() const noexcept
{
    return Iterator(*this);
}

/// `count` instants at the middles of as many equal parts of the time; none for a count of 0 or below. A
/// count that does not fit 32 bits stops the process.
[[nodiscard]] CORVANE_API CMTimeSplit split(const CMTime& self, Int count,
                                            SourcePlace place = SourcePlace::current());

inline CMTime& operator+=(CMTime& self, const CMTime& other) noexcept
{
    return self = self + other;
}
inline CMTime& operator-=(CMTime& self, const CMTime& other) noexcept
{
    return self = self - other;
}
[[nodiscard]] inline CMTime operator*(const CMTime& self, std::int32_t factor) noexcept
{
    return multiply(self, factor);
}
[[nodiscard]] inline CMTime operator*(const CMTime& self, double factor) noexcept
{
    return multiplyByFloat64(self, factor);
}
[[nodiscard]] inline CMTime operator*(std::int32_t factor, const CMTime& self) noexcept
{
    return self * factor;
}
[[nodiscard]] inline CMTime operator*(double factor, const CMTime& self) noexcept
{
    return self * factor;
}
inline CMTime& operator*=(CMTime& self, std::int32_t factor) noexcept
{
    return self = self * factor;
}
inline CMTime& operator*=(CMTime& self, double factor) noexcept
{
    return self = self * factor;
}
[[nodiscard]] inline CMTime operator/(const CMTime& self, std::int32_t divisor) noexcept
{
    return multiplyByRatio(self, 1, divisor);
}
inline CMTime& operator/=(CMTime& self, std::int32_t divisor) noexcept
{
    return self = self / divisor;
}
/// How many times `other` goes into `self`, from the raw values and timescales: flags and epochs are not
/// looked at, so times that are not numeric give NaN by their timescale of 0.
[[nodiscard]] inline double operator/(const CMTime& self, const CMTime& other) noexcept
{
    const auto ratio = [](const CMTime& time) { return static_cast<double>(time.value) / time.timescale; };
    return ratio(self) / ratio(other);
}

// With a number of seconds, which becomes a time of microseconds first.

[[nodiscard]] inline bool operator==(const CMTime& self, double seconds) noexcept
{
    return self == timeWithSeconds(seconds);
}
[[nodiscard]] inline std::weak_ordering operator<=>(const CMTime& self, double seconds) noexcept
{
    return self <=> timeWithSeconds(seconds);
}

} // namespace corvane
