// SPDX-License-Identifier: Apache-2.0
#include <benchmarks/Support/Goals.h>
#include <corvane/StringsAndText/String.h>

#include <benchmark/benchmark.h>
#include <unicode/regex.h>

#include <memory>
#include <string>

namespace corvane {
namespace {

const benchmarks::RatioGoal plain("captures in 10 MB of ASCII", "ICU's matcher", 1.2);
const benchmarks::RatioGoal other("captures in 10 MB of mixed text", "ICU from UTF-8", 1.2);

std::string lines(const char* line)
{
    std::string text;
    for (int number = 0; text.size() < 10'000'000; ++number)
        text.append(line).append("key").append(std::to_string(number)).append("=value\n");
    return text;
}

// ICU alone, on text that it has in its own form already or has to convert. It hands out what the groups captured, too, but keeps
// nothing of it; where every word is a match, most of our time goes into the lists.
template <bool converts>
void runIcu(benchmark::State& state, const std::string& text, const char* pattern)
{
    UErrorCode status = U_ZERO_ERROR;
    icu::UnicodeString units = icu::UnicodeString::fromUTF8(text);
    for (auto _ : state) {
        if (converts)
            units = icu::UnicodeString::fromUTF8(text);
        icu::RegexMatcher matcher(icu::UnicodeString(pattern), 0, status);
        matcher.reset(units);
        while (matcher.find(status) && U_SUCCESS(status))
            for (int group = 1; group <= matcher.groupCount(); ++group)
                benchmark::DoNotOptimize(matcher.group(group, status));
    }
    if (U_FAILURE(status))
        state.SkipWithError(u_errorName(status));
}

void run(benchmark::State& state, const std::string& text, const char* pattern)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(captureMatches(text, pattern));
}

const bool added = [] {
    static const std::string ascii = lines("[info] nothing of note happened here today\n");
    static const std::string mixed = lines("[info] rien \u00E0 signaler, nada que se\u00F1alar, "
                                           "\u041D\u0438\u0447\u0435\u0433\u043E, \u4E2D\u6587\n");
    const auto add = [](const std::string& subject, const std::string& text, const char* pattern) {
        const auto with = [&](auto function) {
            return [function, &text, pattern](benchmark::State& state) { function(state, text, pattern); };
        };
        benchmark::RegisterBenchmark((subject + "/Corvane").c_str(), with(run))
            ->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark((subject + "/ICU's matcher").c_str(), with(runIcu<false>))
            ->Unit(benchmark::kMillisecond);
        benchmark::RegisterBenchmark((subject + "/ICU from UTF-8").c_str(), with(runIcu<true>))
            ->Unit(benchmark::kMillisecond);
    };
    add("captures in 10 MB of ASCII", ascii, "(key\\d+)=(\\w+)");
    add("captures in 10 MB of mixed text", mixed, "(key\\d+)=(\\w+)");
    add("captures of every word in 10 MB", ascii, "(\\w+)");
    return true;
}();

} // namespace
} // namespace corvane
