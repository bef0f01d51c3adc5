// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace corvane::benchmarks {

/// What a goal compares: the clock on the wall, the processor time of all threads together, or the memory that a
/// benchmark told of in its counter "bytes" (see PeakMemory.h).
enum class Measure { wallTime, processorTime, memory };

/// A benchmark is named `<subject>/<who>`; ours is `<subject>/Corvane`. A goal holds ours against a peer of
/// the same subject: the table printed after the run shows the ratio of the medians beside `atMost`.
struct RatioGoal {
    RatioGoal(std::string subject, std::string peer, double atMost, Measure measure = Measure::wallTime);
};

/// A goal in time alone: the median of `<subject>/Corvane`, an iteration or an item where items are counted.
struct TimeGoal {
    TimeGoal(std::string subject, double atMostNanoseconds, Measure measure = Measure::wallTime);
};

/// A goal in memory alone.
struct MemoryGoal {
    MemoryGoal(std::string subject, double atMostBytes);
};

} // namespace corvane::benchmarks
