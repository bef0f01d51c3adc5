// SPDX-License-Identifier: Apache-2.0
#include <benchmarks/Support/Goals.h>
#include <corvane/CoreAnimation/CheckerboardLayer.h>

#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

namespace corvane {
namespace {

constexpr Int width = 3840;
constexpr Int height = 2160;

void board(benchmark::State& state)
{
    auto context = CGContext::createBitmap(width, height);
    CheckerboardLayer layer;
    layer.setBounds(CGRect::make(0, 0, width, height));
    for (auto _ : state)
        layer.display(*context);
}
BENCHMARK(board)->Name("checkerboard of 3840 x 2160/Corvane")->Unit(benchmark::kMicrosecond);

void set(benchmark::State& state)
{
    std::vector<unsigned char> pixels(width * height * 4);
    for (auto _ : state) {
        std::memset(pixels.data(), 0xB2, pixels.size());
        benchmark::ClobberMemory();
    }
}
BENCHMARK(set)->Name("checkerboard of 3840 x 2160/memset")->Unit(benchmark::kMicrosecond);

const benchmarks::RatioGoal goal("checkerboard of 3840 x 2160", "memset", 1.35);

} // namespace
} // namespace corvane
