// kyTestPlatformWin32.cpp - kyTestProcess.h on Windows, which has no fork and no signals to
// stop or kill a child with: the tests that need them skip.
#include "kyTestProcess.h"

#include <cstdlib>

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

} // namespace kytest
