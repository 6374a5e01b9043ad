// kyTCPSocketCalls.cpp - the table of socket calls in use and the fault hook.
#include <Base/TCP/internal/kyTCPSocketCalls.h>

namespace kyTCP {
namespace detail {

FaultSlot gFaultSlot = {nullptr, nullptr};

void setFaultHook(FaultHook hook, void* context) {
    gFaultSlot.context = context;
    gFaultSlot.hook = hook;
}

SocketCalls& socketCalls() {
    static SocketCalls calls = nativeSocketCalls();
    return calls;
}

} // namespace detail
} // namespace kyTCP
