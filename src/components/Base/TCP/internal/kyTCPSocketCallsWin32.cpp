// kyTCPSocketCallsWin32.cpp - the socket calls on Windows (Windows Sockets 2.2).
#include <Base/TCP/internal/kyTCPSocketCalls.h>

#include <winsock2.h>
#include <ws2tcpip.h>

#include <windows.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <io.h>
#include <string>
#include <vector>

namespace kyTCP {
namespace detail {
namespace {

#ifndef WSA_FLAG_NO_HANDLE_INHERIT
#define WSA_FLAG_NO_HANDLE_INHERIT 0x80
#endif

SOCKET sockOf(NativeSocket s) {
    return static_cast<SOCKET>(s);
}

int failWithLastError(int* error) {
    *error = ::WSAGetLastError();
    return -1;
}

int clampSize(std::size_t size) {
    return size > 0x7fffffff ? 0x7fffffff : static_cast<int>(size);
}

int winStartup() {
    WSADATA data;
    const int rc = ::WSAStartup(MAKEWORD(2, 2), &data);
    if (rc != 0) {
        return rc;
    }
    if (LOBYTE(data.wVersion) != 2 || HIBYTE(data.wVersion) != 2) {
        ::WSACleanup();
        return WSAVERNOTSUPPORTED;
    }
    return 0;
}

// Children never inherit the library's sockets (close-on-exec).
NativeSocket madeSocket(SOCKET s, int* error) {
    if (s == INVALID_SOCKET) {
        *error = ::WSAGetLastError();
        return kNoSocket;
    }
    ::SetHandleInformation(reinterpret_cast<HANDLE>(s), HANDLE_FLAG_INHERIT, 0);
    return static_cast<NativeSocket>(s);
}

NativeSocket newSocket(int family, int type, int protocol, int* error) {
    SOCKET s = ::WSASocketW(family, type, protocol, nullptr, 0, WSA_FLAG_NO_HANDLE_INHERIT);
    if (s == INVALID_SOCKET && ::WSAGetLastError() == WSAEINVAL) {
        s = ::socket(family, type, protocol); // systems without the flag
    }
    return madeSocket(s, error);
}

NativeSocket winSocket(Family family, int* error) {
    if (injectedFault(SocketCall::kSocket, error)) {
        return kNoSocket;
    }
    return newSocket(family == Family::kIPv4 ? AF_INET : AF_INET6, SOCK_STREAM, 0, error);
}

NativeSocket winSocketFor(const addrinfo* info, int* error) {
    if (injectedFault(SocketCall::kSocket, error)) {
        return kNoSocket;
    }
    return newSocket(info->ai_family, info->ai_socktype, info->ai_protocol, error);
}

int winClose(NativeSocket s, int* error) {
    if (injectedFault(SocketCall::kClose, error)) {
        ::closesocket(sockOf(s));
        return -1;
    }
    return ::closesocket(sockOf(s)) == 0 ? 0 : failWithLastError(error);
}

int winSetOption(NativeSocket s, Option option, int value, int* error) {
    if (injectedFault(SocketCall::kSetOption, error)) {
        return -1;
    }
    int result = SOCKET_ERROR;
    switch (option) {
    case Option::kLinger: {
        linger l;
        l.l_onoff = 1;
        l.l_linger = static_cast<u_short>(value);
        result = ::setsockopt(sockOf(s), SOL_SOCKET, SO_LINGER, reinterpret_cast<const char*>(&l),
                              sizeof l);
        break;
    }
    case Option::kNoDelay: {
        const BOOL on = value != 0;
        result = ::setsockopt(sockOf(s), IPPROTO_TCP, TCP_NODELAY,
                              reinterpret_cast<const char*>(&on), sizeof on);
        break;
    }
    case Option::kV6Only: {
        const DWORD on = value != 0 ? 1 : 0;
        result = ::setsockopt(sockOf(s), IPPROTO_IPV6, IPV6_V6ONLY,
                              reinterpret_cast<const char*>(&on), sizeof on);
        break;
    }
    }
    return result == 0 ? 0 : failWithLastError(error);
}

int winConnect(NativeSocket s, const addrinfo* info, int* error) {
    if (injectedFault(SocketCall::kConnect, error)) {
        return -1;
    }
    return ::connect(sockOf(s), info->ai_addr, static_cast<int>(info->ai_addrlen)) == 0
               ? 0
               : failWithLastError(error);
}

int winBind(NativeSocket s, Family family, bool loopback, int port, int* error) {
    if (injectedFault(SocketCall::kBind, error)) {
        return -1;
    }
    int result = SOCKET_ERROR;
    if (family == Family::kIPv4) {
        sockaddr_in a;
        ZeroMemory(&a, sizeof a);
        a.sin_family = AF_INET;
        a.sin_port = htons(static_cast<u_short>(port));
        a.sin_addr.s_addr = htonl(loopback ? INADDR_LOOPBACK : INADDR_ANY);
        result = ::bind(sockOf(s), reinterpret_cast<const sockaddr*>(&a), sizeof a);
    } else {
        sockaddr_in6 a;
        ZeroMemory(&a, sizeof a);
        a.sin6_family = AF_INET6;
        a.sin6_port = htons(static_cast<u_short>(port));
        a.sin6_addr = loopback ? in6addr_loopback : in6addr_any;
        result = ::bind(sockOf(s), reinterpret_cast<const sockaddr*>(&a), sizeof a);
    }
    return result == 0 ? 0 : failWithLastError(error);
}

int winListen(NativeSocket s, int backlog, int* error) {
    if (injectedFault(SocketCall::kListen, error)) {
        return -1;
    }
    return ::listen(sockOf(s), backlog) == 0 ? 0 : failWithLastError(error);
}

NativeSocket winAccept(NativeSocket s, int* error) {
    if (injectedFault(SocketCall::kAccept, error)) {
        return kNoSocket;
    }
    return madeSocket(::accept(sockOf(s), nullptr, nullptr), error);
}

long long winSend(NativeSocket s, const void* buffer, std::size_t size, int* error) {
    if (injectedFault(SocketCall::kSend, error, &size)) {
        return -1;
    }
    const int n = ::send(sockOf(s), static_cast<const char*>(buffer), clampSize(size), 0);
    return n >= 0 ? n : failWithLastError(error);
}

long long winRecv(NativeSocket s, void* buffer, std::size_t size, int* error) {
    if (injectedFault(SocketCall::kRecv, error, &size)) {
        return -1;
    }
    const int n = ::recv(sockOf(s), static_cast<char*>(buffer), clampSize(size), 0);
    return n >= 0 ? n : failWithLastError(error);
}

int winShutdownSend(NativeSocket s, int* error) {
    if (injectedFault(SocketCall::kShutdown, error)) {
        return -1;
    }
    return ::shutdown(sockOf(s), SD_SEND) == 0 ? 0 : failWithLastError(error);
}

int winPoll(PollEntry* entries, std::size_t count, long long timeoutMicroseconds, int* error) {
    if (injectedFault(SocketCall::kPoll, error)) {
        return -1;
    }
    if (count > FD_SETSIZE) {
        *error = WSAEINVAL;
        return -1;
    }
    fd_set readSet;
    fd_set writeSet;
    FD_ZERO(&readSet);
    FD_ZERO(&writeSet);
    for (std::size_t i = 0; i < count; ++i) {
        FD_SET(sockOf(entries[i].socket), entries[i].wantWrite ? &writeSet : &readSet);
    }
    timeval tv;
    tv.tv_sec = static_cast<long>(timeoutMicroseconds / 1000000);
    tv.tv_usec = static_cast<long>(timeoutMicroseconds % 1000000);
    const int n =
        ::select(0, &readSet, &writeSet, nullptr, timeoutMicroseconds < 0 ? nullptr : &tv);
    if (n == SOCKET_ERROR) {
        return failWithLastError(error);
    }
    for (std::size_t i = 0; i < count; ++i) {
        entries[i].ready =
            FD_ISSET(sockOf(entries[i].socket), entries[i].wantWrite ? &writeSet : &readSet) != 0;
    }
    return n;
}

int hostAndPort(const sockaddr* a, int length, std::string& host, int* port, int* error) {
    char text[NI_MAXHOST];
    char service[NI_MAXSERV];
    const int rc = ::getnameinfo(a, length, text, sizeof text, service, sizeof service,
                                 NI_NUMERICHOST | NI_NUMERICSERV);
    if (rc != 0) {
        *error = rc;
        return -1;
    }
    host = text;
    *port = std::atoi(service);
    return 0;
}

int winSocketName(NativeSocket s, bool peer, std::string& host, int* port, int* error) {
    if (injectedFault(SocketCall::kSocketName, error)) {
        return -1;
    }
    sockaddr_storage a;
    int length = sizeof a;
    const int rc = peer ? ::getpeername(sockOf(s), reinterpret_cast<sockaddr*>(&a), &length)
                        : ::getsockname(sockOf(s), reinterpret_cast<sockaddr*>(&a), &length);
    if (rc != 0) {
        return failWithLastError(error);
    }
    return hostAndPort(reinterpret_cast<const sockaddr*>(&a), length, host, port, error);
}

int winPendingError(NativeSocket s, int* pending, int* error) {
    int length = sizeof *pending;
    return ::getsockopt(sockOf(s), SOL_SOCKET, SO_ERROR, reinterpret_cast<char*>(pending),
                        &length) == 0
               ? 0
               : failWithLastError(error);
}

int winGetAddrInfo(const char* node, const char* service, bool passive, addrinfo** out,
                   int* error) {
    *out = nullptr;
    if (injectedFault(SocketCall::kGetAddrInfo, error)) {
        return -1;
    }
    addrinfo hints;
    ZeroMemory(&hints, sizeof hints);
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = passive ? AI_PASSIVE : 0;
    const int rc = ::getaddrinfo(node, service, &hints, out);
    if (rc != 0) {
        *out = nullptr;
        *error = rc;
        return -1;
    }
    return 0;
}

void winFreeAddrInfo(addrinfo* list) {
    if (list != nullptr) {
        ::freeaddrinfo(list);
    }
}

const addrinfo* winNextAddrInfo(const addrinfo* info) {
    return info->ai_next;
}

int winNumericHost(const addrinfo* info, std::string& out, int* error) {
    int port = 0;
    return hostAndPort(info->ai_addr, static_cast<int>(info->ai_addrlen), out, &port, error);
}

int winHostOf(const char* numeric, std::string& out, int* error) {
    addrinfo* list = nullptr;
    addrinfo hints;
    ZeroMemory(&hints, sizeof hints);
    hints.ai_flags = AI_NUMERICHOST;
    hints.ai_socktype = SOCK_STREAM;
    int rc = ::getaddrinfo(numeric, nullptr, &hints, &list);
    if (rc != 0) {
        *error = rc;
        return -1;
    }
    char text[NI_MAXHOST];
    rc = ::getnameinfo(list->ai_addr, static_cast<int>(list->ai_addrlen), text, sizeof text,
                       nullptr, 0, NI_NAMEREQD);
    ::freeaddrinfo(list);
    if (rc != 0) {
        *error = rc;
        return -1;
    }
    out = text;
    return 0;
}

int winHostName(std::string& out, int* error) {
    char text[256 + 1]; // the longest name Windows Sockets gives
    if (::gethostname(text, sizeof text - 1) != 0) {
        return failWithLastError(error);
    }
    text[sizeof text - 1] = '\0';
    out = text;
    return 0;
}

bool winParseDottedQuad(const char* text) {
    return ::inet_addr(text) != INADDR_NONE;
}

int winOpenCStream(NativeSocket s, const char* mode, std::FILE** out, int* stage, int* error) {
    *out = nullptr;
    HANDLE copy = nullptr;
    if (!::DuplicateHandle(::GetCurrentProcess(), reinterpret_cast<HANDLE>(sockOf(s)),
                           ::GetCurrentProcess(), &copy, 0, FALSE, DUPLICATE_SAME_ACCESS)) {
        *stage = 1;
        *error = static_cast<int>(::GetLastError());
        return -1;
    }
    const int fd = ::_open_osfhandle(reinterpret_cast<intptr_t>(copy), _O_BINARY);
    if (fd < 0) {
        *stage = 1;
        *error = static_cast<int>(::GetLastError());
        ::CloseHandle(copy);
        return -1;
    }
    *out = ::_fdopen(fd, mode);
    if (*out == nullptr) {
        *stage = 2;
        *error = errno;
        ::_close(fd);
        return -1;
    }
    return 0;
}

std::wstring winErrorText(int error) {
    wchar_t* text = nullptr;
    const DWORD n = ::FormatMessageW(
        FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
        nullptr, static_cast<DWORD>(error), 0, reinterpret_cast<wchar_t*>(&text), 0, nullptr);
    std::wstring result;
    if (n != 0 && text != nullptr) {
        result.assign(text, n);
        ::LocalFree(text);
    }
    while (!result.empty() &&
           (result.back() == L'\n' || result.back() == L'\r' || result.back() == L' ')) {
        result.pop_back();
    }
    if (result.empty()) {
        result = L"error " + std::to_wstring(error);
    }
    return result;
}

} // namespace

const SocketCalls& nativeSocketCalls() {
    static const SocketCalls calls = {winStartup,      winSocket,
                                      winSocketFor,    winClose,
                                      winSetOption,    winConnect,
                                      winBind,         winListen,
                                      winAccept,       winSend,
                                      winRecv,         winShutdownSend,
                                      winPoll,         winSocketName,
                                      winPendingError, winGetAddrInfo,
                                      winFreeAddrInfo, winNextAddrInfo,
                                      winNumericHost,  winHostOf,
                                      winHostName,     winParseDottedQuad,
                                      winOpenCStream,  winErrorText,
                                      winErrorText,    WSAEADDRINUSE,
                                      WSAENETUNREACH,  WSAECONNREFUSED,
                                      WSAEINTR,        WSAEWOULDBLOCK};
    return calls;
}

} // namespace detail
} // namespace kyTCP
