// SPDX-License-Identifier: Apache-2.0
#include <benchmarks/Support/Goals.h>
#include <corvane/Collections/IndexSet.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <memory>
#include <random>
#include <vector>

#ifdef CORVANE_PEER_ROARING
#include <roaring/roaring.h>
#endif

namespace corvane {
namespace {

const benchmarks::RatioGoal insertion("index set: ordered insertion", "CRoaring", 0.15);
const benchmarks::RatioGoal iteration("index set: iteration", "CRoaring", 0.25);
const benchmarks::RatioGoal unions("index set: union of 2 x 10,000 runs", "CRoaring", 0.6);
const benchmarks::RatioGoal membership("index set: membership at 10,000 runs", "CRoaring", 0.5);

// 10,000 runs of 1 to 100 members, as far apart: about a million positions.
std::vector<IndexRun> runs(unsigned seed)
{
    std::mt19937 random(seed);
    std::vector<IndexRun> result;
    Int at = 0;
    for (int i = 0; i < 10000; ++i) {
        const Int lower = at + 1 + static_cast<Int>(random() % 100);
        at = lower + 1 + static_cast<Int>(random() % 100);
        result.push_back({lower, at});
    }
    return result;
}

// A selection as it comes about: scattered rows and ranges.
std::vector<Int> ascending()
{
    std::vector<Int> result;
    for (const IndexRun& run : runs(1))
        for (Int i = run.lower; i < run.upper; ++i)
            result.push_back(i);
    return result;
}

std::vector<Int> questions()
{
    std::mt19937 random(3);
    std::vector<Int> result(4096);
    std::ranges::generate(result, [&] { return static_cast<Int>(random() % 1010000); });
    return result;
}

IndexSet setOf(const std::vector<IndexRun>& all)
{
    IndexSet set;
    for (const IndexRun& run : all)
        set.insertRange(run.lower, run.upper);
    return set;
}

void insertOurs(benchmark::State& state)
{
    const std::vector<Int> members = ascending();
    for (auto _ : state) {
        IndexSet set;
        for (const Int i : members)
            set.insert(i);
        benchmark::DoNotOptimize(set.count());
    }
    state.SetItemsProcessed(state.iterations() * static_cast<Int>(members.size()));
}

void iterateOurs(benchmark::State& state)
{
    const IndexSet set = setOf(runs(1));
    for (auto _ : state) {
        Int sum = 0;
        for (const Int i : set)
            sum += i;
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * set.count());
}

void uniteOurs(benchmark::State& state)
{
    const IndexSet a = setOf(runs(1)), b = setOf(runs(2));
    for (auto _ : state)
        benchmark::DoNotOptimize(a.union_(b).count());
}

void askOurs(benchmark::State& state)
{
    const IndexSet set = setOf(runs(1));
    const std::vector<Int> asked = questions();
    for (auto _ : state) {
        Int found = 0;
        for (const Int i : asked)
            found += set.contains(i);
        benchmark::DoNotOptimize(found);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<Int>(asked.size()));
}

BENCHMARK(insertOurs)->Name("index set: ordered insertion/Corvane");
BENCHMARK(iterateOurs)->Name("index set: iteration/Corvane");
BENCHMARK(uniteOurs)->Name("index set: union of 2 x 10,000 runs/Corvane");
BENCHMARK(askOurs)->Name("index set: membership at 10,000 runs/Corvane");

#ifdef CORVANE_PEER_ROARING
using Bitmap = std::unique_ptr<roaring_bitmap_t, decltype(&roaring_bitmap_free)>;

// Its form for runs, as its manual recommends for such sets.
Bitmap bitmapOf(const std::vector<IndexRun>& all)
{
    Bitmap bitmap(roaring_bitmap_create(), roaring_bitmap_free);
    for (const IndexRun& run : all)
        roaring_bitmap_add_range(bitmap.get(), static_cast<std::uint64_t>(run.lower),
                                 static_cast<std::uint64_t>(run.upper));
    roaring_bitmap_run_optimize(bitmap.get());
    return bitmap;
}

void insertTheirs(benchmark::State& state)
{
    const std::vector<Int> members = ascending();
    for (auto _ : state) {
        const Bitmap bitmap(roaring_bitmap_create(), roaring_bitmap_free);
        for (const Int i : members)
            roaring_bitmap_add(bitmap.get(), static_cast<std::uint32_t>(i));
        benchmark::DoNotOptimize(bitmap.get());
    }
    state.SetItemsProcessed(state.iterations() * static_cast<Int>(members.size()));
}

void iterateTheirs(benchmark::State& state)
{
    const Bitmap bitmap = bitmapOf(runs(1));
    for (auto _ : state) {
        std::uint64_t sum = 0;
        roaring_uint32_iterator_t iterator;
        for (roaring_init_iterator(bitmap.get(), &iterator); iterator.has_value;
             roaring_advance_uint32_iterator(&iterator))
            sum += iterator.current_value;
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() *
                            static_cast<Int>(roaring_bitmap_get_cardinality(bitmap.get())));
}

void iterateTheirsByCallback(benchmark::State& state)
{
    const Bitmap bitmap = bitmapOf(runs(1));
    for (auto _ : state) {
        std::uint64_t sum = 0;
        roaring_iterate(
            bitmap.get(),
            [](std::uint32_t value, void* out) { return *static_cast<std::uint64_t*>(out) += value, true; },
            &sum);
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() *
                            static_cast<Int>(roaring_bitmap_get_cardinality(bitmap.get())));
}

void uniteTheirs(benchmark::State& state)
{
    const Bitmap a = bitmapOf(runs(1)), b = bitmapOf(runs(2));
    for (auto _ : state) {
        const Bitmap either(roaring_bitmap_or(a.get(), b.get()), roaring_bitmap_free);
        benchmark::DoNotOptimize(either.get());
    }
}

void askTheirs(benchmark::State& state)
{
    const Bitmap bitmap = bitmapOf(runs(1));
    const std::vector<Int> asked = questions();
    for (auto _ : state) {
        Int found = 0;
        for (const Int i : asked)
            found += roaring_bitmap_contains(bitmap.get(), static_cast<std::uint32_t>(i));
        benchmark::DoNotOptimize(found);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<Int>(asked.size()));
}

BENCHMARK(insertTheirs)->Name("index set: ordered insertion/CRoaring");
BENCHMARK(iterateTheirs)->Name("index set: iteration/CRoaring");
BENCHMARK(iterateTheirsByCallback)->Name("index set: iteration/CRoaring callback");
BENCHMARK(uniteTheirs)->Name("index set: union of 2 x 10,000 runs/CRoaring");
BENCHMARK(askTheirs)->Name("index set: membership at 10,000 runs/CRoaring");
#endif

} // namespace
} // namespace corvane
