// SPDX-License-Identifier: Apache-2.0
#include <benchmarks/Support/Goals.h>
#include <corvane/GraphicsUtilities/RGBA.h>

#include <benchmark/benchmark.h>

#include <random>
#include <vector>

namespace corvane {
namespace {

std::vector<RGBA> colors()
{
    std::mt19937_64 random(1);
    std::uniform_real_distribution<double> part(0, 1);
    std::vector<RGBA> made(1024);
    for (RGBA& color : made) {
        const double r = part(random), g = part(random), b = part(random);
        color = RGBA(r, g, b, random() % 2 == 0 ? 1 : part(random));
    }
    return made;
}

void print(benchmark::State& state)
{
    const auto all = colors();
    for (auto _ : state)
        for (const RGBA& color : all)
            benchmark::DoNotOptimize(color.hexString());
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(all.size()));
}
BENCHMARK(print)->Name("hex colour print/Corvane");

void parse(benchmark::State& state)
{
    std::vector<std::string> texts;
    for (const RGBA& color : colors())
        texts.push_back(color.hexString());
    for (auto _ : state)
        for (const std::string& text : texts)
            benchmark::DoNotOptimize(RGBA::fromHexString(text));
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(texts.size()));
}
BENCHMARK(parse)->Name("hex colour parse/Corvane");

const benchmarks::TimeGoal printing("hex colour print", 60);
const benchmarks::TimeGoal parsing("hex colour parse", 60);

} // namespace
} // namespace corvane
