// kyOSAppOutput.cpp - numbered output channels with indentation.
#include <Base/OS/kyOSAppOutput.h>

#include <Base/String/kyStringCString.h>

#include <cstdio>
#include <mutex>
#include <string>

namespace kyOS {
namespace {

struct OutputState {
    std::mutex mutex;
    AppOutput::Sink sink = nullptr;
    void* context = nullptr;
    int level = 0;
    bool atLineStart[3] = {true, true, true}; // per stream: 0 unused, 1 errors, 2 information
};

OutputState& state() {
    // Never destroyed: traces and plug-ins may write while the process shuts down.
    static OutputState* s = new OutputState;
    return *s;
}

int streamOf(int channel) {
    return channel == AppOutput::kErrors ? 1 : 2;
}

} // namespace

void AppOutput::setSink(Sink sink, void* context) {
    OutputState& s = state();
    std::lock_guard<std::mutex> lock(s.mutex);
    s.sink = sink;
    s.context = context;
    s.atLineStart[1] = s.atLineStart[2] = true;
}

void AppOutput::write(int channel, const char* text) {
    if (text == nullptr || *text == '\0') {
        return;
    }
    OutputState& s = state();
    std::lock_guard<std::mutex> lock(s.mutex);
    const int stream = streamOf(channel);
    // Indent every line that starts within this text.
    std::string out;
    const std::string blanks(static_cast<std::size_t>(s.level * kBlanksPerLevel), ' ');
    for (const char* p = text; *p != '\0'; ++p) {
        if (s.atLineStart[stream]) {
            out += blanks;
            s.atLineStart[stream] = false;
        }
        out += *p;
        if (*p == '\n') {
            s.atLineStart[stream] = true;
        }
    }
    if (s.sink != nullptr) {
        s.sink(s.context, channel, out.c_str());
        return;
    }
    std::FILE* file = stream == 1 ? stderr : stdout;
    std::fputs(out.c_str(), file);
    std::fflush(file);
}

void AppOutput::printf(int channel, const char* format, ...) {
    va_list args;
    va_start(args, format);
    vprintf(channel, format, args);
    va_end(args);
}

void AppOutput::vprintf(int channel, const char* format, va_list args) {
    kyString::CString text;
    // An empty result is reported as a failure by the formatter: there is nothing to write.
    if (text.vformat(format, args) != 0xFFFFFFFFu) {
        write(channel, text.asChar());
    }
}

int AppOutput::indentation() {
    OutputState& s = state();
    std::lock_guard<std::mutex> lock(s.mutex);
    return s.level;
}

void AppOutput::setIndentation(int level) {
    OutputState& s = state();
    std::lock_guard<std::mutex> lock(s.mutex);
    s.level = level < 0 ? 0 : level;
}

} // namespace kyOS
