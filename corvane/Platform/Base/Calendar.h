// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Base/Date.h>
#include <corvane/Platform/Base/Export.h>
#include <corvane/Platform/Base/Types.h>

#include <optional>

namespace corvane {

/// How many days the user's calendar goes on from the day of `from` to the day of `to`: 0 within one day,
/// negative when `to` is on an earlier one. It is the difference of the two dates, so a day counts as one
/// whatever its length in hours, and an instant after midnight is a day after one before it.
///
/// The calendar is the Gregorian one in the time zone of the variable TZ, otherwise of the machine. Absent when
/// a moment has no date in it. Thread-safe as long as nobody changes the environment.
CORVANE_API std::optional<Int> daysBetween(Date from, Date to);

} // namespace corvane
