// os_example.cpp - the examples of the system-information, identifier, timing and trace
// headers, compiled and checked.
#include "example_check.h"

#include <Base/OS/kyOSAppMain.h>
#include <Base/OS/kyOSAppOutput.h>
#include <Base/OS/kyOSDebugTrace.h>
#include <Base/OS/kyOSStopWatch.h>
#include <Base/OS/kyOSSysInfo.h>
#include <Base/OS/kyOSUuid.h>

#include <cstdio>
#include <string>

namespace {

void doWork() {
    volatile double x = 0;
    for (int i = 0; i < 100000; ++i) {
        x = x + i;
    }
}

void collect(void* context, int, const char* text) {
    *static_cast<std::string*>(context) += text;
}

} // namespace

int main(int argc, char** argv) {
    kyOS::AppMain::setArguments(argc, argv); // the name is argv[0]'s base name
    kyOS::AppMain::addPluginDirectory(kyString::IString(L"/opt/app/plug-ins"));
    CHECK(kyOS::AppMain::getApplicationName() == kyString::CString("os_example"));
    CHECK(kyOS::AppMain::getPluginDirectories().size() == 1);

    kyOS::SysInfo info;
    const int workers = info.numCPUs(); // at most KY_NUM_CPUS when set
    const std::uint64_t kib = info.totalPhysicalMemory();
    CHECK(workers >= 1 && kib > 0);

    kyOS::Uuid id;
    id.generate();
    kyOS::Uuid copy(id.asString()); // copy == id
    CHECK(copy == id && id.valid());

    kyOS::StopWatch watch;
    watch.start();
    doWork();
    const double seconds = watch.stop(); // the total of every start/stop pair so far
    CHECK(seconds >= 0.0 && !watch.running());

    std::string output;
    kyOS::AppOutput::setSink(&collect, &output);
    kyOS::AppOutput::printf(kyOS::AppOutput::kInformation, "%d plug-ins\n", 3);
    kyOS::AppOutput::indent(); // later lines start with two blanks
    kyOS::AppOutput::write(kyOS::AppOutput::kInformation, "x\n");
    kyOS::AppOutput::unindent();
    {
        static kyOS::DebugTrace trace("load scene", 1);
        trace.start("big.scene");
        trace.tick("geometry read");
        trace.stop();
    }
    kyOS::AppOutput::setSink(nullptr);
    CHECK(output.find("3 plug-ins\n  x\n") == 0);
    CHECK(output.find("Start trace: load scene big.scene") != std::string::npos);
    CHECK(output.find("tick trace: load scene geometry read now") != std::string::npos);
    CHECK(output.find("End trace: load scene elapsed") != std::string::npos);
    std::puts("os examples: ok");
    return 0;
}
