// SPDX-License-Identifier: Apache-2.0
#include <benchmarks/Support/Goals.h>
#include <corvane/LowLevel/SynchronizedArray.h>

#include <benchmark/benchmark.h>
#if __has_include(<QReadWriteLock>)
#include <QReadWriteLock>
#endif

#include <atomic>
#include <chrono>
#include <mutex>
#include <shared_mutex>
#include <string>
#include <thread>
#include <vector>

namespace corvane {
namespace {

using benchmarks::RatioGoal;
using benchmarks::TimeGoal;

// What one would write by hand instead.
template <typename Lock>
class LockedArray {
public:
    explicit LockedArray(std::vector<int> array) : array_(std::move(array)) {}

    std::optional<int> operator[](Int index) const
    {
        const std::shared_lock lock(lock_);
        return index >= 0 && index < std::ssize(array_)
                   ? std::optional(array_[static_cast<std::size_t>(index)])
                   : std::nullopt;
    }
    void setElement(Int index, int value)
    {
        const std::unique_lock lock(lock_);
        array_[static_cast<std::size_t>(index)] = value;
    }
    void append(int value)
    {
        const std::unique_lock lock(lock_);
        array_.push_back(value);
    }
    std::vector<int> allElements() const
    {
        const std::shared_lock lock(lock_);
        return array_;
    }

private:
    mutable Lock lock_;
    std::vector<int> array_;
};

#if __has_include(<QReadWriteLock>)
class QtLock : public QReadWriteLock {
public:
    void lock_shared() { lockForRead(); }
    void unlock_shared() { unlock(); }
    void lock() { lockForWrite(); }
};
#endif

const std::vector<int> initial(64, 7);

template <typename Array>
void read(benchmark::State& state)
{
    static Array array(initial);
    Int index = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(array[index++ & 63].value_or(0));
}

template <typename Array>
void readBesideAWriter(benchmark::State& state)
{
    using Clock = std::chrono::steady_clock;
    Array array(initial);
    std::atomic<bool> over = false;
    std::thread writer([&] {
        for (Clock::time_point next = Clock::now(); !over.load(std::memory_order_relaxed);) {
            if (Clock::now() < next)
                continue;
            array.setElement(3, 8);
            next = Clock::now() + std::chrono::microseconds(20);
        }
    });
    Int index = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(array[index++ & 63].value_or(0));
    over = true;
    writer.join();
}

template <typename Array>
void writeThenRead(benchmark::State& state)
{
    Array array(initial);
    int value = 0;
    for (auto _ : state) {
        array.setElement(5, ++value);
        if (array[5] != value)
            state.SkipWithError("the read missed the write");
    }
}

template <typename Array>
void appendThenAllElements(benchmark::State& state)
{
    for (auto _ : state) {
        Array array(std::vector<int>{});
        for (int n = 0; n < state.range(0); ++n)
            array.append(n);
        if (std::ssize(array.allElements()) != state.range(0))
            state.SkipWithError("elements are missing");
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

template <typename Array>
void add(const std::string& who)
{
    const auto named = [&who](std::string subject) { return subject + "/" + who; };
    benchmark::RegisterBenchmark(named("guarded read, one reader").c_str(), read<Array>);
    benchmark::RegisterBenchmark(named("guarded read, two readers").c_str(), read<Array>)
        ->Threads(2)
        ->UseRealTime();
    benchmark::RegisterBenchmark(named("guarded read, a write every 20 us").c_str(), readBesideAWriter<Array>)
        ->UseRealTime();
    benchmark::RegisterBenchmark(named("write, then read").c_str(), writeThenRead<Array>)->UseRealTime();
    for (const int size : {1'000, 10'000, 100'000, 1'000'000})
        benchmark::RegisterBenchmark(
            named("append " + std::to_string(size) + ", then allElements (an element)").c_str(),
            appendThenAllElements<Array>)
            ->Arg(size)
            ->UseRealTime();
}

const bool added = [] {
    add<SynchronizedArray<int>>("Corvane");
    add<LockedArray<std::shared_mutex>>("shared_mutex");
#if __has_include(<QReadWriteLock>)
    add<LockedArray<QtLock>>("QReadWriteLock");
#endif
    return true;
}();
const RatioGoal oneReader("guarded read, one reader", "shared_mutex", 0.75);
const RatioGoal oneReaderQt("guarded read, one reader", "QReadWriteLock", 1.0);
const RatioGoal twoReaders("guarded read, two readers", "shared_mutex", 0.65);
const RatioGoal writes("guarded read, a write every 20 us", "shared_mutex", 0.65);
const TimeGoal roundTrip("write, then read", 300);

} // namespace
} // namespace corvane
