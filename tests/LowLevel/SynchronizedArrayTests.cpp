// SPDX-License-Identifier: Apache-2.0
#include <corvane/LowLevel/SynchronizedArray.h>
#include <corvane/Platform/Dispatch/DispatchSemaphore.h>
#include <tests/Support/MainLoop.h>
#include <tests/Support/Watchdog.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <random>
#include <thread>

namespace corvane {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Optional;
using tests::serveMainLoopUntil;
using tests::Watchdog;

const auto isEven = [](int value) { return value % 2 == 0; };
const auto isNegative = [](int value) { return value < 0; };

TEST(SynchronizedArrayTests, Reads)
{
    const SynchronizedArray<int> array({3, 2, 4, 1});
    EXPECT_THAT(array.allElements(), ElementsAre(3, 2, 4, 1));
    EXPECT_THAT(array.first(), Optional(3));
    EXPECT_THAT(array.last(), Optional(1));
    EXPECT_THAT(array.count(), Optional(4));
    EXPECT_FALSE(array.isEmpty());
    EXPECT_EQ(array.description(), "[3, 2, 4, 1]");
    EXPECT_THAT(array.first(isEven), Optional(2));
    EXPECT_EQ(array.first(isNegative), std::nullopt);
    EXPECT_THAT(array.index(isEven), Optional(1));
    EXPECT_EQ(array.index(isNegative), std::nullopt);
    EXPECT_TRUE(array.containsWhere(isEven));
    EXPECT_FALSE(array.containsWhere(isNegative));
    EXPECT_TRUE(array.contains(4));
    EXPECT_FALSE(array.contains(5));
    EXPECT_THAT(array.filter(isEven), ElementsAre(2, 4));
    EXPECT_THAT(array.sorted(std::greater()), ElementsAre(4, 3, 2, 1));
    EXPECT_THAT(
        array.flatMap([](int value) { return isEven(value) ? std::optional(value / 2.0) : std::nullopt; }),
        ElementsAre(1.0, 2.0));
    std::vector<int> seen;
    array.forEach([&](int value) { seen.push_back(value); });
    EXPECT_THAT(seen, ElementsAre(3, 2, 4, 1));
    for (const auto& [index, expected] : std::vector<std::pair<Int, std::optional<int>>>{
             {0, 3}, {3, 1}, {4, {}}, {-1, {}}, {INT64_MAX, {}}, {INT64_MIN, {}}})
        EXPECT_EQ(array[index], expected) << index;
}

TEST(SynchronizedArrayTests, AnEmptyOneIsReadToo)
{
    const SynchronizedArray<bool> array;
    EXPECT_THAT(array.allElements(), IsEmpty());
    EXPECT_EQ(array.first(), std::nullopt);
    EXPECT_EQ(array.last(), std::nullopt);
    EXPECT_THAT(array.count(), Optional(0));
    EXPECT_TRUE(array.isEmpty());
    EXPECT_EQ(array.description(), "[]");
    EXPECT_THAT(SynchronizedArray<bool>::repeating(true, 0).allElements(), IsEmpty());
    EXPECT_EQ(SynchronizedArray<bool>::repeating(true, 2).description(), "[true, true]");
}

TEST(SynchronizedArrayTests, WritesTakeEffectInTheirOrder)
{
    SynchronizedArray<std::string> array;
    array.append("b");
    array.append(std::vector<std::string>{"c", "d"});
    array.insert("a", 0);
    array.insert("g", 4);
    (array += "h") += std::vector<std::string>{"i"};
    array.setElement(4, "e");
    array.setElement(99, std::nullopt); // no write at all, so the index is never looked at
    EXPECT_THAT(array.allElements(), ElementsAre("a", "b", "c", "d", "e", "h", "i"));
    EXPECT_EQ(array.removeLastNow(), "i");
    array.removeAt(5);
    array.removeWhere([](const std::string& text) { return text > "a"; });
    array.removeWhere([](const std::string& text) { return text == "z"; });
    EXPECT_THAT(array.allElements(), ElementsAre("a", "c", "d", "e"));
    array.removeAll();
    EXPECT_TRUE(array.isEmpty());
}

TEST(SynchronizedArrayTests, RemovedElementsArriveOnTheMainQueue)
{
    SynchronizedArray<int> array({1, 2, 3, 4});
    std::vector<std::vector<int>> arrived;
    const auto one = [&, main = std::this_thread::get_id()](int element) {
        EXPECT_EQ(std::this_thread::get_id(), main);
        arrived.push_back({element});
    };
    const auto all = [&](std::vector<int> elements) { arrived.push_back(std::move(elements)); };
    array.removeAt(1, one);
    array.removeWhere([](int value) { return value > 1; }, one);
    array.removeWhere([](int value) { return value > 9; }, one); // no match, no call
    array.removeAll(all);
    array.removeAll(all); // called for the empty array too
    EXPECT_TRUE(array.isEmpty());
    EXPECT_THAT(arrived, IsEmpty()); // never before the main queue has its turn
    ASSERT_TRUE(serveMainLoopUntil([&] { return arrived.size() == 4; }));
    EXPECT_THAT(arrived, ElementsAre(ElementsAre(2), ElementsAre(3), ElementsAre(1, 4), IsEmpty()));
}

TEST(SynchronizedArrayTests, ABlockInsideAReadMayReadAndWrite)
{
    const Watchdog watchdog(std::chrono::seconds(60));
    SynchronizedArray<int> array({1, 2, 3});
    const auto found = array.first([&](int value) {
        array.append(value * 10);                // queued
        EXPECT_THAT(array.count(), Optional(3)); // let in although that write waits
        EXPECT_EQ(array.contains(10), false);
        return value == 2;
    });
    EXPECT_THAT(found, Optional(2));
    EXPECT_THAT(array.allElements(), ElementsAre(1, 2, 3, 10, 20));
}

TEST(SynchronizedArrayTests, RemoveLastNowInsideAReadLeavesThatReadItsElements)
{
    SynchronizedArray<std::string> array({"a", "b", "c"});
    std::vector<std::string> seen;
    array.forEach([&](const std::string& element) {
        const std::string removed = array.removeLastNow();
        Int left = 0;
        array.forEach([&](const std::string&) { ++left; }); // a read begun now goes over what is left
        seen.push_back(element + removed + std::to_string(left));
    });
    EXPECT_THAT(seen, ElementsAre("ac2", "bb1", "ca0"));
    EXPECT_TRUE(array.isEmpty());

    array.append(std::vector<std::string>{"a", "b"});
    seen.clear();
    array.forEach([&](const std::string& outer) {
        if (!array.isEmpty())
            array.forEach(
                [&](const std::string& inner) { seen.push_back(outer + inner + array.removeLastNow()); });
        seen.push_back(outer);
    });
    EXPECT_THAT(seen, ElementsAre("aab", "aba", "a", "b"));

    SynchronizedArray<std::unique_ptr<int>> uncopyable;
    uncopyable.append(std::make_unique<int>(7));
    EXPECT_EQ(*uncopyable.removeLastNow(), 7);
}

TEST(SynchronizedArrayTests, GoesWhileWritesAreQueued)
{
    const Watchdog watchdog(std::chrono::seconds(60));
    const DispatchSemaphore hold(0);
    std::optional<std::string> one;
    std::optional<std::vector<std::string>> rest;
    {
        SynchronizedArray<std::string> array({"a"});
        array.removeWhere(
            [&](const std::string&) {
                hold.wait();
                return true;
            },
            [&](std::string removed) { one = std::move(removed); });
        array.append("b");
        array.append(std::vector<std::string>(3, "c"));
        array.removeAll([&](std::vector<std::string> removed) { rest = std::move(removed); });
    }
    hold.signal();
    ASSERT_TRUE(serveMainLoopUntil([&] { return rest.has_value(); }));
    EXPECT_THAT(one, Optional(std::string("a")));
    EXPECT_THAT(rest, Optional(ElementsAre("b", "c", "c", "c")));
}

TEST(SynchronizedArrayTests, BehavesAsAVectorUnderRandomOperations)
{
    const Watchdog watchdog(std::chrono::seconds(60));
    std::mt19937 random(4);
    std::vector<int> model;
    SynchronizedArray<int> array;
    for (int step = 0; step < 20'000; ++step) {
        const int value = static_cast<int>(random() % 50);
        const Int index = model.empty() ? 0 : static_cast<Int>(random() % model.size());
        switch (model.empty() ? 0 : random() % 9) {
        case 0:
        case 1:
        case 2:
            array.append(value);
            model.push_back(value);
            break;
        case 3:
            array.insert(value, index);
            model.insert(model.begin() + index, value);
            break;
        case 4:
            array.setElement(index, value);
            model[static_cast<std::size_t>(index)] = value;
            break;
        case 5:
            array.removeAt(index);
            model.erase(model.begin() + index);
            break;
        case 6:
            array.removeWhere([value](int element) { return element == value; });
            if (const auto found = std::find(model.begin(), model.end(), value); found != model.end())
                model.erase(found);
            break;
        case 7:
            ASSERT_EQ(array.removeLastNow(), model.back());
            model.pop_back();
            break;
        default:
            ASSERT_EQ(array.index([value](int element) { return element == value; }).has_value(),
                      std::find(model.begin(), model.end(), value) != model.end());
            if (value == 0) {
                array.removeAll();
                model.clear();
            }
        }
        ASSERT_EQ(array.allElements(), model) << "step " << step;
    }
}

// Each of 16 threads owns a place of `newest`, and the elements of `log` that carry its number.
TEST(SynchronizedArrayTests, MixedOperationsOfManyThreads)
{
    constexpr int threadCount = 16;
    const auto time = tests::stressTime();
    const Watchdog watchdog(std::chrono::ceil<std::chrono::seconds>(time) + std::chrono::seconds(100));
    struct Entry {
        int thread;
        Int number;
    };
    SynchronizedArray<Entry> log;
    SynchronizedArray<Int> newest = SynchronizedArray<Int>::repeating(0, threadCount);
    std::atomic<Int> operations = 0;
    std::atomic<Int> removals = 0;
    Int removed = 0; // counted on the main queue
    std::atomic<int> running = threadCount;
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < threadCount; ++thread)
        threads.emplace_back([&, thread, end = std::chrono::steady_clock::now() + time] {
            const auto isMine = [thread](const Entry& entry) { return entry.thread == thread; };
            for (Int number = 1; std::chrono::steady_clock::now() < end; ++number) {
                log.append({thread, number});
                newest.setElement(thread, number);
                ASSERT_EQ(newest[thread], number);
                const std::vector<Entry> mine = log.filter(isMine);
                ASSERT_EQ(mine.back().number, number);
                for (std::size_t n = 1; n < mine.size(); ++n)
                    ASSERT_EQ(mine[n].number, mine[n - 1].number + 1);
                if (mine.size() > 4) {
                    log.removeWhere(isMine, [&, thread](Entry entry) {
                        EXPECT_EQ(entry.thread, thread);
                        ++removed;
                    });
                    ++removals;
                }
                ASSERT_TRUE(log.containsWhere([&](const Entry& entry) {
                    return isMine(entry) && newest[thread] == number; // a read inside a read
                }));
                if (number % 8 == 0) {
                    SynchronizedArray<Int> brief({number}); // goes with a write queued
                    brief.append(number);
                }
                operations += 6;
            }
            --running;
        });
    const bool served =
        serveMainLoopUntil([&] { return running == 0 && removed == removals; },
                           std::chrono::ceil<std::chrono::seconds>(time) + std::chrono::seconds(60));
    ASSERT_TRUE(served) << "removed " << removed << " of " << removals;
    threads.clear();
    EXPECT_LE(log.count(), 5 * threadCount);
    std::printf("%lld operations on %d threads in %lld ms\n", static_cast<long long>(operations), threadCount,
                static_cast<long long>(time.count()));
}

} // namespace
} // namespace corvane
