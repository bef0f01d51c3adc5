// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Dispatch/DispatchQueue.h>
#include <corvane/Platform/Dispatch/RunLoop.h>
#include <tests/Support/Watchdog.h>

#include <gtest/gtest.h>
#include <poll.h>

#include <atomic>
#include <thread>
#include <vector>

namespace corvane {
namespace {

using tests::Watchdog;

bool isReadable(int descriptor, int milliseconds = 0)
{
    pollfd watched{descriptor, POLLIN, 0};
    return poll(&watched, 1, milliseconds) == 1;
}

void drainAll(RunLoop& loop)
{
    while (loop.drain()) {
    }
}

TEST(RunLoopTests, StopEndsTheRunningCallOrTheNext)
{
    const Watchdog watchdog;
    RunLoop& loop = RunLoop::main();
    loop.stop();
    loop.run();
    std::thread other([&] { loop.stop(); });
    loop.run();
    other.join();
    EXPECT_FALSE(loop.runFor(TimeInterval(0.005)));
    EXPECT_FALSE(loop.runFor(TimeInterval(0)));
    DispatchQueue::main().async([&] { loop.stop(); });
    EXPECT_TRUE(loop.runFor(TimeInterval(1000)));
}

TEST(RunLoopTests, TheDescriptorIsReadableExactlyWhileSomethingIsDue)
{
    const Watchdog watchdog;
    RunLoop& loop = RunLoop::main();
    drainAll(loop);
    const int descriptor = loop.fileDescriptor();
    EXPECT_FALSE(isReadable(descriptor));
    int ran = 0;
    DispatchQueue::main().async([&] {
        ++ran;
        DispatchQueue::main().async([&] { ++ran; }); // for the next drain
    });
    EXPECT_TRUE(isReadable(descriptor));
    EXPECT_TRUE(loop.drain());
    EXPECT_EQ(ran, 1);
    EXPECT_TRUE(isReadable(descriptor));
    EXPECT_TRUE(loop.drain());
    EXPECT_EQ(ran, 2);
    EXPECT_FALSE(loop.drain());
    EXPECT_FALSE(isReadable(descriptor));

    const Timer timer = Timer::schedule(TimeInterval(0.002), [&] { ++ran; });
    EXPECT_TRUE(isReadable(descriptor, 1000));
    EXPECT_TRUE(loop.drain());
    EXPECT_EQ(ran, 3);
    EXPECT_FALSE(isReadable(descriptor));
    Timer removed = Timer::schedule(TimeInterval(0.002), [&] { ++ran; });
    removed.invalidate();
    if (isReadable(descriptor, 20)) { // a wake-up for nothing is allowed; spinning is not
        EXPECT_FALSE(loop.drain());
    }
    EXPECT_FALSE(isReadable(descriptor, 20));
    EXPECT_EQ(ran, 3);
}

TEST(RunLoopTests, ADrainRunsFedByOthersLoseNothing)
{
    const Watchdog watchdog;
    RunLoop& loop = RunLoop::main();
    constexpr int producers = 3;
    constexpr int each = 5000;
    std::vector<int> seen(producers, 0);
    bool inOrder = true;
    std::vector<std::thread> threads;
    for (int producer = 0; producer < producers; ++producer) {
        threads.emplace_back([&, producer] {
            for (int i = 0; i < each; ++i) {
                const auto step = [&, producer, i] {
                    inOrder = inOrder && seen[static_cast<std::size_t>(producer)]++ == i;
                };
                if (i % 50 == 0)
                    DispatchQueue::main().sync(step);
                else
                    DispatchQueue::main().async(step);
            }
        });
    }
    // A host with its own loop: sleeps on the descriptor, drains.
    while (seen != std::vector<int>(producers, each)) {
        ASSERT_TRUE(isReadable(loop.fileDescriptor(), 60'000));
        loop.drain();
    }
    EXPECT_TRUE(inOrder);
    for (std::thread& thread : threads)
        thread.join();
}

TEST(RunLoopTests, EveryThreadHasItsOwnLoop)
{
    const Watchdog watchdog;
    drainAll(RunLoop::main()); // this thread is the main one from here on
    EXPECT_EQ(&RunLoop::current(), &RunLoop::main());
    bool fired = false;
    std::thread([&] {
        RunLoop& own = RunLoop::current();
        EXPECT_NE(&own, &RunLoop::main());
        EXPECT_EQ(&own, &RunLoop::current());
        Timer::schedule(TimeInterval(0.001), [&] {
            fired = true;
            RunLoop::current().stop();
        });
        own.run();
    }).join();
    EXPECT_TRUE(fired);
}

TEST(RunLoopTests, ALoopInsideABlockFiresTimersButNoFurtherBlock)
{
    const Watchdog watchdog;
    RunLoop& loop = RunLoop::main();
    std::vector<int> order;
    DispatchQueue::main().async([&] {
        DispatchQueue::main().async([&] {
            order.push_back(3);
            loop.stop();
        });
        Timer::schedule(TimeInterval(0.002), [&] {
            order.push_back(1);
            loop.stop(); // the inner one
        });
        loop.run();
        order.push_back(2);
    });
    loop.run();
    EXPECT_EQ(order, (std::vector<int>{1, 2, 3}));
}

} // namespace
} // namespace corvane
