// kyTCPServer.cpp - kyTCP::Server, kyTCP::ServerSocket and kyTCP::ListeningSocket.
#include <Base/TCP/kyTCPServer.h>

#include <Base/TCP/internal/kyTCPSocketCalls.h>
#include <Base/TCP/internal/kyTCPSocketImpl.h>
#include <Base/Utility/kyImplBase.h>

#include <vector>

namespace kyTCP {

using detail::Family;
using detail::NativeSocket;
using detail::SocketCalls;

class ServerImpl : public ky::ImplBase {
public:
    ServerImpl(int port, int backlog)
        : port(port), backlog(backlog), loopbackOnly(false), ipv4(nullptr), ipv6(nullptr) {}
    ~ServerImpl() override {
        delete ipv4;
        delete ipv6;
    }

    kyUtil::Error bindAndListen(ListeningSocket& socket, NativeSocket s, Family family);

    int port;
    int backlog;
    bool loopbackOnly;
    ListeningSocket* ipv4;
    ListeningSocket* ipv6;
    std::vector<NativeSocket> handles;
};

namespace {

kyUtil::Error textOnly(int error) {
    return detail::systemError("", error);
}

} // namespace

kyUtil::Error ServerImpl::bindAndListen(ListeningSocket& socket, NativeSocket s, Family family) {
    SocketCalls& calls = detail::socketCalls();
    int error = 0;
    int ignored = 0;
    if (calls.bind(s, family, loopbackOnly, port == -1 ? 0 : port, &error) != 0) {
        (void)calls.close(s, &ignored); // the bind failure is the one to report
        return kyUtil::Error(error == calls.addressInUseError ? 3 : 1, "bind() failed: %S",
                             calls.errorText(error).c_str());
    }
    socket.getImpl()->handle = s;
    handles.push_back(s);
    if (calls.listen(s, backlog, &error) != 0) {
        return textOnly(error);
    }
    return kyUtil::Error();
}

ServerSocket::ServerSocket(SocketImpl* impl) : Socket(impl) {}
ServerSocket::~ServerSocket() = default;

ListeningSocket::ListeningSocket() : Socket(new detail::SocketImpl()) {}
ListeningSocket::~ListeningSocket() = default;

Server::Server(int port, int backlog) : impl_(new ServerImpl(port, backlog)) {}

Server::~Server() {
    delete impl_;
}

void Server::setLoopbackOnly() {
    impl_->loopbackOnly = true;
}

kyUtil::Error Server::listen() {
    ServerImpl& d = *impl_;
    delete d.ipv4;
    delete d.ipv6;
    d.ipv4 = nullptr;
    d.ipv6 = nullptr;
    d.handles.clear();
    d.ipv4 = new ListeningSocket();
    d.ipv6 = new ListeningSocket();

    SocketCalls& calls = detail::socketCalls();
    const int families = usableFamilies();
    int error = 0;
    NativeSocket s4 = detail::kNoSocket;
    NativeSocket s6 = detail::kNoSocket;
    if ((families & kFamilyIPv4) != 0 &&
        (s4 = calls.socket(Family::kIPv4, &error)) == detail::kNoSocket) {
        return detail::systemError("socket() failed: ", error);
    }
    if ((families & kFamilyIPv6) != 0 &&
        (s6 = calls.socket(Family::kIPv6, &error)) == detail::kNoSocket) {
        int ignored = 0;
        if (s4 != detail::kNoSocket) {
            (void)calls.close(s4, &ignored); // the socket failure is the one to report
        }
        return detail::systemError("socket() failed: ", error);
    }
    if (s4 == detail::kNoSocket && s6 == detail::kNoSocket) {
        return kyUtil::Error(2, "listen() failed: No useable protocol families found.");
    }
    if (s6 != detail::kNoSocket) {
        // IPv6 only, so that the IPv4 socket can bind the same port.
        if (calls.setOption(s6, detail::Option::kV6Only, 1, &error) != 0) {
            int ignored = 0;
            (void)calls.close(s6, &ignored);
            if (s4 != detail::kNoSocket) {
                (void)calls.close(s4, &ignored);
            }
            return detail::systemError("setsockopt() failed: ", error);
        }
        kyUtil::Error e = d.bindAndListen(*d.ipv6, s6, Family::kIPv6);
        if (e.failed()) {
            int ignored = 0;
            if (s4 != detail::kNoSocket) {
                (void)calls.close(s4, &ignored); // the IPv6 failure is the one to report
            }
            return e;
        }
        std::string host;
        int port = 0;
        if (calls.socketName(s6, false, host, &port, &error) != 0) {
            int ignored = 0;
            if (s4 != detail::kNoSocket) {
                (void)calls.close(s4, &ignored);
            }
            return kyUtil::Error(1, "Cannot get listening socket address:%S",
                                 calls.errorText(error).c_str());
        }
        d.port = port;
    }
    if (s4 != detail::kNoSocket) {
        kyUtil::Error e = d.bindAndListen(*d.ipv4, s4, Family::kIPv4);
        if (e.failed()) {
            return e;
        }
        if (d.port == -1) {
            std::pair<Address, kyUtil::Error> local = d.ipv4->localAddress();
            if (local.second.failed()) {
                return kyUtil::Error(1, "Cannot get listening socket address: %s",
                                     local.second.message());
            }
            d.port = local.first.getPort();
        }
    }
    return kyUtil::Error();
}

std::pair<Socket*, kyUtil::Error> Server::accept(const kyUtil::Interval& timeout) {
    ServerImpl& d = *impl_;
    if (d.handles.empty()) {
        kyUtil::Error e = listen();
        if (e.failed()) {
            return {nullptr, e};
        }
    }
    SocketCalls& calls = detail::socketCalls();
    std::vector<detail::PollEntry> entries;
    for (NativeSocket h : d.handles) {
        entries.push_back({h, false, false});
    }
    int error = 0;
    int n = 0;
    while ((n = calls.poll(entries.data(), entries.size(), detail::pollTimeout(timeout), &error)) <
               0 &&
           error == calls.interruptedError) {
    }
    if (n < 0) {
        return {nullptr, textOnly(error)};
    }
    if (n == 0) {
        return {nullptr, kyUtil::Error()};
    }
    std::size_t first = 0;
    while (!entries[first].ready) {
        ++first;
    }
    NativeSocket s = detail::kNoSocket;
    while ((s = calls.accept(entries[first].socket, &error)) == detail::kNoSocket &&
           error == calls.interruptedError) {
    }
    if (s == detail::kNoSocket) {
        return {nullptr, textOnly(error)};
    }
    if (calls.setOption(s, detail::Option::kLinger, 2, &error) != 0) {
        int ignored = 0;
        (void)calls.close(s, &ignored); // nobody else holds the handle
        return {nullptr, textOnly(error)};
    }
    return {new ServerSocket(new detail::SocketImpl(s, true)), kyUtil::Error()};
}

kyUtil::Error Server::accept(Socket** out, const kyUtil::Interval& timeout) {
    std::pair<Socket*, kyUtil::Error> result = accept(timeout);
    *out = result.first;
    return result.second;
}

void Server::shutdown() {
    delete impl_->ipv4;
    impl_->ipv4 = nullptr;
}

int Server::getPort() const {
    return impl_->port;
}

bool Server::connectionPending() const {
    return false;
}

SocketImpl* Server::getListeningSocketImplIPv4() const {
    return impl_->ipv4 != nullptr ? impl_->ipv4->getImpl() : nullptr;
}

SocketImpl* Server::getListeningSocketImplIPv6() const {
    return impl_->ipv6 != nullptr ? impl_->ipv6->getImpl() : nullptr;
}

} // namespace kyTCP
