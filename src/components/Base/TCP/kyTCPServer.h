// kyTCPServer.h - kyTCP::Server, listening on one port on both address families, and the
// sockets it makes.
#ifndef KY_TCP_SERVER_H
#define KY_TCP_SERVER_H

#include <Base/BaseExport.h>
#include <Base/TCP/kyTCPSocket.h>
#include <Base/Utility/kyUtilError.h>
#include <Base/Utility/kyUtilInterval.h>

#include <utility>

namespace kyTCP {

/// A connection a Server accepted. The caller of `Server::accept` owns it.
class KY_BASE_API ServerSocket : public Socket {
public:
    /// Takes ownership of `impl` (a connected socket).
    explicit ServerSocket(SocketImpl* impl);
    ~ServerSocket() override;
};

/// One listening socket of a Server (owned by it); made unconnected, without a handle.
class KY_BASE_API ListeningSocket : public Socket {
public:
    ListeningSocket();
    ~ListeningSocket() override;
};

class ServerImpl;

/// Listens on one port on IPv6 and IPv4 at once and hands out accepted connections. The IPv6
/// socket is bound first (IPv6 only, so that the IPv4 socket can take the same port); when the
/// port is -1 the system picks one for IPv6 and IPv4 binds the same. `setLoopbackOnly()` binds
/// the loopback addresses instead of the any-addresses. Blocking; owns its listening sockets;
/// one thread at a time.
///
/// Codes: `listen` 2 "listen() failed: No useable protocol families found.", 3 "bind() failed:
/// <text>" when the port is in use, 1 for other failures; `accept` 1 with the system's text.
class KY_BASE_API Server {
public:
    /// `port` -1 lets the system choose; `backlog` goes to the system's listen.
    Server(int port, int backlog);
    ~Server();
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    /// Listen on the loopback addresses only (takes effect at the next `listen`).
    void setLoopbackOnly();
    /// Makes new listening sockets (the old ones are deleted).
    kyUtil::Error listen();
    /// Waits for a connection (listening first if needed) up to `timeout`; zero waits without
    /// limit. A time-out gives no socket and success. The caller owns the returned socket.
    std::pair<Socket*, kyUtil::Error> accept(const kyUtil::Interval& timeout);
    /// The same with the socket stored in `*out` (null when none).
    kyUtil::Error accept(Socket** out, const kyUtil::Interval& timeout);
    /// Deletes the IPv4 listening socket only; the IPv6 one and the list of listening handles
    /// stay as they are. This asymmetry is old behaviour and kept.
    void shutdown();
    /// -1 until a socket has been bound, then the bound port.
    int getPort() const;
    /// Always false; it does not look at the sockets (kept as it always was).
    bool connectionPending() const;
    SocketImpl* getListeningSocketImplIPv4() const;
    SocketImpl* getListeningSocketImplIPv6() const;

private:
    ServerImpl* impl_;
};

} // namespace kyTCP

#endif // KY_TCP_SERVER_H
