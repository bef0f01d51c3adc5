// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>

namespace corvane {

/// A moment in time, to the microsecond, counted from 1970-01-01 00:00:00 UTC.
using Date = std::chrono::sys_time<std::chrono::microseconds>;

/// A length of time in seconds, as timers and delays take it.
using TimeInterval = std::chrono::duration<double>;

/// The moment of the call by the system's clock, which may be set back and forth. Thread-safe.
inline Date currentDate()
{
    return std::chrono::floor<Date::duration>(std::chrono::system_clock::now());
}

} // namespace corvane
