// kyOSVirtualMemoryIterator.h - kyOS::VirtualMemoryIterator, a walk over the regions of the
// process's address space.
#ifndef KY_OS_VIRTUALMEMORYITERATOR_H
#define KY_OS_VIRTUALMEMORYITERATOR_H

#include <Base/BaseExport.h>

#include <cstdint>

namespace kyOS {

namespace detail {
class VirtualMemoryIteratorImpl;
}

/// The regions of the process's address space from address 0 upwards, each free, reserved
/// (held back, no access) or committed (usable), as the system describes them (VirtualQuery
/// on Windows, /proc/self/maps on Linux, where a mapping without access counts as reserved and
/// the gaps as free). `reset()` takes a snapshot, so the walk is not disturbed by allocations
/// made during it; construction resets. Where the system will not tell, the walk is empty.
/// Owns its snapshot. Not synchronised: one thread at a time per iterator.
///
/// @code
///   std::uint64_t committed = 0;
///   for (kyOS::VirtualMemoryIterator it; it.valid(); it.next()) {
///       if (it.getState() == kyOS::VirtualMemoryIterator::kCommitted) committed += it.getSize();
///   }
/// @endcode
class KY_BASE_API VirtualMemoryIterator {
public:
    enum State { kFree = 0, kReserved = 1, kCommitted = 2 };

    VirtualMemoryIterator();
    ~VirtualMemoryIterator();
    VirtualMemoryIterator(const VirtualMemoryIterator&) = delete;
    VirtualMemoryIterator& operator=(const VirtualMemoryIterator&) = delete;

    /// Takes a fresh snapshot and stands on its first region.
    void reset();
    /// Moves to the next region; false when there is none (the iterator is then not valid).
    bool next();
    /// True while it stands on a region.
    bool valid() const;
    /// The current region's start, size and state (0, 0 and kFree when not valid).
    std::uint64_t getAddress() const;
    std::uint64_t getSize() const;
    State getState() const;

private:
    detail::VirtualMemoryIteratorImpl* impl_;
};

} // namespace kyOS

#endif // KY_OS_VIRTUALMEMORYITERATOR_H
