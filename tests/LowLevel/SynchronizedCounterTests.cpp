// SPDX-License-Identifier: Apache-2.0
#include <corvane/LowLevel/SynchronizedCounter.h>
#include <tests/Support/Watchdog.h>

#include <gtest/gtest.h>

#include <memory>
#include <thread>
#include <vector>

namespace corvane {
namespace {

TEST(SynchronizedCounterTests, AReadSeesTheWritesBeforeIt)
{
    SynchronizedCounter counter(40);
    EXPECT_EQ(counter.getValue(), 40);
    counter.increment();
    counter.increment();
    EXPECT_EQ(counter.getValue(), 42);
    counter.setValue(-3);
    counter.decrement();
    EXPECT_EQ(counter.getValue(), -4);
}

TEST(SynchronizedCounterTests, WritesOfManyThreadsAllCount)
{
    const tests::Watchdog watchdog(std::chrono::seconds(100));
    SynchronizedCounter counter(0);
    {
        std::vector<std::jthread> threads;
        for (int thread = 0; thread < 8; ++thread)
            threads.emplace_back([&, down = thread % 4 == 0] {
                for (int n = 0; n < 20'000; ++n)
                    down ? counter.decrement() : counter.increment();
            });
    }
    EXPECT_EQ(counter.getValue(), 80'000);
}

TEST(SynchronizedCounterTests, GoesWhileWritesAreQueued)
{
    for (int round = 0; round < 2'000; ++round) {
        SynchronizedCounter counter(0);
        for (int n = 0; n < round % 7; ++n)
            counter.increment();
    }
}

// No lost wake-up: each read depends on a write that nobody waits for.
TEST(SynchronizedCounterTests, FiveMillionWritesThenReads)
{
    const tests::Watchdog watchdog(std::chrono::seconds(280));
    SynchronizedCounter counter(0);
    for (Int n = 1; n <= 5'000'000; ++n) {
        counter.increment();
        ASSERT_EQ(counter.getValue(), n);
    }
}

} // namespace
} // namespace corvane
