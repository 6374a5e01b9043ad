// memory_example.cpp - the header examples of memory-mapped files and moveable memory,
// compiled and checked.
#include <Base/OS/kyOSFSAllocator.h>
#include <Base/OS/kyOSFileOps.h>
#include <Base/OS/kyOSMemoryMappedFile.h>
#include <Base/OS/kyOSMoveableAllocator.h>
#include <Base/OS/kyOSMoveableMemory.h>
#include <Base/OS/kyOSVirtualMemoryIterator.h>

#include "example_check.h"

#include <cstdint>

int main() {
    kyOS::MoveableMemory memory;
    CHECK(memory.initializeFiles(kyOS::getTempDirectory().name(), L"example"));
    {
        ky::Reference<kyOS::MoveableMapping> block = memory.allocate(1 << 20);
        CHECK(block && block->map() != nullptr);
        static_cast<char*>(block->getPtr())[0] = 1;
        block->unmap(); // the byte stays in the backing file
        CHECK(static_cast<char*>(block->map())[0] == 1);
    }
    kyOS::MoveableAllocator chunks(memory);
    kyOS::MoveableChunk* c = chunks.allocate(100); // 128 bytes of a 1 MiB segment
    CHECK(c != nullptr && c->getSize() == 128 && c->map() != nullptr);
    c->unmap();
    delete c;
    CHECK(chunks.getNumAllocated() == 0);

    kyOS::FSAllocator pool(48, 256); // 48-byte blocks, 256 per chunk
    void* a = pool.alloc();
    CHECK(a != nullptr && pool.numAllocated() == 1);
    pool.free(a);

    std::uint64_t committed = 0;
    for (kyOS::VirtualMemoryIterator it; it.valid(); it.next()) {
        if (it.getState() == kyOS::VirtualMemoryIterator::kCommitted) {
            committed += it.getSize();
        }
    }
    CHECK(committed > 0);
    return 0;
}
