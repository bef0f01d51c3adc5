// SPDX-License-Identifier: Apache-2.0
#include <corvane/LowLevel/IndexedOperationsQueue.h>
#include <corvane/Platform/Dispatch/RunLoop.h>
#include <tests/Support/Processors.h>
#include <tests/Support/Watchdog.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <mutex>
#include <numeric>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace corvane {
namespace {

using tests::Watchdog;

const DispatchQueue& notifier()
{
    static const DispatchQueue queue("notifier");
    return queue;
}

// Writes down what happens, in the order it happens.
class Journal {
public:
    void add(const std::string& entry)
    {
        const std::scoped_lock lock(mutex_);
        entries_.push_back(entry);
    }
    std::vector<std::string> entries() const
    {
        const std::scoped_lock lock(mutex_);
        return entries_;
    }

private:
    mutable std::mutex mutex_;
    std::vector<std::string> entries_;
};

void recordEverything(IndexedOperationsQueue& queue, Journal& journal)
{
    queue.willPerformOperation = [&](Int index) -> std::any {
        journal.add("will " + std::to_string(index));
        return static_cast<int>(index) * 10;
    };
    queue.performOperation = [&](Int index, const std::any& input) -> std::any {
        journal.add("perform " + std::to_string(index));
        return std::any_cast<int>(input) + 1;
    };
    queue.didPerformOperation = [&](Int index, const std::any& output) {
        journal.add("did " + std::to_string(index) + " " + std::to_string(std::any_cast<int>(output)));
    };
    queue.postProcessAllOperations = [&] { journal.add("post"); };
    queue.didPostProcessAllOperations = [&] { journal.add("didPost"); };
}

TEST(IndexedOperationsQueueTests, BeginsWithTheStatedDefaults)
{
    IndexedOperationsQueue queue(DispatchQoS::utility);
    EXPECT_EQ(queue.qualityOfService, DispatchQoS::utility);
    EXPECT_EQ(queue.maxConcurrentOperationCount, 8);
    EXPECT_FALSE(queue.waitEndSemaphore.has_value());
    EXPECT_EQ(queue.notifierQueue, DispatchQueue::main());
    EXPECT_FALSE(queue.shouldContinue || queue.performOperation || queue.didPostProcessAllOperations);
    queue.waitUntilAllOperationsAreFinished(); // nothing runs
}

TEST(IndexedOperationsQueueTests, OneAtATimeRunsEveryStageInIndexOrder)
{
    const Watchdog watchdog;
    for (const bool withStopTest : {false, true}) {
        Journal journal;
        IndexedOperationsQueue queue(DispatchQoS::unspecified);
        queue.notifierQueue = notifier();
        queue.maxConcurrentOperationCount = 1;
        recordEverything(queue, journal);
        if (withStopTest)
            queue.shouldContinue = [] { return true; };
        queue.performOperations(3);
        queue.waitUntilAllOperationsAreFinished();
        EXPECT_EQ(journal.entries(), (std::vector<std::string>{"will 0", "perform 0", "did 0 1", "will 1",
                                                               "perform 1", "did 1 11", "will 2", "perform 2",
                                                               "did 2 21", "post", "didPost"}));
        EXPECT_FALSE(queue.waitEndSemaphore.has_value());
    }
}

TEST(IndexedOperationsQueueTests, ABatchOfNoneOnlyEnds)
{
    const Watchdog watchdog;
    Journal journal;
    IndexedOperationsQueue queue(DispatchQoS::unspecified);
    queue.notifierQueue = notifier();
    recordEverything(queue, journal);
    queue.shouldContinue = [&] {
        journal.add("continue?");
        return true;
    };
    queue.performOperations(0);
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(journal.entries(), (std::vector<std::string>{"post", "didPost"}));
}

TEST(IndexedOperationsQueueTests, EveryCallbackIsOptional)
{
    const Watchdog watchdog;
    for (const Int count : {0, 1, 8, 9, 5000}) {
        for (const Int most : {1, 8, 100000}) {
            IndexedOperationsQueue queue(DispatchQoS::unspecified);
            queue.maxConcurrentOperationCount = most;
            queue.performOperations(count);
            queue.waitUntilAllOperationsAreFinished();
            EXPECT_FALSE(queue.waitEndSemaphore.has_value());
        }
    }
    // An output without a performer is none.
    std::atomic<int> nones{0};
    IndexedOperationsQueue queue(DispatchQoS::unspecified);
    queue.notifierQueue = notifier();
    queue.didPerformOperation = [&](Int, const std::any& output) { nones += !output.has_value(); };
    queue.performOperations(7);
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(nones, 7);
}

TEST(IndexedOperationsQueueTests, StoppingTakesEffectAtTheNextIndex)
{
    const Watchdog watchdog;
    for (const Int most : {1, 8}) {
        Journal journal;
        IndexedOperationsQueue queue(DispatchQoS::unspecified);
        queue.notifierQueue = notifier();
        queue.maxConcurrentOperationCount = most;
        recordEverything(queue, journal);
        int asked = 0;
        queue.shouldContinue = [&] { return asked++ < 3; };
        queue.performOperations(10);
        queue.waitUntilAllOperationsAreFinished();
        EXPECT_EQ(asked, 4);
        const std::vector<std::string> entries = journal.entries();
        ASSERT_EQ(entries.size(), 3 * 3 + 2U);
        for (Int index = 0; index < 3; ++index) {
            const std::string number = std::to_string(index);
            for (const std::string& entry : {"will " + number, "perform " + number,
                                             "did " + number + " " + std::to_string(index * 10 + 1)})
                EXPECT_EQ(std::count(entries.begin(), entries.end(), entry), 1) << entry;
        }
        EXPECT_EQ(entries[9], "post");
        EXPECT_EQ(entries[10], "didPost");
    }
}

TEST(IndexedOperationsQueueTests, TheStopTestIsAskedBeforeWaitingForAPlace)
{
    const Watchdog watchdog;
    IndexedOperationsQueue queue(DispatchQoS::unspecified);
    queue.notifierQueue = notifier();
    queue.maxConcurrentOperationCount = 1;
    const DispatchSemaphore askedForTheSecond(0);
    int asked = 0;
    queue.shouldContinue = [&] {
        if (++asked == 2)
            askedForTheSecond.signal();
        return true;
    };
    queue.performOperation = [&](Int index, const std::any&) -> std::any {
        if (index == 0)
            askedForTheSecond.wait(); // asked while this one still has the only place
        return {};
    };
    queue.performOperations(4);
    queue.waitUntilAllOperationsAreFinished();
    EXPECT_EQ(asked, 4);
}

TEST(IndexedOperationsQueueTests, AsManyAsAllowedAreInFlightAndNoMore)
{
    const Watchdog watchdog;
    for (const Int most : {1, 2, 8}) {
        std::atomic<Int> inside{0};
        std::atomic<Int> highest{0};
        const DispatchSemaphore meeting(0);
        IndexedOperationsQueue queue(DispatchQoS::unspecified);
        queue.notifierQueue = notifier();
        queue.maxConcurrentOperationCount = most;
        queue.performOperation = [&](Int index, const std::any&) -> std::any {
            const Int now = ++inside;
            for (Int seen = highest; seen < now && !highest.compare_exchange_weak(seen, now);) {
            }
            // The first ones wait until all places are taken: they must get a thread each.
            if (index < most - 1)
                meeting.wait();
            else if (index == most - 1)
                for (Int i = 0; i < most - 1; ++i)
                    meeting.signal();
            --inside;
            return {};
        };
        queue.performOperations(2000);
        queue.waitUntilAllOperationsAreFinished();
        EXPECT_EQ(highest, most);
    }
}

TEST(IndexedOperationsQueueTests, AnOperationAmongTinyOnesMayWaitForALaterOneAndForTheReportOfAnEarlierOne)
{
    const Watchdog watchdog;
    constexpr Int operations = 60000;
    enum class Waits { asleep, computing, forReport };
    for (const Waits waits : {Waits::asleep, Waits::computing, Waits::forReport}) {
        const DispatchSemaphore arrived(0);
        std::atomic<bool> hasArrived{false};
        const auto arrive = [&] {
            hasArrived = true;
            arrived.signal();
        };
        std::atomic<Int> performed{0};
        IndexedOperationsQueue queue(DispatchQoS::unspecified);
        queue.performOperation = [&](Int index, const std::any&) -> std::any {
            ++performed;
            if (index == operations / 2 && waits == Waits::computing) {
                while (!hasArrived && tests::usableProcessors() > 1)
                    std::this_thread::yield();
            } else if (index == operations / 2) {
                arrived.wait();
            } else if (index == operations / 2 + 7 && waits != Waits::forReport) {
                arrive();
            }
            return {};
        };
        if (waits == Waits::forReport)
            queue.didPerformOperation = [&](Int index, const std::any&) {
                if (index == operations / 2 - 1)
                    arrive();
            };
        queue.didPostProcessAllOperations = [] { RunLoop::main().stop(); };
        queue.performOperations(operations);
        RunLoop::main().run();
        EXPECT_EQ(performed, operations);
    }
}

TEST(IndexedOperationsQueueTests, AnOperationKeepsItsPlaceUntilItsReportHasReturned)
{
    const Watchdog watchdog;
    const DispatchQueue worker("driver");
    std::atomic<Int> inFlight{0};
    std::atomic<Int> highest{0};
    Int reports = 0;
    const auto mainThread = std::this_thread::get_id();
    IndexedOperationsQueue queue(DispatchQoS::unspecified);
    queue.maxConcurrentOperationCount = 3;
    queue.performOperation = [&](Int index, const std::any&) -> std::any {
        const Int now = ++inFlight;
        for (Int seen = highest; seen < now && !highest.compare_exchange_weak(seen, now);) {
        }
        EXPECT_NE(std::this_thread::get_id(), mainThread);
        return index;
    };
    queue.didPerformOperation = [&](Int index, const std::any& output) {
        EXPECT_EQ(std::this_thread::get_id(), mainThread);
        EXPECT_EQ(std::any_cast<Int>(output), index);
        --inFlight;
        ++reports;
    };
    queue.postProcessAllOperations = [&] { EXPECT_EQ(reports, 3000); };
    queue.didPostProcessAllOperations = [] { RunLoop::main().stop(); };
    queue.performOperations(3000);
    RunLoop::main().run();
    EXPECT_EQ(reports, 3000);
    EXPECT_LE(highest, 3);
    EXPECT_EQ(inFlight, 0);
}

TEST(IndexedOperationsQueueTests, BlocksOfTheMainQueueKeepTheirTurnAmongReports)
{
    const Watchdog watchdog;
    constexpr Int operations = 2000;
    constexpr Int most = 4;
    // What an operation has queued on the main queue runs before its report; and a block that queues itself
    // again and again gets its turn between reports, of which at most one a place can be before it.
    std::vector<int> announced(operations);
    Int inFlight = 0;
    Int highest = 0;
    Int early = 0;
    Int sinceTick = 0;
    Int longestWait = 0;
    bool isOver = false;
    std::function<void()> tick = [&] {
        longestWait = std::max(longestWait, std::exchange(sinceTick, 0));
        if (isOver)
            RunLoop::main().stop();
        else
            DispatchQueue::main().async([&] { tick(); });
    };
    IndexedOperationsQueue queue(DispatchQoS::unspecified);
    queue.maxConcurrentOperationCount = most;
    queue.willPerformOperation = [&](Int) -> std::any {
        highest = std::max(highest, ++inFlight);
        return {};
    };
    queue.performOperation = [&](Int index, const std::any&) -> std::any {
        DispatchQueue::main().async([&, index] { announced[static_cast<std::size_t>(index)] = 1; });
        return {};
    };
    queue.didPerformOperation = [&](Int index, const std::any&) {
        early += announced[static_cast<std::size_t>(index)] == 0;
        --inFlight;
        ++sinceTick;
    };
    queue.didPostProcessAllOperations = [&] { isOver = true; };
    tick();
    queue.performOperations(operations);
    RunLoop::main().run();
    EXPECT_EQ(std::count(announced.begin(), announced.end(), 1), operations);
    EXPECT_EQ(early, 0);
    EXPECT_EQ(inFlight, 0);
    EXPECT_LE(highest, most);
    EXPECT_LE(longestWait, most);
}

TEST(IndexedOperationsQueueTests, ReportsReplaceSettingsForTheNextReading)
{
    const Watchdog watchdog;
    Int firstReports = 0;
    Int laterReports = 0;
    int asked = 0;
    IndexedOperationsQueue queue(DispatchQoS::unspecified);
    queue.maxConcurrentOperationCount = 1;
    queue.didPerformOperation = [&](Int, const std::any&) {
        if (++firstReports < 5)
            return;
        queue.shouldContinue = [&] { return ++asked < 4; }; // a stop test appears in the middle
        queue.didPerformOperation = [&](Int, const std::any&) { ++laterReports; };
    };
    queue.didPostProcessAllOperations = [] { RunLoop::main().stop(); };
    queue.performOperations(100);
    RunLoop::main().run();
    EXPECT_EQ(firstReports, 5);
    EXPECT_EQ(asked, 4);
    EXPECT_EQ(laterReports, 3);

    // And goes again.
    queue.shouldContinue = [&] {
        queue.shouldContinue = nullptr;
        return true;
    };
    laterReports = 0;
    queue.performOperations(50);
    RunLoop::main().run();
    EXPECT_EQ(laterReports, 50);
}

TEST(IndexedOperationsQueueTests, ABatchThatEndsReleasesTheWaiterOfANewerOne)
{
    const Watchdog watchdog;
    const DispatchSemaphore started(0);
    const DispatchSemaphore open(0);
    const DispatchSemaphore ended(0);
    IndexedOperationsQueue queue(DispatchQoS::unspecified);
    queue.notifierQueue = notifier();
    queue.performOperation = [=](Int, const std::any&) -> std::any {
        started.signal();
        open.wait();
        return {};
    };
    queue.didPostProcessAllOperations = [=] { ended.signal(); };
    queue.performOperations(1);
    const DispatchSemaphore endOfFirst = *queue.waitEndSemaphore;
    started.wait();
    queue.performOperations(1);
    EXPECT_NE(*queue.waitEndSemaphore, endOfFirst);
    const DispatchSemaphore endOfSecond = *queue.waitEndSemaphore;
    started.wait();
    open.signal();
    endOfSecond.wait();                        // whichever ends first
    queue.waitUntilAllOperationsAreFinished(); // returns while the other batch runs
    ended.wait();
    EXPECT_FALSE(ended.wait(TimeInterval(0)));
    EXPECT_FALSE(endOfFirst.wait(TimeInterval(0)));
    open.signal();
    ended.wait();
}

TEST(IndexedOperationsQueueTests, ItMayBeDestroyedWhileABatchRuns)
{
    const Watchdog watchdog;
    const DispatchSemaphore open(0);
    std::atomic<int> reports{0};
    const DispatchSemaphore ended(0);
    {
        IndexedOperationsQueue queue(DispatchQoS::unspecified);
        queue.notifierQueue = notifier();
        queue.performOperation = [open](Int index, const std::any&) -> std::any {
            if (index == 0)
                open.wait();
            return {};
        };
        queue.didPerformOperation = [&](Int, const std::any&) { ++reports; };
        queue.didPostProcessAllOperations = [ended] { ended.signal(); };
        queue.performOperations(100);
    }
    open.signal();
    ended.wait();
    EXPECT_EQ(reports, 100);
}

TEST(IndexedOperationsQueueTests, WithoutPlacesNothingRuns)
{
    const Watchdog watchdog;
    std::atomic<int> asked{0};
    std::atomic<int> performed{0};
    const DispatchSemaphore wasAsked(0);
    IndexedOperationsQueue queue(DispatchQoS::unspecified);
    queue.notifierQueue = notifier();
    queue.maxConcurrentOperationCount = 0;
    queue.shouldContinue = [&, wasAsked] {
        ++asked;
        wasAsked.signal();
        return true;
    };
    queue.performOperation = [&](Int, const std::any&) -> std::any {
        ++performed;
        return {};
    };
    queue.performOperations(5);
    wasAsked.wait();
    EXPECT_FALSE(queue.waitEndSemaphore->wait(TimeInterval(0.02)));
    EXPECT_EQ(asked, 1);
    EXPECT_EQ(performed, 0);
}

TEST(IndexedOperationsQueueTests, RandomBatchesPerformEveryIndexOnce)
{
    const Watchdog watchdog(std::chrono::seconds(100) +
                            std::chrono::duration_cast<std::chrono::seconds>(tests::stressTime()));
    std::minstd_rand random(7);
    const auto end = std::chrono::steady_clock::now() + tests::stressTime();
    while (std::chrono::steady_clock::now() < end) {
        const Int count = static_cast<Int>(random() % 300);
        const Int most = 1 + static_cast<Int>(random() % 12);
        const unsigned features = static_cast<unsigned>(random());
        const Int stopAt = (features & 1) != 0 ? static_cast<Int>(random() % 400) : 1000;
        std::vector<std::atomic<int>> performed(static_cast<std::size_t>(count));
        std::atomic<Int> inFlight{0};
        std::atomic<int> tooMany{0};
        Int reports = 0;
        Int asked = 0;
        int ends = 0;
        IndexedOperationsQueue queue(DispatchQoS::unspecified);
        queue.maxConcurrentOperationCount = most;
        if ((features & 2) == 0)
            queue.notifierQueue = notifier();
        if ((features & 1) != 0)
            queue.shouldContinue = [&] { return asked++ < stopAt; };
        queue.performOperation = [&](Int index, const std::any&) -> std::any {
            tooMany += ++inFlight > most;
            ++performed[static_cast<std::size_t>(index)];
            if ((features & 4) != 0 && index % 50 == 1)
                std::this_thread::yield();
            if ((features & 8) == 0)
                --inFlight;
            return {};
        };
        if ((features & 8) != 0) {
            queue.didPerformOperation = [&](Int, const std::any&) {
                --inFlight;
                ++reports;
            };
        }
        queue.didPostProcessAllOperations = [&] {
            ++ends;
            RunLoop::main().stop();
        };
        queue.performOperations(count);
        RunLoop::main().run();
        const Int expected = std::min(count, stopAt);
        Int sum = 0;
        for (Int index = 0; index < count; ++index) {
            const int times = performed[static_cast<std::size_t>(index)];
            EXPECT_EQ(times, index < expected ? 1 : 0);
            sum += times;
        }
        EXPECT_EQ(sum, expected);
        EXPECT_EQ(reports, (features & 8) != 0 ? expected : 0);
        EXPECT_EQ(tooMany, 0);
        EXPECT_EQ(ends, 1);
        if ((features & 2) == 0)
            queue.waitUntilAllOperationsAreFinished();
    }
}

} // namespace
} // namespace corvane
