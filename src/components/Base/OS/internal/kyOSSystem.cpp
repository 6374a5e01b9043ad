// kyOSSystem.cpp - the table of system calls in use.
#include <Base/OS/internal/kyOSSystem.h>

namespace kyOS {
namespace detail {

SystemCalls& systemCalls() {
    static SystemCalls calls = nativeSystemCalls();
    return calls;
}

} // namespace detail
} // namespace kyOS
