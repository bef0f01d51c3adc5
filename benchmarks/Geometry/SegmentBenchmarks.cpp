// SPDX-License-Identifier: Apache-2.0
#include <benchmarks/Support/Goals.h>
#include <corvane/Geometry/Segment.h>

#include <benchmark/benchmark.h>

#include <random>
#include <vector>

namespace corvane {
namespace {

// Ten million tests of random pairs, about a quarter of which cross.
void crossings(benchmark::State& state)
{
    constexpr std::size_t count = 1 << 14; // 512 KiB: out of the first cache, as a drawing's outlines are
    std::mt19937_64 random(3);
    std::uniform_real_distribution<double> part(0, 10);
    std::vector<Segment> segments(count);
    for (Segment& segment : segments) {
        for (double* coordinate : {&segment.start.x, &segment.start.y, &segment.end.x, &segment.end.y})
            *coordinate = part(random);
    }
    constexpr std::size_t tests = 10'000'000;
    for (auto _ : state) {
        std::size_t found = 0;
        for (std::size_t n = 0; n < tests; ++n)
            found += segments[n % count].intersects(segments[(n * 7 + 1) % count]).has_value();
        benchmark::DoNotOptimize(found);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(tests));
}
BENCHMARK(crossings)->Name("segment crossing/Corvane")->Unit(benchmark::kMillisecond);
const benchmarks::TimeGoal goal("segment crossing", 10);

} // namespace
} // namespace corvane
