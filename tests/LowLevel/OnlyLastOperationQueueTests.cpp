// SPDX-License-Identifier: Apache-2.0
#include <corvane/LowLevel/OnlyLastOperationQueue.h>
#include <corvane/Platform/Dispatch/DispatchSemaphore.h>
#include <tests/Support/MainLoop.h>
#include <tests/Support/Watchdog.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace corvane {
namespace {

using ::testing::ElementsAre;
using tests::serveMainLoopUntil;
using tests::Watchdog;

TEST(OnlyLastOperationQueueTests, OneJobRunsItsStagesInOrderOnTheirThreads)
{
    OnlyLastOperationQueue queue(DispatchQoS::utility);
    EXPECT_EQ(queue.notifierQueue(), DispatchQueue::main());
    const auto main = std::this_thread::get_id();
    std::vector<std::string> calls;
    bool done = false;
    queue.addOperation(
        [&] {
            EXPECT_EQ(std::this_thread::get_id(), main);
            calls.push_back("before");
            return std::make_unique<int>(1); // results need not be copyable
        },
        [&](std::unique_ptr<int> input) {
            EXPECT_NE(std::this_thread::get_id(), main);
            calls.push_back("load");
            return std::to_string(*input);
        },
        [&](const std::string& loaded) {
            EXPECT_EQ(std::this_thread::get_id(), main);
            calls.push_back("after " + loaded);
            done = true;
        });
    ASSERT_TRUE(serveMainLoopUntil([&] { return done; }));
    EXPECT_THAT(calls, ElementsAre("before", "load", "after 1"));
}

class OnlyLastOperationQueueBurstTests : public ::testing::Test {
protected:
    OnlyLastOperationQueueBurstTests() { queue_.setNotifierQueue(notifier_); }

    // A job that notes its stages; the first one holds in `load` until released.
    void add(const std::string& name)
    {
        queue_.addOperation(
            [this, name] {
                note("before " + name);
                return name;
            },
            [this](const std::string& input) {
                if (input == "running") {
                    started_.signal();
                    release_.wait();
                }
                return input;
            },
            [this](const std::string& loaded) { note("after " + loaded); });
    }
    void start()
    {
        add("running");
        started_.wait();
    }
    void finish()
    {
        release_.signal();
        queue_.waitUntilAllOperationsAreFinished();
    }
    void note(const std::string& call) { calls_.push_back(call); } // on the notifier queue, one at a time

    const Watchdog watchdog_{std::chrono::seconds(60)};
    const DispatchSemaphore started_{0};
    const DispatchSemaphore release_{0};
    const DispatchQueue notifier_{"notifier"};
    std::vector<std::string> calls_;
    OnlyLastOperationQueue queue_{DispatchQoS::unspecified};
};

TEST_F(OnlyLastOperationQueueBurstTests, OnlyTheRunningAndTheNewestJobRun)
{
    start();
    add("dropped");
    add("dropped too");
    add("newest");
    finish();
    EXPECT_THAT(calls_, ElementsAre("before running", "after running", "before newest", "after newest"));
}

TEST_F(OnlyLastOperationQueueBurstTests, CancellingLeavesTheRunningJob)
{
    start();
    add("dropped");
    queue_.cancelAllOperations();
    finish();
    EXPECT_THAT(calls_, ElementsAre("before running", "after running"));
}

TEST_F(OnlyLastOperationQueueBurstTests, AnotherNotifierQueueServesTheStagesStillToCome)
{
    start();
    const DispatchQueue other("other");
    queue_.setNotifierQueue(other);
    EXPECT_EQ(queue_.notifierQueue(), other);
    const DispatchSemaphore hold(0);
    notifier_.async([&] { hold.wait(); }); // with the old queue blocked, the job ends all the same
    finish();
    hold.signal();
    notifier_.sync([] {});
    EXPECT_THAT(calls_, ElementsAre("before running", "after running"));
}

TEST_F(OnlyLastOperationQueueBurstTests, JobsOutliveTheQueue)
{
    const DispatchSemaphore ended(0);
    {
        OnlyLastOperationQueue brief(DispatchQoS::unspecified);
        brief.setNotifierQueue(notifier_);
        brief.addOperation([&] { started_.signal(); }, [&] { release_.wait(); }, [&] { note("after"); });
        started_.wait();
        brief.addOperation([] {}, [] {}, [&, ended] { note("after the last"), ended.signal(); });
    }
    release_.signal();
    ended.wait();
    EXPECT_THAT(calls_, ElementsAre("after", "after the last"));
}

TEST_F(OnlyLastOperationQueueBurstTests, ASubmissionOfEachThreadIsOneStep)
{
    start();
    std::atomic<int> ran = 0;
    {
        std::vector<std::jthread> threads;
        for (int thread = 0; thread < 8; ++thread)
            threads.emplace_back([&] {
                for (int n = 0; n < 2'000; ++n)
                    queue_.addOperation([] {}, [] {}, [&] { ++ran; });
            });
    }
    finish();
    EXPECT_EQ(ran, 1); // of 16,000: had two been left queued, both would have run
}

TEST_F(OnlyLastOperationQueueBurstTests, DroppedJobsAreFreedAtOnce)
{
    start();
    const auto held = std::make_shared<int>();
    long most = 0;
    for (int n = 0; n < 100'000; ++n) {
        queue_.addOperation([held] {}, [] {}, [] {});
        most = std::max(most, held.use_count());
    }
    EXPECT_EQ(most, 2); // this one and the newest job's
    finish();
}

} // namespace
} // namespace corvane
