// SPDX-License-Identifier: Apache-2.0
#include <benchmarks/Support/Goals.h>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace corvane::benchmarks {

namespace {

struct Goal {
    std::string subject;
    std::string peer; // empty: a goal in nanoseconds or bytes
    double atMost;
    Measure measure;
};

std::vector<Goal>& goals()
{
    static std::vector<Goal> all;
    return all;
}

struct Median {
    double wallNanoseconds;
    double processorNanoseconds;
    double bytes;
    double of(Measure measure) const
    {
        switch (measure) {
        case Measure::memory:
            return bytes;
        case Measure::processorTime:
            return processorNanoseconds;
        default:
            return wallNanoseconds;
        }
    }
};

// Prints as the console reporter does and keeps the medians for the table of ratios.
class RatioReporter : public benchmark::ConsoleReporter {
public:
    using ConsoleReporter::ConsoleReporter;

    void ReportRuns(const std::vector<Run>& runs) override
    {
        std::vector<Run> shown;
        for (const Run& run : runs) {
            if (run.run_type == Run::RT_Aggregate && run.aggregate_name != "median")
                continue;
            if (run.error_occurred || run.run_type == Run::RT_Aggregate || run.repetitions == 1)
                shown.push_back(run);
            if (run.error_occurred || (run.run_type == Run::RT_Iteration && run.repetitions > 1))
                continue;
            // Items counted a second turn a time per iteration into a time per item.
            double items = 1;
            if (const auto rate = run.counters.find("items_per_second"); rate != run.counters.end())
                items = rate->second.value * run.GetAdjustedRealTime() / multiplier(run);
            const double scale = 1e9 / multiplier(run) / items;
            const auto told = run.counters.find("bytes");
            const double bytes = told == run.counters.end() ? 0 : told->second.value;
            medians_[subject(run) + "/" + who(run)] = {run.GetAdjustedRealTime() * scale,
                                                       run.GetAdjustedCPUTime() * scale, bytes};
        }
        ConsoleReporter::ReportRuns(shown);
    }

    bool printTable() const
    {
        if (medians_.empty())
            return true;
        std::printf("\n%-58s %12s %12s %8s %8s\n", "subject / peer", "ours (ns)", "peer (ns)", "ratio",
                    "goal");
        bool allMet = true;
        for (const Goal& goal : goals()) {
            const auto ours = medians_.find(goal.subject + "/Corvane");
            if (ours == medians_.end())
                continue;
            const double mine = ours->second.of(goal.measure);
            if (goal.peer.empty()) {
                print(goal.subject + unit(goal), mine, 0, mine, goal.atMost, allMet);
                continue;
            }
            const auto theirs = medians_.find(goal.subject + "/" + goal.peer);
            if (theirs == medians_.end())
                continue;
            const double other = theirs->second.of(goal.measure);
            print(goal.subject + unit(goal) + " / " + goal.peer, mine, other, mine / other, goal.atMost,
                  allMet);
        }
        for (const auto& [name, median] : medians_) {
            const auto slash = name.rfind('/');
            const auto ours = medians_.find(name.substr(0, slash) + "/Corvane");
            if (name.substr(slash) == "/Corvane" || ours == medians_.end() || hasGoal(name))
                continue;
            const double mine = ours->second.wallNanoseconds;
            std::printf("%-58s %12.1f %12.1f %8.3f %8s\n", name.c_str(), mine, median.wallNanoseconds,
                        mine / median.wallNanoseconds, "-");
        }
        return allMet;
    }

private:
    static double multiplier(const Run& run) { return benchmark::GetTimeUnitMultiplier(run.time_unit); }

    // "subject/who/options": Google Benchmark appends its own parts (real_time, iterations) to the name.
    static std::string subject(const Run& run)
    {
        const std::string& full = run.run_name.function_name;
        return full.substr(0, full.rfind('/'));
    }
    static std::string who(const Run& run)
    {
        const std::string& full = run.run_name.function_name;
        return full.substr(full.rfind('/') + 1);
    }
    static const char* unit(const Goal& goal) { return goal.measure == Measure::memory ? ", bytes" : ""; }
    static bool hasGoal(const std::string& name)
    {
        for (const Goal& goal : goals())
            if (goal.subject + "/" + goal.peer == name)
                return true;
        return false;
    }
    static void print(const std::string& label, double mine, double other, double value, double atMost,
                      bool& allMet)
    {
        const bool met = value <= atMost;
        allMet = allMet && met;
        std::printf("%-58s %12.1f %12.1f %8.3f %8.3g%s\n", label.c_str(), mine, other, value, atMost,
                    met ? "" : "  MISSED");
    }

    std::map<std::string, Median> medians_;
};

} // namespace

RatioGoal::RatioGoal(std::string subject, std::string peer, double atMost, Measure measure)
{
    goals().push_back({std::move(subject), std::move(peer), atMost, measure});
}

TimeGoal::TimeGoal(std::string subject, double atMostNanoseconds, Measure measure)
{
    goals().push_back({std::move(subject), {}, atMostNanoseconds, measure});
}

MemoryGoal::MemoryGoal(std::string subject, double atMostBytes)
{
    goals().push_back({std::move(subject), {}, atMostBytes, Measure::memory});
}

} // namespace corvane::benchmarks

int main(int argc, char** argv)
{
    // Repetitions of ours and of the peers are interleaved at random, so that a noisy spell hits both; the
    // caller's own flags come later and win.
    static char repetitions[] = "--benchmark_repetitions=7";
    static char interleaving[] = "--benchmark_enable_random_interleaving=true";
    static char minimum[] = "--benchmark_min_time=0.1";
    std::vector<char*> arguments{argv[0], repetitions, interleaving, minimum};
    arguments.insert(arguments.end(), argv + 1, argv + argc);
    int count = static_cast<int>(arguments.size());
    arguments.push_back(nullptr);
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data()))
        return 2;
    corvane::benchmarks::RatioReporter reporter(benchmark::ConsoleReporter::OO_Tabular);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.printTable();
    benchmark::Shutdown();
    return 0;
}
