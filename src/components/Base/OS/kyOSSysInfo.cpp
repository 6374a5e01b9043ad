// kyOSSysInfo.cpp - system information.
#include <Base/OS/kyOSSysInfo.h>

#include <Base/OS/internal/kyOSSystem.h>

#include <cstdlib>
#include <cstring>
#include <utility>

namespace kyOS {
namespace {

char* copyText(const char* text) {
    if (text == nullptr) {
        return nullptr;
    }
    const std::size_t n = std::strlen(text) + 1;
    char* copy = new char[n];
    std::memcpy(copy, text, n);
    return copy;
}

// `count` lowered by the environment variable `name` when its value is at least 1.
int lowerByEnvironment(int count, const char* name) {
    const char* value = std::getenv(name);
    if (value == nullptr) {
        return count;
    }
    // atoi's reading (leading blanks, a sign, digits), without its overflow.
    const long long wanted = std::strtoll(value, nullptr, 10);
    if (wanted >= 1 && wanted < count) {
        return static_cast<int>(wanted);
    }
    return count;
}

std::uint64_t toKiB(std::uint64_t bytes) {
    return static_cast<std::uint64_t>(static_cast<double>(bytes) * (1.0 / 1024.0));
}

// Host names: the longest name any platform allows, and then some.
constexpr std::size_t kHostNameBytes = 256;

} // namespace

SysInfo::SysInfo() : pageSize_(getPageSize()) {}

SysInfo::SysInfo(const SysInfo& other)
    : pageSize_(other.pageSize_), totalPhysical_(other.totalPhysical_),
      hostname_(copyText(other.hostname_)), username_(copyText(other.username_)),
      numCPUs_(other.numCPUs_), numPhysicalCPUs_(other.numPhysicalCPUs_) {}

SysInfo& SysInfo::operator=(const SysInfo& other) {
    if (this != &other) {
        SysInfo copy(other);
        std::swap(pageSize_, copy.pageSize_);
        std::swap(totalPhysical_, copy.totalPhysical_);
        std::swap(hostname_, copy.hostname_);
        std::swap(username_, copy.username_);
        std::swap(numCPUs_, copy.numCPUs_);
        std::swap(numPhysicalCPUs_, copy.numPhysicalCPUs_);
    }
    return *this;
}

SysInfo::~SysInfo() {
    delete[] hostname_;
    delete[] username_;
}

int SysInfo::numCPUs() {
    if (numCPUs_ == 0) {
        numCPUs_ = lowerByEnvironment(detail::systemCalls().processorCount(), "KY_NUM_CPUS");
    }
    return numCPUs_;
}

int SysInfo::numPhysicalCPUs() {
    if (numPhysicalCPUs_ == 0) {
        int count = numCPUs();
        if (count == 0) {
            count = 1;
        }
        numPhysicalCPUs_ = lowerByEnvironment(count, "KY_NUM_PHYS_CPUS");
    }
    return numPhysicalCPUs_;
}

std::uint64_t SysInfo::totalPhysicalMemory() {
    if (totalPhysical_ == 0) {
        detail::MemoryStatus status{};
        if (detail::systemCalls().memoryStatus(&status)) {
            totalPhysical_ = toKiB(status.totalPhysical);
        }
    }
    return totalPhysical_;
}

std::uint64_t SysInfo::availPhysicalMemory() {
    detail::MemoryStatus status{};
    return detail::systemCalls().memoryStatus(&status) ? toKiB(status.availPhysical) : 0;
}

std::uint64_t SysInfo::totalVirtualMemory() {
    detail::MemoryStatus status{};
    return detail::systemCalls().memoryStatus(&status) ? toKiB(status.totalVirtual) : 0;
}

std::uint64_t SysInfo::availVirtualMemory() {
    detail::MemoryStatus status{};
    return detail::systemCalls().memoryStatus(&status) ? toKiB(status.availVirtual) : 0;
}

std::uint64_t SysInfo::getPageSize() {
    return detail::systemCalls().pageSize();
}

int SysInfo::getProcessID() const {
    return detail::systemCalls().processId();
}

const char* SysInfo::hostname() {
    if (hostname_ == nullptr) {
        char buffer[kHostNameBytes] = {};
        hostname_ = copyText(detail::systemCalls().computerName(buffer, sizeof buffer) ? buffer
                                                                                       : "unknown");
    }
    return hostname_;
}

const char* SysInfo::username() {
    if (username_ == nullptr) {
        const char* name = std::getenv("USERNAME");
        if (name == nullptr) {
            name = std::getenv("USER");
        }
        username_ = copyText(name);
    }
    return username_;
}

void SysInfo::getSwapInfo(std::uint64_t& total, std::uint64_t& avail) {
    // The platform's memory status has no page-file split that means the same everywhere.
    total = 0;
    avail = 0;
}

} // namespace kyOS
