// kyTestPlatformWin32.cpp - kyTestProcess.h on Windows, which has no fork and no signals to
// stop or kill a child with: the tests that need them skip.
#include "kyTestProcess.h"

#include <cstdio>
#include <cstdlib>

#include <windows.h>

namespace kytest {

bool onWindows() {
    return true;
}

bool canDropPrivileges() {
    return false;
}

std::optional<std::string> runInChild(const std::function<std::string()>&, bool) {
    return std::nullopt;
}

bool canForkAndKill() {
    return false;
}

long forkChild(const std::function<int()>&) {
    return -1;
}

long startProgram(const std::string&, const std::vector<std::string>&, const std::string&,
                  const std::vector<std::pair<const char*, const char*>>&) {
    return -1;
}

ChildEnd waitChild(long, bool) {
    return ChildEnd();
}

void killChild(long) {}

void stopSelf() {}

void setEnvironment(const char* name, const char* value) {
    _putenv_s(name, value != nullptr ? value : "");
}

int countOpenDescriptors() {
    return -1;
}

std::string runSelf(const std::string& arguments,
                    const std::vector<std::pair<const char*, const char*>>& environment) {
    char self[MAX_PATH];
    const DWORD n = ::GetModuleFileNameA(nullptr, self, sizeof self);
    std::string command;
    for (const auto& var : environment) {
        // "set NAME=&&" removes the variable, as the shell has no other way in one line.
        command += std::string("set ") + var.first + "=" + (var.second ? var.second : "") + "&& ";
    }
    command += "\"" + std::string(self, n) + "\" " + arguments;
    std::string out;
    if (std::FILE* p = ::_popen(command.c_str(), "r")) {
        char buffer[512];
        while (std::fgets(buffer, sizeof buffer, p) != nullptr) {
            out += buffer;
        }
        ::_pclose(p);
    }
    return out;
}

} // namespace kytest
