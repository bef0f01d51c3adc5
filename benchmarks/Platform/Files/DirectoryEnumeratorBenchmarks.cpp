// SPDX-License-Identifier: Apache-2.0
#include <benchmarks/Support/Goals.h>
#include <corvane/FilesAndData/FilesIterator.h>
#include <corvane/Platform/Files/DirectoryEnumerator.h>
#include <corvane/Platform/Files/FileManager.h>

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace corvane {
namespace {

namespace fs = std::filesystem;

constexpr int folders = 2000;
constexpr int filesInEach = 100;
constexpr int files = folders * filesInEach;

const benchmarks::RatioGoal namesGoal("walk 200,000 files, names only", "std::filesystem", 0.65);

// 200,000 empty files in 2,000 folders, two levels deep, named as cameras name them; gone when the process ends.
class Tree {
public:
    Tree()
    {
        root_ = FileManager::temporaryDirectory() + "/corvane-benchmark-XXXXXX";
        if (::mkdtemp(root_.data()) == nullptr)
            std::abort();
        for (int i = 0; i < folders; ++i) {
            const std::string folder = root_ + "/" + std::to_string(i / 50) + "/Holiday " + std::to_string(i);
            fs::create_directories(folder);
            const int at = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
            for (int j = 0; j < filesInEach; ++j) {
                const std::string name = "IMG_" + std::to_string(1000 + j) + (j % 10 == 0 ? ".xmp" : ".JPG");
                ::close(::openat(at, name.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600));
            }
            ::close(at);
        }
    }
    Tree(const Tree&) = delete;
    Tree& operator=(const Tree&) = delete;
    ~Tree()
    {
        std::error_code ignored;
        fs::remove_all(root_, ignored);
    }

    const std::string& root() const { return root_; }

private:
    std::string root_;
};

const std::string& tree()
{
    static const Tree made;
    return made.root();
}

void finish(benchmark::State& state, std::size_t found, std::size_t expected)
{
    if (found != expected)
        state.SkipWithError("the walk did not find every file");
}

template <bool wantsPaths>
void walk(benchmark::State& state)
{
    const URL root = URL::fromPath(tree());
    for (auto _ : state) {
        std::size_t found = 0, letters = 0;
        DirectoryEnumerator items(root);
        while (items.advance()) {
            found += items.type() == DirectoryEnumerator::ItemType::file ? 1U : 0U;
            letters += (wantsPaths ? items.path() : items.name()).size();
        }
        benchmark::DoNotOptimize(letters);
        finish(state, found, files);
    }
}

void walkStandard(benchmark::State& state)
{
    const std::string& root = tree();
    for (auto _ : state) {
        std::size_t found = 0, letters = 0;
        for (const fs::directory_entry& entry : fs::recursive_directory_iterator(root)) {
            found += entry.is_regular_file() ? 1U : 0U;
            letters += entry.path().native().size();
        }
        benchmark::DoNotOptimize(letters);
        finish(state, found, files);
    }
}

void iterate(benchmark::State& state, const std::optional<std::vector<UTIType>>& allowedTypes,
             std::size_t expected)
{
    const URL root = URL::fromPath(tree());
    for (auto _ : state) {
        std::size_t found = 0;
        FilesIterator iterator({root});
        iterator.skipSubdirectoryDescendants = false;
        iterator.allowedTypes = allowedTypes;
        for (const URL& url : iterator) {
            benchmark::DoNotOptimize(url.absoluteString().data());
            ++found;
        }
        finish(state, found, expected);
    }
}

void iterateAll(benchmark::State& state)
{
    iterate(state, std::nullopt, files);
}

void iterateImages(benchmark::State& state)
{
    iterate(state, std::vector{UTIType::image}, files / 10 * 9);
}

[[maybe_unused]] const auto registered = [] {
    using benchmark::kMillisecond;
    using benchmark::RegisterBenchmark;
    RegisterBenchmark("walk 200,000 files, names only/Corvane", walk<false>)->Unit(kMillisecond);
    RegisterBenchmark("walk 200,000 files, names only/std::filesystem", walkStandard)->Unit(kMillisecond);
    RegisterBenchmark("walk 200,000 files, paths/Corvane", walk<true>)->Unit(kMillisecond);
    RegisterBenchmark("walk 200,000 files, paths/std::filesystem", walkStandard)->Unit(kMillisecond);
    RegisterBenchmark("files iterator, 200,000 files/Corvane", iterateAll)->Unit(kMillisecond);
    RegisterBenchmark("files iterator, 200,000 files/std::filesystem", walkStandard)->Unit(kMillisecond);
    RegisterBenchmark("files iterator, images among them/Corvane", iterateImages)->Unit(kMillisecond);
    RegisterBenchmark("files iterator, images among them/std::filesystem", walkStandard)->Unit(kMillisecond);
    return true;
}();

} // namespace
} // namespace corvane
