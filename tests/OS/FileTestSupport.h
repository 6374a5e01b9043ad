// FileTestSupport.h - small helpers for the file tests: plain reads and writes that do not go
// through the library, and names as the library takes them.
#ifndef KY_TESTS_OS_FILETESTSUPPORT_H
#define KY_TESTS_OS_FILETESTSUPPORT_H

#include <Base/OS/kyOSFilename.h>
#include <Base/String/kyStringIString.h>

#include <kyTestSupport.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>

namespace filetest {

inline bool onWindows() {
    return kyOS::Filename::separator() == L'\\';
}

inline kyString::IString wide(const std::string& narrow) {
    return kyString::IString(narrow.c_str());
}

inline kyOS::Filename name(const std::string& narrow) {
    return kyOS::Filename(wide(narrow));
}

inline void put(const std::string& path, const std::string& bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

/// The contents, or nothing when the file cannot be read.
inline std::optional<std::string> get(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        return std::nullopt;
    }
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
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

} // namespace filetest

#endif // KY_TESTS_OS_FILETESTSUPPORT_H
