// filters_bench.cpp - the filter buffers: LZW against the Unix `compress` program, and the
// checksum and cipher filters against a plain memory copy.
//
//   lzw/compress/100MiB     ours: open a mixed 100 MiB corpus (text, float arrays, a shared
//                           library, in 1 MiB pieces), write it through the compression filter
//                           into a file, close. Baseline: the whole `compress -b16 -c` process
//                           on the same file. Goal: 1.5x; the compressed sizes are printed and
//                           must agree within 1 %.
//   lzw/decompress/100MiB   ours: read our compressed file through the filter into a file.
//                           Baseline: `compress -d -c` on its own output. Goal: 1.5x.
//   checksum/write|read/1GiB  1 GiB through the checksum filter into (out of) memory, against
//                           memcpy of the same bytes. Goal: 4 GB/s (the bytes_per_second column).
//   cipher/write|read/1GiB  the same through the cipher filter with the processor's AES
//                           instructions (goal 1 GB/s), and cipher-portable/... without them.
//
// Baselines that need `compress` (package ncompress) are left out with a message when it is
// not installed. Times are wall-clock milliseconds per operation; files live in a directory of
// their own under $TMPDIR (else /tmp), removed at the end.
#include <Base/IO/internal/ioFilterBuffers.h>
#include <Base/IO/ioBufferedStream.h>

#include <kyBenchSupport.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
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

constexpr std::size_t kCorpusSize = std::size_t{100} << 20;
constexpr std::size_t kMemorySize = std::size_t{1} << 30;
constexpr std::size_t kBlock = 256u << 10;

std::size_t sizeOf(const fs::path& path) {
    std::error_code ec;
    const auto n = fs::file_size(path, ec);
    return ec ? 0 : static_cast<std::size_t>(n);
}

bool haveCompress() {
    const char* path = std::getenv("PATH");
    std::string all = path != nullptr ? path : "/usr/bin:/bin";
    for (std::size_t at = 0; at <= all.size();) {
        const std::size_t end = std::min(all.find(':', at), all.size());
        if (::access((all.substr(at, end - at) + "/compress").c_str(), X_OK) == 0) {
            return true;
        }
        at = end + 1;
    }
    return false;
}

// Runs `compress` with `args`, its standard output into `out`; true when it exits with 0.
bool runCompress(std::vector<std::string> args, const fs::path& out) {
    args.insert(args.begin(), "compress");
    std::vector<char*> argv;
    for (std::string& a : args) {
        argv.push_back(&a[0]);
    }
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 1, out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    pid_t pid = 0;
    const int rc = posix_spawnp(&pid, "compress", &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    int status = 0;
    return rc == 0 && ::waitpid(pid, &status, 0) == pid && WIFEXITED(status) &&
           WEXITSTATUS(status) == 0;
}

std::vector<char> readAll(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::vector<char>(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// Our compression and decompression, file to file through the public streams.
bool compressFile(const fs::path& from, const fs::path& to) {
    ioBufferedStreamInput in;
    in.openFile(kyString::IString(from.c_str()));
    ioBufferedStreamOutput out;
    out.openFile(kyString::IString(to.c_str()));
    out.compress(true);
    std::vector<char> block(kBlock);
    while (in.good()) {
        const int got = in.readData(block.data(), static_cast<int>(kBlock));
        out.writeData(block.data(), got);
    }
    const bool ended = in.getStatus() == ioStreamEndOfFile;
    in.close();
    out.compress(false);
    out.close();
    return ended && out.good();
}

bool decompressFile(const fs::path& from, const fs::path& to) {
    ioBufferedStreamInput in;
    in.openFile(kyString::IString(from.c_str()));
    in.compress(true);
    ioBufferedStreamOutput out;
    out.openFile(kyString::IString(to.c_str()));
    std::vector<char> block(kBlock);
    while (in.good()) {
        const int got = in.readData(block.data(), static_cast<int>(kBlock));
        out.writeData(block.data(), got);
    }
    const bool ended = in.getStatus() == ioStreamEndOfCompressed;
    in.compress(false);
    in.close();
    out.close();
    return ended && out.good();
}

// The corpus file, our compressed file and the baseline's, made and checked on first use.
struct Corpus {
    fs::path dir;
    fs::path source;
    fs::path ours;
    fs::path theirs;
    fs::path target;
    bool baseline = haveCompress();

    Corpus() {
        dir = fs::temp_directory_path() / ("kybench-filters-" + std::to_string(::getpid()));
        fs::create_directories(dir);
        source = dir / "corpus.bin";
        ours = dir / "ours.Z";
        theirs = dir / "theirs.Z";
        target = dir / "target.bin";
        std::vector<char> library =
            readAll(fs::read_symlink("/proc/self/exe").parent_path() / "../lib/libBase.so");
        if (library.empty()) {
            library = readAll("/proc/self/exe");
        }
        static const char* const words[] = {
            "the",    "buffer", "of",     "a",       "stream", "packet", "file",   "reads",
            "writes", "chain",  "filter", "section", "and",    "to",     "status", "is",
            "object", "mesh",   "vertex", "normal",  "render", "layer",  "scene",  "node"};
        std::mt19937 random(1);
        std::vector<char> all;
        all.reserve(kCorpusSize);
        for (int piece = 0; all.size() < kCorpusSize; ++piece) {
            const std::size_t end = std::min(kCorpusSize, all.size() + (std::size_t{1} << 20));
            switch (piece % 3) {
            case 0: // text: words of a small vocabulary, commoner ones more often
                while (all.size() < end) {
                    const std::size_t w = (random() % 24) * (random() % 24) / 24;
                    for (const char* p = words[w]; *p != 0; ++p) {
                        all.push_back(*p);
                    }
                    all.push_back(random() % 12 == 0 ? '\n' : ' ');
                }
                break;
            case 1: { // float arrays: smooth curves with a little noise
                float t = static_cast<float>(piece);
                while (all.size() + 4 <= end) {
                    const float v = std::sin(t) * 100.0f + static_cast<float>(random() % 16) / 64;
                    char bytes[4];
                    std::memcpy(bytes, &v, 4);
                    all.insert(all.end(), bytes, bytes + 4);
                    t += 0.001f;
                }
                break;
            }
            default: // the shared library, from where the last piece left it
                while (all.size() < end) {
                    all.push_back(library[all.size() % library.size()]);
                }
            }
            all.resize(end);
        }
        std::ofstream(source, std::ios::binary).write(all.data(), static_cast<long>(all.size()));
        if (!compressFile(source, ours) || !decompressFile(ours, target) ||
            readAll(target) != all) {
            std::fprintf(stderr, "the compression filter does not round-trip the corpus\n");
            std::exit(1);
        }
        if (!baseline) {
            std::printf("compress (package ncompress) is not installed: its baselines are left "
                        "out\n");
            return;
        }
        if (!runCompress({"-b16", "-c", source.string()}, theirs) ||
            !runCompress({"-d", "-c", theirs.string()}, target) || readAll(target) != all) {
            std::fprintf(stderr, "compress failed on the corpus\n");
            std::exit(1);
        }
        const double a = static_cast<double>(sizeOf(ours));
        const double b = static_cast<double>(sizeOf(theirs));
        std::printf("compressed sizes of the %zu byte corpus: ours %.0f, compress %.0f "
                    "(%+.2f %%)\n",
                    kCorpusSize, a, b, (a - b) / b * 100);
    }
    ~Corpus() {
        std::error_code ec;
        fs::remove_all(dir, ec);
    }
};

Corpus& corpus() {
    static Corpus c;
    return c;
}

template <class Op>
void timed(benchmark::State& state, std::size_t bytes, Op&& op) {
    for (auto _ : state) {
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
                            static_cast<std::int64_t>(bytes));
}

void BM_LzwCompressBase(benchmark::State& state) {
    Corpus& c = corpus();
    timed(state, kCorpusSize, [&] { return compressFile(c.source, c.target); });
}

void BM_LzwCompressTheirs(benchmark::State& state) {
    Corpus& c = corpus();
    timed(state, kCorpusSize, [&] {
        return runCompress({"-b16", "-c", c.source.string()}, c.target);
    });
}

void BM_LzwDecompressBase(benchmark::State& state) {
    Corpus& c = corpus();
    timed(state, kCorpusSize, [&] { return decompressFile(c.ours, c.target); });
}

void BM_LzwDecompressTheirs(benchmark::State& state) {
    Corpus& c = corpus();
    timed(state, kCorpusSize, [&] {
        return runCompress({"-d", "-c", c.theirs.string()}, c.target);
    });
}

// ---------------------------------------------------------------------------------------------
// Checksum and cipher filters over memory

// A terminal buffer over one preallocated area: writes append, reads serve what was written.
class MemoryTerminal : public ioBuffer {
public:
    explicit MemoryTerminal(bool reading, std::vector<char>& area, std::size_t size = 0)
        : ioBuffer(reading, static_cast<int>(kBlock)), area_(area), size_(size) {}
    int getBufferType() override { return 99; }
    void close() override {}
    int readBlock(char* data, int length) override {
        const std::size_t n = std::min(static_cast<std::size_t>(length), size_ - at_);
        if (n == 0) {
            setStatus(ioBufferEndOfData);
            return 0;
        }
        std::memcpy(data, area_.data() + at_, n);
        at_ += n;
        return static_cast<int>(n);
    }
    void writeBlock(const char* data, int length) override {
        const std::size_t n = static_cast<std::size_t>(length);
        if (size_ + n > area_.size()) {
            setStatus(ioBufferDiskFull);
            return;
        }
        std::memcpy(area_.data() + size_, data, n);
        size_ += n;
    }
    std::size_t size() const { return size_; }

private:
    std::vector<char>& area_;
    std::size_t size_;
    std::size_t at_ = 0;
};

enum Kind { kChecksum, kCipher, kCipherPortable, kCopy };

// 1 GiB of framed data per filter (framing adds under 1 %), and one block of plain bytes.
struct Memory {
    std::vector<char> block = std::vector<char>(kBlock);
    std::vector<char> area[3];
    std::size_t size[3] = {};
    Memory() {
        std::mt19937 random(2);
        for (char& b : block) {
            b = static_cast<char>(random());
        }
    }
};

Memory& memory() {
    static Memory m;
    return m;
}

ioBuffer* filterFor(Kind kind, bool reading) {
    if (kind == kChecksum) {
        return new ioBufferChecksum(reading);
    }
    return new ioBufferEncrypt(reading);
}

bool writeThrough(Kind kind) {
    Memory& m = memory();
    const int slot = kind == kCipherPortable ? kCipher : kind;
    std::vector<char>& area = m.area[slot];
    MemoryTerminal* sink = new MemoryTerminal(false, area);
    ioBuffer* top = filterFor(kind, false);
    top->setNext(sink);
    for (std::size_t done = 0; done < kMemorySize; done += kBlock) {
        top->write(m.block.data(), static_cast<int>(kBlock));
    }
    top->finish();
    const bool ok = top->good();
    m.size[slot] = sink->size();
    delete top;
    return ok;
}

bool readThrough(Kind kind) {
    Memory& m = memory();
    const int slot = kind == kCipherPortable ? kCipher : kind;
    ioBuffer* top = filterFor(kind, true);
    top->setNext(new MemoryTerminal(true, m.area[slot], m.size[slot]));
    std::vector<char> block(kBlock);
    std::size_t total = 0;
    while (total < kMemorySize && top->good()) {
        total += static_cast<std::size_t>(top->read(block.data(), static_cast<int>(kBlock)));
    }
    benchmark::DoNotOptimize(block.data());
    const bool ok = total == kMemorySize && std::memcmp(block.data(), m.block.data(), kBlock) == 0;
    delete top;
    return ok;
}

// The areas are made (and their pages touched) before any timing.
void prepareArea(Kind kind) {
    std::vector<char>& area = memory().area[kind == kCipherPortable ? kCipher : kind];
    area.resize(kMemorySize + kMemorySize / 64);
}

void BM_FilterWrite(benchmark::State& state, Kind kind) {
    prepareArea(kind);
    ioDetail::cipherForcePortable(kind == kCipherPortable);
    timed(state, kMemorySize, [&] { return writeThrough(kind); });
    ioDetail::cipherForcePortable(false);
}

void BM_FilterRead(benchmark::State& state, Kind kind) {
    ioDetail::cipherForcePortable(kind == kCipherPortable);
    if (memory().size[kind == kCipherPortable ? kCipher : kind] == 0) {
        prepareArea(kind);
        writeThrough(kind);
    }
    timed(state, kMemorySize, [&] { return readThrough(kind); });
    ioDetail::cipherForcePortable(false);
}

// The baseline of both directions: the same bytes copied into and out of one area.
void BM_CopyWrite(benchmark::State& state) {
    Memory& m = memory();
    std::vector<char> area(kMemorySize);
    timed(state, kMemorySize, [&] {
        for (std::size_t done = 0; done < kMemorySize; done += kBlock) {
            std::memcpy(area.data() + done, m.block.data(), kBlock);
        }
        benchmark::DoNotOptimize(area.data());
        return true;
    });
}

void BM_CopyRead(benchmark::State& state) {
    std::vector<char> area(kMemorySize, 1);
    std::vector<char> block(kBlock);
    timed(state, kMemorySize, [&] {
        for (std::size_t done = 0; done < kMemorySize; done += kBlock) {
            std::memcpy(block.data(), area.data() + done, kBlock);
            benchmark::DoNotOptimize(block.data());
        }
        return true;
    });
}

benchmark::internal::Benchmark* add(const char* name, void (*fn)(benchmark::State&)) {
    return benchmark::RegisterBenchmark(name, fn)->UseManualTime()->Unit(benchmark::kMillisecond);
}

benchmark::internal::Benchmark* add(const char* name, void (*fn)(benchmark::State&, Kind),
                                    Kind kind) {
    return benchmark::RegisterBenchmark(name, fn, kind)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
}

const bool kRegistered = [] {
    add("lzw/compress/100MiB/base", BM_LzwCompressBase);
    add("lzw/decompress/100MiB/base", BM_LzwDecompressBase);
    if (haveCompress()) {
        add("lzw/compress/100MiB/compress", BM_LzwCompressTheirs);
        add("lzw/decompress/100MiB/compress", BM_LzwDecompressTheirs);
    } else {
        std::printf("compress (package ncompress) is not installed: the LZW baselines are left "
                    "out\n");
    }
    const char* directions[] = {"write", "read"};
    for (const char* dir : directions) {
        const bool write = dir[0] == 'w';
        void (*filter)(benchmark::State&, Kind) = write ? BM_FilterWrite : BM_FilterRead;
        void (*copy)(benchmark::State&) = write ? BM_CopyWrite : BM_CopyRead;
        const std::string d = dir;
        for (const char* name : {"checksum", "cipher", "cipher-portable"}) {
            const std::string n = name;
            const Kind kind = n == "checksum" ? kChecksum
                              : n == "cipher" ? kCipher
                                              : kCipherPortable;
            add((n + "/" + d + "/1GiB/base").c_str(), filter, kind);
            add((n + "/" + d + "/1GiB/memcpy").c_str(), copy);
            kybench::goal(n + "/" + d + "/1GiB", "memcpy", 0);
        }
    }
    kybench::goal("lzw/compress/100MiB", "compress", 1.5);
    kybench::goal("lzw/decompress/100MiB", "compress", 1.5);
    return true;
}();

} // namespace
