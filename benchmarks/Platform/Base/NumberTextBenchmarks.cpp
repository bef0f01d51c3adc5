// SPDX-License-Identifier: Apache-2.0
#include <benchmarks/Support/Goals.h>
#include <corvane/Platform/Base/NumberText.h>

#include <benchmark/benchmark.h>

#include <charconv>
#include <cmath>
#include <random>
#include <vector>

namespace corvane {
namespace {

using benchmarks::RatioGoal;

const std::vector<double>& values(bool everyday)
{
    const auto make = [](bool rounded) {
        std::mt19937_64 random(7);
        std::uniform_real_distribution<double> spread(-1000, 1000);
        std::vector<double> made(4096);
        for (double& value : made)
            value = rounded ? std::round(spread(random) * 100) / 100 : spread(random);
        return made;
    };
    static const std::vector<double> all[] = {make(false), make(true)};
    return all[everyday];
}

template <typename Write>
void run(benchmark::State& state, bool everyday, Write write)
{
    char buffer[numberTextCapacity];
    for (auto _ : state)
        for (const double value : values(everyday)) {
            benchmark::DoNotOptimize(write(buffer, value));
            benchmark::ClobberMemory();
        }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(values(everyday).size()));
}

void addPair(const char* subject, bool everyday)
{
    const std::string name = subject;
    benchmark::RegisterBenchmark((name + "/Corvane").c_str(), [everyday](benchmark::State& state) {
        run(state, everyday,
            [](char(&buffer)[numberTextCapacity], double value) { return writeNumber(buffer, value); });
    });
    benchmark::RegisterBenchmark((name + "/to_chars").c_str(), [everyday](benchmark::State& state) {
        run(state, everyday, [](char(&buffer)[numberTextCapacity], double value) {
            return std::to_chars(buffer, buffer + sizeof buffer, value).ptr;
        });
    });
}

const bool added = [] {
    addPair("number to text, 17 digits", false);
    addPair("number to text, two decimals", true);
    return true;
}();
const RatioGoal digits("number to text, 17 digits", "to_chars", 1.3);
const RatioGoal decimals("number to text, two decimals", "to_chars", 1.3);

} // namespace
} // namespace corvane
