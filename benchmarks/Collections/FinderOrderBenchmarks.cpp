// SPDX-License-Identifier: Apache-2.0
#include <benchmarks/Support/Goals.h>
#include <corvane/Collections/FinderOrder.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#ifdef CORVANE_PEER_QT
#include <QCollator>
#include <QString>
#endif

namespace corvane {
namespace {

const benchmarks::RatioGoal toQCollator("finder sort 100,000 names", "QCollator keys", 0.6);
const benchmarks::TimeGoal million("finder sort 1,000,000 names", 1.5e9);

// Names as cameras, phones, scanners and people give them.
std::vector<std::string> names(std::size_t count)
{
    std::mt19937 random(25);
    const auto number = [&](unsigned bound) { return std::to_string(random() % bound); };
    const auto padded = [&](unsigned bound, std::size_t width) {
        std::string text = number(bound);
        return text.insert(0, width - std::min(width, text.size()), '0');
    };
    const char* const subjects[] = {"Holiday",    "Garten",    "été à la mer", "Invoice",
                                    "scan",       "Brücke",    "Familie",      "untitled folder",
                                    "Screenshot", "Übersicht", "notes",        "båt"};
    const char* const extensions[] = {".jpg", ".JPG", ".png", ".heic", ".pdf", ".txt"};
    std::vector<std::string> result;
    result.reserve(count);
    while (result.size() < count) {
        std::string name;
        switch (random() % 5) {
        case 0:
            name = "IMG_" + padded(1000000, 4);
            break;
        case 1:
            name = "DSC" + padded(100000, 5);
            break;
        case 2:
            name = "2026-0" + number(9) + "-" + padded(28, 2) + " " + padded(24, 2) + "." + padded(60, 2) +
                   "." + padded(60, 2);
            break;
        case 3:
            name = std::string(subjects[random() % std::size(subjects)]) + " " + number(5000);
            break;
        default:
            name = std::string(subjects[random() % std::size(subjects)]) + " (" + number(300) + ") copy " +
                   number(100);
        }
        result.push_back(name + extensions[random() % std::size(extensions)]);
    }
    return result;
}

void finderSortNames(benchmark::State& state, std::size_t count)
{
    const std::vector<std::string> unsorted = names(count);
    for (auto _ : state)
        benchmark::DoNotOptimize(finderSorted(unsorted));
}

#ifdef CORVANE_PEER_QT
void qtSortNames(benchmark::State& state, std::size_t count)
{
    const std::vector<std::string> unsorted = names(count);
    std::vector<QString> texts;
    for (const std::string& name : unsorted)
        texts.push_back(QString::fromStdString(name));
    QCollator collator{QLocale(QLocale::C == QLocale().language() ? QLocale::English : QLocale().language())};
    collator.setNumericMode(true);
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    std::vector<QString> sorted;
    for (auto _ : state) {
        std::vector<std::pair<QCollatorSortKey, std::size_t>> keys;
        keys.reserve(texts.size());
        for (std::size_t i = 0; i < texts.size(); ++i)
            keys.emplace_back(collator.sortKey(texts[i]), i);
        std::sort(keys.begin(), keys.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
        sorted.clear();
        sorted.reserve(texts.size());
        for (const auto& [key, index] : keys)
            sorted.push_back(texts[index]);
        benchmark::DoNotOptimize(sorted.data());
    }
    // The same order, up to what only Qt tells apart (accents).
    for (std::size_t i = 1; i < sorted.size(); ++i)
        if (finderCompare(sorted[i - 1].toStdString(), sorted[i].toStdString()) ==
            ComparisonResult::descending)
            state.SkipWithError("the peer's order differs");
}
#endif

const bool registered = [] {
    benchmark::RegisterBenchmark("finder sort 100,000 names/Corvane", finderSortNames, std::size_t{100000})
        ->Unit(benchmark::kMillisecond);
#ifdef CORVANE_PEER_QT
    benchmark::RegisterBenchmark("finder sort 100,000 names/QCollator keys", qtSortNames, std::size_t{100000})
        ->Unit(benchmark::kMillisecond);
#endif
    benchmark::RegisterBenchmark("finder sort 1,000,000 names/Corvane", finderSortNames, std::size_t{1000000})
        ->Unit(benchmark::kMillisecond);
    return true;
}();

} // namespace
} // namespace corvane
