// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

namespace corvane::benchmarks {

/// The most memory that was taken from `new` at once, by all threads, beyond what was when the object was made.
/// A benchmark that includes this and links PeakMemory.cpp has every `new` and `delete` of the process counted:
///
///     const PeakMemory memory;
///     work();
///     state.counters["bytes"] = memory.bytes();
class PeakMemory {
public:
    PeakMemory();
    double bytes() const;

private:
    std::size_t before_;
};

} // namespace corvane::benchmarks
