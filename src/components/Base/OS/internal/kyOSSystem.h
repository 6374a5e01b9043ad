// kyOSSystem.h - the platform calls behind system information, identifiers and timing.
#ifndef KY_OS_INTERNAL_SYSTEM_H
#define KY_OS_INTERNAL_SYSTEM_H

#include <Base/BaseExport.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace kyOS {
namespace detail {

/// Memory figures in bytes, as the platform's extended memory status gives them.
struct MemoryStatus {
    std::uint64_t totalPhysical;
    std::uint64_t availPhysical;
    std::uint64_t totalVirtual; ///< the process's user address space
    std::uint64_t availVirtual; ///< the part of it not in use
};

/// One region of the process's address space (`SystemCalls::memoryRegions`).
struct MemoryRegion {
    std::uint64_t base;
    std::uint64_t size;
    int state; ///< 0 free, 1 reserved (no access), 2 committed (usable)
};

/// The platform calls of SysInfo, Uuid and StopWatch, as one table: production code calls
/// through it, and tests replace entries to fake a machine (8 processors, a failing host-name
/// query, a clock they advance by hand) and put the native table back afterwards.
struct SystemCalls {
    int (*processorCount)();                    ///< logical processors
    bool (*memoryStatus)(MemoryStatus* status); ///< false on failure
    std::uint64_t (*pageSize)();
    int (*processId)();
    bool (*computerName)(char* buffer, std::size_t size); ///< NUL-terminated; false on failure
    bool (*generateUuid)(unsigned int words[4]);          ///< false on failure
    std::int64_t (*performanceCounter)();
    std::int64_t counterFrequency; ///< counts per second, read once
    /// The address space from 0 to the end of the last region in use, in increasing order
    /// and without gaps (free regions included); false when the system will not tell.
    bool (*memoryRegions)(std::vector<MemoryRegion>& regions);
};

/// The table in use (the native one unless a test replaced entries).
KY_BASE_API SystemCalls& systemCalls();
/// The platform's own table.
KY_BASE_API const SystemCalls& nativeSystemCalls();

/// Converts a counter difference to seconds without losing precision on long intervals:
/// (d mod f) / f + (d div f).
inline double countsToSeconds(std::int64_t d, std::int64_t f) {
    return static_cast<double>(d % f) / static_cast<double>(f) + static_cast<double>(d / f);
}

} // namespace detail
} // namespace kyOS

#endif // KY_OS_INTERNAL_SYSTEM_H
