// SPDX-License-Identifier: Apache-2.0
#include <benchmarks/Support/Goals.h>
#include <corvane/Collections/IndexSet.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <random>
#include <tuple>
#include <utility>
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

// 10,000 runs of 1 to 100 members, as far apart: about a million positions. Other ones with every call, since a
// branch predictor would learn them by heart, as it would the questions.
std::vector<IndexRun> runs()
{
    static std::mt19937 random(1);
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
const std::vector<std::uint32_t>& ascending()
{
    static std::vector<std::uint32_t>
        result; // the same memory for all, whose first use costs more than an insertion
    result.clear();
    for (const IndexRun& run : runs())
        for (Int i = run.lower; i < run.upper; ++i)
            result.push_back(static_cast<std::uint32_t>(i));
    return result;
}

std::vector<Int> questions()
{
    static std::mt19937 random(3);
    std::vector<Int> result(16384);
    std::ranges::generate(result, [&] { return static_cast<Int>(random() % 1010000); });
    return result;
}

IndexSet ours()
{
    IndexSet set;
    for (const IndexRun& run : runs())
        set.insertRange(run.lower, run.upper);
    return set;
}

// Times `operation` on what `prepare` makes; only that counts, and not the end of what it returns: a result, and how many items
// it took.
template <typename Prepare, typename Operation>
void timeOperation(benchmark::State& state, Prepare&& prepare, Operation&& operation)
{
    Int items = 0;
    for (auto _ : state) {
        const auto prepared = prepare();
        const auto start = std::chrono::steady_clock::now();
        const auto result = std::apply(operation, prepared);
        benchmark::ClobberMemory();
        const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
        state.SetIterationTime(time.count());
        items += result.second;
    }
    if (items > 0)
        state.SetItemsProcessed(items);
}

void insertOurs(benchmark::State& state)
{
    timeOperation(
        state, [] { return std::tie(ascending()); },
        [](const std::vector<std::uint32_t>& members) {
            IndexSet set;
            for (const std::uint32_t i : members)
                set.insert(i);
            return std::pair(std::move(set), static_cast<Int>(members.size()));
        });
}

void iterateOurs(benchmark::State& state)
{
    timeOperation(
        state, [] { return std::tuple(ours()); },
        [](const IndexSet& set) {
            Int sum = 0;
            for (const Int i : set)
                sum += i;
            benchmark::DoNotOptimize(sum);
            return std::pair(sum, set.count());
        });
}

void uniteOurs(benchmark::State& state)
{
    timeOperation(
        state, [] { return std::tuple(ours(), ours()); },
        [](const IndexSet& a, const IndexSet& b) { return std::pair(a.union_(b), Int{0}); });
}

void askOurs(benchmark::State& state)
{
    timeOperation(
        state, [] { return std::tuple(ours(), questions()); },
        [](const IndexSet& set, const std::vector<Int>& asked) {
            Int found = 0;
            for (const Int i : asked)
                found += set.contains(i);
            benchmark::DoNotOptimize(found);
            return std::pair(found, static_cast<Int>(asked.size()));
        });
}

void add(const char* name, void (*function)(benchmark::State&))
{
    benchmark::RegisterBenchmark(name, function)
        ->UseManualTime()
        ->MinTime(0.03)
        ->Unit(benchmark::kMicrosecond);
}

#ifdef CORVANE_PEER_ROARING
struct Bitmap {
    std::unique_ptr<roaring_bitmap_t, decltype(&roaring_bitmap_free)> owner{roaring_bitmap_create(),
                                                                            roaring_bitmap_free};
    roaring_bitmap_t* get() const { return owner.get(); }
};

// Its form for runs, as its manual recommends for such sets.
Bitmap theirs()
{
    Bitmap bitmap;
    for (const IndexRun& run : runs())
        roaring_bitmap_add_range(bitmap.get(), static_cast<std::uint64_t>(run.lower),
                                 static_cast<std::uint64_t>(run.upper));
    roaring_bitmap_run_optimize(bitmap.get());
    return bitmap;
}

Int countOf(const Bitmap& bitmap)
{
    return static_cast<Int>(roaring_bitmap_get_cardinality(bitmap.get()));
}

void insertTheirs(benchmark::State& state)
{
    timeOperation(
        state, [] { return std::tie(ascending()); },
        [](const std::vector<std::uint32_t>& members) {
            Bitmap bitmap;
            for (const std::uint32_t i : members)
                roaring_bitmap_add(bitmap.get(), i);
            return std::pair(std::move(bitmap), static_cast<Int>(members.size()));
        });
}

void iterateTheirs(benchmark::State& state)
{
    timeOperation(
        state, [] { return std::tuple(theirs()); },
        [](const Bitmap& bitmap) {
            std::uint64_t sum = 0;
            roaring_uint32_iterator_t iterator;
            for (roaring_init_iterator(bitmap.get(), &iterator); iterator.has_value;
                 roaring_advance_uint32_iterator(&iterator))
                sum += iterator.current_value;
            benchmark::DoNotOptimize(sum);
            return std::pair(sum, countOf(bitmap));
        });
}

void iterateTheirsByCallback(benchmark::State& state)
{
    timeOperation(
        state, [] { return std::tuple(theirs()); },
        [](const Bitmap& bitmap) {
            std::uint64_t sum = 0;
            roaring_iterate(
                bitmap.get(),
                [](std::uint32_t value, void* out) {
                    *static_cast<std::uint64_t*>(out) += value;
                    return true;
                },
                &sum);
            benchmark::DoNotOptimize(sum);
            return std::pair(sum, countOf(bitmap));
        });
}

void uniteTheirs(benchmark::State& state)
{
    timeOperation(
        state, [] { return std::tuple(theirs(), theirs()); },
        [](const Bitmap& a, const Bitmap& b) {
            return std::pair(Bitmap{{roaring_bitmap_or(a.get(), b.get()), roaring_bitmap_free}}, Int{0});
        });
}

void askTheirs(benchmark::State& state)
{
    timeOperation(
        state, [] { return std::tuple(theirs(), questions()); },
        [](const Bitmap& bitmap, const std::vector<Int>& asked) {
            Int found = 0;
            for (const Int i : asked)
                found += roaring_bitmap_contains(bitmap.get(), static_cast<std::uint32_t>(i));
            benchmark::DoNotOptimize(found);
            return std::pair(found, static_cast<Int>(asked.size()));
        });
}
#endif

const bool registered = [] {
    add("index set: ordered insertion/Corvane", insertOurs);
    add("index set: iteration/Corvane", iterateOurs);
    add("index set: union of 2 x 10,000 runs/Corvane", uniteOurs);
    add("index set: membership at 10,000 runs/Corvane", askOurs);
#ifdef CORVANE_PEER_ROARING
    add("index set: ordered insertion/CRoaring", insertTheirs);
    add("index set: iteration/CRoaring", iterateTheirs);
    add("index set: iteration/CRoaring callback", iterateTheirsByCallback);
    add("index set: union of 2 x 10,000 runs/CRoaring", uniteTheirs);
    add("index set: membership at 10,000 runs/CRoaring", askTheirs);
#endif
    return true;
}();

} // namespace
} // namespace corvane
