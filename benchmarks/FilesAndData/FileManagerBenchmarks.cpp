// SPDX-License-Identifier: Apache-2.0
#include <benchmarks/Support/Goals.h>
#include <corvane/FilesAndData/FileManager.h>

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace corvane {
namespace {

namespace fs = std::filesystem;

const benchmarks::RatioGoal large("copy of 1 GB over a file", "cp", 1.05);
const benchmarks::RatioGoal small("copy of 100 KB over a file", "cp", 1.05);

// Two files of one size on one file system, all of both in the page cache. TMPDIR says where.
class Files {
public:
    Files(const char* name, std::size_t size)
    {
        std::string pattern = (fs::temp_directory_path() / "corvane-benchmark-XXXXXX").string();
        folder_ = ::mkdtemp(pattern.data()) ? pattern : std::string();
        source = folder_ / (std::string(name) + " source");
        target = folder_ / (std::string(name) + " target");
        const std::vector<char> piece(1 << 20, 'x');
        for (const fs::path& path : {source, target}) {
            std::ofstream file(path, std::ios::binary);
            for (std::size_t left = size; left > 0;) {
                const std::size_t length = std::min(left, piece.size());
                file.write(piece.data(), static_cast<std::streamsize>(length));
                left -= length;
            }
        }
    }
    ~Files() { fs::remove_all(folder_); }

    fs::path source, target;

private:
    fs::path folder_;
};

// Each begins with no bytes waiting for the disk, so that none pays for those of the other before it.
void settle(benchmark::State& state, const Files& files)
{
    state.PauseTiming();
    const int target = ::open(files.target.c_str(), O_RDONLY | O_CLOEXEC);
    ::syncfs(target);
    ::close(target);
    state.ResumeTiming();
}

void runOurs(benchmark::State& state, const Files& files)
{
    const URL from = URL::fromPath(files.source.string()), to = URL::fromPath(files.target.string());
    for (auto _ : state) {
        settle(state, files);
        overwritingCopy(from, to);
    }
}

void runCp(benchmark::State& state, const Files& files)
{
    std::string program = "/bin/cp", from = files.source, to = files.target;
    char* const arguments[] = {program.data(), from.data(), to.data(), nullptr};
    for (auto _ : state) {
        settle(state, files);
        pid_t id = 0;
        int status = 0;
        if (::posix_spawn(&id, program.c_str(), nullptr, nullptr, arguments, environ) != 0 ||
            ::waitpid(id, &status, 0) != id || status != 0)
            state.SkipWithError("cp failed");
    }
}

const bool added = [] {
    const auto add = [](const std::string& subject, const Files& files, int iterations) {
        const auto with = [&](const char* who, auto function) {
            benchmark::RegisterBenchmark(
                (subject + who).c_str(),
                [&files, function](benchmark::State& state) { function(state, files); })
                ->UseRealTime()
                ->Unit(benchmark::kMillisecond)
                ->Iterations(iterations);
        };
        with("/Corvane", runOurs);
        with("/cp", runCp);
    };
    static const Files gigabyte("1 GB", std::size_t{1} << 30U), photo("100 KB", 100'000);
    add("copy of 1 GB over a file", gigabyte, 1);
    add("copy of 100 KB over a file", photo, 50);
    return true;
}();

} // namespace
} // namespace corvane
