// moveable_bench.cpp - moveable memory against the heap and against the page cache.
//
//   blocks/10000   allocate + map + touch every byte + unmap + release, one block at a time,
//                  of 10,000 blocks of 4 KiB to 1 MiB (log-uniform, seeded), against malloc +
//                  memset + free of the same sizes. The ratio is printed; moveable memory
//                  pays for a file-backed view per block, which the heap does not.
//   stream/4GiB    4 GiB written through moveable memory (128 blocks of 32 MiB: allocate,
//                  map, fill, unmap, all kept until the end, then released), against write()
//                  of the same 4 GiB to a file in the same directory, deleted at the end: the
//                  page cache's write rate, the physical limit of anything that puts bytes in
//                  files.
//
// Times are wall-clock milliseconds per iteration. Backing files and the baseline's file live
// in a directory of their own under $TMPDIR (else /tmp), removed when the program ends.
#include <Base/OS/kyOSMoveableMemory.h>

#include <kyBenchRawFile.h>
#include <kyBenchSupport.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <random>
#include <string>
#include <system_error>
#include <vector>

#include <unistd.h>

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kBlocks = 10000;
constexpr std::size_t kStreamBlock = 32u << 20;
constexpr std::size_t kStreamTotal = std::size_t(4) << 30;

struct Data {
    fs::path dir;
    std::vector<std::size_t> sizes;
    std::vector<char> pattern;

    Data() : pattern(kStreamBlock, 'm') {
        dir = fs::temp_directory_path() / ("kybench-moveable-" + std::to_string(::getpid()));
        fs::create_directories(dir);
        std::mt19937 random(20261124);
        std::uniform_real_distribution<double> exponent(12.0, 20.0); // 4 KiB .. 1 MiB
        for (std::size_t i = 0; i < kBlocks; ++i) {
            sizes.push_back(static_cast<std::size_t>(std::exp2(exponent(random))));
        }
    }
    ~Data() {
        std::error_code ignored;
        fs::remove_all(dir, ignored);
    }
};

Data& data() {
    static Data d;
    return d;
}

kyString::IString wide(const fs::path& p) {
    return kyString::IString(p.string().c_str());
}

void blocksBase(benchmark::State& state) {
    kyOS::MoveableMemory memory;
    if (!memory.initializeFiles(wide(data().dir), L"bench")) {
        state.SkipWithError("initializeFiles failed");
        return;
    }
    for (auto _ : state) {
        for (std::size_t size : data().sizes) {
            ky::Reference<kyOS::MoveableMapping> block = memory.allocate(size);
            void* p = block ? block->map() : nullptr;
            if (p == nullptr) {
                state.SkipWithError("allocate or map failed");
                return;
            }
            std::memset(p, static_cast<int>(size & 0xFF), size);
            benchmark::DoNotOptimize(p);
            block->unmap();
        }
    }
}

void blocksMalloc(benchmark::State& state) {
    for (auto _ : state) {
        for (std::size_t size : data().sizes) {
            void* p = std::malloc(size);
            std::memset(p, static_cast<int>(size & 0xFF), size);
            benchmark::DoNotOptimize(p);
            benchmark::ClobberMemory(); // the bytes must really be written before the free
            std::free(p);
        }
    }
}

void streamBase(benchmark::State& state) {
    kyOS::MoveableMemory memory;
    if (!memory.initializeFiles(wide(data().dir), L"bench")) {
        state.SkipWithError("initializeFiles failed");
        return;
    }
    for (auto _ : state) {
        std::vector<ky::Reference<kyOS::MoveableMapping>> kept;
        for (std::size_t done = 0; done < kStreamTotal; done += kStreamBlock) {
            kept.push_back(memory.allocate(kStreamBlock));
            void* p = kept.back() ? kept.back()->map() : nullptr;
            if (p == nullptr) {
                state.SkipWithError("allocate or map failed");
                return;
            }
            std::memcpy(p, data().pattern.data(), kStreamBlock);
            kept.back()->unmap();
        }
    }
}

void streamWrite(benchmark::State& state) {
    const std::string path = (data().dir / "stream.bin").string();
    for (auto _ : state) {
        if (!kybench::rawWriteFile(path, data().pattern.data(), kStreamBlock, kStreamTotal, 0600) ||
            ::unlink(path.c_str()) != 0) {
            state.SkipWithError("write failed");
            return;
        }
    }
}

const bool kGoals =
    kybench::goal("blocks/10000", "malloc", 0) && kybench::goal("stream/4GiB", "write", 0);

BENCHMARK(blocksBase)->Name("blocks/10000/base")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(blocksMalloc)->Name("blocks/10000/malloc")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(streamBase)->Name("stream/4GiB/base")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(streamWrite)->Name("stream/4GiB/write")->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

int main(int argc, char** argv) {
    (void)kGoals;
    return kybench::runBenchmarks(argc, argv, 5);
}
