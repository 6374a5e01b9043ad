// kyOSSysInfo.h - kyOS::SysInfo, facts about the machine and the process.
#ifndef KY_OS_SYSINFO_H
#define KY_OS_SYSINFO_H

#include <Base/BaseExport.h>

#include <cstdint>

namespace kyOS {

/// Processor counts, memory sizes, page size, process id, host and user names. Values that
/// cannot change while the process runs (processor counts, total physical memory, names) are
/// asked once and cached in the object; the others are asked afresh on every call.
///
/// The environment can lower the processor counts, never raise them: `KY_NUM_CPUS` lowers
/// the logical count and `KY_NUM_PHYS_CPUS` the physical one, each when its decimal value (read
/// as `atoi` reads it) is at least 1. The physical count is deliberately the logical count
/// unless the environment lowers it: the platform's core count is not consulted.
///
/// Construction asks only the page size. A plain value class (copies copy the caches). Not
/// synchronised: one thread at a time per object.
///
/// @code
///   kyOS::SysInfo info;
///   int workers = info.numCPUs();               // at most KY_NUM_CPUS when set
///   std::uint64_t kib = info.totalPhysicalMemory();
/// @endcode
class KY_BASE_API SysInfo {
public:
    SysInfo();
    SysInfo(const SysInfo& other);
    SysInfo& operator=(const SysInfo& other);
    ~SysInfo();

    /// Logical processors, lowered by `KY_NUM_CPUS`.
    int numCPUs();
    /// `numCPUs()` (at least 1), lowered by `KY_NUM_PHYS_CPUS`.
    int numPhysicalCPUs();

    /// Memory in KiB (bytes times 1/1024 in floating point, truncated); 0 when the platform
    /// cannot say. The total physical figure is cached after the first call.
    std::uint64_t totalPhysicalMemory();
    std::uint64_t availPhysicalMemory();
    /// The process's user address space, and the part of it not in use.
    std::uint64_t totalVirtualMemory();
    std::uint64_t availVirtualMemory();

    /// The page size read at construction.
    std::uint64_t pageSize() const { return pageSize_; }
    /// Asks the platform each time.
    static std::uint64_t getPageSize();
    int getProcessID() const;

    /// The computer's name, or "unknown" when the platform cannot say; owned by this object.
    const char* hostname();
    /// `USERNAME`, else `USER`, from the environment; null when neither is set (then the next
    /// call looks again). Owned by this object.
    const char* username();

private:
    // Page-file totals in KiB (0 when unknown); kept for callers that want swap figures.
    void getSwapInfo(std::uint64_t& total, std::uint64_t& avail);

    std::uint64_t pageSize_ = 0;
    std::uint64_t totalPhysical_ = 0;
    char* hostname_ = nullptr;
    char* username_ = nullptr;
    int numCPUs_ = 0;
    int numPhysicalCPUs_ = 0;
};

} // namespace kyOS

#endif // KY_OS_SYSINFO_H
