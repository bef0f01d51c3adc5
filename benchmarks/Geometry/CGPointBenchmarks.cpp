// SPDX-License-Identifier: Apache-2.0
#include <benchmarks/Support/Goals.h>
#include <corvane/Geometry/CGPoint.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <random>

namespace corvane {
namespace {

const std::vector<CGPoint>& points()
{
    static const std::vector<CGPoint> all = [] {
        std::mt19937_64 random(9);
        std::normal_distribution<double> part(0, 100);
        std::vector<CGPoint> made(1'000'000);
        for (CGPoint& point : made) {
            const double x = part(random);
            point = {x, part(random)};
        }
        return made;
    }();
    return all;
}

void hull(benchmark::State& state)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(convexHull(points()));
}
void sort(benchmark::State& state)
{
    for (auto _ : state) {
        auto sorted = points();
        std::sort(sorted.begin(), sorted.end(), convexHullOrder);
        benchmark::DoNotOptimize(sorted.data());
    }
}
BENCHMARK(hull)->Name("convex hull of 1000000 points/Corvane")->Unit(benchmark::kMillisecond);
BENCHMARK(sort)->Name("convex hull of 1000000 points/std::sort alone")->Unit(benchmark::kMillisecond);
const benchmarks::RatioGoal goal("convex hull of 1000000 points", "std::sort alone", 1.2);

} // namespace
} // namespace corvane
