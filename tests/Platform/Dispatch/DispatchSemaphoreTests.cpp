// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Dispatch/DispatchQueue.h>
#include <corvane/Platform/Dispatch/DispatchSemaphore.h>
#include <tests/Support/Watchdog.h>

#include <gtest/gtest.h>

#include <memory>
#include <thread>
#include <vector>

namespace corvane {
namespace {

using tests::Watchdog;

TEST(DispatchSemaphoreTests, CountsAndSaysWhetherAWaiterWasReleased)
{
    const Watchdog watchdog;
    const DispatchSemaphore semaphore(2);
    const DispatchSemaphore copy = semaphore;
    EXPECT_EQ(semaphore, copy);
    EXPECT_NE(semaphore, DispatchSemaphore(2));
    semaphore.wait();
    EXPECT_TRUE(copy.wait(TimeInterval(0)));
    EXPECT_FALSE(copy.wait(TimeInterval(0)));
    EXPECT_FALSE(copy.wait(TimeInterval(-5)));
    EXPECT_FALSE(semaphore.signal());
    EXPECT_TRUE(copy.wait(TimeInterval(1e300))); // there is one, whatever the limit

    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(semaphore.wait(TimeInterval(0.01)));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(10));

    const DispatchSemaphore entered(0);
    std::thread waiter([&] {
        entered.signal();
        semaphore.wait();
    });
    entered.wait();
    bool released = false;
    for (int attempts = 0; !released && attempts < 1'000'000; ++attempts) {
        released = semaphore.signal();
        if (!released && semaphore.wait(TimeInterval(0)))
            std::this_thread::yield(); // it was not waiting yet
        else if (!released)
            break; // the waiter took it on its way in
    }
    waiter.join();
    EXPECT_FALSE(semaphore.wait(TimeInterval(0)));
}

TEST(DispatchSemaphoreTests, TheLastHandleMayGoWithTheWaiter)
{
    const Watchdog watchdog;
    const DispatchQueue queue("signals");
    for (int i = 0; i < 20000; ++i) {
        auto semaphore = std::make_unique<DispatchSemaphore>(0);
        queue.async([&held = *semaphore] { held.signal(); });
        semaphore->wait();
        semaphore.reset(); // while the signal may still be on its way out
    }
}

TEST(DispatchSemaphoreTests, NoSignalIsLostAmongTimedAndUntimedWaits)
{
    const Watchdog watchdog(std::chrono::seconds(100) +
                            std::chrono::duration_cast<std::chrono::seconds>(tests::stressTime()));
    const DispatchSemaphore semaphore(0);
    const auto end = std::chrono::steady_clock::now() + tests::stressTime();
    std::atomic<std::int64_t> taken{0};
    std::atomic<std::int64_t> given{0};
    std::atomic<bool> isOver{false};
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&, thread] {
            while (!isOver) {
                if (thread == 0) {
                    semaphore.wait();
                    ++taken;
                } else {
                    taken += semaphore.wait(TimeInterval(thread * 1e-6));
                }
            }
        });
    }
    while (std::chrono::steady_clock::now() < end) {
        ++given;
        semaphore.signal();
        if (given % 16 == 0)
            std::this_thread::yield();
    }
    isOver = true;
    for (std::size_t timed = 1; timed < threads.size(); ++timed)
        threads[timed].join();
    ++given;
    semaphore.signal(); // nobody else can take this one from the untimed waiter
    threads[0].join();
    while (semaphore.wait(TimeInterval(0)))
        ++taken;
    EXPECT_EQ(taken, given);
}

} // namespace
} // namespace corvane
