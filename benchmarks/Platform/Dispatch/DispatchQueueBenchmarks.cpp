// SPDX-License-Identifier: Apache-2.0
#include <benchmarks/Support/Goals.h>
#include <corvane/Platform/Dispatch/DispatchQueue.h>
#include <corvane/Platform/Dispatch/DispatchSemaphore.h>

#include <benchmark/benchmark.h>

#include <condition_variable>
#include <deque>
#include <mutex>
#include <shared_mutex>
#include <thread>
#include <vector>

#if defined(CORVANE_HAS_ASIO)
#include <asio.hpp>
#endif
#if defined(CORVANE_HAS_QT)
#include <QReadWriteLock>
#include <QThreadPool>
#endif

namespace corvane {
namespace {

using benchmark::State;
using benchmarks::RatioGoal;
using benchmarks::TimeGoal;

constexpr auto concurrent = DispatchQueue::Attributes::concurrent;
constexpr auto unspecified = DispatchQoS::unspecified;
constexpr int blocks = 100'000;

// What people write by hand.
class HandWrittenPool {
public:
    explicit HandWrittenPool(int threads)
    {
        for (int i = 0; i < threads; ++i) {
            threads_.emplace_back([this] {
                for (;;) {
                    std::function<void()> task;
                    {
                        std::unique_lock lock(mutex_);
                        changed_.wait(lock, [this] { return isOver_ || !tasks_.empty(); });
                        if (tasks_.empty())
                            return;
                        task = std::move(tasks_.front());
                        tasks_.pop_front();
                    }
                    task();
                }
            });
        }
    }
    ~HandWrittenPool()
    {
        {
            const std::scoped_lock lock(mutex_);
            isOver_ = true;
        }
        changed_.notify_all();
        for (std::thread& thread : threads_)
            thread.join();
    }
    void post(std::function<void()> task)
    {
        {
            const std::scoped_lock lock(mutex_);
            tasks_.push_back(std::move(task));
        }
        changed_.notify_one();
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<std::function<void()>> tasks_;
    bool isOver_ = false;
    std::vector<std::thread> threads_;
};

// Posts `blocks` tiny blocks and waits for the last to have run.
template <typename Post>
void feed(State& state, Post post)
{
    for (auto _ : state) {
        std::atomic<int> left{blocks};
        const DispatchSemaphore done(0);
        for (int i = 0; i < blocks; ++i) {
            post([&left, &done] {
                if (left.fetch_sub(1, std::memory_order_relaxed) == 1)
                    done.signal();
            });
        }
        done.wait();
    }
    state.SetItemsProcessed(state.iterations() * blocks);
}

// On a serial executor a plain counter is enough.
template <typename Post>
void feedSerially(State& state, Post post)
{
    for (auto _ : state) {
        int left = blocks;
        const DispatchSemaphore done(0);
        for (int i = 0; i < blocks; ++i) {
            post([&left, &done] {
                if (--left == 0)
                    done.signal();
            });
        }
        done.wait();
    }
    state.SetItemsProcessed(state.iterations() * blocks);
}

void serialCorvane(State& state)
{
    const DispatchQueue queue("serial");
    feedSerially(state, [&](auto block) { queue.async(block); });
}
BENCHMARK(serialCorvane)->Name("serial async/Corvane")->UseRealTime()->Unit(benchmark::kMillisecond);

void concurrentCorvane(State& state)
{
    const DispatchQueue queue("concurrent", unspecified, concurrent);
    feed(state, [&](auto block) { queue.async(block); });
}
BENCHMARK(concurrentCorvane)->Name("concurrent async/Corvane")->UseRealTime()->Unit(benchmark::kMillisecond);

void concurrentByHand(State& state)
{
    HandWrittenPool pool(2);
    feed(state, [&](auto block) { pool.post(block); });
}
BENCHMARK(concurrentByHand)
    ->Name("concurrent async/MutexDeque")
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
const RatioGoal byHandGoal("concurrent async", "MutexDeque", 0.5);

#if defined(CORVANE_HAS_ASIO)
void serialAsio(State& state)
{
    asio::thread_pool pool(2);
    auto strand = asio::make_strand(pool.get_executor());
    feedSerially(state, [&](auto block) { asio::post(strand, block); });
}
BENCHMARK(serialAsio)->Name("serial async/AsioStrand")->UseRealTime()->Unit(benchmark::kMillisecond);
const RatioGoal strandGoal("serial async", "AsioStrand", 0.30);
#endif

#if defined(CORVANE_HAS_QT)
void concurrentQt(State& state)
{
    QThreadPool pool;
    pool.setMaxThreadCount(2);
    feed(state, [&](auto block) { pool.start(std::function<void()>(block)); });
}
BENCHMARK(concurrentQt)->Name("concurrent async/QThreadPool")->UseRealTime()->Unit(benchmark::kMillisecond);
const RatioGoal threadPoolGoal("concurrent async", "QThreadPool", 0.35);

void readQt(State& state)
{
    static QReadWriteLock lock;
    static int value = 1;
    for (auto _ : state) {
        QReadLocker locker(&lock);
        benchmark::DoNotOptimize(value);
    }
}
BENCHMARK(readQt)->Name("read, one reader/QReadWriteLock");
const RatioGoal readWriteLockGoal("read, one reader", "QReadWriteLock", 1.0);
#endif

void syncCorvane(State& state)
{
    const DispatchQueue queue("sync");
    int value = 0;
    for (auto _ : state)
        queue.sync([&] { benchmark::DoNotOptimize(++value); });
}
BENCHMARK(syncCorvane)->Name("sync, idle/Corvane");

void syncMutex(State& state)
{
    std::mutex mutex;
    int value = 0;
    for (auto _ : state) {
        const std::scoped_lock lock(mutex);
        benchmark::DoNotOptimize(++value);
    }
}
BENCHMARK(syncMutex)->Name("sync, idle/StdMutex");
const RatioGoal syncGoal("sync, idle", "StdMutex", 1.0);

// ---- guarded reads

const DispatchQueue& guarded()
{
    static const DispatchQueue queue("guarded", unspecified, concurrent);
    return queue;
}
std::shared_mutex sharedMutex;
int guardedValue = 1;

void readCorvane(State& state)
{
    const DispatchQueue& queue = guarded();
    for (auto _ : state)
        benchmark::DoNotOptimize(queue.sync([] { return guardedValue; }));
}
BENCHMARK(readCorvane)->Name("read, one reader/Corvane");
BENCHMARK(readCorvane)->Name("read, two readers/Corvane")->Threads(2)->UseRealTime();

void readSharedMutex(State& state)
{
    for (auto _ : state) {
        const std::shared_lock lock(sharedMutex);
        benchmark::DoNotOptimize(guardedValue);
    }
}
BENCHMARK(readSharedMutex)->Name("read, one reader/StdSharedMutex");
BENCHMARK(readSharedMutex)->Name("read, two readers/StdSharedMutex")->Threads(2)->UseRealTime();
const RatioGoal oneReaderGoal("read, one reader", "StdSharedMutex", 0.75);
const RatioGoal twoReadersGoal("read, two readers", "StdSharedMutex", 0.65);

template <typename Read, typename Write>
void readWhileWriting(State& state, Read read, Write write)
{
    std::atomic<bool> isOver{false};
    std::thread writer([&] {
        auto next = std::chrono::steady_clock::now();
        while (!isOver) {
            write();
            next += std::chrono::microseconds(20);
            while (std::chrono::steady_clock::now() < next && !isOver) {
            }
        }
    });
    for (auto _ : state)
        read();
    isOver = true;
    writer.join();
}

void readWriterCorvane(State& state)
{
    const DispatchQueue& queue = guarded();
    readWhileWriting(
        state, [&] { benchmark::DoNotOptimize(queue.sync([] { return guardedValue; })); },
        [&] { queue.asyncBarrier([] { ++guardedValue; }); });
    queue.syncBarrier([] {});
}
BENCHMARK(readWriterCorvane)->Name("read beside a writer/Corvane")->UseRealTime();

void readWriterSharedMutex(State& state)
{
    readWhileWriting(
        state,
        [] {
            const std::shared_lock lock(sharedMutex);
            benchmark::DoNotOptimize(guardedValue);
        },
        [] {
            const std::unique_lock lock(sharedMutex);
            ++guardedValue;
        });
}
BENCHMARK(readWriterSharedMutex)->Name("read beside a writer/StdSharedMutex")->UseRealTime();
const RatioGoal besideWriterGoal("read beside a writer", "StdSharedMutex", 0.65);

void writeThenRead(State& state)
{
    const DispatchQueue queue("write then read", unspecified, concurrent);
    std::int64_t value = 0;
    for (auto _ : state) {
        queue.asyncBarrier([&value] { ++value; });
        benchmark::DoNotOptimize(queue.sync([&] { return value; }));
    }
}
BENCHMARK(writeThenRead)->Name("write then read/Corvane")->UseRealTime();
const TimeGoal writeThenReadGoal("write then read", 300);

// ---- blocking work

void blockingTasks(const DispatchQueue& queue)
{
    const DispatchSemaphore done(0);
    for (int i = 0; i < 64; ++i) {
        queue.async([done] {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
            done.signal();
        });
    }
    for (int i = 0; i < 64; ++i)
        done.wait();
}

void blockingCold(State& state)
{
    const DispatchQueue queue("cold", DispatchQoS::utility, concurrent);
    for (auto _ : state)
        blockingTasks(queue); // the first of the process on this pool; one iteration, one repetition
}
BENCHMARK(blockingCold)
    ->Name("64 blocking tasks, cold/Corvane")
    ->UseRealTime()
    ->Iterations(1)
    ->Repetitions(1);
const TimeGoal coldGoal("64 blocking tasks, cold", 30e6);

void blockingWarm(State& state)
{
    const DispatchQueue queue("warm", unspecified, concurrent);
    blockingTasks(queue);
    for (auto _ : state)
        blockingTasks(queue);
}
BENCHMARK(blockingWarm)->Name("64 blocking tasks, warm/Corvane")->UseRealTime();
const TimeGoal warmGoal("64 blocking tasks, warm", 12e6);

} // namespace
} // namespace corvane
