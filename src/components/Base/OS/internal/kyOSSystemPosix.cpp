// kyOSSystemPosix.cpp - system information, identifiers and the clock on POSIX systems.
#include <Base/OS/internal/kyOSSystem.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <sys/random.h>
#include <sys/sysinfo.h>
#include <unistd.h>

namespace kyOS {
namespace detail {
namespace {

int posixProcessorCount() {
    const long n = sysconf(_SC_NPROCESSORS_ONLN);
    return n > 0 ? static_cast<int>(n) : 1;
}

std::uint64_t posixPageSize() {
    const long n = sysconf(_SC_PAGESIZE);
    return n > 0 ? static_cast<std::uint64_t>(n) : 4096;
}

// Reads a "Name:   123 kB" line of a /proc status file; false when absent.
bool readProcValue(const char* path, const char* name, std::uint64_t* kib) {
    std::FILE* file = std::fopen(path, "re");
    if (file == nullptr) {
        return false;
    }
    char line[256];
    const std::size_t nameLength = std::strlen(name);
    bool found = false;
    while (std::fgets(line, sizeof line, file) != nullptr) {
        if (std::strncmp(line, name, nameLength) == 0 && line[nameLength] == ':') {
            unsigned long long value = 0;
            found = std::sscanf(line + nameLength + 1, "%llu", &value) == 1;
            *kib = value;
            break;
        }
    }
    std::fclose(file);
    return found;
}

bool posixMemoryStatus(MemoryStatus* status) {
    struct sysinfo info;
    if (sysinfo(&info) != 0) {
        return false;
    }
    const std::uint64_t unit = info.mem_unit == 0 ? 1 : info.mem_unit;
    status->totalPhysical = static_cast<std::uint64_t>(info.totalram) * unit;
    // MemAvailable counts reclaimable caches too, as the Windows figure does.
    std::uint64_t availKiB = 0;
    status->availPhysical = readProcValue("/proc/meminfo", "MemAvailable", &availKiB)
                                ? availKiB * 1024
                                : static_cast<std::uint64_t>(info.freeram) * unit;
    // The user address space of an x86-64 (or AArch64) process: 47 bits.
    status->totalVirtual = static_cast<std::uint64_t>(1) << 47;
    std::uint64_t usedKiB = 0;
    const std::uint64_t used =
        readProcValue("/proc/self/status", "VmSize", &usedKiB) ? usedKiB * 1024 : 0;
    status->availVirtual = used < status->totalVirtual ? status->totalVirtual - used : 0;
    return true;
}

int posixProcessId() {
    return static_cast<int>(getpid());
}

bool posixComputerName(char* buffer, std::size_t size) {
    if (size == 0 || gethostname(buffer, size) != 0) {
        return false;
    }
    buffer[size - 1] = '\0';
    return true;
}

bool fillRandom(unsigned char* bytes, std::size_t count) {
    std::size_t got = 0;
    while (got < count) {
        const ssize_t n = getrandom(bytes + got, count - got, 0);
        if (n < 0) {
            if (errno == EINTR) {
                continue;
            }
            break;
        }
        got += static_cast<std::size_t>(n);
    }
    if (got == count) {
        return true;
    }
    // Kernels without getrandom: the random device.
    const int fd = open("/dev/urandom", O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        return false;
    }
    got = 0;
    while (got < count) {
        const ssize_t n = read(fd, bytes + got, count - got);
        if (n <= 0) {
            if (n < 0 && errno == EINTR) {
                continue;
            }
            break;
        }
        got += static_cast<std::size_t>(n);
    }
    close(fd);
    return got == count;
}

// 16 random bytes in the memory layout of a version-4 identifier as Windows creates it:
// version 4 in the top nibble of the third field, the variant bits 10 in the first byte of
// the fourth.
bool posixGenerateUuid(unsigned int words[4]) {
    unsigned char bytes[16];
    if (!fillRandom(bytes, sizeof bytes)) {
        return false;
    }
    bytes[7] = static_cast<unsigned char>((bytes[7] & 0x0F) | 0x40);
    bytes[8] = static_cast<unsigned char>((bytes[8] & 0x3F) | 0x80);
    std::memcpy(words, bytes, sizeof bytes);
    return true;
}

std::int64_t posixPerformanceCounter() {
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::int64_t>(now.tv_sec) * 1000000000 + now.tv_nsec;
}

// From /proc/self/maps: its lines are "start-end perms ..." in increasing order; a mapping
// without any access ("---") is address space held back, the gaps are free.
bool posixMemoryRegions(std::vector<MemoryRegion>& regions) {
    regions.clear();
    std::FILE* file = std::fopen("/proc/self/maps", "re");
    if (file == nullptr) {
        return false;
    }
    std::uint64_t at = 0;
    char line[4096];
    while (std::fgets(line, sizeof line, file) != nullptr) {
        unsigned long long start = 0;
        unsigned long long end = 0;
        char perms[8] = {0};
        if (std::sscanf(line, "%llx-%llx %7s", &start, &end, perms) != 3 || end <= start ||
            start < at) {
            continue;
        }
        if (start > at) {
            regions.push_back(MemoryRegion{at, start - at, 0});
        }
        const bool none = perms[0] == '-' && perms[1] == '-' && perms[2] == '-';
        regions.push_back(MemoryRegion{start, end - start, none ? 1 : 2});
        at = end;
    }
    std::fclose(file);
    return !regions.empty();
}

} // namespace

const SystemCalls& nativeSystemCalls() {
    static const SystemCalls calls = {
        &posixProcessorCount,     &posixMemoryStatus, &posixPageSize,
        &posixProcessId,          &posixComputerName, &posixGenerateUuid,
        &posixPerformanceCounter, 1000000000,         &posixMemoryRegions,
    };
    return calls;
}

} // namespace detail
} // namespace kyOS
