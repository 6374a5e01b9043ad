// kyBenchSupport.h - a main() for Base's benchmark programs that runs every benchmark with
// repetitions in random interleaved order and then prints, for each pair of benchmarks named
// ".../base" and ".../<baseline>", the ratio of their median times against a goal.
//
// Name benchmarks "<case>/base" and "<case>/<baseline>" (for example "hash_map/insert/std")
// and register goals with kybench::goal("<case>", "<baseline>", minimumSpeedRatio). A ratio
// above 1 means Base is faster. Run with --benchmark_repetitions=N to change the default (7,
// or what the program passes to runBenchmarks).
#ifndef KY_BENCH_SUPPORT_H
#define KY_BENCH_SUPPORT_H

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <vector>

namespace kybench {

struct Goal {
    std::string baseline;
    double minimumRatio; // baseline time / Base time must reach this
};

inline std::map<std::string, std::vector<Goal>>& goals() {
    static std::map<std::string, std::vector<Goal>> all;
    return all;
}

/// Registers a goal: the case's Base benchmark must run at least `minimumRatio` times as fast
/// as its `baseline` benchmark (0 means: just print the ratio).
inline bool goal(const std::string& name, const std::string& baseline, double minimumRatio) {
    goals()[name].push_back({baseline, minimumRatio});
    return true;
}

// Keeps the median of every repeated benchmark while the console shows the usual report.
// Benchmarks timed with UseManualTime() or UseRealTime() carry a suffix that is not part of
// their case name.
class MedianCollector : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            const bool single = run.run_type == Run::RT_Iteration && run.repetitions <= 1;
            if (single || (run.run_type == Run::RT_Aggregate && run.aggregate_name == "median")) {
                medians[caseName(run.run_name.str())] = run.GetAdjustedRealTime();
            }
        }
        ConsoleReporter::ReportRuns(runs);
    }
    std::map<std::string, double> medians;

private:
    static std::string caseName(std::string name) {
        for (const char* suffix : {"/manual_time", "/real_time"}) {
            const std::size_t n = std::strlen(suffix);
            if (name.size() > n && name.compare(name.size() - n, n, suffix) == 0) {
                name.erase(name.size() - n);
            }
        }
        return name;
    }
};

/// Prints the ratio table; returns the number of goals missed.
inline int printRatios(const std::map<std::string, double>& medians) {
    int missed = 0;
    std::printf("\n%-44s %-14s %12s %12s %8s %6s  %s\n", "case", "baseline", "base", "baseline",
                "ratio", "goal", "");
    for (const auto& entry : goals()) {
        const auto mine = medians.find(entry.first + "/base");
        for (const Goal& g : entry.second) {
            const auto theirs = medians.find(entry.first + "/" + g.baseline);
            if (mine == medians.end() || theirs == medians.end()) {
                continue; // filtered out, or the baseline was not built
            }
            const double ratio = theirs->second / mine->second;
            const bool met = ratio >= g.minimumRatio;
            missed += met ? 0 : 1;
            std::printf("%-44s %-14s %12.1f %12.1f %7.2fx %5.2fx  %s\n", entry.first.c_str(),
                        g.baseline.c_str(), mine->second, theirs->second, ratio, g.minimumRatio,
                        g.minimumRatio <= 0 ? "" : (met ? "met" : "MISSED"));
        }
    }
    return missed;
}

/// The benchmark program's main: repetitions (`defaultRepetitions` unless the command line
/// gives a number), random interleaving, medians, ratios.
inline int runBenchmarks(int argc, char** argv, int defaultRepetitions = 7) {
    std::vector<char*> args(argv, argv + argc);
    bool hasRepetitions = false;
    for (int i = 1; i < argc; ++i) {
        hasRepetitions |= std::strncmp(argv[i], "--benchmark_repetitions", 23) == 0;
    }
    std::string repetitions = "--benchmark_repetitions=" + std::to_string(defaultRepetitions);
    static char interleave[] = "--benchmark_enable_random_interleaving=true";
    static char aggregatesOnly[] = "--benchmark_report_aggregates_only=true";
    if (!hasRepetitions) {
        args.push_back(&repetitions[0]);
    }
    args.push_back(interleave);
    args.push_back(aggregatesOnly);
    int count = static_cast<int>(args.size());
    benchmark::Initialize(&count, args.data());
    MedianCollector reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    const int missed = printRatios(reporter.medians);
    std::printf("\n%d goal(s) missed (times are medians in the unit shown above)\n", missed);
    return 0;
}

} // namespace kybench

#define KY_BENCHMARK_MAIN()                                                                        \
    int main(int argc, char** argv) {                                                              \
        return kybench::runBenchmarks(argc, argv);                                                 \
    }

#endif // KY_BENCH_SUPPORT_H
