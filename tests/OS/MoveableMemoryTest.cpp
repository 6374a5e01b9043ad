// MoveableMemoryTest.cpp - moveable memory and its chunk allocator: the placement rules as a
// table of cases, long seeded runs against a model, failures injected at every system call of
// segment creation, and no backing file left behind, even by a killed process.
#include <Base/OS/internal/kyOSFileCalls.h>
#include <Base/OS/kyOSMemoryMappedFile.h>
#include <Base/OS/kyOSMoveableAllocator.h>
#include <Base/OS/kyOSMoveableMemory.h>
#include <Base/OS/kyOSUuid.h>

#include "FaultInjector.h"
#include "FileTestSupport.h"
#include <kyTestSupport.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <list>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace kyOS {
bool operator==(const MoveableMemory::Stats& a, const MoveableMemory::Stats& b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}
std::ostream& operator<<(std::ostream& out, const MoveableMemory::Stats& s) {
    return out << "{" << s.granularity << " " << s.segments << " " << s.segmentBytes << " "
               << s.allocations << " " << s.allocatedBytes << " " << s.mappedBytes << "}";
}
} // namespace kyOS

namespace {

using kyOS::MoveableMemory;
using Stats = MoveableMemory::Stats;
constexpr std::uint64_t kKi = 1024, kMi = 1024 * 1024, kG = MoveableMemory::kGranule;

Stats empty() {
    return Stats{kyOS::FileMapping::getGranularity(), 0, 0, 0, 0, 0};
}

// The placement rules in their plainest form: all blocks of a segment in offset order, best
// fit by scanning every free block, ties to the block that became free first.
struct Model {
    struct Block {
        std::uint64_t offset, size;
        bool free;
        std::uint64_t listedAt;
    };
    struct Place {
        int segment;
        std::uint64_t offset, size;
    };
    Model(std::uint64_t g, std::uint64_t s, std::uint64_t l, bool k)
        : granule(g), segmentSize(s), limit(l), keepSpare(k) {}
    std::uint64_t granule, segmentSize, limit;
    bool keepSpare;
    std::map<int, std::vector<Block>> segments;
    std::map<int, std::uint64_t> sizes;
    int nextSegment = 0, spare = -1;
    std::uint64_t tick = 0, bytes = 0;

    int create(std::uint64_t size) {
        segments[nextSegment] = {{0, size, true, 0}};
        sizes[nextSegment] = size, bytes += size;
        return nextSegment++;
    }
    void destroy(int s) { bytes -= sizes[s], segments.erase(s), sizes.erase(s); }
    Place allocate(std::uint64_t n) {
        if (n > limit) {
            const int s = create(n);
            segments[s][0].free = false;
            return {s, 0, n};
        }
        const std::uint64_t r = (n + granule - 1) / granule * granule;
        int bestSegment = -1;
        std::size_t best = 0;
        for (auto& [s, blocks] : segments) {
            for (std::size_t i = 0; i < blocks.size() && s != spare; ++i) {
                const Block& b = blocks[i];
                const Block* o = bestSegment < 0 ? nullptr : &segments[bestSegment][best];
                if (b.free && b.size >= r &&
                    (!o || b.size < o->size || (b.size == o->size && b.listedAt < o->listedAt))) {
                    bestSegment = s, best = i;
                }
            }
        }
        if (bestSegment < 0) {
            bestSegment = spare >= 0 ? spare : create(segmentSize);
            spare = -1, best = 0;
        }
        std::vector<Block>& blocks = segments[bestSegment];
        Block& b = blocks[best];
        b.free = false;
        if (b.size - r > granule) {
            const Block head{b.offset, r, false, 0};
            b = Block{b.offset + r, b.size - r, true, ++tick};
            blocks.insert(blocks.begin() + static_cast<long>(best), head);
        }
        return {bestSegment, blocks[best].offset, blocks[best].size};
    }
    void release(const Place& p) {
        std::vector<Block>& blocks = segments[p.segment];
        std::size_t i = static_cast<std::size_t>(
            std::find_if(blocks.begin(), blocks.end(),
                         [&](const Block& b) { return b.offset == p.offset; }) -
            blocks.begin());
        blocks[i].free = true;
        if (i > 0 && blocks[i - 1].free) {
            blocks[i - 1].size += blocks[i].size;
            blocks.erase(blocks.begin() + static_cast<long>(i--));
        }
        if (i + 1 < blocks.size() && blocks[i + 1].free) {
            blocks[i].size += blocks[i + 1].size;
            blocks.erase(blocks.begin() + static_cast<long>(i + 1));
        }
        blocks[i].listedAt = ++tick;
        if (blocks.size() == 1) {
            if (keepSpare && spare < 0 && sizes[p.segment] == segmentSize) {
                spare = p.segment;
            } else {
                destroy(p.segment);
            }
        }
    }
    void dropSpare() {
        spare >= 0 ? destroy(spare) : void();
        spare = -1;
    }
};

class MoveableMemoryTest : public kytest::TempDirTest {
protected:
    void TearDown() override {
        EXPECT_TRUE(std::filesystem::is_empty(dir())) << "a backing file was left behind";
        kytest::TempDirTest::TearDown();
    }
    bool init(MoveableMemory& memory) {
        return memory.initializeFiles(filetest::wide(dir().string()), L"seg");
    }
};

// Each case: allocations (size >= 0) and releases (-1 - index of an earlier allocation), the
// block sizes handed out, then the statistics before and after getStats().
struct Case {
    const char* name;
    std::vector<long long> steps;
    std::vector<std::uint64_t> sizes;
    Stats before, after;
};

TEST_F(MoveableMemoryTest, PlacementCases) {
    const std::uint64_t g = kyOS::FileMapping::getGranularity(), seg = MoveableMemory::kSegmentSize;
    const long long big = static_cast<long long>(MoveableMemory::kSmallAllocationLimit + 1);
    const std::uint64_t b = std::uint64_t(big);
    // clang-format off
    const Case cases[] = {
        {"two 1-byte requests share a new segment", {1, 1}, {kG, kG},
         {g, 1, seg, 2, 2 * kG, 0}, {g, 1, seg, 2, 2 * kG, 0}},
        {"an emptied segment is the spare until getStats", {1, 1, -1, -2}, {kG, kG},
         {g, 1, seg, 0, 0, 0}, {g, 0, 0, 0, 0, 0}},
        {"32 MiB + 1 gets a segment of exactly that size", {big}, {b},
         {g, 1, b, 1, b, 0}, {g, 1, b, 1, b, 0}},
        {"a large segment is destroyed, not kept", {big, -1}, {b},
         {g, 0, 0, 0, 0, 0}, {g, 0, 0, 0, 0, 0}},
        {"a free 128 KiB block serves 64 KiB whole", {1, 2 * kG, 1, -2, kG}, {kG, 2 * kG, kG, 2 * kG},
         {g, 1, seg, 3, 4 * kG, 0}, {g, 1, seg, 3, 4 * kG, 0}},
        {"a free 192 KiB block is split for 64 KiB", {1, 3 * kG, 1, -2, kG}, {kG, 3 * kG, kG, kG},
         {g, 1, seg, 3, 3 * kG, 0}, {g, 1, seg, 3, 3 * kG, 0}},
        {"best fit takes the smaller hole", {kG, 3 * kG, kG, 2 * kG, kG, -2, -4, kG + 1},
         {kG, 3 * kG, kG, 2 * kG, kG, 2 * kG}, {g, 1, seg, 4, 5 * kG, 0}, {g, 1, seg, 4, 5 * kG, 0}},
        {"size 0 gives nothing", {0}, {}, {g, 0, 0, 0, 0, 0}, {g, 0, 0, 0, 0, 0}},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        MoveableMemory memory;
        ASSERT_TRUE(init(memory));
        std::vector<ky::Reference<kyOS::MoveableMapping>> held;
        std::vector<std::uint64_t> sizes;
        for (long long step : c.steps) {
            if (step >= 0) {
                held.push_back(memory.allocate(static_cast<std::uint64_t>(step)));
                held.back() ? sizes.push_back(held.back()->getSize()) : void();
            } else {
                held[static_cast<std::size_t>(-1 - step)] = nullptr;
            }
        }
        EXPECT_EQ(sizes, c.sizes);
        EXPECT_EQ(memory.peekStats(), c.before);
        EXPECT_EQ(memory.getStats(), c.after);
    }
}

TEST_F(MoveableMemoryTest, NothingBeforeInitializeFiles) {
    MoveableMemory memory;
    EXPECT_FALSE(memory.allocate(1));
    EXPECT_FALSE(memory.initializeFiles(L"", L"p"));
    EXPECT_FALSE(memory.initializeFiles(filetest::wide(dir().string()), L""));
    EXPECT_FALSE(memory.initializeFiles(filetest::wide((dir() / "missing").string()), L"p"));
    ASSERT_TRUE(filetest::put(dir() / "plain", "x"));
    EXPECT_FALSE(memory.initializeFiles(filetest::wide((dir() / "plain").string()), L"p"));
    EXPECT_TRUE(!memory.allocate(1) && std::filesystem::remove(dir() / "plain"));
}

// One block's expected bytes: an 8-byte stamp at the start of every granule it covers.
struct LiveBlock {
    ky::Reference<kyOS::MoveableMapping> mapping;
    Model::Place place;
    std::vector<std::uint64_t> stamps;
};

void stamp(LiveBlock& b, std::size_t i, std::uint64_t value, std::uint64_t step) {
    std::memcpy(static_cast<char*>(b.mapping->getPtr()) + i * step, &value, 8);
    b.stamps[i] = value;
}

// Every live block's stamps, mapping it for the check when it is not mapped.
void verifyAll(std::vector<LiveBlock>& live, std::uint64_t step) {
    for (LiveBlock& b : live) {
        const bool wasMapped = b.mapping->getPtr() != nullptr;
        const char* p = static_cast<const char*>(b.mapping->map());
        ASSERT_NE(p, nullptr);
        for (std::size_t i = 0; i < b.stamps.size(); ++i) {
            std::uint64_t got = 0;
            std::memcpy(&got, p + i * step, 8);
            ASSERT_EQ(got, b.stamps[i]) << "block at " << b.place.segment << ":" << b.place.offset;
        }
        if (!wasMapped) {
            b.mapping->unmap();
        }
    }
}

// Seeded random allocate/release/map/unmap/write/read against the model: the statistics after
// every step, the bytes of every block across unmapping and remapping, no block overlapping
// another (each granule's stamp is written by one block only).
TEST_F(MoveableMemoryTest, DifferentialAgainstModel) {
    struct Config {
        std::uint64_t segment, limit, maxSmall, maxLarge;
        int steps;
    } configs[] = {{kMi, 256 * kKi, 200 * kKi, 700 * kKi, 2500},
                   {MoveableMemory::kSegmentSize, MoveableMemory::kSmallAllocationLimit, 3 * kMi,
                    40 * kMi, 400}};
    for (const Config& config : configs) {
        MoveableMemory memory(config.segment, config.limit);
        ASSERT_TRUE(init(memory));
        Model model{kG, config.segment, config.limit, true};
        kytest::Random random(static_cast<std::uint32_t>(config.segment));
        std::vector<LiveBlock> live;
        std::uint64_t serial = 0;
        for (int step = 0; step < config.steps; ++step) {
            const int op = random.range(0, 99);
            if (op < 30 || live.empty()) {
                const bool large = random.chance(10);
                const std::uint64_t max = large ? config.maxLarge : config.maxSmall;
                const std::uint64_t n = static_cast<std::uint64_t>(random.range(1, int(max)));
                LiveBlock b{memory.allocate(n), model.allocate(n), {}};
                ASSERT_TRUE(b.mapping);
                ASSERT_EQ(b.mapping->getSize(), b.place.size);
                ASSERT_NE(b.mapping->map(), nullptr);
                b.stamps.resize((b.place.size - 8) / kG + 1);
                for (std::size_t i = 0; i < b.stamps.size(); ++i) {
                    stamp(b, i, ++serial, kG);
                }
                random.chance(50) ? b.mapping->unmap() : void();
                live.push_back(b);
            } else {
                const std::size_t k =
                    static_cast<std::size_t>(random.range(0, int(live.size()) - 1));
                LiveBlock& b = live[k];
                if (op < 55) {
                    model.release(b.place);
                    live.erase(live.begin() + static_cast<long>(k));
                } else if (op < 70) {
                    ASSERT_NE(b.mapping->map(), nullptr);
                } else if (op < 80) {
                    b.mapping->unmap();
                } else if (op < 92 && b.mapping->getPtr() != nullptr) {
                    stamp(b, static_cast<std::size_t>(random.range(0, int(b.stamps.size()) - 1)),
                          ++serial, kG);
                } else if (op < 97) {
                    std::vector<LiveBlock> one{b};
                    verifyAll(one, kG);
                } else {
                    (void)memory.getStats(); // checked below against the model
                    model.dropSpare();
                }
            }
            Stats want{empty().granularity, model.sizes.size(), model.bytes, live.size(), 0, 0};
            for (const LiveBlock& b : live) {
                want.allocatedBytes += b.place.size;
                want.mappedBytes += b.mapping->getPtr() ? b.place.size : 0;
            }
            ASSERT_EQ(memory.peekStats(), want) << "step " << step;
            if (step % 100 == 0) {
                verifyAll(live, kG);
            }
        }
        verifyAll(live, kG);
    }
}

// The chunk allocator against the same model one level up, with a bound of three cached
// segment views: chunk sizes, live chunks, the memory's allocations (one per segment), the
// cached list (most recent last, pinned views kept), and every chunk's bytes.
TEST_F(MoveableMemoryTest, AllocatorDifferentialAgainstModel) {
    MoveableMemory memory;
    ASSERT_TRUE(init(memory));
    const std::size_t kBound = 3;
    auto allocator = std::make_unique<kyOS::MoveableAllocator>(memory, kBound);
    Model model{32, kyOS::MoveableAllocator::kSegmentSize,
                kyOS::MoveableAllocator::kSmallChunkLimit, false};
    struct Chunk {
        kyOS::MoveableChunk* chunk;
        Model::Place place;
        char fill;
    };
    std::vector<Chunk> live;
    std::list<int> cache; // segment numbers of the model, most recent last
    std::map<int, int> pins;
    kytest::Random random(7);
    auto checkBytes = [](const Chunk& c, const char* p) {
        ASSERT_NE(p, nullptr);
        ASSERT_EQ(std::count(p, p + c.place.size, c.fill), static_cast<long>(c.place.size));
    };
    auto mapChunk = [&](Chunk& c) {
        const bool was = c.chunk->isMapped();
        char* p = static_cast<char*>(c.chunk->map());
        pins[c.place.segment] += p != nullptr && !was ? 1 : 0;
        cache.remove(c.place.segment);
        cache.push_back(c.place.segment);
        for (auto it = cache.begin(); cache.size() > kBound && it != cache.end();) {
            it = pins[*it] != 0 ? std::next(it) : cache.erase(it);
        }
        return p;
    };
    for (int step = 0; step < 6000; ++step) {
        const int op = random.range(0, 99);
        if (op < 35 || live.empty()) {
            const std::uint64_t n = static_cast<std::uint64_t>(
                random.chance(3) ? random.range(256 * 1024, 400 * 1024) : random.range(1, 9000));
            Chunk c{allocator->allocate(n), model.allocate(n), char(random.range(1, 255))};
            ASSERT_NE(c.chunk, nullptr);
            ASSERT_EQ(c.chunk->getSize(), c.place.size);
            char* p = mapChunk(c);
            ASSERT_NE(p, nullptr);
            std::memset(p, c.fill, c.place.size);
            live.push_back(c);
        } else {
            const std::size_t k = static_cast<std::size_t>(random.range(0, int(live.size()) - 1));
            Chunk& c = live[k];
            if (op < 60) {
                pins[c.place.segment] -= c.chunk->isMapped() ? 1 : 0;
                delete c.chunk;
                model.release(c.place);
                if (!model.segments.count(c.place.segment)) {
                    cache.remove(c.place.segment);
                    pins.erase(c.place.segment);
                }
                live.erase(live.begin() + static_cast<long>(k));
            } else if (op < 80) {
                checkBytes(c, mapChunk(c));
            } else if (op < 97) {
                pins[c.place.segment] -= c.chunk->isMapped() ? 1 : 0;
                c.chunk->unmap();
            } else {
                allocator->unmapCachedMappings();
                cache.clear(), pins.clear();
            }
        }
        ASSERT_EQ(allocator->getNumAllocated(), live.size()) << step;
        ASSERT_EQ(memory.peekStats().allocations, model.segments.size()) << step;
        ASSERT_EQ(allocator->getNumCachedMappings(), cache.size()) << step;
    }
    // Every chunk mapped at once: distinct address ranges with their own bytes.
    std::vector<std::pair<const char*, std::uint64_t>> ranges;
    for (Chunk& c : live) {
        checkBytes(c, static_cast<const char*>(c.chunk->map()));
        ranges.emplace_back(static_cast<const char*>(c.chunk->map()), c.place.size);
    }
    std::sort(ranges.begin(), ranges.end());
    for (std::size_t i = 1; i < ranges.size(); ++i) {
        ASSERT_LE(ranges[i - 1].first + ranges[i - 1].second, ranges[i].first);
    }
    allocator.reset(); // chunks outlive their allocator
    for (Chunk& c : live) {
        checkBytes(c, static_cast<const char*>(c.chunk->map()));
        delete c.chunk;
    }
    EXPECT_EQ(memory.getStats(), empty());
}

// A failure at every call of "allocate, then map" (a new standard segment, a large one), once
// or from then on: either a null result with the statistics unchanged, or a mapping that
// works; after the release nothing is left: no segment, descriptor or file. (The release
// itself runs without faults: a refused unmap leaves a view nobody could take back.)
TEST_F(MoveableMemoryTest, FailuresThroughTheSeam) {
    using Mode = kytest::FaultInjector::Mode;
    for (std::uint64_t size : {std::uint64_t(1), MoveableMemory::kSmallAllocationLimit + 1}) {
        for (Mode mode : {Mode::kOnce, Mode::kFromThenOn}) {
            MoveableMemory memory;
            ASSERT_TRUE(init(memory));
            kytest::FaultInjector injector;
            injector.countOnly();
            ky::Reference<kyOS::MoveableMapping> m = memory.allocate(size);
            ASSERT_TRUE(m && m->map());
            const std::size_t calls = injector.calls();
            const std::string log = injector.describe();
            ASSERT_GE(calls, 4u) << log;
            m = nullptr;
            (void)memory.getStats();
            const int fds = kytest::countOpenDescriptors();
            for (std::size_t k = 1; k <= calls; ++k) {
                SCOPED_TRACE(std::to_string(k) + " of " + log);
                injector.failAt(k, ENOSPC, mode);
                m = memory.allocate(size);
                if (!m) {
                    EXPECT_EQ(memory.peekStats(), empty());
                } else if (m->map() == nullptr) {
                    EXPECT_EQ(memory.peekStats().mappedBytes, 0u);
                    EXPECT_EQ(memory.peekStats().allocations, 1u);
                }
                EXPECT_TRUE(!m || m->getPtr() == nullptr) << "a fault went unnoticed";
                injector.countOnly();
                m = nullptr;
                EXPECT_EQ(memory.getStats(), empty());
                EXPECT_EQ(kytest::countOpenDescriptors(), fds);
                // Only a removal refused from then on may leave a name; the test removes it.
                for (const auto& e : std::filesystem::directory_iterator(dir())) {
                    EXPECT_EQ(mode, Mode::kFromThenOn) << e.path();
                    std::filesystem::remove(e.path());
                }
            }
        }
    }
}

std::vector<std::wstring> gOpened;
int recordingOpen(const std::wstring& name, int how, std::intptr_t* file, int* error) {
    gOpened.push_back(name);
    return kyOS::detail::nativeFileCalls().openMapped(name, how, file, error);
}

// Segment files are "<prefix>-<process id>-<uuid>" in the directory. POSIX removes the name
// at once, while the segments (a standard one and a large one) are in use: so a killed
// process leaves none; Windows deletes on close, which the system also does for a killed
// process.
TEST_F(MoveableMemoryTest, BackingFilesNamedAndNeverLeftBehind) {
    gOpened.clear();
    kyOS::detail::fileCalls().openMapped = &recordingOpen;
    {
        MoveableMemory memory;
        ASSERT_TRUE(init(memory));
        ky::Reference<kyOS::MoveableMapping> a = memory.allocate(1);
        ky::Reference<kyOS::MoveableMapping> b =
            memory.allocate(MoveableMemory::kSmallAllocationLimit + 1);
        ASSERT_TRUE(a && a->map() && b && b->map());
        ASSERT_EQ(gOpened.size(), 2u);
        const std::string leaf = std::filesystem::path(gOpened[0]).filename().string();
        const std::string head =
            "seg-" + std::to_string(kyOS::detail::fileCalls().processId()) + "-";
        EXPECT_EQ(leaf.substr(0, head.size()), head);
        EXPECT_TRUE(kyOS::Uuid(kyString::CString(leaf.substr(head.size()).c_str())).valid());
        EXPECT_EQ(std::filesystem::path(gOpened[0]).parent_path(), dir());
        EXPECT_EQ(std::filesystem::is_empty(dir()), !kytest::onWindows());
    }
    kyOS::detail::fileCalls().openMapped = kyOS::detail::nativeFileCalls().openMapped;
    auto memory = std::make_unique<MoveableMemory>(); // a mapping may outlive its memory
    ASSERT_TRUE(init(*memory));
    ky::Reference<kyOS::MoveableMapping> survivor = memory->allocate(kMi);
    memory.reset();
    ASSERT_TRUE(survivor->map() != nullptr && std::memset(survivor->getPtr(), 1, kMi));
    survivor = nullptr; // the last segment goes with it (checked after the test)
}

} // namespace
