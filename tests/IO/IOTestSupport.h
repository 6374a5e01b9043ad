// IOTestSupport.h - small helpers shared by the serialization tests.
#ifndef KY_TESTS_IO_SUPPORT_H
#define KY_TESTS_IO_SUPPORT_H

#include <Base/String/kyStringIString.h>

#include <kyTestProcess.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

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

inline bool onWindows() {
    return kytest::onWindows();
}

} // namespace iotest

#endif // KY_TESTS_IO_SUPPORT_H
