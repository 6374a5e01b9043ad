// showcase_memory.cpp - the showcase's tour of moveable memory and its chunk allocator.
#include "showcase.h"

#include <Base/OS/kyOSFileOps.h>
#include <Base/OS/kyOSMoveableAllocator.h>
#include <Base/OS/kyOSMoveableMemory.h>

#include <cstdio>
#include <cstring>

namespace {

void printStats(const char* when, const kyOS::MoveableMemory::Stats& s) {
    std::printf("%-28s segments %llu (%llu MiB), allocations %llu (%llu KiB), mapped %llu KiB\n",
                when, static_cast<unsigned long long>(s.segments),
                static_cast<unsigned long long>(s.segmentBytes >> 20),
                static_cast<unsigned long long>(s.allocations),
                static_cast<unsigned long long>(s.allocatedBytes >> 10),
                static_cast<unsigned long long>(s.mappedBytes >> 10));
}

} // namespace

void showcaseMemory() {
    showcaseSection("OS: moveable memory");
    kyOS::MoveableMemory memory;
    if (!memory.initializeFiles(kyOS::getTempDirectory().name(), L"showcase")) {
        std::printf("no temporary directory\n");
        return;
    }
    ky::Reference<kyOS::MoveableMapping> a = memory.allocate(1);
    ky::Reference<kyOS::MoveableMapping> b = memory.allocate(100000);
    std::printf("allocate(1) gives %llu KiB, allocate(100000) %llu KiB\n",
                static_cast<unsigned long long>(a->getSize() >> 10),
                static_cast<unsigned long long>(b->getSize() >> 10));
    char* p = static_cast<char*>(b->map());
    if (p != nullptr) {
        std::strcpy(p, "kept in the backing file");
        printStats("while b is mapped:", memory.peekStats());
        b->unmap();
        p = static_cast<char*>(b->map());
        std::printf("unmapped and mapped again: \"%s\"\n", p != nullptr ? p : "(no view)");
    }
    a = nullptr;
    b = nullptr;
    printStats("released (spare kept):", memory.peekStats());
    printStats("after getStats():", memory.getStats());

    kyOS::MoveableAllocator chunks(memory);
    kyOS::MoveableChunk* c = chunks.allocate(100);
    std::printf("a 100-byte chunk takes %llu bytes of a 1 MiB segment; %u live\n",
                static_cast<unsigned long long>(c->getSize()), chunks.getNumAllocated());
    delete c;
}
