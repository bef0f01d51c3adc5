// SPDX-License-Identifier: Apache-2.0
#include <benchmarks/Support/Goals.h>
#include <corvane/Numbers/Complex.h>

#include <benchmark/benchmark.h>

#include <complex>
#include <random>
#include <string>

namespace corvane {
namespace {

using benchmarks::RatioGoal;
using Standard = std::complex<double>;

constexpr std::size_t count = 2048; // three arrays of these stay in the first caches

template <typename Number>
std::vector<Number> numbers(unsigned seed)
{
    std::mt19937_64 random(seed);
    std::uniform_real_distribution<double> part(-4, 4);
    std::vector<Number> made(count);
    for (Number& number : made) {
        const double real = part(random);
        number = {real, part(random)};
    }
    return made;
}

template <typename Number, typename Operation>
void run(benchmark::State& state, Operation operation)
{
    const auto a = numbers<Number>(1);
    const auto b = numbers<Number>(2);
    std::vector<Number> c(count);
    for (auto _ : state) {
        for (std::size_t n = 0; n < count; ++n)
            c[n] = operation(a[n], b[n]);
        benchmark::DoNotOptimize(c.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(count));
}

template <typename Operation>
bool addPair(const std::string& subject, Operation operation)
{
    benchmark::RegisterBenchmark((subject + "/Corvane").c_str(),
                                 [=](benchmark::State& state) { run<Complex>(state, operation); });
    benchmark::RegisterBenchmark((subject + "/std::complex").c_str(),
                                 [=](benchmark::State& state) { run<Standard>(state, operation); });
    return true;
}

const bool added = addPair("complex multiply", [](const auto& a, const auto& b) { return a * b; }) &&
                   addPair("complex divide", [](const auto& a, const auto& b) { return a / b; }) &&
                   addPair("complex square root", [](const auto& a, const auto&) {
                       if constexpr (requires { a.sqrt(); })
                           return a.sqrt();
                       else
                           return std::sqrt(a);
                   });
const RatioGoal multiply("complex multiply", "std::complex", 1.0);
const RatioGoal divide("complex divide", "std::complex", 1.0);
const RatioGoal squareRoot("complex square root", "std::complex", 1.0);

} // namespace
} // namespace corvane
