// SPDX-License-Identifier: Apache-2.0
#include <benchmarks/Support/Goals.h>
#include <corvane/Platform/Text/StringTable.h>
#include <corvane/StringsAndText/TextLocalizer.h>

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace corvane {
namespace {

namespace fs = std::filesystem;

const benchmarks::TimeGoal shortWay("localised look-up by TL", 100);
const benchmarks::TimeGoal longWay("localised look-up by a localizer", 100);

// A bundle of two languages with a thousand texts each, as a large application has.
class TestBundle {
public:
    TestBundle()
    {
        std::string pattern = (fs::temp_directory_path() / "corvane-benchmark-XXXXXX").string();
        folder_ = ::mkdtemp(pattern.data()) ? pattern : std::string();
        for (const char* language : {"en", "de"}) {
            const fs::path folder = folder_ / (std::string(language) + ".lproj");
            fs::create_directories(folder);
            std::ofstream table(folder / "Localizable.strings");
            for (int i = 0; i < 1000; ++i)
                table << "\"key " << i << "\" = \"A text of some length, number " << i << " of " << language
                      << "\";\n";
            table << "\"count\" = \"%d photos\";\n";
        }
        Bundle::setMain(Bundle::fromInfoDictionary({}, URL::fromPath(folder_.string())));
        ::setenv("LC_ALL", "de_DE.UTF-8", 1);
        StringTables::forgetAll();
    }
    ~TestBundle() { fs::remove_all(folder_); }

private:
    fs::path folder_;
};

const bool added = [] {
    static const TestBundle bundle;
    static const LocalizedString key("key 437"), count("count");
    benchmark::RegisterBenchmark("localised look-up by TL/Corvane", [](benchmark::State& state) {
        for (auto _ : state)
            benchmark::DoNotOptimize(TL(key));
    });
    benchmark::RegisterBenchmark("localised look-up by a localizer/Corvane", [](benchmark::State& state) {
        TextLocalizer localizer(Bundle::main());
        localizer.string = key;
        for (auto _ : state)
            benchmark::DoNotOptimize(localizer.local());
    });
    benchmark::RegisterBenchmark("localised look-up with a number/Corvane", [](benchmark::State& state) {
        for (auto _ : state)
            benchmark::DoNotOptimize(TL(count, 1200));
    });
    return true;
}();

} // namespace
} // namespace corvane
