// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Export.h>
#include <corvane/Platform/Base/Types.h>

#include <compare>
#include <string>

namespace corvane {

/// A moment or a length of time in media, as a fraction: `value` ticks of 1/`timescale` seconds. Fractions
/// stay exact where a count of seconds would round: a frame of 1001/30000 s times 30000 is 1001 s.
///
///     const CMTime frame = CMTime::make(1001, 30000);
///     multiply(frame, 30000) == CMTime::make(1001, 1);    // true
///     frame.convertScale(600).value;                      // 20, and the result says that it was rounded
///     CMTime::makeWithSeconds(2.5, 600).seconds();        // 2.5
///     (frame + CMTime::positiveInfinity()).isPositiveInfinity();
///
/// A time is numeric, infinite (of either sign), indefinite or invalid; `CMTime{}` is invalid. In
/// arithmetic invalid wins over the infinities and those over indefinite; opposite infinities add up to
/// invalid. Numeric results are exact where they can be: a sum has the least common multiple of the
/// timescales. Beyond 2147483647 ticks a second that is the timescale; where 64 bits do not hold the ticks
/// it is halved until they do, down to one a second and then to an infinity. A value that had to be
/// rounded, to nearest with halves away from zero, says `hasBeenRounded`, and so does everything computed
/// from it.
///
/// Times of different epochs do not add up (the result is invalid), but any epoch and epoch 0, which
/// lengths have, do; the difference of two times of one epoch is such a length.
///
/// Comparison is of the exact moments, across timescales and flags, but first by epoch: 1/2 s equals
/// 300/600 s. All times are ordered: minus infinity, numeric, indefinite, plus infinity, invalid; each of
/// the others equals itself. No operation stops the process. Thread-compatible.
struct CORVANE_API CMTime {
    enum Flags : std::uint32_t {
        valid = 1,
        rounded = 2,
        positiveInfinityFlag = 4,
        negativeInfinityFlag = 8,
        indefiniteFlag = 16,
        impliedValueFlags = positiveInfinityFlag | negativeInfinityFlag | indefiniteFlag
    };

    Int value = 0;
    std::int32_t timescale = 0;
    std::uint32_t flags = 0;
    Int epoch = 0; ///< which pass through a loop a moment belongs to; 0 for lengths

    /// Invalid for a timescale of 0 or below.
    static CMTime make(Int value, std::int32_t timescale, Int epoch = 0) noexcept;
    /// The nearest tick, halves away from zero. Invalid for a timescale of 0 or below and for NaN; where 64
    /// bits do not hold the ticks the timescale is halved as in arithmetic.
    static CMTime makeWithSeconds(double seconds, std::int32_t preferredTimescale) noexcept;

    static CMTime zero() noexcept { return make(0, 1); }
    static constexpr CMTime invalid() noexcept { return {}; }
    static constexpr CMTime indefinite() noexcept { return {0, 0, valid | indefiniteFlag, 0}; }
    static constexpr CMTime positiveInfinity() noexcept { return {0, 0, valid | positiveInfinityFlag, 0}; }
    static constexpr CMTime negativeInfinity() noexcept { return {0, 0, valid | negativeInfinityFlag, 0}; }

    constexpr bool isValid() const noexcept { return (flags & valid) != 0; }
    constexpr bool isNumeric() const noexcept { return (flags & (valid | impliedValueFlags)) == valid; }
    constexpr bool isIndefinite() const noexcept { return isValid() && (flags & indefiniteFlag) != 0; }
    constexpr bool isPositiveInfinity() const noexcept
    {
        return isValid() && (flags & positiveInfinityFlag) != 0;
    }
    constexpr bool isNegativeInfinity() const noexcept
    {
        return isValid() && (flags & negativeInfinityFlag) != 0;
    }
    constexpr bool hasBeenRounded() const noexcept { return isNumeric() && (flags & rounded) != 0; }

    /// NaN for an invalid or indefinite time, an infinity for an infinite one.
    double seconds() const noexcept;
    /// The same moment in ticks of 1/`newTimescale` seconds, an infinity where 64 bits do not hold them.
    /// Invalid for a timescale of 0 or below; other than numeric times stay what they are.
    CMTime convertScale(std::int32_t newTimescale) const noexcept;

    /// "{1001/30000 = 0.03336666666666667}", "{+infinity}", "{-infinity}", "{indefinite}" or "{invalid}";
    /// with ", rounded" and ", epoch 1" before the brace where it is so.
    std::string description() const;

    friend CORVANE_API CMTime operator+(const CMTime& a, const CMTime& b) noexcept;
    friend CORVANE_API CMTime operator-(const CMTime& a, const CMTime& b) noexcept;
    friend CORVANE_API std::weak_ordering operator<=>(const CMTime& a, const CMTime& b) noexcept;
    friend bool operator==(const CMTime& a, const CMTime& b) noexcept { return (a <=> b) == 0; }
};

// Products. An infinity turns with the sign of the factor, and times 0 it is invalid.

[[nodiscard]] CORVANE_API CMTime multiply(const CMTime& time, std::int32_t multiplier) noexcept;
/// In double precision. The timescale is kept where the product is a whole number of its ticks; otherwise
/// it is doubled until it is at least 65536, so that coarse timescales do not swallow the fraction. Invalid
/// for NaN.
[[nodiscard]] CORVANE_API CMTime multiplyByFloat64(const CMTime& time, double multiplier) noexcept;
/// Times `multiplier`/`divisor`. The timescale is kept where the quotient is whole. A divisor of 0 gives
/// invalid.
[[nodiscard]] CORVANE_API CMTime multiplyByRatio(const CMTime& time, std::int32_t multiplier,
                                                 std::int32_t divisor) noexcept;
[[nodiscard]] CORVANE_API CMTime absoluteValue(const CMTime& time) noexcept;

} // namespace corvane
