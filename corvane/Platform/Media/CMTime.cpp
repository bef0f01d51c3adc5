// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/NumberText.h>
#include <corvane/Platform/Media/CMTime.h>

#include <cmath>
#include <limits>
#include <numeric>

namespace corvane {

namespace {

__extension__ using Wide = __int128;

constexpr Wide largestTimescale = std::numeric_limits<std::int32_t>::max();
constexpr Wide largestValue = std::numeric_limits<Int>::max();
constexpr Wide smallestValue = std::numeric_limits<Int>::min();

struct Quotient {
    Wide value;
    bool exact;
};

// To the nearest whole number, halves away from zero; `divisor` is positive.
Quotient dividedRounding(Wide dividend, Wide divisor)
{
    Wide quotient = dividend / divisor;
    const Wide rest = dividend % divisor;
    if (2 * (rest < 0 ? -rest : rest) >= divisor)
        quotient += dividend < 0 ? -1 : 1;
    return {quotient, rest == 0};
}

CMTime infinity(bool negative)
{
    return negative ? CMTime::negativeInfinity() : CMTime::positiveInfinity();
}

// `numerator`/`denominator` seconds with the timescale of the denominator, or the finest below it that
// holds the value. The numerator has at most 95 bits, so that it can take a timescale as a factor.
CMTime fitted(Wide numerator, Wide denominator, Int epoch, bool rounded)
{
    for (Wide timescale = std::min(denominator, largestTimescale); timescale > 0; timescale /= 2) {
        const auto [value, exact] = timescale == denominator
                                        ? Quotient{numerator, true}
                                        : dividedRounding(numerator * timescale, denominator);
        if (value < smallestValue || value > largestValue)
            continue;
        CMTime time = CMTime::make(static_cast<Int>(value), static_cast<std::int32_t>(timescale), epoch);
        if (rounded || !exact)
            time.flags |= CMTime::rounded;
        return time;
    }
    return infinity(numerator < 0);
}

// `ticks` of 1/`timescale` seconds, in double precision.
CMTime nearest(double ticks, std::int32_t timescale, Int epoch, bool rounded)
{
    while (!(std::abs(std::round(ticks)) < 0x1p63)) {
        if (timescale == 1)
            return infinity(ticks < 0);
        // Halved whole, so that the ticks of an odd timescale are scaled by what it really becomes.
        ticks = ticks / timescale * (timescale / 2);
        timescale /= 2;
    }
    CMTime time = CMTime::make(static_cast<Int>(std::round(ticks)), timescale, epoch);
    if (rounded || std::round(ticks) != ticks)
        time.flags |= CMTime::rounded;
    return time;
}

int infinitySign(const CMTime& time)
{
    return time.isPositiveInfinity() ? 1 : time.isNegativeInfinity() ? -1 : 0;
}

// A time that is not numeric, times a factor of the given sign.
CMTime notNumericTimes(const CMTime& time, int sign)
{
    if (!time.isValid() || time.isIndefinite())
        return time.isValid() ? CMTime::indefinite() : CMTime::invalid();
    return sign == 0 ? CMTime::invalid() : infinity(infinitySign(time) * sign < 0);
}

template <typename Number>
int signOf(Number value)
{
    return (value > 0) - (value < 0);
}

// a + sign·b
CMTime added(const CMTime& a, const CMTime& b, int sign)
{
    if (!a.isValid() || !b.isValid())
        return CMTime::invalid();
    const int first = infinitySign(a);
    const int second = infinitySign(b) * sign;
    if (first != 0 || second != 0)
        return first * second < 0 ? CMTime::invalid() : infinity(first + second < 0);
    if (a.isIndefinite() || b.isIndefinite())
        return CMTime::indefinite();
    if (a.epoch != b.epoch && a.epoch != 0 && b.epoch != 0)
        return CMTime::invalid();
    const Int epoch = a.epoch == b.epoch && sign < 0 ? 0 : a.epoch != 0 ? a.epoch : b.epoch;
    const Wide common = std::lcm(Int{a.timescale}, Int{b.timescale});
    const Wide sum = Wide{a.value} * (common / a.timescale) + Wide{b.value} * (common / b.timescale) * sign;
    return fitted(sum, common, epoch, a.hasBeenRounded() || b.hasBeenRounded());
}

// Minus infinity, numeric, indefinite, plus infinity, invalid.
int kindOrder(const CMTime& time)
{
    if (!time.isValid())
        return 4;
    if (time.isIndefinite())
        return 2;
    return time.isPositiveInfinity() ? 3 : time.isNegativeInfinity() ? 0 : 1;
}

} // namespace

CMTime CMTime::make(Int value, std::int32_t timescale, Int epoch) noexcept
{
    return timescale > 0 ? CMTime{value, timescale, valid, epoch} : invalid();
}

CMTime CMTime::makeWithSeconds(double seconds, std::int32_t preferredTimescale) noexcept
{
    if (preferredTimescale <= 0 || std::isnan(seconds))
        return invalid();
    if (std::isinf(seconds))
        return infinity(seconds < 0);
    return nearest(seconds * preferredTimescale, preferredTimescale, 0, false);
}

double CMTime::seconds() const noexcept
{
    if (const int sign = infinitySign(*this); sign != 0)
        return sign * HUGE_VAL;
    return isNumeric() ? static_cast<double>(value) / timescale : std::numeric_limits<double>::quiet_NaN();
}

CMTime CMTime::convertScale(std::int32_t newTimescale) const noexcept
{
    if (newTimescale <= 0)
        return invalid();
    if (!isNumeric())
        return *this;
    const auto [ticks, exact] = dividedRounding(Wide{value} * newTimescale, timescale);
    if (ticks < smallestValue || ticks > largestValue)
        return infinity(value < 0);
    CMTime time = make(static_cast<Int>(ticks), newTimescale, epoch);
    if (hasBeenRounded() || !exact)
        time.flags |= rounded;
    return time;
}

std::string CMTime::description() const
{
    if (!isValid())
        return "{invalid}";
    if (isIndefinite())
        return "{indefinite}";
    if (!isNumeric())
        return isPositiveInfinity() ? "{+infinity}" : "{-infinity}";
    std::string text = "{";
    text.append(std::to_string(value)).append("/").append(std::to_string(timescale));
    text.append(" = ").append(numberText(seconds()));
    if (hasBeenRounded())
        text.append(", rounded");
    if (epoch != 0)
        text.append(", epoch ").append(std::to_string(epoch));
    return text.append("}");
}

CMTime operator+(const CMTime& a, const CMTime& b) noexcept
{
    return added(a, b, 1);
}

CMTime operator-(const CMTime& a, const CMTime& b) noexcept
{
    return added(a, b, -1);
}

std::weak_ordering operator<=>(const CMTime& a, const CMTime& b) noexcept
{
    if (!a.isNumeric() || !b.isNumeric())
        return kindOrder(a) <=> kindOrder(b);
    if (a.epoch != b.epoch)
        return a.epoch <=> b.epoch;
    const Wide difference = Wide{a.value} * b.timescale - Wide{b.value} * a.timescale;
    return signOf(difference) <=> 0;
}

CMTime multiply(const CMTime& time, std::int32_t multiplier) noexcept
{
    return multiplyByRatio(time, multiplier, 1);
}

CMTime multiplyByFloat64(const CMTime& time, double multiplier) noexcept
{
    if (!time.isValid() || std::isnan(multiplier))
        return CMTime::invalid();
    if (!time.isNumeric())
        return notNumericTimes(time, signOf(multiplier));
    if (std::isinf(multiplier))
        return time.value == 0 ? CMTime::invalid() : infinity((time.value < 0) != (multiplier < 0));
    std::int32_t timescale = time.timescale;
    double ticks = static_cast<double>(time.value) * multiplier;
    if (std::round(ticks) != ticks)
        for (; timescale < 65536; timescale *= 2)
            ticks *= 2;
    return nearest(ticks, timescale, time.epoch, time.hasBeenRounded());
}

CMTime multiplyByRatio(const CMTime& time, std::int32_t multiplier, std::int32_t divisor) noexcept
{
    if (divisor == 0)
        return CMTime::invalid();
    if (!time.isNumeric())
        return notNumericTimes(time, signOf(multiplier) * signOf(divisor));
    Wide numerator = Wide{time.value} * multiplier;
    Wide denominator = divisor;
    if (denominator < 0) {
        numerator = -numerator;
        denominator = -denominator;
    }
    // Only what the divisor has in common is cancelled: the timescale stays, times the rest of the divisor.
    const auto common = std::gcd(static_cast<Int>(numerator % denominator), static_cast<Int>(denominator));
    return fitted(numerator / common, denominator / common * time.timescale, time.epoch,
                  time.hasBeenRounded());
}

CMTime absoluteValue(const CMTime& time) noexcept
{
    if (!time.isNumeric())
        return time.isNegativeInfinity() ? CMTime::positiveInfinity() : time;
    return time.value < 0 ? multiply(time, -1) : time;
}

} // namespace corvane
