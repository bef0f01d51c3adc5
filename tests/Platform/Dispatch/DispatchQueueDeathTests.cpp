// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Dispatch/DispatchQueue.h>
#include <corvane/Platform/Dispatch/DispatchSemaphore.h>
#include <corvane/Platform/Dispatch/OperationQueue.h>
#include <corvane/Platform/Dispatch/RunLoop.h>

#include <gtest/gtest.h>
#include <unistd.h>

#include <functional>
#include <stdexcept>
#include <thread>

namespace corvane {
namespace {

constexpr auto concurrent = DispatchQueue::Attributes::concurrent;

void waitForGood()
{
    DispatchSemaphore(0).wait();
}

TEST(DispatchQueueDeathTests, AnExceptionThatLeavesABlockStopsTheProcessWithItsText)
{
    const auto raise = [] { throw std::runtime_error("the disk is made of cheese"); };
    const char* const text = "Fatal error: An exception left a block of .*: the disk is made of cheese";
    EXPECT_DEATH((DispatchQueue("com.example.q").async(raise), waitForGood()), text);
    EXPECT_DEATH((DispatchQueue("com.example.q").async(raise), waitForGood()), "com.example.q");
    EXPECT_DEATH((DispatchQueue("q", DispatchQoS::unspecified, concurrent).async(raise), waitForGood()),
                 text);
    EXPECT_DEATH((DispatchQueue::main().async(raise), RunLoop::main().run()), text);
    EXPECT_DEATH((OperationQueue().addOperation(raise), waitForGood()), text);
    EXPECT_DEATH((Timer::schedule(TimeInterval(0), raise), RunLoop::main().run()), text);
    EXPECT_DEATH((DispatchQueue("q").async([] { throw 5; }), waitForGood()), "carries no text");
}

TEST(DispatchQueueDeathTests, MisuseStopsTheProcess)
{
    EXPECT_DEATH(DispatchSemaphore(-1), "Fatal error: A semaphore cannot begin with a negative count");
    EXPECT_DEATH(OperationQueue().setMaxConcurrentOperationCount(-2),
                 "Fatal error: The number of concurrent operations cannot be negative");
    EXPECT_DEATH(DispatchQueue("q").async(Block()), "Fatal error: An empty block was given to a queue");
    EXPECT_DEATH(OperationQueue().addOperation(nullptr),
                 "Fatal error: An empty block was given to an operation");
    EXPECT_DEATH(Timer::schedule(TimeInterval(1), std::function<void()>()),
                 "Fatal error: An empty block was given to a timer");
}

// What waits for good is proved by an alarm: were it to come back, the process would end with another status.
TEST(DispatchQueueDeathTests, NestedSyncOnTheSameSerialQueueWaitsForGood)
{
    const auto diesByAlarm = testing::KilledBySignal(SIGALRM);
    const auto run = [](const std::function<void()>& nested) {
        // Threads of the pool take no signals; the alarm reaches this one.
        alarm(1);
        nested();
        _exit(3);
    };
    EXPECT_EXIT(run([] {
                    const DispatchQueue queue("serial");
                    queue.sync([&] { queue.sync([] {}); });
                }),
                diesByAlarm, "");
    EXPECT_EXIT(run([] { DispatchQueue::main().sync([] {}); }), diesByAlarm, "");
}

TEST(DispatchQueueDeathTests, AProcessExitsAtOnceAndCleanlyWithEverythingBusy)
{
    const auto exitWhileBusy = [](bool fromWorker) {
        static const DispatchQueue serial("serial");
        static const DispatchQueue wide("wide", DispatchQoS::utility, concurrent);
        static const OperationQueue operations;
        static const DispatchSemaphore never(0);
        static std::function<void()>& again =
            *new std::function<void()>([] { serial.async([] { again(); }); });
        again();
        for (int i = 0; i < 100; ++i) {
            wide.async([] { never.wait(); });
            wide.async([] { std::this_thread::sleep_for(std::chrono::hours(1)); });
            wide.async([] { DispatchQueue::main().sync([] {}); });
            wide.asyncBarrier([] {});
            operations.addOperation([] {
                for (;;) {
                }
            });
            serial.asyncAfter(TimeInterval(1e-6 * i), [] {});
            Timer::repeats(TimeInterval(1e-6), [] {});
        }
        RunLoop::main().runFor(TimeInterval(0.02));
        alarm(10); // "at once", with much room for a busy machine
        if (fromWorker) {
            DispatchQueue("ends it", DispatchQoS::background).async([] { std::exit(7); });
            waitForGood();
        }
        std::exit(7);
    };
    EXPECT_EXIT(exitWhileBusy(false), testing::ExitedWithCode(7), "^$");
    EXPECT_EXIT(exitWhileBusy(true), testing::ExitedWithCode(7), "^$");
}

// A static that needs a block to run when it is destroyed still gets it.
TEST(DispatchQueueDeathTests, AThreadThatEndsTheProcessMayWaitForBlocks)
{
    const auto exitAndWait = [] {
        static const DispatchQueue queue("late");
        queue.sync([] {}); // the pool exists before the handler below, so it runs after the pool has stopped
        queue.async([] {});
        struct Late {
            ~Late()
            {
                const DispatchSemaphore done(0);
                queue.async([done] { done.signal(); });
                done.wait();
                queue.sync([] {});
            }
        };
        std::atexit([] { const Late late; });
        alarm(10);
        std::exit(7);
    };
    EXPECT_EXIT(exitAndWait(), testing::ExitedWithCode(7), "^$");
}

TEST(DispatchQueueDeathTests, AStandstillIsReported)
{
    const auto blockTenThousand = [] {
        const DispatchQueue queue("com.example.blocked", DispatchQoS::unspecified, concurrent);
        const DispatchSemaphore entered(0);
        const DispatchSemaphore open(0);
        for (int i = 0; i < 10000; ++i) {
            queue.async([=] {
                entered.signal();
                open.wait();
            });
        }
        for (int i = 0; i < 1024; ++i)
            entered.wait(); // the documented bound is reached
        const bool isBounded = !entered.wait(TimeInterval(0.2));
        for (int i = 0; i < 10000; ++i)
            open.signal();
        for (int i = 1024; i < 10000; ++i)
            entered.wait(); // and all is well again afterwards
        std::_Exit(isBounded ? 7 : 8);
    };
    EXPECT_EXIT(blockTenThousand(), testing::ExitedWithCode(7),
                "Corvane: every thread of the dispatch pool is blocked.*\n.*com.example.blocked");
}

} // namespace
} // namespace corvane
