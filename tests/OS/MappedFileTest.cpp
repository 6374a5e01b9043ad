// MappedFileTest.cpp - views and backing files (FileMapping, MemoryMappedFile), whole-file
// views (MemMapFile), the fixed-size block pool (FSAllocator) and the address-space walk
// (VirtualMemoryIterator).
#include <Base/OS/kyOSFSAllocator.h>
#include <Base/OS/kyOSMemMapFile.h>
#include <Base/OS/kyOSMemoryMappedFile.h>
#include <Base/OS/kyOSVirtualMemoryIterator.h>

#include "FileTestSupport.h"
#include <kyTestSupport.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

namespace fs = std::filesystem;
using filetest::wide;
constexpr std::uint64_t kMi = 1024 * 1024;

class MappedFileTest : public kytest::TempDirTest {};

// A file made for mapping, kept or deleted on close: what a view wrote reaches the file, a
// deleted one is gone (POSIX: from the start), failures clear the object.
TEST_F(MappedFileTest, BackingFileKeptOrDeletedOnClose) {
    const std::uint64_t g = kyOS::FileMapping::getGranularity();
    EXPECT_TRUE(g >= 4096 && (g & (g - 1)) == 0 && (!kytest::onWindows() || g == 65536));
    for (bool deleteOnClose : {false, true}) {
        const fs::path file = dir() / (deleteOnClose ? "temporary" : "kept");
        {
            kyOS::MemoryMappedFile mapped;
            ASSERT_TRUE(mapped.createFile(wide(file.string()), 3 * 65536, deleteOnClose));
            EXPECT_TRUE(mapped.valid() && mapped.getSize() == 3 * 65536);
            EXPECT_EQ(mapped.getFilename(), wide(file.string()));
            EXPECT_EQ(fs::exists(file), !deleteOnClose || kytest::onWindows());
            kyOS::FileMapping view = mapped.map(65536, 2 * 65536);
            ASSERT_TRUE(view && view.getOffset() == 65536 && view.getSize() == 2 * 65536u);
            std::memcpy(view.getPtr(), "hello", 5);
            EXPECT_TRUE(view.flush(0, 5) && view.flush(10, 1u << 30)); // clamped to the view
            EXPECT_FALSE(mapped.map(1, 100)); // not a multiple of the granularity
            kyOS::MemoryMappedFile moved(std::move(mapped));
            EXPECT_TRUE(!mapped.valid() && moved.valid());
            EXPECT_TRUE(view.unmap());
            EXPECT_TRUE(!view && view.getSize() == 0 && !view.flush(0, 1));
            EXPECT_FALSE(moved.createFile(wide((dir() / "no" / "such").string()), 1, true));
            EXPECT_TRUE(!moved.valid() && moved.getFilename().isEmpty() && !moved.map(0, 1));
            EXPECT_FALSE(moved.createFile(wide((dir() / "empty").string()), 0, true));
        }
        const std::optional<std::string> bytes = filetest::get(file);
        ASSERT_EQ(bytes.has_value(), !deleteOnClose);
        if (bytes) {
            ASSERT_EQ(bytes->size(), 3 * 65536u);
            EXPECT_EQ(bytes->substr(65536, 5), "hello");
            EXPECT_EQ(bytes->find_first_not_of('\0'), 65536u);
            fs::remove(file);
        }
    }
}

TEST_F(MappedFileTest, LoadTouchesPagesIn1MiBSteps) {
    kyOS::MemoryMappedFile mapped;
    ASSERT_TRUE(mapped.createFile(wide((dir() / "load").string()), 3 * kMi, true));
    kyOS::FileMapping view = mapped.map(0, 3 * kMi);
    ASSERT_TRUE(view);
    // clang-format off
    const struct {
        std::uint64_t from, to, pages;
    } cases[] = {{0, 1, 256}, {kMi + kMi / 2, kMi + kMi / 2 + 1, 256}, {0, 3 * kMi, 768},
                 {kMi - 1, kMi + 1, 512}, {2 * kMi + 5, 10 * kMi, 256}, {kMi, kMi, 0}};
    // clang-format on
    for (const auto& c : cases) {
        EXPECT_EQ(view.load(c.from, c.to), c.pages) << c.from << ".." << c.to;
    }
    EXPECT_TRUE(view.unmap());
    EXPECT_EQ(view.load(0, kMi), 0u);
}

TEST_F(MappedFileTest, MemMapFileViewsAWholeFile) {
    const fs::path file = dir() / "data";
    ASSERT_TRUE(filetest::put(file, "abcdef"));
    kyUtil::Error error(1, "stale");
    {
        kyOS::MemMapFile view(wide(file.string()));
        const char* p = static_cast<const char*>(view.map(error));
        ASSERT_TRUE(p != nullptr && error.code() == 0);
        EXPECT_EQ(std::string(p, view.getSize()), "abcdef");
        EXPECT_TRUE(view.map(error) == p && view.getMem() == p);
        EXPECT_EQ(view.filename(), wide(file.string()));
        view.unmap();
        EXPECT_TRUE(view.getMem() == nullptr && view.getSize() == 0);
    }
    {
        kyOS::MemMapFile view(wide(file.string()), true);
        char* p = static_cast<char*>(view.map(error));
        ASSERT_NE(p, nullptr);
        p[0] = 'X';
    }
    EXPECT_EQ(filetest::get(file), std::string("Xbcdef"));
    ASSERT_TRUE(filetest::put(dir() / "empty", ""));
    const struct {
        const char* leaf;
        int code;
    } failures[] = {{"missing", 18}, {"empty", 3}, {"", 14}};
    for (const auto& f : failures) {
        kyOS::MemMapFile view(wide((dir() / f.leaf).string()));
        EXPECT_TRUE(view.map(error) == nullptr && error.code() == f.code) << f.leaf;
    }
}

// Random alloc/free against a set of live blocks: distinct, aligned, writable blocks, counts
// and chunk numbers as the lazy and eager policies say, foreign pointers ignored.
TEST(FSAllocatorTest, DifferentialAgainstASet) {
    for (bool lazy : {false, true}) {
        kyOS::FSAllocator pool(20, 8);
        pool.setLazy(lazy);
        EXPECT_EQ(pool.blockSize() % alignof(std::max_align_t), 0u);
        std::map<char*, int> live;
        kytest::Random random(lazy ? 3 : 4);
        std::size_t peakChunks = 0;
        for (int step = 0; step < 5000; ++step) {
            if (live.empty() || random.chance(55)) {
                char* p = static_cast<char*>(pool.alloc());
                ASSERT_TRUE(p && reinterpret_cast<std::uintptr_t>(p) % alignof(max_align_t) == 0);
                ASSERT_TRUE(live.emplace(p, step).second) << "a block handed out twice";
                std::memset(p, step & 0xFF, 20);
            } else {
                auto it = std::next(live.begin(), random.range(0, int(live.size()) - 1));
                ASSERT_EQ(static_cast<unsigned char>(it->first[19]), it->second & 0xFF);
                pool.free(it->first);
                live.erase(it);
            }
            char outside[32];
            pool.free(nullptr), pool.free(outside); // both ignored
            ASSERT_EQ(pool.numAllocated(), live.size());
            peakChunks = std::max(peakChunks, pool.numChunks());
            ASSERT_TRUE(pool.numChunks() * 8 >= live.size());
            ASSERT_TRUE(lazy || pool.numChunks() <= live.size()) << "an empty chunk kept";
        }
        for (const auto& block : live) {
            pool.free(block.first);
        }
        EXPECT_EQ(pool.numChunks(), lazy ? peakChunks : 0u);
        pool.setLazy(false); // emptied chunks go once the pool is eager again
        EXPECT_EQ(pool.numChunks(), 0u);
        pool.alloc();
        pool.freeAll();
        EXPECT_TRUE(pool.numAllocated() == 0 && pool.numChunks() == 0);
    }
}

TEST(VirtualMemoryIteratorTest, RegionsCoverTheAddressSpaceInOrder) {
    int onStack = 0;
    std::vector<char> onHeap(1 << 20, 1);
    const std::uint64_t stack = reinterpret_cast<std::uintptr_t>(&onStack);
    const std::uint64_t heap = reinterpret_cast<std::uintptr_t>(onHeap.data());
    kyOS::VirtualMemoryIterator it;
    ASSERT_TRUE(it.valid());
    std::uint64_t end = 0;
    int found = 0, states[3] = {0, 0, 0};
    for (; it.valid(); it.next()) {
        ASSERT_TRUE(it.getAddress() == end && it.getSize() > 0) << "a gap or an overlap";
        end = it.getAddress() + it.getSize();
        ++states[it.getState()];
        for (std::uint64_t at : {stack, heap}) {
            if (at >= it.getAddress() && at < end) {
                EXPECT_EQ(it.getState(), kyOS::VirtualMemoryIterator::kCommitted);
                ++found;
            }
        }
    }
    EXPECT_TRUE(found == 2 && states[0] > 0 && states[2] > 0);
    EXPECT_TRUE(!it.next() && it.getSize() == 0);
    it.reset();
    EXPECT_TRUE(it.valid() && it.getAddress() == 0);
}

} // namespace
