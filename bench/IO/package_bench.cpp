// package_bench.cpp - the kypkg tool against zip, unzip and cp on one tree of files, each run
// as a whole process (start, work, exit), so that what is compared is what a user waits for.
//
//   add/plain       kypkg create PKG tree        against zip -r -0 (goal 1.0x) and cp -r
//                   (goal 0.5x: copying the files is the floor of any archiver)
//   add/compressed  kypkg create PKG tree -z     against zip -r -1 (ratio printed)
//   extract/plain   kypkg extract PKG -C DIR     against unzip of the stored zip (goal 1.0x)
//   extract/compressed                           against unzip of the zip -1 archive (printed)
//
// The tree: 2,000 files of 1 KiB to 8 MiB (sizes spread evenly on a log scale), 1 GiB in all;
// KY_BENCH_PACKAGE_MIB=<n> makes it n MiB for a quick run. Each file is half random bytes and
// half text, in 4 KiB runs, so compression has something to find and something to give up
// on. Times are wall-clock milliseconds per run; outputs are removed, untimed, before each
// run; the tree is in the page cache. Without zip/unzip (or the tool) those cases are
// skipped with a message. Files live under $TMPDIR (else /tmp), removed at the end.
#include <kyBenchSupport.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <system_error>
#include <vector>

namespace {

namespace fs = std::filesystem;

constexpr int kFiles = 2000;
constexpr std::int64_t kMin = 1 << 10;
constexpr std::int64_t kMax = 8 << 20;

bool have(const char* program) {
    return std::system((std::string("command -v ") + program + " >/dev/null 2>&1").c_str()) == 0;
}

std::string kypkg() {
#ifdef KYPKG_PATH
    return KYPKG_PATH;
#else
    return "";
#endif
}

// The tree and the archives that the extraction cases read, made on first use.
struct Data {
    fs::path dir;
    std::int64_t total = 0;
    bool zip = have("zip");
    bool unzip = have("unzip");

    Data() {
        const char* mib = std::getenv("KY_BENCH_PACKAGE_MIB");
        const std::int64_t wanted = (mib != nullptr ? std::atoll(mib) : 1024) << 20;
        dir = fs::temp_directory_path() / ("kybench-package-" + std::to_string(std::rand()));
        fs::create_directories(dir / "tree");
        std::mt19937_64 random(2026);
        std::vector<double> sizes(kFiles);
        double sum = 0;
        for (double& size : sizes) {
            size = std::exp(std::uniform_real_distribution<double>(
                std::log(static_cast<double>(kMin)), std::log(static_cast<double>(kMax)))(random));
            sum += size;
        }
        std::string text;
        while (text.size() < 4096) {
            text += "vertex " + std::to_string(text.size() * 7 % 1000) + " 0.5 1.25 -3.0\n";
        }
        std::vector<char> bytes;
        for (int i = 0; i < kFiles; ++i) {
            const auto size = std::clamp<std::int64_t>(
                static_cast<std::int64_t>(sizes[static_cast<std::size_t>(i)] *
                                          static_cast<double>(wanted) / sum),
                kMin, kMax);
            bytes.resize(static_cast<std::size_t>(size));
            for (std::size_t at = 0; at < bytes.size(); at += 8) {
                const std::uint64_t r = random();
                for (std::size_t k = 0; k < 8 && at + k < bytes.size(); ++k) {
                    bytes[at + k] = (at >> 12) % 2 == 0 ? static_cast<char>(r >> (8 * k))
                                                        : text[(at + k) % 4096];
                }
            }
            const fs::path name = dir / "tree" / ("d" + std::to_string(i % 16)) /
                                  ("s" + std::to_string(i % 5)) / ("f" + std::to_string(i));
            fs::create_directories(name.parent_path());
            std::ofstream(name, std::ios::binary).write(bytes.data(), size);
            total += size;
        }
        std::printf("tree: %d files, %.1f MiB\n", kFiles, static_cast<double>(total) / (1 << 20));
        // The archives to extract, and their sizes beside each other.
        run("'" + kypkg() + "' create plain.kpf tree", !kypkg().empty());
        run("'" + kypkg() + "' create packed.kpf tree -z", !kypkg().empty());
        run("zip -q -r -0 plain.zip tree", zip);
        run("zip -q -r -1 packed.zip tree", zip);
        for (const char* name : {"plain.kpf", "plain.zip", "packed.kpf", "packed.zip"}) {
            std::error_code ec;
            const auto size = fs::file_size(dir / name, ec);
            if (!ec) {
                std::printf("%-11s %10.1f MiB (%.1f%% of the tree)\n", name,
                            static_cast<double>(size) / (1 << 20),
                            100.0 * static_cast<double>(size) / static_cast<double>(total));
            }
        }
    }
    ~Data() {
        std::error_code ec;
        fs::remove_all(dir, ec);
    }
    // Runs a shell command in the data folder; false when it fails or may not run.
    bool run(const std::string& command, bool possible = true) const {
        return possible && std::system(("cd '" + dir.string() + "' && " + command).c_str()) == 0;
    }
};

Data& data() {
    static Data d;
    return d;
}

// One case: `command` timed as a whole process, its outputs removed before each run.
void timeCommand(benchmark::State& state, const std::string& command, bool possible,
                 const char* missing) {
    Data& d = data();
    if (!possible) {
        state.SkipWithError(missing);
        return;
    }
    for (auto _ : state) {
        std::error_code ec;
        for (const char* out : {"out", "out.kpf", "out.zip"}) {
            fs::remove_all(d.dir / out, ec);
        }
        const auto start = std::chrono::steady_clock::now();
        const bool ran = d.run(command);
        state.SetIterationTime(
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
        if (!ran) {
            state.SkipWithError(("failed: " + command).c_str());
            return;
        }
    }
    state.SetBytesProcessed(state.iterations() * d.total);
}

const char kNoTool[] = "the kypkg tool is not part of this build";
const char kNoZip[] = "zip is not installed";
const char kNoUnzip[] = "unzip is not installed";

void addPlain(benchmark::State& s) {
    timeCommand(s, "'" + kypkg() + "' create out.kpf tree", !kypkg().empty(), kNoTool);
}
void addPlainZip(benchmark::State& s) {
    timeCommand(s, "zip -q -r -0 out.zip tree", data().zip, kNoZip);
}
void addPlainCopy(benchmark::State& s) {
    timeCommand(s, "cp -r tree out", true, "");
}
void addPacked(benchmark::State& s) {
    timeCommand(s, "'" + kypkg() + "' create out.kpf tree -z", !kypkg().empty(), kNoTool);
}
void addPackedZip(benchmark::State& s) {
    timeCommand(s, "zip -q -r -1 out.zip tree", data().zip, kNoZip);
}
void extractPlain(benchmark::State& s) {
    timeCommand(s, "'" + kypkg() + "' extract plain.kpf -C out", !kypkg().empty(), kNoTool);
}
void extractPlainUnzip(benchmark::State& s) {
    timeCommand(s, "unzip -q plain.zip -d out", data().unzip && data().zip, kNoUnzip);
}
void extractPacked(benchmark::State& s) {
    timeCommand(s, "'" + kypkg() + "' extract packed.kpf -C out", !kypkg().empty(), kNoTool);
}
void extractPackedUnzip(benchmark::State& s) {
    timeCommand(s, "unzip -q packed.zip -d out", data().unzip && data().zip, kNoUnzip);
}

#define KY_PACKAGE_BENCHMARK(fn, name)                                                             \
    BENCHMARK(fn)->UseManualTime()->Unit(benchmark::kMillisecond)->Name(name)

KY_PACKAGE_BENCHMARK(addPlain, "add/plain/base");
KY_PACKAGE_BENCHMARK(addPlainZip, "add/plain/zip-0");
KY_PACKAGE_BENCHMARK(addPlainCopy, "add/plain/cp-r");
KY_PACKAGE_BENCHMARK(addPacked, "add/compressed/base");
KY_PACKAGE_BENCHMARK(addPackedZip, "add/compressed/zip-1");
KY_PACKAGE_BENCHMARK(extractPlain, "extract/plain/base");
KY_PACKAGE_BENCHMARK(extractPlainUnzip, "extract/plain/unzip");
KY_PACKAGE_BENCHMARK(extractPacked, "extract/compressed/base");
KY_PACKAGE_BENCHMARK(extractPackedUnzip, "extract/compressed/unzip");

const bool kGoals[] = {
    kybench::goal("add/plain", "zip-0", 1.0),          kybench::goal("add/plain", "cp-r", 0.5),
    kybench::goal("add/compressed", "zip-1", 0.0),     kybench::goal("extract/plain", "unzip", 1.0),
    kybench::goal("extract/compressed", "unzip", 0.0),
};

} // namespace

int main(int argc, char** argv) {
    static_cast<void>(kGoals);
    return kybench::runBenchmarks(argc, argv, 5);
}
