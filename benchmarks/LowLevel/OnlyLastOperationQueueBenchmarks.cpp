// SPDX-License-Identifier: Apache-2.0
#include <benchmarks/Support/Goals.h>
#include <corvane/LowLevel/OnlyLastOperationQueue.h>
#include <corvane/Platform/Dispatch/DispatchSemaphore.h>

#include <benchmark/benchmark.h>

namespace corvane {
namespace {

using benchmarks::TimeGoal;

void submit(benchmark::State& state)
{
    OnlyLastOperationQueue queue(DispatchQoS::utility);
    queue.setNotifierQueue(DispatchQueue("notifier"));
    const DispatchSemaphore started(0);
    const DispatchSemaphore release(0);
    queue.addOperation([] {}, [=] { started.signal(), release.wait(); }, [] {});
    started.wait();
    for (auto _ : state)
        queue.addOperation([] { return 1; }, [](int input) { return input + 1; }, [](int) {});
    release.signal();
    queue.waitUntilAllOperationsAreFinished();
}
BENCHMARK(submit)->Name("submission while a job runs/Corvane")->Iterations(1'000'000)->UseRealTime();
const TimeGoal each("submission while a job runs", 500);

} // namespace
} // namespace corvane
