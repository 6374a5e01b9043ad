// kyTCPSocketCallsPosix.cpp - the socket calls on POSIX systems.
#include <Base/TCP/internal/kyTCPSocketCalls.h>

#include <Base/String/kyStringIString.h>

#include <arpa/inet.h>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

#ifdef __linux__
#include <linux/sockios.h> // SIOCOUTQ
#endif

namespace kyTCP {
namespace detail {
namespace {

#ifndef MSG_NOSIGNAL
#define MSG_NOSIGNAL 0
#endif

int fdOf(NativeSocket s) {
    return static_cast<int>(s);
}

int failWithErrno(int* error) {
    *error = errno;
    return -1;
}

int posixStartup() {
    return 0;
}

NativeSocket madeSocket(int fd, int* error) {
    if (fd < 0) {
        *error = errno;
        return kNoSocket;
    }
#ifdef SO_NOSIGPIPE
    const int on = 1;
    (void)::setsockopt(fd, SOL_SOCKET, SO_NOSIGPIPE, &on, sizeof on); // MSG_NOSIGNAL suffices
#endif
    return static_cast<NativeSocket>(fd);
}

NativeSocket posixSocket(Family family, int* error) {
    if (injectedFault(SocketCall::kSocket, error)) {
        return kNoSocket;
    }
    const int domain = family == Family::kIPv4 ? AF_INET : AF_INET6;
    return madeSocket(::socket(domain, SOCK_STREAM | SOCK_CLOEXEC, 0), error);
}

NativeSocket posixSocketFor(const addrinfo* info, int* error) {
    if (injectedFault(SocketCall::kSocket, error)) {
        return kNoSocket;
    }
    return madeSocket(
        ::socket(info->ai_family, info->ai_socktype | SOCK_CLOEXEC, info->ai_protocol), error);
}

int posixClose(NativeSocket s, int* error) {
    if (injectedFault(SocketCall::kClose, error)) {
        ::close(fdOf(s)); // the descriptor is released whatever the call reports
        return -1;
    }
    // Linger means what it means on Windows: close waits (up to its time) only while sent data
    // is still on its way. Linux would also wait for the acknowledgement of the closing FIN,
    // which the peer may delay by a timer tick, so linger is switched off when nothing is
    // outstanding; the connection still closes gracefully in the background.
#ifdef SIOCOUTQ
    int outstanding = 0;
    if (::ioctl(fdOf(s), SIOCOUTQ, &outstanding) == 0 && outstanding == 0) {
        const linger off = {0, 0};
        (void)::setsockopt(fdOf(s), SOL_SOCKET, SO_LINGER, &off, sizeof off); // best effort
    }
#endif
    // Linux leaves the descriptor closed after EINTR; retrying could close another one.
    return ::close(fdOf(s)) == 0 ? 0 : failWithErrno(error);
}

int posixSetOption(NativeSocket s, Option option, int value, int* error) {
    if (injectedFault(SocketCall::kSetOption, error)) {
        return -1;
    }
    int result = -1;
    switch (option) {
    case Option::kLinger: {
        linger l;
        l.l_onoff = 1;
        l.l_linger = value;
        result = ::setsockopt(fdOf(s), SOL_SOCKET, SO_LINGER, &l, sizeof l);
        break;
    }
    case Option::kNoDelay:
        result = ::setsockopt(fdOf(s), IPPROTO_TCP, TCP_NODELAY, &value, sizeof value);
        break;
    case Option::kV6Only:
        result = ::setsockopt(fdOf(s), IPPROTO_IPV6, IPV6_V6ONLY, &value, sizeof value);
        break;
    }
    return result == 0 ? 0 : failWithErrno(error);
}

int posixConnect(NativeSocket s, const addrinfo* info, int* error) {
    if (injectedFault(SocketCall::kConnect, error)) {
        return -1;
    }
    if (::connect(fdOf(s), info->ai_addr, info->ai_addrlen) == 0) {
        return 0;
    }
    if (errno != EINTR) {
        return failWithErrno(error);
    }
    // An interrupted connect goes on in the background: wait for it and take its outcome.
    pollfd p = {fdOf(s), POLLOUT, 0};
    while (::poll(&p, 1, -1) < 0) {
        if (errno != EINTR) {
            return failWithErrno(error);
        }
    }
    int pending = 0;
    socklen_t length = sizeof pending;
    if (::getsockopt(fdOf(s), SOL_SOCKET, SO_ERROR, &pending, &length) != 0) {
        return failWithErrno(error);
    }
    if (pending != 0) {
        *error = pending;
        return -1;
    }
    return 0;
}

int posixBind(NativeSocket s, Family family, bool loopback, int port, int* error) {
    if (injectedFault(SocketCall::kBind, error)) {
        return -1;
    }
    const int on = 1;
    (void)::setsockopt(fdOf(s), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on); // best effort
    int result = -1;
    if (family == Family::kIPv4) {
        sockaddr_in a;
        std::memset(&a, 0, sizeof a);
        a.sin_family = AF_INET;
        a.sin_port = htons(static_cast<std::uint16_t>(port));
        a.sin_addr.s_addr = htonl(loopback ? INADDR_LOOPBACK : INADDR_ANY);
        result = ::bind(fdOf(s), reinterpret_cast<const sockaddr*>(&a), sizeof a);
    } else {
        sockaddr_in6 a;
        std::memset(&a, 0, sizeof a);
        a.sin6_family = AF_INET6;
        a.sin6_port = htons(static_cast<std::uint16_t>(port));
        a.sin6_addr = loopback ? in6addr_loopback : in6addr_any;
        result = ::bind(fdOf(s), reinterpret_cast<const sockaddr*>(&a), sizeof a);
    }
    return result == 0 ? 0 : failWithErrno(error);
}

int posixListen(NativeSocket s, int backlog, int* error) {
    if (injectedFault(SocketCall::kListen, error)) {
        return -1;
    }
    return ::listen(fdOf(s), backlog) == 0 ? 0 : failWithErrno(error);
}

NativeSocket posixAccept(NativeSocket s, int* error) {
    if (injectedFault(SocketCall::kAccept, error)) {
        return kNoSocket;
    }
    return madeSocket(::accept4(fdOf(s), nullptr, nullptr, SOCK_CLOEXEC), error);
}

long long posixSend(NativeSocket s, const void* buffer, std::size_t size, int* error) {
    if (injectedFault(SocketCall::kSend, error, &size)) {
        return -1;
    }
    const ssize_t n = ::send(fdOf(s), buffer, size, MSG_NOSIGNAL);
    return n >= 0 ? n : failWithErrno(error);
}

long long posixRecv(NativeSocket s, void* buffer, std::size_t size, int* error) {
    if (injectedFault(SocketCall::kRecv, error, &size)) {
        return -1;
    }
    const ssize_t n = ::recv(fdOf(s), buffer, size, 0);
    return n >= 0 ? n : failWithErrno(error);
}

int posixShutdownSend(NativeSocket s, int* error) {
    if (injectedFault(SocketCall::kShutdown, error)) {
        return -1;
    }
    return ::shutdown(fdOf(s), SHUT_WR) == 0 ? 0 : failWithErrno(error);
}

int posixPoll(PollEntry* entries, std::size_t count, long long timeoutMicroseconds, int* error) {
    if (injectedFault(SocketCall::kPoll, error)) {
        return -1;
    }
    if (count == 0) {
        *error = EINVAL; // as select refuses an empty set on Windows, rather than sleep forever
        return -1;
    }
    std::vector<pollfd> fds(count);
    for (std::size_t i = 0; i < count; ++i) {
        fds[i].fd = fdOf(entries[i].socket);
        fds[i].events = entries[i].wantWrite ? POLLOUT : POLLIN;
        fds[i].revents = 0;
    }
    int timeout = -1;
    if (timeoutMicroseconds >= 0) {
        const long long ms = (timeoutMicroseconds + 999) / 1000; // never shorter than asked
        timeout = ms > INT_MAX ? INT_MAX : static_cast<int>(ms);
    }
    const int n = ::poll(fds.data(), static_cast<nfds_t>(count), timeout);
    if (n < 0) {
        return failWithErrno(error);
    }
    for (std::size_t i = 0; i < count; ++i) {
        // A closed peer or an error is "ready": the next call reports it.
        entries[i].ready = fds[i].revents != 0;
    }
    return n;
}

int hostAndPort(const sockaddr* a, socklen_t length, std::string& host, int* port, int* error) {
    char text[NI_MAXHOST];
    char service[NI_MAXSERV];
    const int rc = ::getnameinfo(a, length, text, sizeof text, service, sizeof service,
                                 NI_NUMERICHOST | NI_NUMERICSERV);
    if (rc != 0) {
        *error = rc == EAI_SYSTEM ? errno : EINVAL;
        return -1;
    }
    host = text;
    *port = std::atoi(service);
    return 0;
}

int posixSocketName(NativeSocket s, bool peer, std::string& host, int* port, int* error) {
    if (injectedFault(SocketCall::kSocketName, error)) {
        return -1;
    }
    sockaddr_storage a;
    socklen_t length = sizeof a;
    const int rc = peer ? ::getpeername(fdOf(s), reinterpret_cast<sockaddr*>(&a), &length)
                        : ::getsockname(fdOf(s), reinterpret_cast<sockaddr*>(&a), &length);
    if (rc != 0) {
        return failWithErrno(error);
    }
    return hostAndPort(reinterpret_cast<const sockaddr*>(&a), length, host, port, error);
}

int posixPendingError(NativeSocket s, int* pending, int* error) {
    socklen_t length = sizeof *pending;
    return ::getsockopt(fdOf(s), SOL_SOCKET, SO_ERROR, pending, &length) == 0
               ? 0
               : failWithErrno(error);
}

int posixGetAddrInfo(const char* node, const char* service, bool passive, addrinfo** out,
                     int* error) {
    *out = nullptr;
    if (injectedFault(SocketCall::kGetAddrInfo, error)) {
        return -1;
    }
    addrinfo hints;
    std::memset(&hints, 0, sizeof hints);
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = passive ? AI_PASSIVE : 0;
    const int rc = ::getaddrinfo(node, service, &hints, out);
    if (rc != 0) {
        *out = nullptr;
        // Look-up codes are negative on glibc; a system failure is told by errno.
        *error = rc == EAI_SYSTEM ? errno : rc;
        return -1;
    }
    return 0;
}

void posixFreeAddrInfo(addrinfo* list) {
    if (list != nullptr) {
        ::freeaddrinfo(list);
    }
}

const addrinfo* posixNextAddrInfo(const addrinfo* info) {
    return info->ai_next;
}

int posixNumericHost(const addrinfo* info, std::string& out, int* error) {
    int port = 0;
    return hostAndPort(info->ai_addr, info->ai_addrlen, out, &port, error);
}

int posixHostOf(const char* numeric, std::string& out, int* error) {
    addrinfo* list = nullptr;
    addrinfo hints;
    std::memset(&hints, 0, sizeof hints);
    hints.ai_flags = AI_NUMERICHOST;
    hints.ai_socktype = SOCK_STREAM;
    int rc = ::getaddrinfo(numeric, nullptr, &hints, &list);
    if (rc != 0) {
        *error = rc == EAI_SYSTEM ? errno : rc;
        return -1;
    }
    char text[NI_MAXHOST];
    rc = ::getnameinfo(list->ai_addr, list->ai_addrlen, text, sizeof text, nullptr, 0, NI_NAMEREQD);
    ::freeaddrinfo(list);
    if (rc != 0) {
        *error = rc == EAI_SYSTEM ? errno : rc;
        return -1;
    }
    out = text;
    return 0;
}

int posixHostName(std::string& out, int* error) {
    char text[HOST_NAME_MAX + 1];
    if (::gethostname(text, sizeof text) != 0) {
        return failWithErrno(error);
    }
    text[sizeof text - 1] = '\0';
    out = text;
    return 0;
}

bool posixParseDottedQuad(const char* text) {
    return ::inet_addr(text) != INADDR_NONE;
}

int posixOpenCStream(NativeSocket s, const char* mode, std::FILE** out, int* stage, int* error) {
    *out = nullptr;
    const int fd = ::fcntl(fdOf(s), F_DUPFD_CLOEXEC, 0);
    if (fd < 0) {
        *stage = 1;
        return failWithErrno(error);
    }
    *out = ::fdopen(fd, mode);
    if (*out == nullptr) {
        *stage = 2;
        *error = errno;
        ::close(fd);
        return -1;
    }
    return 0;
}

std::wstring posixErrorText(int error) {
    return kyString::IString(std::strerror(error)).str();
}

std::wstring posixAddrInfoErrorText(int error) {
    // Look-up codes (negative on glibc) have their own texts; anything else is an errno.
    return kyString::IString(error < 0 ? ::gai_strerror(error) : std::strerror(error)).str();
}

} // namespace

const SocketCalls& nativeSocketCalls() {
    static const SocketCalls calls = {posixStartup,
                                      posixSocket,
                                      posixSocketFor,
                                      posixClose,
                                      posixSetOption,
                                      posixConnect,
                                      posixBind,
                                      posixListen,
                                      posixAccept,
                                      posixSend,
                                      posixRecv,
                                      posixShutdownSend,
                                      posixPoll,
                                      posixSocketName,
                                      posixPendingError,
                                      posixGetAddrInfo,
                                      posixFreeAddrInfo,
                                      posixNextAddrInfo,
                                      posixNumericHost,
                                      posixHostOf,
                                      posixHostName,
                                      posixParseDottedQuad,
                                      posixOpenCStream,
                                      posixErrorText,
                                      posixAddrInfoErrorText,
                                      EADDRINUSE,
                                      ENETUNREACH,
                                      ECONNREFUSED,
                                      EINTR,
                                      EAGAIN};
    return calls;
}

} // namespace detail
} // namespace kyTCP
