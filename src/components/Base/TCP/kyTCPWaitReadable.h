// kyTCPWaitReadable.h - waiting until one of several sockets or servers is readable.
#ifndef KY_TCP_WAITREADABLE_H
#define KY_TCP_WAITREADABLE_H

#include <Base/BaseExport.h>
#include <Base/TCP/kyTCPServer.h>
#include <Base/TCP/kyTCPSocket.h>
#include <Base/Utility/kyUtilError.h>
#include <Base/Utility/kyUtilInterval.h>

#include <vector>

namespace kyTCP {

class WaitReadableImpl;

/// A set of at most 64 sockets to wait on: readable data, a closed peer or (for a server's
/// listening sockets) a pending connection. Holds handles, not the sockets: they must outlive
/// their use here. One thread at a time.
///
/// @code
///   kyTCP::WaitReadable w;
///   w.add(server); w.add(client);
///   (void)w.wait(kyUtil::Interval(1, 0)); // code 1 when something is ready; see wait()
///   if (w.isReadable(client)) { ... }
/// @endcode
class KY_BASE_API WaitReadable {
public:
    WaitReadable();
    ~WaitReadable();
    WaitReadable(const WaitReadable&) = delete;
    WaitReadable& operator=(const WaitReadable&) = delete;

    /// Adds a socket's handle; one already present, or any beyond the 64th, is ignored.
    void add(const Socket& socket);
    /// Adds both listening sockets of a server that exist.
    void add(const Server& server);
    /// Empties the set.
    void reset();
    /// Waits up to `timeout` (zero: without limit); afterwards the set holds only the ready
    /// handles. Success only on a time-out: when sockets are ready (and on failure) the result
    /// is code 1 with the system's text for the last socket error. This is old behaviour and
    /// kept; callers ask `isReadable` whatever `wait` returned.
    kyUtil::Error wait(const kyUtil::Interval& timeout);
    bool isReadable(const Socket& socket) const;
    /// True when either listening socket of the server is in the set.
    bool isReadable(const Server& server) const;

private:
    WaitReadableImpl* impl_;
};

/// Appends to `readable`, in input order, each socket of `sockets` (at most 64 distinct
/// handles) that is readable within `timeout` (zero: without limit). Success also on a time-out
/// (nothing appended); code 1 "select() failed" when the wait fails.
KY_BASE_API kyUtil::Error waitReadable(const std::vector<Socket*>& sockets,
                                       std::vector<Socket*>& readable,
                                       const kyUtil::Interval& timeout);

} // namespace kyTCP

#endif // KY_TCP_WAITREADABLE_H
