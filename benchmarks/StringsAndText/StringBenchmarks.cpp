// SPDX-License-Identifier: Apache-2.0
#include <benchmarks/Support/Goals.h>
#include <corvane/Platform/Text/Characters.h>
#include <corvane/StringsAndText/String.h>

#include <benchmark/benchmark.h>
#include <unicode/brkiter.h>
#include <unicode/utext.h>

#include <memory>
#include <random>
#include <string>
#include <vector>

namespace corvane {
namespace {

// Texts of a megabyte.
std::string textOf(const std::vector<std::string>& words)
{
    std::mt19937 random(11);
    std::string text;
    while (text.size() < 1'000'000)
        text += words[random() % words.size()];
    return text;
}

struct Kind {
    const char* name;
    std::string text;
};

const std::vector<Kind>& kinds()
{
    static const std::vector<Kind> all{
        {"ASCII", textOf({"the quick brown fox ", "jumps over ", "the lazy dog.\n", "IMG_0123.jpg, ", "x"})},
        {"mixed", textOf({"na\u00EFve caf\u00E9s, ", "cafe\u0301 ", "plain words in between. ",
                          "\u4E2D\u6587", "\u0434\u0430 ", "\U0001F600 ", "\r\n",
                          "\u0939\u093F\u0928\u094D\u0926\u0940 ", "\uD55C\uAD6D "})},
        {"CJK", textOf({"\u4E2D\u6587\u5B57\u7B26", "\u65E5\u672C\u8A9E\u306E", "\u3002", "\u6F22\u5B57"})},
        {"emoji", textOf({"\U0001F600", "\U0001F44D\U0001F3FD",
                          "\U0001F468\u200D\U0001F469\u200D\U0001F467\u200D\U0001F466",
                          "\U0001F1E9\U0001F1EA", "\u2764\uFE0F"})},
    };
    return all;
}

using Operation = void (*)(const std::string& text, Int count);

// Each goes through the text to its end, or all but.
const std::pair<const char*, Operation> operations[] = {
    {"safeSubstringTo",
     [](const std::string& text, Int count) { benchmark::DoNotOptimize(safeSubstringTo(text, count - 1)); }},
    {"safeSubstringFrom", [](const std::string& text,
                             Int count) { benchmark::DoNotOptimize(safeSubstringFrom(text, count - 1)); }},
    {"reducedStringAtStart",
     [](const std::string& text, Int) { benchmark::DoNotOptimize(reducedStringAtStart(text, 40)); }},
    {"reducedStringAtMiddle",
     [](const std::string& text, Int) { benchmark::DoNotOptimize(reducedStringAtMiddle(text, 40)); }},
    {"reducedStringAtEnd",
     [](const std::string& text, Int) { benchmark::DoNotOptimize(reducedStringAtEnd(text, 40)); }},
};

// As many characters by ICU's own iterator, opened once for all.
void runIcu(benchmark::State& state, const std::string& text)
{
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<icu::BreakIterator> iterator(
        icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
    UText* const utf8 = utext_openUTF8(nullptr, text.data(), static_cast<std::int64_t>(text.size()), &status);
    for (auto _ : state) {
        iterator->setText(utf8, status);
        Int count = 0;
        while (iterator->next() != icu::BreakIterator::DONE)
            ++count;
        benchmark::DoNotOptimize(count);
    }
    utext_close(utf8);
    if (U_FAILURE(status))
        state.SkipWithError(u_errorName(status));
}

const bool added = [] {
    static std::vector<benchmarks::TimeGoal> timeGoals;
    static std::vector<benchmarks::RatioGoal> ratioGoals;
    for (const Kind& kind : kinds())
        for (const auto& [name, operation] : operations) {
            const std::string subject = std::string(name) + " of 1 MB, " + kind.name;
            const double megabytes = static_cast<double>(kind.text.size()) / 1e6;
            const Int count = characterCount(kind.text);
            benchmark::RegisterBenchmark((subject + "/Corvane").c_str(), [&text = kind.text, run = operation,
                                                                          count](benchmark::State& state) {
                for (auto _ : state)
                    run(text, count);
                state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
            });
            if (kind.name == std::string("ASCII"))
                timeGoals.emplace_back(subject, megabytes / 700 * 1e9); // 700 MB/s
            else if (kind.name == std::string("mixed"))
                timeGoals.emplace_back(subject, megabytes / 100 * 1e9);
            else {
                ratioGoals.emplace_back(subject, "ICU", 1.0);
                benchmark::RegisterBenchmark(
                    (subject + "/ICU").c_str(),
                    [&text = kind.text](benchmark::State& state) { runIcu(state, text); });
            }
        }
    return true;
}();

} // namespace
} // namespace corvane
