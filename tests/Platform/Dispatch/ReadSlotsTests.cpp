// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Dispatch/DispatchQueue.h>
#include <corvane/Platform/Dispatch/DispatchSemaphore.h>
#include <corvane/Platform/Dispatch/QueueGate.h>
#include <tests/Support/Watchdog.h>

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <thread>
#include <vector>

namespace corvane {
namespace {

using tests::Watchdog;

class ReadSlotsTests : public ::testing::Test {
protected:
    // Reads often enough for the queue to stop counting its readers.
    void bias()
    {
        for (std::uint32_t n = 0; n < 2 * detail::QueueGate::readsBeforeBias; ++n)
            queue_.sync([] {});
    }

    const Watchdog watchdog_{std::chrono::seconds(200)};
    const DispatchQueue queue_{"queue", DispatchQoS::unspecified, DispatchQueue::Attributes::concurrent};
};

TEST_F(ReadSlotsTests, AWriteWaitsForTheReadThatIsNotCounted)
{
    for (const bool synchronous : {false, true}) {
        const DispatchSemaphore entered(0);
        const DispatchSemaphore leave(0);
        std::atomic<bool> left = false;
        bool written = false;
        std::jthread reader([&] {
            bias();
            queue_.sync([&] {
                entered.signal();
                leave.wait();
                queue_.sync([] {}); // let in again although the write waits
                left = true;
            });
        });
        entered.wait();
        EXPECT_FALSE(queue_.trySyncBarrier([] {}));
        const auto write = [&] {
            EXPECT_TRUE(left);
            written = true;
        };
        std::jthread writer;
        if (synchronous)
            writer = std::jthread([&] { queue_.syncBarrier(write); });
        else
            queue_.asyncBarrier(write);
        leave.signal();
        reader.join();
        if (synchronous)
            writer.join();
        EXPECT_TRUE(queue_.sync([&] { return written; }));
    }
}

TEST_F(ReadSlotsTests, ReadsNestDeeperThanThereAreSlots)
{
    bias();
    int written = 0;
    const std::function<void(std::uint32_t)> nest = [&](std::uint32_t depth) {
        queue_.sync([&] {
            if (depth == 2)
                queue_.asyncBarrier([&] { ++written; });
            if (depth < 3 * detail::ReadSlots::capacity)
                nest(depth + 1);
            EXPECT_EQ(written, 0);
        });
    };
    nest(0);
    EXPECT_EQ(queue_.sync([&] { return written; }), 1);
    EXPECT_TRUE(queue_.trySyncBarrier([&] { ++written; }));
    EXPECT_EQ(written, 2);
}

TEST_F(ReadSlotsTests, ReadersAndWritersExcludeEachOtherAsTheyComeAndGo)
{
    Int one = 0; // written together
    Int other = 0;
    std::atomic<Int> reads = 0;
    std::atomic<bool> over = false;
    std::vector<std::jthread> readers;
    for (int thread = 0; thread < 3; ++thread)
        readers.emplace_back([&] {
            while (!over) {
                std::jthread([&] { // threads take slots and give them back
                    for (int n = 0; n < 50'000 && !over; ++n) {
                        queue_.sync([&] { ASSERT_EQ(one, other); });
                        reads.fetch_add(1, std::memory_order_relaxed);
                    }
                });
            }
        });
    const auto end = std::chrono::steady_clock::now() + tests::stressTime();
    Int writes = 0;
    for (; std::chrono::steady_clock::now() < end; ++writes) {
        // Mostly late enough to find the queue biased, sometimes not.
        const Int wait = reads + (writes % 3 == 0 ? 10 : 4 * Int{detail::QueueGate::readsBeforeBias});
        while (reads < wait)
            std::this_thread::yield();
        const auto write = [&] {
            ++one;
            ++other;
        };
        if (writes % 2 == 0)
            queue_.asyncBarrier(write);
        else
            queue_.syncBarrier(write);
    }
    over = true;
    readers.clear();
    EXPECT_EQ(queue_.sync([&] { return one; }), writes);
    EXPECT_GT(writes, 10);
}

} // namespace
} // namespace corvane
