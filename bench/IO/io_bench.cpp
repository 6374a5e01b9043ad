// io_bench.cpp - the serialization buffers against the system calls they stand in front of.
//
//   fd/write/1GiB   ioBufferFD: open, 4,096 buffered writes of 256 KiB, close; against open,
//                   write and close called directly with the same blocks. Goal: 0.9x.
//   fd/read/1GiB    the same for reading the file back until its end. Goal: 0.9x.
//
// Times are wall-clock milliseconds per operation. The write target is deleted, untimed,
// before each iteration; reads come from the page cache, so what is measured is the
// buffer's cost (one copy through its 256 KiB array) over the system calls, not the disk.
// Files live in a directory of their own under $TMPDIR (else /tmp), removed at the end.
//
// To add a case: write a `Base` and a baseline function over `Data`, register both with
// KY_IO_BENCHMARK under "<case>/base" and "<case>/<baseline>", and add a goal to kGoals.
#include <Base/IO/internal/ioBufferFD.h>

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
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kFileSize = std::size_t{1} << 30;
constexpr std::size_t kBlock = 256u << 10;

// The benchmark's directory, its 1 GiB source file and one block of data, made on first use.
struct Data {
    fs::path dir;
    fs::path source;
    fs::path target;
    std::vector<char> block;

    Data() : block(kBlock) {
        for (std::size_t i = 0; i < block.size(); ++i) {
            block[i] = static_cast<char>((i * 131u + (i >> 12)) & 0xFF);
        }
        dir = fs::temp_directory_path() / ("kybench-io-" + std::to_string(::getpid()));
        fs::create_directories(dir);
        source = dir / "source.bin";
        target = dir / "target.bin";
        const int fd = ::open(source.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
        for (std::size_t done = 0; fd >= 0 && done < kFileSize; done += kBlock) {
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

kyString::IString nameOf(const fs::path& path) {
    return kyString::IString(path.c_str());
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

std::size_t sizeOf(const fs::path& path) {
    std::error_code ec;
    const auto n = fs::file_size(path, ec);
    return ec ? 0 : static_cast<std::size_t>(n);
}

// ---------------------------------------------------------------------------------------------
// Descriptor buffer

void BM_FdWriteBase(benchmark::State& state) {
    Data& d = data();
    timed(state, removeTarget, [&] {
        ioBufferFD out(false);
        out.open(nameOf(d.target));
        for (std::size_t done = 0; done < kFileSize; done += kBlock) {
            out.write(d.block.data(), static_cast<int>(kBlock));
        }
        out.flush();
        out.close();
        return out.good() && sizeOf(d.target) == kFileSize;
    });
}

void BM_FdWriteRaw(benchmark::State& state) {
    Data& d = data();
    timed(state, removeTarget,
          [&] { return kybench::rawWriteFile(d.target, d.block.data(), kBlock, kFileSize, 0600); });
}

void BM_FdReadBase(benchmark::State& state) {
    Data& d = data();
    std::vector<char> buffer(kBlock);
    timed(
        state, [] {},
        [&] {
            ioBufferFD in(true);
            in.open(nameOf(d.source));
            std::size_t total = 0;
            while (in.good()) {
                total += static_cast<std::size_t>(in.read(buffer.data(), static_cast<int>(kBlock)));
            }
            benchmark::DoNotOptimize(buffer.data());
            const bool ended = in.getStatus() == ioBufferEndOfData;
            in.close();
            return ended && total == kFileSize;
        });
}

void BM_FdReadRaw(benchmark::State& state) {
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

#define KY_IO_BENCHMARK(fn, name)                                                                  \
    BENCHMARK(fn)->UseManualTime()->Unit(benchmark::kMillisecond)->Name(name)

KY_IO_BENCHMARK(BM_FdWriteBase, "fd/write/1GiB/base");
KY_IO_BENCHMARK(BM_FdWriteRaw, "fd/write/1GiB/raw");
KY_IO_BENCHMARK(BM_FdReadBase, "fd/read/1GiB/base");
KY_IO_BENCHMARK(BM_FdReadRaw, "fd/read/1GiB/raw");

const bool kGoals[] = {
    kybench::goal("fd/write/1GiB", "raw", 0.9),
    kybench::goal("fd/read/1GiB", "raw", 0.9),
};

} // namespace

// Page-cache timings of a shared machine vary a lot; 5 repetitions of 1 GiB each unless the
// command line says otherwise.
int main(int argc, char** argv) {
    return kybench::runBenchmarks(argc, argv, 5);
}
