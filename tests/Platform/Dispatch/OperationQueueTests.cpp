// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Dispatch/DispatchQueue.h>
#include <corvane/Platform/Dispatch/DispatchSemaphore.h>
#include <corvane/Platform/Dispatch/OperationQueue.h>
#include <corvane/Platform/Dispatch/RunLoop.h>
#include <tests/Support/Watchdog.h>

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <numeric>
#include <thread>
#include <vector>

namespace corvane {
namespace {

using tests::Watchdog;

TEST(OperationQueueTests, OneAtATimeKeepsTheOrder)
{
    const Watchdog watchdog;
    const OperationQueue queue(DispatchQoS::utility);
    EXPECT_EQ(queue.qualityOfService(), DispatchQoS::utility);
    EXPECT_EQ(queue.maxConcurrentOperationCount(), OperationQueue::defaultMaxConcurrentOperationCount);
    queue.setMaxConcurrentOperationCount(1);
    std::vector<int> order;
    std::vector<int> expected(2000);
    std::iota(expected.begin(), expected.end(), 0);
    for (const int number : expected) {
        if (number == 1000)
            queue.setQualityOfService(DispatchQoS::unspecified); // in the middle
        queue.addOperation([&order, number] { order.push_back(number); });
    }
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(order, expected);
    EXPECT_EQ(queue.operationCount(), 0);
    EXPECT_EQ(queue.qualityOfService(), DispatchQoS::unspecified);
}

TEST(OperationQueueTests, NoMoreThanTheLimitRunAndAsManyAsTheLimitCan)
{
    const Watchdog watchdog;
    for (const Int limit : {1, 3, 9}) {
        const OperationQueue queue;
        queue.setMaxConcurrentOperationCount(limit);
        std::atomic<Int> inside{0};
        std::atomic<Int> highest{0};
        const DispatchSemaphore full(0);
        for (Int i = 0; i < 500; ++i) {
            queue.addOperation([&, i] {
                const Int now = ++inside;
                for (Int seen = highest; seen < now && !highest.compare_exchange_weak(seen, now);) {
                }
                if (i < limit - 1)
                    full.wait();
                else if (i == limit - 1)
                    for (Int other = 0; other < limit - 1; ++other)
                        full.signal();
                --inside;
            });
        }
        queue.waitUntilAllOperationsAreFinished();
        EXPECT_EQ(highest, limit);
    }
}

TEST(OperationQueueTests, CancellingDropsWhatHasNotStartedAndNothingElse)
{
    const Watchdog watchdog;
    const OperationQueue queue;
    queue.setMaxConcurrentOperationCount(1);
    const DispatchSemaphore started(0);
    const DispatchSemaphore leave(0);
    std::vector<int> ran;
    const auto held = std::make_shared<int>(0);
    queue.addOperation([&] {
        started.signal();
        leave.wait();
        ran.push_back(1);
    });
    started.wait();
    queue.addOperation([&, held] { ran.push_back(2); });
    queue.addOperation([&, held] { ran.push_back(3); });
    EXPECT_EQ(queue.operationCount(), 3);
    queue.cancelAllOperations();
    EXPECT_EQ(queue.operationCount(), 1);
    EXPECT_EQ(held.use_count(), 1);
    queue.addOperation([&, held] { ran.push_back(4); });
    queue.replaceOperations([&, held] { ran.push_back(5); });
    EXPECT_EQ(held.use_count(), 2);
    leave.signal();
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(ran, (std::vector<int>{1, 5}));

    // Nothing starts at 0, and what never started need not be waited for once it is dropped.
    queue.setMaxConcurrentOperationCount(0);
    queue.addOperation([&] { ran.push_back(6); });
    std::thread waiter([&] { queue.waitUntilAllOperationsAreFinished(); });
    queue.cancelAllOperations();
    waiter.join();
    queue.addOperation([&] { ran.push_back(7); });
    queue.setMaxConcurrentOperationCount(OperationQueue::defaultMaxConcurrentOperationCount);
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(ran, (std::vector<int>{1, 5, 7}));
}

TEST(OperationQueueTests, TheMainQueueRunsOneAtATimeOnTheMainThread)
{
    const Watchdog watchdog;
    const auto mainThread = std::this_thread::get_id();
    const OperationQueue main = OperationQueue::main();
    EXPECT_EQ(main, OperationQueue::main());
    main.setMaxConcurrentOperationCount(5);
    EXPECT_EQ(main.maxConcurrentOperationCount(), 1);
    int ran = 0;
    DispatchQueue("worker").async([&] {
        for (int i = 0; i < 3; ++i)
            main.addOperation([&] { ran += std::this_thread::get_id() == mainThread; });
        main.waitUntilAllOperationsAreFinished();
        DispatchQueue::main().async([] { RunLoop::main().stop(); });
    });
    RunLoop::main().run();
    EXPECT_EQ(ran, 3);
}

TEST(OperationQueueTests, ItMayGoWhileOperationsAreQueued)
{
    const Watchdog watchdog;
    const DispatchSemaphore open(0);
    const DispatchSemaphore done(0);
    {
        const OperationQueue queue;
        queue.setMaxConcurrentOperationCount(1);
        queue.addOperation([open] { open.wait(); });
        queue.addOperation([done] { done.signal(); });
    }
    open.signal();
    done.wait();
}

} // namespace
} // namespace corvane
