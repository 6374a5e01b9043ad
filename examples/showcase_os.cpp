// showcase_os.cpp - the showcase's tour of system information, identifiers and traces.
#include "showcase.h"

#include <Base/OS/kyOSAppMain.h>
#include <Base/OS/kyOSDebugTrace.h>
#include <Base/OS/kyOSSysInfo.h>
#include <Base/OS/kyOSUuid.h>

#include <cstdio>

void showcaseOS() {
    showcaseSection("OS: system information, identifiers, traces");
    kyOS::SysInfo info;
    std::printf("processors %d (physical %d), memory %llu MiB, page %llu bytes, process %d\n",
                info.numCPUs(), info.numPhysicalCPUs(),
                static_cast<unsigned long long>(info.totalPhysicalMemory() / 1024),
                static_cast<unsigned long long>(info.pageSize()), info.getProcessID());
    std::printf("host %s, user %s\n", info.hostname(),
                info.username() != nullptr ? info.username() : "(not set)");

    kyOS::Uuid id;
    id.generate();
    std::printf("new identifier %s; parsed back %s\n", id.asString().asChar(),
                kyOS::Uuid(id.asString()) == id ? "equal" : "different");
    std::printf(
        "\"0000000A-0000000B-0000000C-0000000D\" -> %s\n",
        kyOS::Uuid(kyString::CString("0000000A-0000000B-0000000C-0000000D")).asString().asChar());

    kyOS::DebugTrace trace("showcase", 1);
    trace.start("outer");
    trace.start("inner");
    trace.tick("halfway");
    trace.print("free text");
    trace.stop();
    trace.stop();
    std::printf("(%.4f s since the library was loaded)\n", kyOS::AppMain::getElapsed());
}
