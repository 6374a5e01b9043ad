// kyOSSystemWin32.cpp - system information, identifiers and the clock on Windows.
#include <Base/OS/internal/kyOSSystem.h>

#include <cstring>

// windows.h first: rpc.h builds on its types.
#include <windows.h>

#include <rpc.h>

namespace kyOS {
namespace detail {
namespace {

int winProcessorCount() {
    SYSTEM_INFO info;
    GetSystemInfo(&info);
    return info.dwNumberOfProcessors > 0 ? static_cast<int>(info.dwNumberOfProcessors) : 1;
}

std::uint64_t winPageSize() {
    SYSTEM_INFO info;
    GetSystemInfo(&info);
    return info.dwPageSize;
}

bool winMemoryStatus(MemoryStatus* status) {
    MEMORYSTATUSEX memory;
    memory.dwLength = sizeof memory;
    if (!GlobalMemoryStatusEx(&memory)) {
        return false;
    }
    status->totalPhysical = memory.ullTotalPhys;
    status->availPhysical = memory.ullAvailPhys;
    status->totalVirtual = memory.ullTotalVirtual;
    status->availVirtual = memory.ullAvailVirtual;
    return true;
}

int winProcessId() {
    return static_cast<int>(GetCurrentProcessId());
}

bool winComputerName(char* buffer, std::size_t size) {
    DWORD length = static_cast<DWORD>(size);
    return GetComputerNameA(buffer, &length) != 0;
}

bool winGenerateUuid(unsigned int words[4]) {
    UUID id;
    const RPC_STATUS status = UuidCreate(&id);
    if (status != RPC_S_OK && status != RPC_S_UUID_LOCAL_ONLY) {
        return false;
    }
    static_assert(sizeof id == 16, "a UUID is 16 bytes");
    std::memcpy(words, &id, sizeof id);
    return true;
}

std::int64_t winPerformanceCounter() {
    LARGE_INTEGER count;
    QueryPerformanceCounter(&count);
    return count.QuadPart;
}

std::int64_t winPerformanceFrequency() {
    LARGE_INTEGER frequency;
    QueryPerformanceFrequency(&frequency);
    return frequency.QuadPart;
}

} // namespace

namespace {

// VirtualQuery from address 0 until it answers no more.
bool winMemoryRegions(std::vector<MemoryRegion>& regions) {
    regions.clear();
    MEMORY_BASIC_INFORMATION info;
    std::uint64_t at = 0;
    while (VirtualQuery(reinterpret_cast<const void*>(static_cast<std::uintptr_t>(at)), &info,
                        sizeof info) == sizeof info) {
        const std::uint64_t base = reinterpret_cast<std::uintptr_t>(info.BaseAddress);
        const std::uint64_t size = info.RegionSize;
        if (size == 0 || base + size <= at) {
            break;
        }
        const int state = info.State == MEM_COMMIT ? 2 : (info.State == MEM_RESERVE ? 1 : 0);
        regions.push_back(MemoryRegion{base, size, state});
        at = base + size;
    }
    return !regions.empty();
}

} // namespace

const SystemCalls& nativeSystemCalls() {
    static const SystemCalls calls = {
        &winProcessorCount,     &winMemoryStatus,          &winPageSize,
        &winProcessId,          &winComputerName,          &winGenerateUuid,
        &winPerformanceCounter, winPerformanceFrequency(), &winMemoryRegions,
    };
    return calls;
}

} // namespace detail
} // namespace kyOS
