// kyOSAppMain.cpp - the application frame's process-wide state.
#include <Base/OS/kyOSAppMain.h>

#include <Base/OS/kyOSStopWatch.h>

#include <cstring>

namespace kyOS {
namespace {

struct Frame {
    Frame() { clock.start(); }
    kyString::CString name;
    StopWatch clock;
    ky::vector<kyString::CString> arguments;
    ky::vector<kyString::IString> pluginDirectories;
};

Frame& frame() {
    // Never destroyed: code running during shutdown may still ask for the elapsed time.
    static Frame* f = new Frame;
    return *f;
}

// Started while the library loads, so that elapsed time counts from then.
[[maybe_unused]] const bool kClockStarted = (frame(), true);

} // namespace

const kyString::CString& AppMain::getApplicationName() {
    return frame().name;
}

void AppMain::setApplicationName(const kyString::CString& name) {
    frame().name = name;
}

double AppMain::getElapsed() {
    return frame().clock.check();
}

void AppMain::resetElapsed() {
    frame().clock.clear();
    frame().clock.start();
}

void AppMain::setArguments(int argc, const char* const* argv) {
    Frame& f = frame();
    f.arguments.clear();
    for (int i = 0; i < argc; ++i) {
        f.arguments.push_back(kyString::CString(argv[i]));
    }
    if (f.name.isEmpty() && argc > 0 && argv[0] != nullptr) {
        const char* base = argv[0];
        for (const char* p = argv[0]; *p != '\0'; ++p) {
            if (*p == '/' || *p == '\\') {
                base = p + 1;
            }
        }
        std::size_t length = std::strlen(base);
        if (length > 4 && (std::strcmp(base + length - 4, ".exe") == 0 ||
                           std::strcmp(base + length - 4, ".EXE") == 0)) {
            length -= 4;
        }
        f.name = kyString::CString(base, static_cast<unsigned int>(length));
    }
}

const ky::vector<kyString::CString>& AppMain::getArguments() {
    return frame().arguments;
}

const ky::vector<kyString::IString>& AppMain::getPluginDirectories() {
    return frame().pluginDirectories;
}

void AppMain::setPluginDirectories(const ky::vector<kyString::IString>& directories) {
    frame().pluginDirectories = directories;
}

void AppMain::addPluginDirectory(const kyString::IString& directory) {
    frame().pluginDirectories.push_back(directory);
}

} // namespace kyOS
