// kyUndoReport.cpp - the undo trace file and its formatter.
#include <Base/Undo/internal/kyUndoTrace.h>
#include <Base/Undo/kyUndoReport.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace {

// The one trace file of the process; null while tracing is off.
std::FILE* gTraceFile = nullptr;

void writeTrace(const char* format, std::va_list args) {
    if (gTraceFile == nullptr || format == nullptr) {
        return;
    }
    char text[1024];
    const int n = std::vsnprintf(text, sizeof text, format, args);
    if (n < 0) {
        return;
    }
    std::fputs(text, gTraceFile);
    std::fflush(gTraceFile);
}

} // namespace

extern "C" void kyUndoReportInit(const char* path) {
    if (gTraceFile != nullptr) {
        std::fclose(gTraceFile);
        gTraceFile = nullptr;
    }
    if (path == nullptr || *path == '\0') {
        return;
    }
    gTraceFile = std::fopen(path, "a");
    if (gTraceFile != nullptr) {
        std::fputs("\n------------------------------\n\n", gTraceFile);
        std::fflush(gTraceFile);
    }
}

extern "C" void kyUndoReport(const char* format, ...) {
    std::va_list args;
    va_start(args, format);
    writeTrace(format, args);
    va_end(args);
}

namespace kyUndo {
namespace detail {

bool traceEnabled() {
    return gTraceFile != nullptr;
}

void trace(const char* format, ...) {
    std::va_list args;
    va_start(args, format);
    writeTrace(format, args);
    va_end(args);
}

char* copyName(const char* name) {
    if (name == nullptr) {
        return nullptr;
    }
    const std::size_t size = std::strlen(name) + 1;
    char* copy = new char[size];
    std::memcpy(copy, name, size);
    return copy;
}

void freeName(char* name) {
    delete[] name;
}

} // namespace detail
} // namespace kyUndo
