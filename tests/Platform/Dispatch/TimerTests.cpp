// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Dispatch/DispatchQueue.h>
#include <corvane/Platform/Dispatch/RunLoop.h>
#include <corvane/Platform/Dispatch/Timer.h>
#include <tests/Support/Watchdog.h>

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <memory>
#include <optional>
#include <random>
#include <thread>
#include <vector>

namespace corvane {
namespace {

using Clock = std::chrono::steady_clock;
using tests::Watchdog;

TEST(TimerTests, FireInTheOrderOfTheirTimesAndNeverEarly)
{
    const Watchdog watchdog;
    std::minstd_rand random(3);
    const auto start = Clock::now();
    double last = -1;
    int left = 300;
    Timer::schedule(TimeInterval(-1), [&] { EXPECT_EQ(last, -1); });
    for (int i = 0; i < 300; ++i) {
        const double seconds = static_cast<double>(random() % 20000) / 1e6;
        Timer::schedule(TimeInterval(seconds), [&, seconds] {
            EXPECT_GE(Clock::now() - start, std::chrono::duration<double>(seconds));
            last = seconds;
            if (--left == 0)
                RunLoop::main().stop();
        });
    }
    RunLoop::main().run();
    EXPECT_EQ(left, 0);
}

TEST(TimerTests, ATimerKnowsWhetherItWillFireAndReleasesItsBlock)
{
    const Watchdog watchdog;
    const auto held = std::make_shared<int>(0);
    Timer once = Timer::schedule(TimeInterval(0), [held] { ++*held; });
    EXPECT_TRUE(once.isValid());
    EXPECT_EQ(held.use_count(), 2);
    RunLoop::main().runFor(TimeInterval(0.005));
    EXPECT_FALSE(once.isValid());
    EXPECT_EQ(*held, 1);
    EXPECT_EQ(held.use_count(), 1);

    Timer cancelled = Timer::repeats(TimeInterval(0.0005), [held] { ++*held; });
    Timer copy = cancelled;
    EXPECT_EQ(copy, cancelled);
    copy.invalidate();
    EXPECT_FALSE(cancelled.isValid());
    EXPECT_EQ(held.use_count(), 1);
    cancelled.invalidate();
    RunLoop::main().runFor(TimeInterval(0.005));
    EXPECT_EQ(*held, 1);
}

TEST(TimerTests, ARepeatingTimerMayInvalidateItselfAndOthersFromItsBlock)
{
    const Watchdog watchdog;
    int firings = 0;
    int others = 0;
    Timer other = Timer::repeats(TimeInterval(0.05), [&] { ++others; });
    const auto held = std::make_shared<int>(0);
    Timer timer = Timer::repeats(TimeInterval(0.001), [&, held](Timer& self) {
        EXPECT_TRUE(self.isValid());
        if (++firings < 5)
            return;
        self.invalidate();
        other.invalidate();
        EXPECT_EQ(held.use_count(), 2); // its own captures live until it returns
        Timer::schedule(TimeInterval(0.06), [] { RunLoop::main().stop(); });
    });
    RunLoop::main().run();
    EXPECT_EQ(firings, 5);
    EXPECT_EQ(others, 0);
    EXPECT_FALSE(timer.isValid());
    EXPECT_EQ(held.use_count(), 1);
}

TEST(TimerTests, ARepeatingTimerDoesNotDrift)
{
    const Watchdog watchdog;
    constexpr auto period = std::chrono::milliseconds(1);
    const auto start = Clock::now();
    int firings = 0;
    Timer timer = Timer::repeats(period, [&](Timer& self) {
        if (++firings < 1000)
            return;
        self.invalidate();
        RunLoop::main().stop();
    });
    RunLoop::main().run();
    // Lateness must not add up: the last firing stands as close to its place as the first. A busy machine may hold
    // up a single one.
    const auto spent = Clock::now() - start;
    EXPECT_GE(spent, 1000 * period);
    EXPECT_LT(spent, 1000 * period + std::chrono::milliseconds(50));
}

TEST(TimerTests, PeriodsMissedAsAWholeAreLeftOut)
{
    const Watchdog watchdog;
    int firings = 0;
    Timer timer = Timer::repeats(TimeInterval(0.001), [&] {
        if (++firings == 1)
            std::this_thread::sleep_for(std::chrono::milliseconds(400)); // far behind: these are not made up
    });
    RunLoop::main().runFor(TimeInterval(0.002));
    RunLoop::main().runFor(TimeInterval(0.01));
    timer.invalidate();
    EXPECT_GE(firings, 2);
    EXPECT_LT(firings, 300);
}

TEST(TimerTests, ManyThousandsShareTheirWakeUps)
{
    const Watchdog watchdog;
    rusage before{};
    getrusage(RUSAGE_THREAD, &before);
    constexpr int count = 20000;
    int left = count;
    for (int i = 0; i < count; ++i) {
        Timer::schedule(TimeInterval(0.02 + i * 1e-6), [&] {
            if (--left == 0)
                RunLoop::main().stop();
        });
    }
    std::vector<Timer> removed;
    for (int i = 0; i < count; ++i)
        removed.push_back(Timer::schedule(TimeInterval(0.02 + i * 1e-6), [] { FAIL(); }));
    for (Timer& timer : removed)
        timer.invalidate();
    RunLoop::main().run();
    rusage after{};
    getrusage(RUSAGE_THREAD, &after);
    EXPECT_LT(after.ru_nvcsw - before.ru_nvcsw, 200); // 20,000 timers over 20 ms
}

TEST(TimerTests, OtherThreadsMayAddAndRemove)
{
    const Watchdog watchdog;
    RunLoop& main = RunLoop::main();
    std::atomic<int> fired{0};
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&] {
            for (int i = 0; i < 500; ++i) {
                Timer kept = Timer::schedule(main, TimeInterval(i * 1e-6), [&] { ++fired; });
                Timer removed = Timer::repeats(main, TimeInterval(0.0002), [&] { static_cast<void>(0); });
                removed.invalidate();
                EXPECT_FALSE(removed.isValid());
            }
        });
    }
    while (fired < 2000)
        main.runFor(TimeInterval(0.001));
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(fired, 2000);
}

TEST(TimerTests, ALoopThatGoesTakesItsTimersWithIt)
{
    const auto held = std::make_shared<int>(0);
    std::optional<Timer> timer;
    std::thread([&] { timer = Timer::schedule(TimeInterval(1000), [held] {}); }).join();
    EXPECT_FALSE(timer->isValid());
    timer->invalidate();
    timer.reset();
    EXPECT_EQ(held.use_count(), 1);
}

} // namespace
} // namespace corvane
