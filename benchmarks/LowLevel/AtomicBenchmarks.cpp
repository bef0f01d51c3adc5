// SPDX-License-Identifier: Apache-2.0
#include <benchmarks/Support/Goals.h>
#include <corvane/LowLevel/Atomic.h>
#include <corvane/Platform/Base/Types.h>

#include <benchmark/benchmark.h>

#include <mutex>

namespace corvane {
namespace {

using benchmarks::RatioGoal;

class LockedValue {
public:
    explicit LockedValue(Int value) : value_(value) {}
    template <typename F>
    void update(F&& block)
    {
        const std::lock_guard lock(mutex_);
        value_ = block(value_);
    }

private:
    std::mutex mutex_;
    Int value_;
};

template <typename Value>
void update(benchmark::State& state)
{
    static Value value(0);
    for (auto _ : state)
        value.update([](Int before) { return before + 1; });
}
BENCHMARK(update<Atomic<Int>>)->Name("update, uncontended/Corvane");
BENCHMARK(update<LockedValue>)->Name("update, uncontended/mutex");
BENCHMARK(update<Atomic<Int>>)->Name("update, two threads/Corvane")->Threads(2)->UseRealTime();
BENCHMARK(update<LockedValue>)->Name("update, two threads/mutex")->Threads(2)->UseRealTime();
const RatioGoal uncontended("update, uncontended", "mutex", 1.2);

} // namespace
} // namespace corvane
