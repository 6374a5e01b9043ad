// kyTCPSocketImpl.h - kyTCP::detail::SocketImpl, the hidden state of every socket.
#ifndef KY_TCP_INTERNAL_SOCKETIMPL_H
#define KY_TCP_INTERNAL_SOCKETIMPL_H

#include <Base/BaseExport.h>
#include <Base/TCP/internal/kyTCPSocketCalls.h>
#include <Base/Utility/kyImplBase.h>
#include <Base/Utility/kyUtilError.h>
#include <Base/Utility/kyUtilInterval.h>

namespace kyTCP {
namespace detail {

/// The system's socket handle and the stream settings. Owns the handle: destruction closes it.
class KY_BASE_API SocketImpl : public ky::ImplBase {
public:
    explicit SocketImpl(NativeSocket handle = kNoSocket, bool connected = false)
        : handle(handle), connected(connected), throwMode(false) {}
    ~SocketImpl() override;

    /// Closes the handle (if any) and forgets it.
    kyUtil::Error close();

    NativeSocket handle;
    bool connected;
    bool throwMode;
    kyUtil::Interval timeout;
};

/// The poll time-out of an Interval: zero is "no limit" (-1).
inline long long pollTimeout(const kyUtil::Interval& interval) {
    return interval.isZero() ? -1 : interval.totalMicroseconds();
}

/// Code 1 with the system's text for `error`.
kyUtil::Error systemError(const char* call, int error);

} // namespace detail
} // namespace kyTCP

#endif // KY_TCP_INTERNAL_SOCKETIMPL_H
