// SPDX-License-Identifier: Apache-2.0
#include <benchmarks/Support/Goals.h>
#include <benchmarks/Support/PeakMemory.h>
#include <corvane/StringsAndText/String.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace corvane {
namespace {

using benchmarks::Measure;

const benchmarks::RatioGoal toTable("common subsequence of 10,000 letters", "classic table", 1.0 / 150);
const benchmarks::RatioGoal memoryToTable("common subsequence of 10,000 letters", "classic table", 1.0 / 500,
                                          Measure::memory);
const benchmarks::TimeGoal letters("common subsequence of 50,000 letters", 150e6);
const benchmarks::MemoryGoal lettersMemory("common subsequence of 50,000 letters", 8e6);
const benchmarks::TimeGoal ideographs("common subsequence of 50,000 ideographs", 150e6);
const benchmarks::MemoryGoal ideographsMemory("common subsequence of 50,000 ideographs", 8e6);
const benchmarks::TimeGoal edited("common subsequence of 50,000 letters, a few edited", 150e6);
const benchmarks::MemoryGoal editedMemory("common subsequence of 50,000 letters, a few edited", 8e6);

using Texts = std::vector<std::string>;

std::string lettersOf(std::size_t count, unsigned seed)
{
    std::mt19937 random(seed);
    std::string text(count, ' ');
    for (char& c : text)
        c = "etaoinshrdlucmfwypvbgkjqxz   "[random() % 29];
    return text;
}

// Characters of which few come twice.
std::string ideographsOf(std::size_t count, unsigned seed)
{
    std::mt19937 random(seed);
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        const unsigned point = 0x4E00 + random() % 20000;
        for (const unsigned byte :
             {0xE0 | point >> 12U, 0x80 | (point >> 6U & 0x3FU), 0x80 | (point & 0x3FU)})
            text += static_cast<char>(byte);
    }
    return text;
}

Texts editedTexts(std::size_t count)
{
    std::string one = lettersOf(count, 1), other = one;
    std::mt19937 random(3);
    for (std::size_t edits = count / 50; edits > 0; --edits)
        other.insert(other.erase(random() % other.size(), 1).begin() + random() % count / 2, '*');
    other.front() = '!';
    return {one, other};
}

// The table as every textbook has it, of numbers of 64 bits, for texts of one byte a character.
std::string tableSubsequence(const std::string& a, const std::string& b)
{
    const std::size_t side = std::max(a.size(), b.size()) + 1;
    std::vector<std::int64_t> cells(side * side);
    for (std::size_t i = 1; i <= a.size(); ++i) {
        std::int64_t* const row = cells.data() + i * side;
        const std::int64_t* const above = row - side;
        for (std::size_t j = 1; j <= b.size(); ++j)
            row[j] = a[i - 1] == b[j - 1] ? above[j - 1] + 1 : std::max(above[j], row[j - 1]);
    }
    std::string result;
    for (std::size_t i = a.size(), j = b.size(); i > 0 && j > 0;) {
        const std::int64_t* const cell = cells.data() + i * side + j;
        if (cell[0] == cell[-1]) {
            --j;
        } else if (cell[0] == cell[-static_cast<std::ptrdiff_t>(side)]) {
            --i;
        } else {
            result += a[--i];
            --j;
        }
    }
    std::ranges::reverse(result);
    return result;
}

void run(benchmark::State& state, const Texts& texts)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(commonSubsequence(texts));
    const benchmarks::PeakMemory memory;
    benchmark::DoNotOptimize(commonSubsequence(texts));
    state.counters["bytes"] = memory.bytes();
}

void runTable(benchmark::State& state, const Texts& texts)
{
    if (commonSubsequence(texts) != tableSubsequence(texts[0], texts[1]))
        state.SkipWithError("the subsequences differ");
    for (auto _ : state)
        benchmark::DoNotOptimize(tableSubsequence(texts[0], texts[1]));
    const benchmarks::PeakMemory memory;
    benchmark::DoNotOptimize(tableSubsequence(texts[0], texts[1]));
    state.counters["bytes"] = memory.bytes();
}

const bool added = [] {
    const auto add = [](const std::string& name, auto function, Texts texts) {
        benchmark::RegisterBenchmark(name.c_str(), function, std::move(texts))->Unit(benchmark::kMillisecond);
    };
    const Texts short_{lettersOf(10'000, 1), lettersOf(10'000, 2)};
    add("common subsequence of 10,000 letters/Corvane", run, short_);
    add("common subsequence of 10,000 letters/classic table", runTable, short_);
    add("common subsequence of 50,000 letters/Corvane", run, {lettersOf(50'000, 1), lettersOf(50'000, 2)});
    add("common subsequence of 50,000 ideographs/Corvane", run,
        {ideographsOf(50'000, 1), ideographsOf(50'000, 2)});
    add("common subsequence of 50,000 letters, a few edited/Corvane", run, editedTexts(50'000));
    return true;
}();

} // namespace
} // namespace corvane
