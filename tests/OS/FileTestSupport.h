// FileTestSupport.h - small helpers for the file tests: plain reads and writes that do not go
// through the library, and names as the library takes them.
#ifndef KY_TESTS_OS_FILETESTSUPPORT_H
#define KY_TESTS_OS_FILETESTSUPPORT_H

#include <Base/OS/kyOSFile.h>
#include <Base/OS/kyOSFilename.h>
#include <Base/OS/kyOSProtectedWrite.h>
#include <Base/String/kyStringIString.h>

#include <kyTestSupport.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <random>
#include <string>

namespace filetest {

inline kyString::IString wide(const std::string& narrow) {
    return kyString::IString(narrow.c_str());
}

inline kyOS::Filename name(const std::filesystem::path& path) {
    return kyOS::Filename(kyString::IString(path.wstring().c_str()));
}

/// Writes `bytes` to `path`, replacing what was there; false when that failed.
inline bool put(const std::filesystem::path& path, const std::string& bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return out.good();
}

/// Reads a plain file into `bytes`; false when it is missing or not a plain file.
inline bool readBytes(const std::filesystem::path& path, std::string* bytes) {
    std::error_code ec;
    if (!std::filesystem::is_regular_file(path, ec)) {
        return false;
    }
    std::ifstream in(path, std::ios::binary);
    bytes->assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    return true;
}

/// The contents, or nothing when the name is not a readable plain file.
inline std::optional<std::string> get(const std::filesystem::path& path) {
    std::string bytes;
    if (!readBytes(path, &bytes)) {
        return std::nullopt;
    }
    return bytes;
}

/// `size` bytes that depend on `tag`: contents that no other tag's can be mistaken for.
inline std::string pattern(char tag, std::size_t size) {
    std::mt19937 bits(static_cast<unsigned char>(tag));
    std::string s(size, '\0');
    for (char& c : s) {
        c = static_cast<char>(bits() & 0xFF);
    }
    return s;
}

inline bool there(const std::string& path) {
    std::error_code ec;
    return std::filesystem::exists(path, ec);
}

/// Points the system's temporary directory at `dir` for the life of the object: TMPDIR on
/// POSIX systems, TMP and TEMP on Windows.
class ScopedTempDirectory {
public:
    explicit ScopedTempDirectory(const std::string& dir)
        : tmpdir_("TMPDIR", dir.c_str()), tmp_("TMP", dir.c_str()), temp_("TEMP", dir.c_str()) {}

private:
    kytest::ScopedEnv tmpdir_;
    kytest::ScopedEnv tmp_;
    kytest::ScopedEnv temp_;
};

/// The narrow text of an error's message ("" when it has none).
template <typename E>
std::string text(const E& e) {
    return e.hasMessage() ? std::string(e.message()) : std::string();
}

/// One protected-write cycle as a caller writes it: init, `content` through kyOS::File in
/// blocks of `block` bytes, finalize. True only when all of it succeeded; `why` says what
/// failed, `backup` receives the backup name (each when given).
inline bool protectedWriteCycle(const std::filesystem::path& main, bool copy,
                                const std::string& content, std::size_t block,
                                std::string* why = nullptr,
                                std::filesystem::path* backup = nullptr) {
    kyOS::ProtectedWrite pw(name(main));
    if (copy) {
        pw.useCopyStrategy();
    }
    bool ok = pw.init();
    if (backup != nullptr) {
        *backup = std::filesystem::path(pw.getBackupFilename().name().str());
    }
    if (ok) {
        kyOS::File out(pw.getTempFilename());
        kyUtil::Error e = out.open(kyOS::kWrite | kyOS::kCreate | kyOS::kTruncate);
        for (std::size_t at = 0; e.ok() && at < content.size(); at += block) {
            const std::size_t n = std::min(block, content.size() - at);
            std::size_t put = 0;
            e = out.write(content.data() + at, n, &put);
            e = e.ok() && put != n ? kyOS::File::getError(kyOS::kFileErrIO) : e;
        }
        const kyUtil::Error closed = out.isOpen() ? out.close() : kyUtil::Error();
        e = e.ok() ? closed : e;
        if (e.failed()) {
            why != nullptr ? void(*why = e.message()) : void();
            pw.invalidate();
            ok = false;
        }
    }
    const bool finalized = pw.finalize();
    if (!finalized && why != nullptr) {
        *why += " status " + std::to_string(pw.getStatus());
    }
    return ok && finalized;
}

} // namespace filetest

#endif // KY_TESTS_OS_FILETESTSUPPORT_H
