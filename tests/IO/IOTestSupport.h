// IOTestSupport.h - small helpers shared by the serialization tests: files, a buffer over a
// string, a package read back, and the tools run as programs.
#ifndef KY_TESTS_IO_SUPPORT_H
#define KY_TESTS_IO_SUPPORT_H

#include <Base/IO/internal/ioBuffer.h>
#include <Base/IO/ioPackageFile.h>
#include <Base/String/kyStringIString.h>

#include <kyTestProcess.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace iotest {

inline kyString::IString name(const std::string& path) {
    return kyString::IString(std::filesystem::path(path).wstring().c_str());
}

inline void put(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

inline std::string get(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

/// `n` bytes of a fixed pattern that compresses a little, different for each `seed`.
inline std::string pattern(std::size_t n, unsigned seed) {
    std::string s(n, '\0');
    for (std::size_t i = 0; i < n; ++i) {
        s[i] = static_cast<char>((i * 7 + seed * 13 + (i >> 5)) & 0xFF);
    }
    return s;
}

inline bool onWindows() {
    return kytest::onWindows();
}

/// A package's names and entry bytes as a fresh reader sees them; false when it does not open
/// (`code` says why) or an entry does not read back whole (code 9).
inline bool packageContents(const std::string& file, std::map<std::string, std::string>& contents,
                            int* code = nullptr) {
    contents.clear();
    ioPackageFile package;
    std::error_code ec;
    const kyUtil::Error opened = std::filesystem::is_regular_file(file, ec)
                                     ? package.open(name(file))
                                     : kyUtil::Error(6, "no such file");
    if (code != nullptr) {
        *code = opened.failed() ? opened.code() : 9;
    }
    if (opened.failed()) {
        return false;
    }
    for (const auto& named : package.getDirectory()) {
        const ioPackageFileEntry* entry = package.getEntry(named.second);
        ioBufferedStreamInput in;
        in.openPackageFileEntry(entry);
        if (entry->getCompressed()) {
            in.compress(true);
            in.checksum(true);
        }
        std::string& bytes = contents[named.first.asUTF8()];
        char chunk[4096];
        for (int got; (got = in.readData(chunk, sizeof chunk)) > 0;) {
            bytes.append(chunk, static_cast<std::size_t>(got));
        }
        const ioStreamStatus end = in.getStatus();
        if (entry->getCompressed()
                ? end != ioStreamEndOfCompressed
                : end != ioStreamEndOfFile ||
                      static_cast<std::int64_t>(bytes.size()) != entry->getSize()) {
            return false;
        }
    }
    if (code != nullptr) {
        *code = 0;
    }
    return true;
}

inline std::string withoutCR(std::string text) {
    text.erase(std::remove(text.begin(), text.end(), '\r'), text.end());
    return text;
}

/// Runs a program of the build through the command interpreter: `arguments` as typed, standard
/// input from the file `input` unless it is empty, standard output and error into the files
/// `out` and `err`. The exit code.
inline int runTool(const std::string& tool, const std::string& arguments, const std::string& input,
                   const std::string& out, const std::string& err) {
    std::string command = "\"" + tool + "\" " + arguments +
                          (input.empty() ? "" : " < \"" + input + "\"") + " > \"" + out +
                          "\" 2> \"" + err + "\"";
    if (tool.size() > 4 && tool.compare(tool.size() - 4, 4, ".exe") == 0) {
        // Under the Windows command interpreter: the build tree is drive Z:, and the
        // interpreter takes the outermost quotes off the whole line.
        command = "\"" + (tool[0] == '/' ? "\"Z:" + command.substr(1) : command) + "\"";
    }
    const int status = std::system(command.c_str());
    return (status & 0xFF) == 0 ? status >> 8 : status; // POSIX keeps it in the second byte
}

/// A terminal buffer over a string: reads serve `source` in blocks of at most `blockLimit`
/// bytes, writes append to `sink`; every block size is recorded.
class MemoryBuffer : public ioBuffer {
public:
    explicit MemoryBuffer(bool reading, int capacity = 4096, std::string text = {})
        : ioBuffer(reading, capacity), source(std::move(text)) {}
    int getBufferType() override { return 99; }
    void close() override {}
    int readBlock(char* data, int length) override {
        const int n = std::min({length, blockLimit, static_cast<int>(source.size() - offset)});
        blocks.push_back(n);
        source.copy(data, static_cast<std::size_t>(n), offset);
        offset += static_cast<std::size_t>(n);
        if (n == 0) {
            setStatus(ioBufferEndOfData);
        }
        return n;
    }
    void writeBlock(const char* data, int length) override {
        blocks.push_back(length);
        sink.append(data, static_cast<std::size_t>(length));
    }
    std::string source, sink;
    std::size_t offset = 0;
    int blockLimit = 1 << 30;
    std::vector<int> blocks;
};

} // namespace iotest

#endif // KY_TESTS_IO_SUPPORT_H
