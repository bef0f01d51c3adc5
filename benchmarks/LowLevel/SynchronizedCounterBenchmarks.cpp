// SPDX-License-Identifier: Apache-2.0
#include <benchmarks/Support/Goals.h>
#include <corvane/LowLevel/SynchronizedCounter.h>

#include <benchmark/benchmark.h>

#include <memory>
#include <mutex>
#include <shared_mutex>

namespace corvane {
namespace {

using benchmarks::TimeGoal;

class LockedCounter {
public:
    explicit LockedCounter(Int value) : value_(value) {}
    void increment()
    {
        const std::unique_lock lock(lock_);
        ++value_;
    }
    Int getValue() const
    {
        const std::shared_lock lock(lock_);
        return value_;
    }

private:
    mutable std::shared_mutex lock_;
    Int value_;
};

template <typename Counter>
void burst(benchmark::State& state)
{
    constexpr Int length = 1'000;
    Counter counter(0);
    Int expected = 0;
    for (auto _ : state) {
        for (Int n = 0; n < length; ++n)
            counter.increment();
        if (counter.getValue() != (expected += length))
            state.SkipWithError("increments are missing");
    }
    state.SetItemsProcessed(state.iterations() * length);
}
BENCHMARK(burst<SynchronizedCounter>)->Name("1000 increments, then getValue (each)/Corvane")->UseRealTime();
BENCHMARK(burst<LockedCounter>)->Name("1000 increments, then getValue (each)/shared_mutex")->UseRealTime();
const TimeGoal each("1000 increments, then getValue (each)", 120);

template <typename Counter>
void lifetime(benchmark::State& state)
{
    for (auto _ : state) {
        const auto counter = std::make_unique<Counter>(1);
        benchmark::DoNotOptimize(counter->getValue());
    }
}
BENCHMARK(lifetime<SynchronizedCounter>)->Name("make, read and destroy a counter/Corvane")->UseRealTime();
BENCHMARK(lifetime<LockedCounter>)->Name("make, read and destroy a counter/shared_mutex")->UseRealTime();

} // namespace
} // namespace corvane
