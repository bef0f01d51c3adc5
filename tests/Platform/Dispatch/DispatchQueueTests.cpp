// SPDX-License-Identifier: Apache-2.0
#include <corvane/Platform/Dispatch/DispatchQueue.h>
#include <corvane/Platform/Dispatch/DispatchSemaphore.h>
#include <corvane/Platform/Dispatch/RunLoop.h>
#include <tests/Support/Processors.h>
#include <tests/Support/Watchdog.h>

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <random>
#include <set>
#include <stdexcept>
#include <thread>
#include <vector>

namespace corvane {
namespace {

using tests::stressTime;
using tests::Watchdog;

constexpr auto concurrent = DispatchQueue::Attributes::concurrent;
constexpr auto unspecified = DispatchQoS::unspecified;

#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
constexpr int scale = 10; // sanitizers slow everything down
#else
constexpr int scale = 1;
#endif

TEST(DispatchQueueTests, HandlesNameOneQueueAndKnowItsLabelAndQoS)
{
    const DispatchQueue queue("com.example.queue", DispatchQoS::utility);
    const DispatchQueue copy = queue;
    EXPECT_EQ(queue, copy);
    EXPECT_NE(queue, DispatchQueue("com.example.queue", DispatchQoS::utility));
    EXPECT_EQ(copy.label(), "com.example.queue");
    EXPECT_EQ(copy.qos(), DispatchQoS::utility);
    EXPECT_EQ(DispatchQueue::main(), DispatchQueue::main());
    EXPECT_EQ(DispatchQueue("q").qos(), unspecified);
}

TEST(DispatchQueueTests, SyncHandsOnResultsReferencesAndExceptions)
{
    for (const auto attributes : {DispatchQueue::Attributes::serial, concurrent}) {
        const DispatchQueue queue("sync", unspecified, attributes);
        int variable = 1;
        EXPECT_EQ(queue.sync([&] { return variable + 1; }), 2);
        EXPECT_EQ(&queue.sync([&]() -> int& { return variable; }), &variable);
        EXPECT_EQ(*queue.syncBarrier([] { return std::make_unique<int>(7); }), 7);
        EXPECT_EQ(queue.sync([] { return std::this_thread::get_id(); }), std::this_thread::get_id());
        EXPECT_THROW(queue.sync([] { throw std::out_of_range("mine"); }), std::out_of_range);
        EXPECT_THROW(queue.syncBarrier([] { throw 5; }), int);
        queue.sync([&] { variable = 3; }); // the exceptions left nothing locked
        EXPECT_EQ(variable, 3);
    }
}

TEST(DispatchQueueTests, WorkOutlivesTheLastHandle)
{
    const Watchdog watchdog;
    const DispatchSemaphore open(0);
    const DispatchSemaphore done(0);
    for (const auto attributes : {DispatchQueue::Attributes::serial, concurrent}) {
        const DispatchQueue queue("short-lived", unspecified, attributes);
        queue.async([open] { open.wait(); });
        queue.asyncBarrier([done] { done.signal(); });
    }
    open.signal();
    open.signal();
    done.wait();
    done.wait();
}

TEST(DispatchQueueTests, ABlockIsDestroyedOnceAfterItsCallAndMayHoldWhatOnlyMoves)
{
    const Watchdog watchdog;
    const DispatchQueue queue("captures");
    auto held = std::make_shared<int>(5);
    auto large = std::make_unique<std::array<char, 500>>();
    queue.async([held, large = std::move(large)] { *held += static_cast<int>(large->size()); });
    queue.async([held, big = std::array<int, 40>{}] { *held += big[0]; });
    queue.sync([] {});
    EXPECT_EQ(*held, 505);
    EXPECT_EQ(held.use_count(), 1);
}

TEST(DispatchQueueTests, ASerialQueueKeepsTheOrderOfEachProducer)
{
    const Watchdog watchdog;
    const DispatchQueue queue("order");
    constexpr int producers = 4;
    const int each = 20000 / scale;
    std::vector<int> seen(producers, 0); // touched on the queue only
    bool inOrder = true;
    int inside = 0;
    std::vector<std::thread> threads;
    for (int producer = 0; producer < producers; ++producer) {
        threads.emplace_back([&, producer] {
            for (int i = 0; i < each; ++i) {
                const auto step = [&, producer, i] {
                    inOrder = inOrder && ++inside == 1 && seen[static_cast<std::size_t>(producer)]++ == i;
                    --inside;
                };
                if (i % 7 == 3)
                    queue.sync(step);
                else
                    queue.async(step);
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    queue.sync([&] {
        EXPECT_TRUE(inOrder);
        EXPECT_EQ(seen, std::vector<int>(producers, each));
    });
}

TEST(DispatchQueueTests, ABarrierRunsAloneBetweenWhatCameBeforeAndAfter)
{
    const Watchdog watchdog;
    const DispatchQueue queue("barrier", unspecified, concurrent);
    constexpr int phases = 200;
    constexpr int readersPerPhase = 5;
    std::atomic<int> readersInside{0};
    std::atomic<int> readersOfPhase{0};
    int phase = 0; // written by barriers, read by the others: a race here is a failure under TSan
    std::atomic<int> failures{0};
    for (int i = 0; i < phases; ++i) {
        for (int reader = 0; reader < readersPerPhase; ++reader) {
            queue.async([&, i] {
                ++readersInside;
                failures += phase != i;
                ++readersOfPhase;
                --readersInside;
            });
        }
        queue.asyncBarrier([&, i] {
            failures += readersInside != 0 || phase != i || readersOfPhase.exchange(0) != readersPerPhase;
            ++phase;
        });
    }
    EXPECT_EQ(queue.sync([&] { return phase; }), phases);
    EXPECT_EQ(failures, 0);
}

TEST(DispatchQueueTests, BlocksOfAConcurrentQueueRunSideBySide)
{
    const Watchdog watchdog;
    const DispatchQueue queue("side by side", unspecified, concurrent);
    const DispatchSemaphore met(0);
    const DispatchSemaphore done(0);
    // Each of the pair waits for the other; tasks taken in advance by a worker must not wait behind it.
    for (int i = 0; i < 1000; ++i)
        queue.async([] {});
    for (int i = 0; i < 50; ++i) {
        queue.async([met, done] {
            met.wait();
            done.signal();
        });
    }
    queue.async([met] {
        for (int i = 0; i < 50; ++i)
            met.signal();
    });
    for (int i = 0; i < 50; ++i)
        done.wait();
    // The same with one that computes while it waits.
    std::atomic<bool> hasMet{false};
    for (int i = 0; i < 20000; ++i)
        queue.async([] {});
    queue.async([&] {
        while (!hasMet && tests::usableProcessors() > 1)
            std::this_thread::yield();
        done.signal();
    });
    queue.async([&] { hasMet = true; });
    done.wait();
    // Two readers meet inside.
    std::thread other([&] {
        queue.sync([&] {
            met.signal();
            done.wait();
        });
    });
    queue.sync([&] {
        met.wait();
        done.signal();
    });
    other.join();
}

TEST(DispatchQueueTests, ANestedReadProceedsWhileAWriteWaits)
{
    const Watchdog watchdog;
    const DispatchQueue queue("nested", unspecified, concurrent);
    const DispatchQueue other("other", unspecified, concurrent);
    int value = 0;
    const int rounds = 2000 / scale;
    for (int i = 0; i < rounds; ++i) {
        const int inner = queue.sync([&] {
            queue.asyncBarrier([&] { ++value; });
            return other.sync([&] { return queue.sync([&] { return queue.sync([&] { return value; }); }); });
        });
        EXPECT_EQ(inner, i);
        EXPECT_EQ(queue.sync([&] { return value; }), i + 1);
    }
    // The same from inside an asynchronous block.
    const DispatchSemaphore done(0);
    queue.async([&] {
        queue.asyncBarrier([&] { ++value; });
        EXPECT_EQ(queue.sync([&] { return value; }), rounds);
        done.signal();
    });
    done.wait();
    EXPECT_EQ(queue.sync([&] { return value; }), rounds + 1);
}

TEST(DispatchQueueTests, AReaderLeavesWhileNoOtherThreadIsFreeForTheWorkThatWaits)
{
    const Watchdog watchdog;
    const DispatchQueue computing("computing", unspecified, concurrent);
    const DispatchQueue queue("left", unspecified, concurrent);
    std::atomic<int> readers{0};
    std::atomic<bool> workWaits{false};
    std::atomic<int> left{0};
    std::atomic<int> order{0};
    const auto spinUntil = [](const auto& condition) {
        while (!condition())
            std::this_thread::yield();
    };
    // As many blocks as there are processors, none of which gives up its thread before all have left the queue.
    const int blocks = tests::usableProcessors();
    for (int i = 0; i < blocks; ++i) {
        computing.async([&] {
            queue.sync([&] {
                ++readers;
                spinUntil([&] { return workWaits.load(); });
            });
            ++left;
            spinUntil([&] { return left == blocks; });
        });
    }
    spinUntil([&] { return readers == blocks; });
    queue.async([&] { order = order * 10 + 1; });
    queue.asyncBarrier([&] { order = order * 10 + 2; });
    workWaits = true;
    spinUntil([&] { return left == blocks; });
    queue.syncBarrier([&] { EXPECT_EQ(order, 12); });
    computing.syncBarrier([] {});
}

TEST(DispatchQueueTests, WriteThenReadNeverLosesAWakeUp)
{
    const Watchdog watchdog(std::chrono::seconds(100) +
                            std::chrono::duration_cast<std::chrono::seconds>(stressTime()));
    const DispatchQueue queue("write then read", unspecified, concurrent);
    const auto end = std::chrono::steady_clock::now() + stressTime();
    std::atomic<std::int64_t> rounds{0};
    std::vector<std::thread> threads;
    std::int64_t value = 0;
    for (int thread = 0; thread < 3; ++thread) {
        threads.emplace_back([&, thread] {
            std::int64_t mine = 0;
            std::int64_t done = 0;
            while (done % 64 != 0 || std::chrono::steady_clock::now() < end) {
                ++done;
                queue.asyncBarrier([&] {
                    ++value;
                    mine = value;
                });
                if (thread == 2 && done % 64 == 0)
                    std::this_thread::sleep_for(std::chrono::microseconds(50)); // lets the queue fall idle
                EXPECT_GE(queue.sync([&] { return value; }), queue.sync([&] { return mine; }));
            }
            rounds += done;
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(queue.syncBarrier([&] { return value; }), rounds);
    RecordProperty("rounds", static_cast<int>(rounds.load()));
}

// Random operations from several threads on a few queues; what each queue admits is checked from inside the blocks.
class Model {
public:
    explicit Model(DispatchQueue::Attributes attributes)
        : queue("model", unspecified, attributes), isSerial(attributes == DispatchQueue::Attributes::serial)
    {}

    void alone()
    {
        failures += writers.fetch_add(1) != 0 || readers != 0;
        ++plain; // a data race unless the queue is right
        ++ran;
        writers.fetch_sub(1);
    }
    void shared()
    {
        readers.fetch_add(1);
        failures += writers != 0 || plain < 0;
        ++ran;
        readers.fetch_sub(1);
    }
    void inTurn() { isSerial ? alone() : shared(); }

    DispatchQueue queue;
    const bool isSerial;
    std::atomic<int> readers{0};
    std::atomic<int> writers{0};
    std::atomic<std::int64_t> ran{0};
    std::atomic<int> failures{0};
    std::int64_t plain = 0;
};

TEST(DispatchQueueTests, RandomOperationsMatchTheModel)
{
    const Watchdog watchdog(std::chrono::seconds(100) +
                            std::chrono::duration_cast<std::chrono::seconds>(stressTime()));
    Model models[] = {Model(DispatchQueue::Attributes::serial), Model(concurrent), Model(concurrent)};
    std::atomic<std::int64_t> asked[3]{};
    const auto end = std::chrono::steady_clock::now() + stressTime();
    std::vector<std::thread> threads;
    for (unsigned seed = 0; seed < 16; ++seed) {
        threads.emplace_back([&, seed] {
            std::minstd_rand random(seed + 1);
            while (std::chrono::steady_clock::now() < end) {
                const std::size_t which = random() % 3;
                Model& model = models[which];
                ++asked[which];
                switch (random() % 8) {
                case 0:
                case 1:
                    model.queue.async([&] { model.inTurn(); });
                    break;
                case 2:
                case 3:
                    model.queue.asyncBarrier([&] { model.alone(); });
                    break;
                case 4:
                case 5:
                    model.queue.sync([&] { model.inTurn(); });
                    break;
                case 6:
                    model.queue.syncBarrier([&] { model.alone(); });
                    break;
                default:
                    // From inside one queue into the others, always upwards so that they cannot wait in a ring.
                    ++asked[2];
                    if (which < 2) {
                        model.queue.async([&] {
                            model.inTurn();
                            models[2].queue.sync([&] { models[2].shared(); });
                        });
                    } else {
                        model.queue.sync([&] {
                            model.shared();
                            model.queue.sync([&] { model.shared(); });
                        });
                    }
                }
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    for (std::size_t which = 0; which < 3; ++which) {
        Model& model = models[which];
        model.queue.syncBarrier([&] {
            EXPECT_EQ(model.failures, 0);
            EXPECT_EQ(model.plain < 0, false);
            if (which < 2) {
                EXPECT_EQ(model.ran, asked[which]);
            }
        });
    }
    models[2].queue.syncBarrier([&] { EXPECT_EQ(models[2].ran, asked[2]); });
}

TEST(DispatchQueueTests, BlockedWorkersAreReplacedAndWorkThatNeverBlocksGetsNoMoreThreadsThanProcessors)
{
    const Watchdog watchdog;
    const DispatchQueue queue("computing", DispatchQoS::utility, concurrent);
    std::atomic<int> inside{0};
    std::atomic<int> most{0};
    const DispatchSemaphore done(0);
    constexpr int count = 400;
    for (int i = 0; i < count; ++i) {
        queue.async([&] {
            const int now = ++inside;
            for (int seen = most; seen < now && !most.compare_exchange_weak(seen, now);) {
            }
            const auto end = std::chrono::steady_clock::now() + std::chrono::microseconds(200);
            while (std::chrono::steady_clock::now() < end) {
            }
            --inside;
            done.signal();
        });
    }
    for (int i = 0; i < count; ++i)
        done.wait();
    EXPECT_LE(most, static_cast<int>(std::thread::hardware_concurrency()));

    // Blocked in our own primitives, in a system call, and on another queue: the last one frees them all.
    const DispatchQueue serial("held", DispatchQoS::utility);
    int pipe[2];
    ASSERT_EQ(::pipe(pipe), 0);
    const DispatchSemaphore freed(0);
    serial.async([freed] { freed.wait(); });
    for (int i = 0; i < 20; ++i) {
        queue.async([freed, done] {
            freed.wait();
            done.signal();
        });
        queue.async([serial, done] {
            serial.sync([] {});
            done.signal();
        });
        queue.async([&] {
            char byte;
            EXPECT_EQ(read(pipe[0], &byte, 1), 1);
            done.signal();
        });
    }
    queue.async([&] {
        for (int i = 0; i < 21; ++i) {
            freed.signal();
            EXPECT_EQ(write(pipe[1], "x", 1), 1);
        }
    });
    for (int i = 0; i < 60; ++i)
        done.wait();
    close(pipe[0]);
    close(pipe[1]);
}

TEST(DispatchQueueTests, QueuesThatComputeForLongTakeTurns)
{
    const Watchdog watchdog;
    // As many endless chains as there are processors; a further queue gets its turn all the same.
    std::atomic<bool> isOver{false};
    std::vector<DispatchQueue> busy;
    std::function<void(DispatchQueue)> again = [&](const DispatchQueue& queue) {
        if (!isOver)
            queue.async([&again, queue] { again(queue); });
    };
    for (unsigned i = 0; i < std::thread::hardware_concurrency() * 2; ++i)
        again(busy.emplace_back("busy"));
    const DispatchSemaphore ran(0);
    DispatchQueue("patient").async([ran] { ran.signal(); });
    ran.wait();
    isOver = true;
    for (const DispatchQueue& queue : busy) {
        queue.sync([] {}); // the block before it may have queued a last one behind it
        queue.sync([] {});
    }
}

TEST(DispatchQueueTests, LowerClassesRunAtLowerPriority)
{
    const Watchdog watchdog;
    const int own = getpriority(PRIO_PROCESS, 0);
    const struct {
        DispatchQoS qos;
        int above;
    } rows[] = {{DispatchQoS::background, 10}, {DispatchQoS::utility, 5}, {DispatchQoS::userInteractive, 0}};
    for (const auto& row : rows) {
        const DispatchSemaphore done(0);
        int nice = -100;
        DispatchQueue("nice", row.qos).async([&] {
            nice = getpriority(PRIO_PROCESS, 0);
            done.signal();
        });
        done.wait();
        EXPECT_EQ(nice, std::min(19, own + row.above));
    }
}

TEST(DispatchQueueTests, AsyncAfterWaitsAtLeastTheDelay)
{
    const Watchdog watchdog;
    const DispatchQueue queue("later");
    const DispatchSemaphore done(0);
    const auto start = std::chrono::steady_clock::now();
    auto second = start;
    auto first = start;
    queue.asyncAfter(TimeInterval(0.2), [&] {
        second = std::chrono::steady_clock::now();
        done.signal();
    });
    queue.asyncAfter(TimeInterval(0.01), [&] {
        first = std::chrono::steady_clock::now();
        done.signal();
    });
    queue.asyncAfter(TimeInterval(-1), [&] { done.signal(); });
    for (int i = 0; i < 3; ++i)
        done.wait();
    queue.sync([&] {
        EXPECT_GE(first - start, std::chrono::milliseconds(10));
        EXPECT_GE(second - start, std::chrono::milliseconds(200));
        EXPECT_LT(first, second);
    });
}

TEST(DispatchQueueTests, TheMainQueueRunsBlocksOfOthersOnTheMainThread)
{
    const Watchdog watchdog;
    const auto mainThread = std::this_thread::get_id();
    const DispatchQueue queue("worker");
    const DispatchQueue main = DispatchQueue::main();
    std::vector<int> order;
    queue.async([&] {
        main.async([&] { order.push_back(1); });
        EXPECT_EQ(main.sync([&] {
            order.push_back(2);
            return std::this_thread::get_id();
        }),
                  mainThread);
        EXPECT_THROW(main.sync([] { throw std::runtime_error("passes through"); }), std::runtime_error);
        int variable = 0;
        EXPECT_EQ(&main.sync([&]() -> int& { return variable; }), &variable);
        main.asyncAfter(TimeInterval(0.001), [&] {
            order.push_back(3);
            RunLoop::main().stop();
        });
    });
    RunLoop::main().run();
    EXPECT_EQ(order, (std::vector<int>{1, 2, 3}));
}

TEST(DispatchQueueTests, TheReportNamesAQueueThatHasWork)
{
    const Watchdog watchdog;
    const DispatchQueue queue("com.example.stuck");
    EXPECT_EQ(DispatchQueue::report().find("com.example.stuck"), std::string::npos);
    const DispatchSemaphore entered(0);
    const DispatchSemaphore leave(0);
    queue.async([=] {
        entered.signal();
        leave.wait();
    });
    entered.wait();
    EXPECT_NE(DispatchQueue::report().find("queue \"com.example.stuck\" (serial): a block runs alone"),
              std::string::npos);
    leave.signal();
    queue.sync([] {});
}

} // namespace
} // namespace corvane
