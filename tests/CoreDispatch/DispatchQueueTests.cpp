// SPDX-License-Identifier: Apache-2.0
#include <corvane/CoreDispatch/DispatchQueue.h>
#include <corvane/Platform/Dispatch/DispatchSemaphore.h>
#include <tests/Support/MainLoop.h>

#include <gtest/gtest.h>

#include <thread>

namespace corvane {
namespace {

TEST(DispatchQueueConvenienceTests, ExecuteRunsTheBlockNowOrLater)
{
    const DispatchQueue queue("queue");
    bool ran = false;
    execute(queue, true, [&] { ran = true; });
    EXPECT_TRUE(ran);

    const DispatchSemaphore hold(0);
    int runs = 0;
    execute(queue, false, [&] {
        hold.wait(); // the caller does not wait for this
        ++runs;
    });
    execute(queue, false, [&] { ++runs; });
    hold.signal();
    execute(queue, true, [&] { EXPECT_EQ(runs, 2); });

    std::thread::id where;
    execute(DispatchQueue::main(), false, [&] { where = std::this_thread::get_id(); });
    EXPECT_EQ(where, std::thread::id());
    ASSERT_TRUE(tests::serveMainLoopUntil([&] { return where != std::thread::id(); }));
    EXPECT_EQ(where, std::this_thread::get_id());
}

} // namespace
} // namespace corvane
