// SPDX-License-Identifier: Apache-2.0
#include <benchmarks/Support/Goals.h>
#include <corvane/LowLevel/IndexedOperationsQueue.h>
#include <corvane/Platform/Dispatch/RunLoop.h>

#include <benchmark/benchmark.h>

#include <future>
#include <numeric>
#include <vector>

#if defined(CORVANE_HAS_ASIO)
#include <asio.hpp>
#endif
#if defined(CORVANE_HAS_QT)
#include <QCoreApplication>
#include <QEventLoop>
#include <QFutureWatcher>
#include <QtConcurrent>
#endif
#if defined(CORVANE_HAS_TBB)
#include <tbb/parallel_for.h>
#endif

namespace corvane {
namespace {

using benchmark::State;
using benchmarks::RatioGoal;
using benchmarks::TimeGoal;

constexpr Int operations = 100'000;

void tinyWork(Int index)
{
    benchmark::DoNotOptimize(index * 3);
}

void batchCorvane(State& state)
{
    IndexedOperationsQueue queue(DispatchQoS::unspecified);
    queue.performOperation = [](Int index, const std::any&) -> std::any {
        tinyWork(index);
        return {};
    };
    for (auto _ : state) {
        queue.performOperations(operations);
        queue.waitUntilAllOperationsAreFinished();
    }
    state.SetItemsProcessed(state.iterations() * operations);
}
BENCHMARK(batchCorvane)->Name("indexed batch/Corvane")->UseRealTime()->Unit(benchmark::kMillisecond);
const TimeGoal batchGoal("indexed batch", 25);

#if defined(CORVANE_HAS_TBB)
void batchTbb(State& state)
{
    for (auto _ : state) {
        tbb::parallel_for(
            tbb::blocked_range<Int>(0, operations, 1),
            [&](const tbb::blocked_range<Int>& range) {
                for (Int index = range.begin(); index != range.end(); ++index)
                    tinyWork(index);
            },
            tbb::simple_partitioner());
    }
    state.SetItemsProcessed(state.iterations() * operations);
}
BENCHMARK(batchTbb)->Name("indexed batch/TbbGrain1")->UseRealTime()->Unit(benchmark::kMillisecond);
const RatioGoal tbbGoal("indexed batch", "TbbGrain1", 0.5);
#endif

// ---- each completion delivered on the main thread, in its loop

void deliveredCorvane(State& state)
{
    Int sum = 0;
    IndexedOperationsQueue queue(DispatchQoS::unspecified);
    queue.performOperation = [](Int index, const std::any&) -> std::any { return index * 3; };
    queue.didPerformOperation = [&](Int, const std::any& output) { sum += std::any_cast<Int>(output); };
    queue.didPostProcessAllOperations = [] { RunLoop::main().stop(); };
    for (auto _ : state) {
        queue.performOperations(operations);
        RunLoop::main().run();
    }
    benchmark::DoNotOptimize(sum);
    state.SetItemsProcessed(state.iterations() * operations);
}
BENCHMARK(deliveredCorvane)->Name("delivered batch/Corvane")->UseRealTime()->Unit(benchmark::kMillisecond);

#if defined(CORVANE_HAS_QT)
void deliveredQt(State& state)
{
    int count = 0;
    QCoreApplication application(count, nullptr);
    std::vector<Int> indexes(operations);
    std::iota(indexes.begin(), indexes.end(), 0);
    Int sum = 0;
    for (auto _ : state) {
        QFutureWatcher<Int> watcher;
        QEventLoop loop;
        QObject::connect(&watcher, &QFutureWatcherBase::resultReadyAt,
                         [&](int index) { sum += watcher.resultAt(index); });
        QObject::connect(&watcher, &QFutureWatcherBase::finished, &loop, &QEventLoop::quit);
        watcher.setFuture(QtConcurrent::mapped(indexes, [](Int index) { return index * 3; }));
        loop.exec();
    }
    benchmark::DoNotOptimize(sum);
    state.SetItemsProcessed(state.iterations() * operations);
}
BENCHMARK(deliveredQt)->Name("delivered batch/QtConcurrent")->UseRealTime()->Unit(benchmark::kMillisecond);
const RatioGoal qtGoal("delivered batch", "QtConcurrent", 0.7);
#endif

#if defined(CORVANE_HAS_ASIO)
// A pool for the work, the main thread's context for the completions, eight places: the same contract by hand.
void deliveredAsio(State& state)
{
    asio::thread_pool pool(2);
    Int sum = 0;
    for (auto _ : state) {
        asio::io_context main;
        auto work = asio::make_work_guard(main);
        Int next = 0;
        Int done = 0;
        std::function<void()> submit = [&] {
            const Int index = next++;
            asio::post(pool, [&, index] {
                const Int result = index * 3;
                asio::post(main, [&, result] {
                    sum += result;
                    if (++done == operations)
                        work.reset();
                    else if (next < operations)
                        submit();
                });
            });
        };
        for (int place = 0; place < 8; ++place)
            submit();
        main.run();
    }
    benchmark::DoNotOptimize(sum);
    state.SetItemsProcessed(state.iterations() * operations);
}
BENCHMARK(deliveredAsio)->Name("delivered batch/Asio")->UseRealTime()->Unit(benchmark::kMillisecond);
const RatioGoal asioGoal("delivered batch", "Asio", 0.2);
#endif

} // namespace
} // namespace corvane
