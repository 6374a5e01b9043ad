// kypkgSystemPosix.cpp - the terminal check and the binary standard output on POSIX systems.
#include "kypkgSupport.h"

#include <unistd.h>

namespace kypkg {

bool isTerminal(int stream) {
    return ::isatty(stream) == 1;
}

void binaryStandardOutput() {
    // POSIX streams carry bytes unchanged.
}

} // namespace kypkg
