// IOTestSupport.h - small helpers shared by the serialization tests.
#ifndef KY_TESTS_IO_SUPPORT_H
#define KY_TESTS_IO_SUPPORT_H

#include <Base/String/kyStringIString.h>

#include <kyTestProcess.h>

#include <algorithm>
#include <cstdlib>
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

} // namespace iotest

#endif // KY_TESTS_IO_SUPPORT_H
