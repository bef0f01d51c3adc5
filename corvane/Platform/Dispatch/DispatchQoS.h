// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace corvane {

/// How urgent work is. The numbers are the platform's and may be stored.
///
/// Work of `background` and `utility` runs on threads of a lower scheduling priority (nice +10 and +5, which
/// any user may set); everything above runs at the process's own. Among those, `userInitiated` and
/// `userInteractive` queues are served before the others when threads are short.
enum class DispatchQoS : int {
    unspecified = 0,
    background = 9,
    utility = 17,
    default_ = 21,
    userInitiated = 25,
    userInteractive = 33,
};

} // namespace corvane
