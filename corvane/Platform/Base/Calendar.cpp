// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/Calendar.h>

#include <time.h>

#include <chrono>

namespace corvane {

namespace {

// Counted from 1970-01-01 in the user's time zone.
std::optional<Int> dayOf(Date date)
{
    const time_t seconds = std::chrono::floor<std::chrono::seconds>(date).time_since_epoch().count();
    tm local{};
    if (::localtime_r(&seconds, &local) == nullptr)
        return std::nullopt;
    // The calendar of chrono ends with the year 32767; a date's microseconds reach almost ten times as far. The
    // same date read as one of UTC gives the day without such an end.
    local.tm_hour = local.tm_min = local.tm_sec = 0;
    return ::timegm(&local) / (24 * 60 * 60);
}

} // namespace

std::optional<Int> daysBetween(Date from, Date to)
{
    ::tzset(); // localtime_r alone would stay with the zone that TZ named first
    const auto first = dayOf(from), second = dayOf(to);
    if (!first || !second)
        return std::nullopt;
    return *second - *first;
}

} // namespace corvane
