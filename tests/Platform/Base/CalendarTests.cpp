// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Base/Calendar.h>

#include <Support/EnvironmentVariable.h>
#include <gtest/gtest.h>

#include <chrono>

namespace corvane {
namespace {

using namespace std::chrono;

TEST(CalendarTests, DaysAreCountedByTheUsersDates)
{
    // Moments of UTC.
    const auto at = [](int y, int m, int d, int hour, int minute, int second = 0) {
        return Date(sys_days(year(y) / m / d)) + hours(hour) + minutes(minute) + seconds(second);
    };
    const Date beforeMidnight = at(2026, 3, 4, 23, 59, 59) + microseconds(999'999);
    struct Row {
        const char* zone;
        Date from, to;
        Int days;
    };
    const Row rows[] = {
        {"UTC", at(2026, 3, 4, 0, 0), beforeMidnight, 0},
        {"UTC", beforeMidnight, beforeMidnight + microseconds(1), 1},
        {"UTC", at(2024, 2, 28, 12, 0), at(2024, 3, 1, 12, 0), 2},
        {"UTC", at(1969, 12, 31, 23, 59), at(1970, 1, 1, 0, 0), 1},
        {"UTC", at(1969, 12, 31, 0, 0), at(1969, 12, 31, 23, 59), 0},
        {"UTC", at(1800, 1, 1, 0, 0), at(1900, 1, 1, 0, 0), 36524},
        // One moment, different days.
        {"Asia/Tokyo", at(2026, 3, 4, 14, 59), at(2026, 3, 4, 15, 0), 1},
        {"America/Los_Angeles", at(2026, 3, 4, 14, 59), at(2026, 3, 4, 15, 0), 0},
        {"America/Los_Angeles", at(2026, 3, 4, 7, 59), at(2026, 3, 4, 8, 0), 1},
        // 23 hours from midnight to midnight, then 25.
        {"Europe/Berlin", at(2026, 3, 28, 23, 0), at(2026, 3, 29, 22, 0), 1},
        {"Europe/Berlin", at(2026, 3, 28, 23, 0), at(2026, 3, 29, 21, 59), 0},
        {"Europe/Berlin", at(2026, 10, 24, 22, 0), at(2026, 10, 25, 22, 59), 0},
        {"Europe/Berlin", at(2026, 10, 24, 22, 0), at(2026, 10, 25, 23, 0), 1},
        // A day without midnight, from 01:00 on, and the next midnight 23 hours later.
        {"America/Sao_Paulo", at(2018, 11, 4, 2, 59), at(2018, 11, 4, 3, 0), 1},
        {"America/Sao_Paulo", at(2018, 11, 4, 3, 0), at(2018, 11, 5, 1, 59), 0},
        {"America/Sao_Paulo", at(2018, 11, 4, 3, 0), at(2018, 11, 5, 2, 0), 1},
        // The far ends of what a date can be.
        {"UTC", Date::min(), Date::max(), 213503983},
    };
    for (const Row& row : rows) {
        const tests::EnvironmentVariable zone("TZ", row.zone);
        EXPECT_EQ(daysBetween(row.from, row.to), row.days) << row.zone << " row " << &row - rows;
        EXPECT_EQ(daysBetween(row.to, row.from), -row.days) << row.zone << " row " << &row - rows;
    }
}

} // namespace
} // namespace corvane
