// files_bench.cpp - the file layer against the system's own tools and calls.
//
//   copy/256MiB    kyOS::fileCopy of a 256 MiB file against the system's cp, started with
//                  posix_spawn (no shell) and waited for. Goal: at least 0.9x cp's speed.
//   write/256MiB   kyOS::File: open, 1,024 writes of 256 KiB, close; against open, write
//                  and close called directly. Goal: at least 0.95x.
//   read/256MiB    the same for reading the file back until its end. Goal: at least 0.95x.
//
// Times are wall-clock milliseconds per operation (the copy's baseline runs in another
// process and the work is in the kernel, so CPU time of this process would not compare).
// Targets are deleted, untimed, before each iteration, so that every write and copy makes a
// new file and dirty pages of the previous one never have to reach the disk. Reads come
// from the page cache: what is measured is the layer's cost over the system calls, not the
// disk. The files live in a directory of their own under $TMPDIR (else /tmp), removed when
// the program ends.
#include <Base/OS/kyOSFile.h>

#include <kyBenchRawFile.h>
#include <kyBenchSupport.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kFileSize = 256u << 20;
constexpr std::size_t kBlock = 256u << 10;

// The benchmark's directory and its source file, made on first use.
struct Data {
    fs::path dir;
    fs::path source;
    fs::path target;
    std::vector<char> block;

    Data() : block(kBlock) {
        for (std::size_t i = 0; i < block.size(); ++i) {
            block[i] = static_cast<char>((i * 131u + (i >> 12)) & 0xFF);
        }
        dir = fs::temp_directory_path() / ("kybench-files-" + std::to_string(::getpid()));
        fs::create_directories(dir);
        source = dir / "source.bin";
        target = dir / "target.bin";
        const int fd = ::open(source.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
        for (std::size_t done = 0; fd >= 0 && done < kFileSize; done += kBlock) {
            block[0] = static_cast<char>(done >> 18); // no two blocks alike
            if (::write(fd, block.data(), kBlock) != static_cast<ssize_t>(kBlock)) {
                std::fprintf(stderr, "cannot write %s: %s\n", source.c_str(), std::strerror(errno));
                std::exit(1);
            }
        }
        if (fd < 0 || ::close(fd) != 0) {
            std::fprintf(stderr, "cannot make %s\n", source.c_str());
            std::exit(1);
        }
    }
    ~Data() {
        std::error_code ec;
        fs::remove_all(dir, ec);
    }
};

Data& data() {
    static Data d;
    return d;
}

kyOS::Filename nameOf(const fs::path& path) {
    return kyOS::Filename(kyString::IString(path.c_str()));
}

void removeTarget() {
    std::error_code ec;
    fs::remove(data().target, ec);
}

// Times one operation per iteration; `prepare` runs untimed before each.
template <class Prepare, class Op>
void timed(benchmark::State& state, Prepare&& prepare, Op&& op) {
    for (auto _ : state) {
        prepare();
        const auto start = std::chrono::steady_clock::now();
        const bool ok = op();
        const auto stop = std::chrono::steady_clock::now();
        if (!ok) {
            state.SkipWithError("the operation failed");
            break;
        }
        state.SetIterationTime(std::chrono::duration<double>(stop - start).count());
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                            static_cast<std::int64_t>(kFileSize));
}

bool sameSize(const fs::path& path) {
    std::error_code ec;
    return fs::file_size(path, ec) == kFileSize && !ec;
}

// ---------------------------------------------------------------------------------------------
// Copy

void BM_CopyBase(benchmark::State& state) {
    Data& d = data();
    timed(state, removeTarget, [&] {
        return kyOS::fileCopy(nameOf(d.source), nameOf(d.target), true).ok() && sameSize(d.target);
    });
}

void BM_CopyCp(benchmark::State& state) {
    Data& d = data();
    timed(state, removeTarget, [&] {
        std::string source = d.source.string();
        std::string target = d.target.string();
        char cp[] = "cp";
        char* argv[] = {cp, &source[0], &target[0], nullptr};
        pid_t child = 0;
        if (::posix_spawnp(&child, "cp", nullptr, nullptr, argv, environ) != 0) {
            return false;
        }
        int status = 0;
        return ::waitpid(child, &status, 0) == child && WIFEXITED(status) &&
               WEXITSTATUS(status) == 0 && sameSize(d.target);
    });
}

// ---------------------------------------------------------------------------------------------
// Write

void BM_WriteBase(benchmark::State& state) {
    Data& d = data();
    timed(state, removeTarget, [&] {
        kyOS::File out(nameOf(d.target));
        if (out.open(kyOS::kWrite | kyOS::kCreate | kyOS::kTruncate).failed()) {
            return false;
        }
        for (std::size_t done = 0; done < kFileSize; done += kBlock) {
            if (out.write(d.block.data(), kBlock, nullptr).failed()) {
                return false;
            }
        }
        return out.close().ok();
    });
}

void BM_WriteRaw(benchmark::State& state) {
    Data& d = data();
    timed(state, removeTarget,
          [&] { return kybench::rawWriteFile(d.target, d.block.data(), kBlock, kFileSize, 0666); });
}

// ---------------------------------------------------------------------------------------------
// Read

void BM_ReadBase(benchmark::State& state) {
    Data& d = data();
    std::vector<char> buffer(kBlock);
    timed(
        state, [] {},
        [&] {
            kyOS::File in(nameOf(d.source));
            if (in.open(kyOS::kRead).failed()) {
                return false;
            }
            std::size_t total = 0;
            for (;;) {
                std::size_t got = 0;
                const kyUtil::Error e = in.read(buffer.data(), kBlock, &got);
                total += got;
                if (e.failed() || got < kBlock) {
                    break; // "End Of File" (code 3) after the last block
                }
            }
            benchmark::DoNotOptimize(buffer.data());
            return in.close().ok() && total == kFileSize;
        });
}

void BM_ReadRaw(benchmark::State& state) {
    Data& d = data();
    std::vector<char> buffer(kBlock);
    timed(
        state, [] {},
        [&] {
            const bool ok = kybench::rawReadFile(d.source, buffer.data(), kBlock, kFileSize);
            benchmark::DoNotOptimize(buffer.data());
            return ok;
        });
}

#define KY_FILES_BENCHMARK(fn, name)                                                               \
    BENCHMARK(fn)->UseManualTime()->Unit(benchmark::kMillisecond)->Name(name)

KY_FILES_BENCHMARK(BM_CopyBase, "copy/256MiB/base");
KY_FILES_BENCHMARK(BM_CopyCp, "copy/256MiB/cp");
KY_FILES_BENCHMARK(BM_WriteBase, "write/256MiB/base");
KY_FILES_BENCHMARK(BM_WriteRaw, "write/256MiB/raw");
KY_FILES_BENCHMARK(BM_ReadBase, "read/256MiB/base");
KY_FILES_BENCHMARK(BM_ReadRaw, "read/256MiB/raw");

const bool kGoals[] = {
    kybench::goal("copy/256MiB", "cp", 0.9),
    kybench::goal("write/256MiB", "raw", 0.95),
    kybench::goal("read/256MiB", "raw", 0.95),
};

} // namespace

// Disk and page-cache timings vary far more than in-memory ones: 15 repetitions unless the
// command line says otherwise.
int main(int argc, char** argv) {
    return kybench::runBenchmarks(argc, argv, 15);
}
