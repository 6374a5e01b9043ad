// TCPTestSupport.h - a connected loopback pair, and a fault hook for the socket-call table.
#ifndef KY_TESTS_TCP_SUPPORT_H
#define KY_TESTS_TCP_SUPPORT_H

#include <Base/TCP/internal/kyTCPSocketCalls.h>
#include <Base/TCP/internal/kyTCPSocketImpl.h>
#include <Base/TCP/kyTCPServer.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace kytest {

/// A server on a system-chosen loopback port and one connection to it from `host`.
struct LoopbackPair {
    explicit LoopbackPair(const char* host = "127.0.0.1") : server(-1, 128) {
        server.setLoopbackOnly();
        kyUtil::Error e = server.listen();
        EXPECT_TRUE(e.ok()) << e.message();
        client.reset(new kyTCP::ClientSocket(kyTCP::Address(host, server.getPort())));
        e = client->connect();
        EXPECT_TRUE(e.ok()) << e.message();
        std::pair<kyTCP::Socket*, kyUtil::Error> a = server.accept(kyUtil::Interval(10, 0));
        EXPECT_TRUE(a.second.ok()) << a.second.message();
        accepted.reset(a.first);
    }
    bool ok() const { return client->isConnected() && accepted != nullptr; }

    kyTCP::Server server;
    std::unique_ptr<kyTCP::ClientSocket> client;
    std::unique_ptr<kyTCP::Socket> accepted;
};

/// Reads exactly `size` bytes (the socket returns what has arrived).
inline kyUtil::Error readAll(kyTCP::Socket& s, std::string& out, std::size_t size) {
    out.assign(size, '\0');
    std::size_t done = 0;
    while (done < size) {
        std::size_t n = 0;
        kyUtil::Error e = s.read(&out[done], size - done, &n);
        done += n;
        if (e.failed()) {
            out.resize(done);
            return e;
        }
    }
    return kyUtil::Error();
}

inline std::string pattern(std::size_t size) {
    std::string s(size, '\0');
    for (std::size_t i = 0; i < size; ++i) {
        s[i] = static_cast<char>(i * 131 + i / 251);
    }
    return s;
}

/// Installs itself as the socket layer's fault hook for its lifetime: the `k`-th call (from 1)
/// of `target` gets `fault`, once or from then on.
class SocketFaults {
public:
    using Call = kyTCP::detail::SocketCall;
    using Fault = kyTCP::detail::Fault;
    SocketFaults(Call target, std::size_t k, Fault fault, bool fromThenOn)
        : target_(target), k_(k), fault_(fault), fromThenOn_(fromThenOn) {
        kyTCP::detail::setFaultHook(&SocketFaults::hook, this);
    }
    ~SocketFaults() { kyTCP::detail::setFaultHook(nullptr, nullptr); }
    SocketFaults(const SocketFaults&) = delete;
    SocketFaults& operator=(const SocketFaults&) = delete;
    std::size_t affected() const { return affected_; }

private:
    static Fault hook(Call call, void* context) {
        SocketFaults& self = *static_cast<SocketFaults*>(context);
        if (call != self.target_) {
            return Fault{Fault::kNone, 0, 0};
        }
        const std::size_t n = ++self.seen_;
        if (n == self.k_ || (self.fromThenOn_ && n > self.k_)) {
            ++self.affected_;
            return self.fault_;
        }
        return Fault{Fault::kNone, 0, 0};
    }
    Call target_;
    std::size_t k_;
    Fault fault_;
    bool fromThenOn_;
    std::size_t seen_ = 0;
    std::size_t affected_ = 0;
};

} // namespace kytest

#endif // KY_TESTS_TCP_SUPPORT_H
