// kyTCPSocket.h - kyTCP::Socket, a connected TCP stream, and kyTCP::ClientSocket.
#ifndef KY_TCP_SOCKET_H
#define KY_TCP_SOCKET_H

#include <Base/BaseExport.h>
#include <Base/OS/kyOSIOStream.h>
#include <Base/TCP/kyTCPAddress.h>
#include <Base/Utility/kyUtilError.h>
#include <Base/Utility/kyUtilInterval.h>

#include <cstddef>
#include <cstdio>
#include <utility>

namespace kyTCP {

namespace detail {
class SocketImpl;
} // namespace detail
/// The hidden state of a socket: the system's handle, whether it is connected, its time-out
/// and throw mode.
using SocketImpl = detail::SocketImpl;

/// One TCP socket, owned: destroying the Socket closes it. Servers' accepted connections
/// (`ServerSocket`), client connections (`ClientSocket`) and listening sockets derive from it.
/// Not thread-safe: one thread at a time per socket.
///
/// Stream semantics (the usual ones of stream sockets, on every platform):
///  - `read` returns what has arrived, at least one byte, waiting for it up to the time-out.
///    This is fewer bytes than asked whenever less has arrived; callers that need an exact
///    count loop. A peer that closed its sending side gives 0 bytes and "End Of File"
///    (code 3, as files do).
///  - `write` sends everything or fails; a failure may come after part of the data went out
///    (`*count` tells how much).
///  - A zero time-out (the default) waits without limit. When the time-out passes, the
///    operation fails with code 5 "Socket operation timed out" and nothing more is transferred.
///  - Interruptions by signals and spurious "would block" answers are retried; no operation
///    raises SIGPIPE, and every socket is close-on-exec.
///  - Error codes: 1 the system refused the call (its text in the message, e.g. a reset
///    connection), 2 "No socket has been created" / "Socket not connected", 3 end of data,
///    4 a null buffer with a non-zero size ("An I/O problem has occurred"), 5 time-out.
///  - In throw mode, every failing `read` and `write` throws its `kyUtil::Error` instead of
///    returning it (off by default).
class KY_BASE_API Socket : public kyOS::IOStream {
public:
    /// Closes the socket if it is open.
    ~Socket() override;

    kyUtil::Error read(void* buffer, std::size_t size, std::size_t* count) override;
    kyUtil::Error write(const void* buffer, std::size_t size, std::size_t* count) override;
    /// Closes the socket; code 2 "No socket has been created" when there is none, code 1 when
    /// the system reports a failure (the socket is released anyway).
    kyUtil::Error close();

    kyUtil::Interval getTimeout() const;
    /// The limit for each later `read` and `write` (zero: no limit).
    void setTimeout(const kyUtil::Interval& timeout);
    bool getThrowMode() const;
    void setThrowMode(bool throwErrors);

    /// True when a `read` would not wait: data has arrived, or the peer closed or failed.
    bool dataAvailable() const;
    /// The numeric host and port of this end.
    std::pair<Address, kyUtil::Error> localAddress() const;
    /// The numeric host and port of the peer; code 2 "socket is not connected" when not.
    std::pair<Address, kyUtil::Error> remoteAddress() const;
    /// Sets the TCP no-delay option; failure is code 1 "setsockopt() failed: <text>".
    kyUtil::Error setNoDelay(bool noDelay);
    /// A C stream (`mode` as for fopen) over a duplicate of the socket, for code that wants a
    /// FILE*; the caller closes it with fclose, which leaves this socket open. Failures: code 1
    /// "_open_osfhandle() failed for  socket: <text>" or "_fdopen() failed for socket file
    /// descriptor".
    kyUtil::Error getCStream(const char* mode, std::FILE** stream);

    bool isConnected() const;
    /// The hidden state (for the server and the readiness waiters).
    SocketImpl* getImpl() const { return impl_; }

protected:
    /// Takes ownership of `impl`.
    explicit Socket(SocketImpl* impl);
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;

private:
    kyUtil::Error finish(kyUtil::Error e) const;

    SocketImpl* impl_;
};

/// A socket that connects to an Address. It keeps its own copy of the address; `connect`
/// tries the address (when IPv4 is usable) and, for the local loopback "127.0.0.1" where IPv6
/// is usable, "::1" on the same port next. Blocking; one thread at a time.
class KY_BASE_API ClientSocket : public Socket {
public:
    explicit ClientSocket(const Address& address);
    ~ClientSocket() override;

    /// Connects (closing any earlier connection first). Codes: 4 when the peer refused or the
    /// network is unreachable, 2 otherwise, with "connect() failed: <text>"; each failed attempt
    /// also prints "Connection failed: <message>" on standard output. Other failures:
    /// "connect() failed: No useable protocol families found.", "getaddrinfo failed: <text>",
    /// "Could not set LINGER socket option: <text>" (all code 2). A later success reports
    /// success. Connected sockets linger 2 seconds when closed.
    kyUtil::Error connect();
    /// The outcome of a connect that completed later: success, or code 4 (refused, network
    /// unreachable) or 2 with "connect() failed: <text>".
    kyUtil::Error getConnectError() const;
    const Address& getAddress() const { return address_; }

private:
    Address address_;
};

} // namespace kyTCP

#endif // KY_TCP_SOCKET_H
