// SPDX-License-Identifier: Apache-2.0
#include <benchmarks/Support/Goals.h>
#include <corvane/Geometry/CGPoint.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <random>

namespace corvane {
namespace {

std::vector<CGPoint> cloud()
{
    std::mt19937_64 random(9);
    std::normal_distribution<double> part(0, 100);
    std::vector<CGPoint> made(1'000'000);
    for (CGPoint& point : made) {
        const double x = part(random);
        point = {x, part(random)};
    }
    return made;
}

// The worst there is, without a goal: nothing can be left out of the sorting, and all of it becomes the hull.
std::vector<CGPoint> circle()
{
    std::mt19937_64 random(9);
    std::uniform_real_distribution<double> angle(0, 6.283185307179586);
    std::vector<CGPoint> made(1'000'000);
    for (CGPoint& point : made) {
        const double at = angle(random);
        point = {std::cos(at), std::sin(at)};
    }
    return made;
}

bool addPair(const std::string& subject, const std::vector<CGPoint>& points)
{
    benchmark::RegisterBenchmark((subject + "/Corvane").c_str(), [points](benchmark::State& state) {
        for (auto _ : state)
            benchmark::DoNotOptimize(convexHull(points));
    })->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark((subject + "/std::sort alone").c_str(), [points](benchmark::State& state) {
        for (auto _ : state) {
            auto sorted = points;
            std::sort(sorted.begin(), sorted.end(), convexHullOrder);
            benchmark::DoNotOptimize(sorted.data());
        }
    })->Unit(benchmark::kMillisecond);
    return true;
}

const bool added = addPair("convex hull of 1000000 points in a cloud", cloud()) &&
                   addPair("convex hull of 1000000 points on a circle", circle());
const benchmarks::RatioGoal inCloud("convex hull of 1000000 points in a cloud", "std::sort alone", 1.2);

} // namespace
} // namespace corvane
