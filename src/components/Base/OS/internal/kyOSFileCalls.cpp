// kyOSFileCalls.cpp - the table of file system calls in use and the fault hook.
#include <Base/OS/internal/kyOSFileCalls.h>

namespace kyOS {
namespace detail {

FaultSlot gFaultSlot = {nullptr, nullptr};

void setFaultHook(FaultHook hook, void* context) {
    gFaultSlot.context = context;
    gFaultSlot.hook = hook;
}

FileCalls& fileCalls() {
    static FileCalls calls = nativeFileCalls();
    return calls;
}

} // namespace detail
} // namespace kyOS
