// kyBenchRawFile.h - the plain system-call baselines that the file and stream benchmarks
// measure the library against (POSIX: these benchmarks are POSIX-only).
#ifndef KY_BENCH_RAW_FILE_H
#define KY_BENCH_RAW_FILE_H

#include <cstddef>
#include <string>

#include <fcntl.h>
#include <unistd.h>

namespace kybench {

/// Creates (or truncates) `path` with permission bits `mode` and writes `block` of
/// `blockSize` bytes until `total` bytes are written; true when every write and the close
/// succeeded.
inline bool rawWriteFile(const std::string& path, const char* block, std::size_t blockSize,
                         std::size_t total, int mode) {
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, mode);
    if (fd < 0) {
        return false;
    }
    bool ok = true;
    for (std::size_t done = 0; ok && done < total; done += blockSize) {
        ok = ::write(fd, block, blockSize) == static_cast<ssize_t>(blockSize);
    }
    return ::close(fd) == 0 && ok;
}

/// Reads `path` to its end in blocks of `blockSize` bytes into `buffer`; true when the close
/// succeeded and exactly `expected` bytes came.
inline bool rawReadFile(const std::string& path, char* buffer, std::size_t blockSize,
                        std::size_t expected) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        return false;
    }
    std::size_t total = 0;
    for (;;) {
        const ssize_t got = ::read(fd, buffer, blockSize);
        if (got <= 0) {
            break;
        }
        total += static_cast<std::size_t>(got);
    }
    return ::close(fd) == 0 && total == expected;
}

} // namespace kybench

#endif // KY_BENCH_RAW_FILE_H
