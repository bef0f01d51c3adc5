// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvane/Platform/Dispatch/DispatchQueue.h>
#include <corvane/Platform/Dispatch/RunLoop.h>

#include <gtest/gtest.h>

#include <functional>
#include <thread>
#include <vector>

namespace corvane::tests {

/// Work that needs the main queue and the main loop's timers, both fed while the host's loop sleeps. `run` runs the
/// host's loop, `quit` ends it.
inline void runUnderHostLoop(const std::function<void()>& run, const std::function<void()>& quit)
{
    const auto mainThread = std::this_thread::get_id();
    std::vector<int> order;
    DispatchQueue("worker").asyncAfter(TimeInterval(0.01), [&] {
        DispatchQueue::main().async([&] { order.push_back(1); });
        EXPECT_EQ(DispatchQueue::main().sync([&] {
            order.push_back(2);
            return std::this_thread::get_id();
        }),
                  mainThread);
        DispatchQueue::main().async([&] {
            Timer::schedule(TimeInterval(0.005), [&] {
                order.push_back(3);
                quit();
            });
        });
    });
    run();
    EXPECT_EQ(order, (std::vector<int>{1, 2, 3}));
}

} // namespace corvane::tests
