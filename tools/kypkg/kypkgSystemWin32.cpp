// kypkgSystemWin32.cpp - the terminal check and the binary standard output on Windows.
#include "kypkgSupport.h"

#include <fcntl.h>
#include <io.h>

#include <cstdio>

namespace kypkg {

bool isTerminal(int stream) {
    return _isatty(stream) != 0;
}

void binaryStandardOutput() {
    // Entry bytes go out unchanged: no newline translation.
    _setmode(_fileno(stdout), _O_BINARY);
}

} // namespace kypkg
