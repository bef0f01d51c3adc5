// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Dispatch/RunLoop.h>

#include <poll.h>

#include <chrono>

namespace corvane::tests {

/// Serves the main loop on this thread until `condition` holds; false when it has not after `limit`.
template <typename Condition>
[[nodiscard]] bool serveMainLoopUntil(Condition condition,
                                      std::chrono::seconds limit = std::chrono::seconds(60))
{
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        pollfd due{RunLoop::main().fileDescriptor(), POLLIN, 0};
        poll(&due, 1, 5); // a condition that no block of the main queue makes true is looked at again
        RunLoop::main().drain();
    }
    return true;
}

} // namespace corvane::tests
