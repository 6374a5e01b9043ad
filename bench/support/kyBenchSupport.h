// kyBenchSupport.h - a main() for Base's benchmark programs that runs every benchmark with
// repetitions in random interleaved order and then prints, for each pair of benchmarks named
// ".../base" and ".../<baseline>", the median of their per-repetition time ratios, its spread,
// and whether it clears a goal.
//
// Name benchmarks "<case>/base" and "<case>/<baseline>" (for example "hash_map/insert/std")
// and register goals with kybench::goal("<case>", "<baseline>", minimumSpeedRatio). A ratio
// above 1 means Base is faster. Run with --benchmark_repetitions=N to change the default (15,
// or what the program passes to runBenchmarks).
#ifndef KY_BENCH_SUPPORT_H
#define KY_BENCH_SUPPORT_H

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <vector>

namespace kybench {

struct Goal {
    std::string baseline;
    double minimumRatio; // baseline time / subject time must reach this
    std::string subject; // "base", or another benchmark of the case set beside the baseline
};

inline std::map<std::string, std::vector<Goal>>& goals() {
    static std::map<std::string, std::vector<Goal>> all;
    return all;
}

/// Registers a goal: the case's Base benchmark must run at least `minimumRatio` times as fast
/// as its `baseline` benchmark (0 means: just print the ratio). A `subject` other than "base"
/// compares two of the case's other benchmarks, for example a floor against a baseline; its
/// row names the subject in brackets.
inline bool goal(const std::string& name, const std::string& baseline, double minimumRatio,
                 const std::string& subject = "base") {
    goals()[name].push_back({baseline, minimumRatio, subject});
    return true;
}

// Keeps every repetition's time (and the median) of each benchmark while the console shows
// only the aggregates. Benchmarks timed with UseManualTime() or UseRealTime() carry a suffix
// that is not part of their case name.
class RepetitionCollector : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        std::vector<Run> shown;
        for (const Run& run : runs) {
            if (run.run_type == Run::RT_Iteration && !run.error_occurred) {
                const std::size_t index =
                    run.repetition_index < 0 ? 0 : static_cast<std::size_t>(run.repetition_index);
                std::vector<double>& times = repetitions[caseName(run.run_name.str())];
                if (times.size() <= index) {
                    times.resize(index + 1, 0.0);
                }
                times[index] = run.GetAdjustedRealTime();
            }
            if (run.run_type == Run::RT_Aggregate || run.repetitions <= 1) {
                shown.push_back(run);
            }
        }
        if (!shown.empty()) {
            ConsoleReporter::ReportRuns(shown);
        }
    }
    /// Per case, the time of each repetition in repetition order (0 where one failed).
    std::map<std::string, std::vector<double>> repetitions;

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

/// The value at fraction `q` (0..1) of sorted `v`, interpolated between neighbours.
inline double quantile(std::vector<double> v, double q) {
    if (v.empty()) {
        return 0.0;
    }
    std::sort(v.begin(), v.end());
    const double at = q * static_cast<double>(v.size() - 1);
    const std::size_t below = static_cast<std::size_t>(at);
    const std::size_t above = below + 1 < v.size() ? below + 1 : below;
    return v[below] + (v[above] - v[below]) * (at - static_cast<double>(below));
}

/// Prints the ratio table; returns the number of goals missed.
///
/// Base and its baseline run as interleaved repetitions of one process, so repetition i of
/// each ran under much the same machine load: the ratio of each pair is one sample, and the
/// table shows the median of those samples with their interquartile range. A goal is "met"
/// only when the whole range clears it, "MISSED" when the whole range falls short, and
/// "unclear" when the range straddles it (a noisy machine: run again with more repetitions).
inline int printRatios(const std::map<std::string, std::vector<double>>& repetitions) {
    int missed = 0;
    std::printf("\n%-44s %-12s %11s %11s %7s %15s %6s  %s\n", "case", "baseline", "base",
                "baseline", "ratio", "ratio IQR", "goal", "");
    for (const auto& entry : goals()) {
        for (const Goal& g : entry.second) {
            const auto mine = repetitions.find(entry.first + "/" + g.subject);
            const auto theirs = repetitions.find(entry.first + "/" + g.baseline);
            if (mine == repetitions.end() || theirs == repetitions.end()) {
                continue; // filtered out, or the baseline was not built
            }
            std::vector<double> ratios;
            const std::size_t n = std::min(mine->second.size(), theirs->second.size());
            for (std::size_t i = 0; i < n; ++i) {
                if (mine->second[i] > 0.0 && theirs->second[i] > 0.0) {
                    ratios.push_back(theirs->second[i] / mine->second[i]);
                }
            }
            if (ratios.empty()) {
                continue;
            }
            const double low = quantile(ratios, 0.25);
            const double high = quantile(ratios, 0.75);
            const char* verdict = "";
            if (g.minimumRatio > 0) {
                verdict = low >= g.minimumRatio   ? "met"
                          : high < g.minimumRatio ? "MISSED"
                                                  : "unclear";
                missed += low >= g.minimumRatio ? 0 : 1;
            }
            char range[32];
            std::snprintf(range, sizeof range, "%.2f-%.2f", low, high);
            const std::string row =
                g.subject == "base" ? entry.first : entry.first + " [" + g.subject + "]";
            std::printf("%-44s %-12s %11.1f %11.1f %6.2fx %15s %5.2fx  %s\n", row.c_str(),
                        g.baseline.c_str(), quantile(mine->second, 0.5),
                        quantile(theirs->second, 0.5), quantile(ratios, 0.5), range, g.minimumRatio,
                        verdict);
        }
    }
    return missed;
}

/// The benchmark program's main: repetitions (`defaultRepetitions` unless the command line
/// gives a number), random interleaving, medians, ratios with their spread.
inline int runBenchmarks(int argc, char** argv, int defaultRepetitions = 15) {
    std::vector<char*> args(argv, argv + argc);
    bool hasRepetitions = false;
    for (int i = 1; i < argc; ++i) {
        hasRepetitions |= std::strncmp(argv[i], "--benchmark_repetitions", 23) == 0;
    }
    std::string repetitions = "--benchmark_repetitions=" + std::to_string(defaultRepetitions);
    static char interleave[] = "--benchmark_enable_random_interleaving=true";
    if (!hasRepetitions) {
        args.push_back(&repetitions[0]);
    }
    args.push_back(interleave);
    int count = static_cast<int>(args.size());
    benchmark::Initialize(&count, args.data());
    RepetitionCollector reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    const int missed = printRatios(reporter.repetitions);
    std::printf("\n%d goal(s) not met (times are medians in the unit shown above; the ratio is "
                "the median of the per-repetition ratios)\n",
                missed);
    return 0;
}

} // namespace kybench

#define KY_BENCHMARK_MAIN()                                                                        \
    int main(int argc, char** argv) {                                                              \
        return kybench::runBenchmarks(argc, argv);                                                 \
    }

#endif // KY_BENCH_SUPPORT_H
