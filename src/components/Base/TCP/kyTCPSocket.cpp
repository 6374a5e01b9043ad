// kyTCPSocket.cpp - kyTCP::Socket and kyTCP::ClientSocket over the socket-call table.
#include <Base/TCP/kyTCPSocket.h>

#include <Base/TCP/internal/kyTCPNetwork.h>
#include <Base/TCP/internal/kyTCPSocketCalls.h>
#include <Base/TCP/internal/kyTCPSocketImpl.h>

#include <cstdio>
#include <memory>

namespace kyTCP {
namespace detail {

SocketImpl::~SocketImpl() {
    if (handle != kNoSocket) {
        (void)close(); // a destructor has nobody to tell
    }
}

kyUtil::Error SocketImpl::close() {
    if (handle == kNoSocket) {
        return kyUtil::Error(2, "No socket has been created");
    }
    int error = 0;
    const int rc = socketCalls().close(handle, &error);
    handle = kNoSocket;
    connected = false;
    return rc == 0 ? kyUtil::Error() : systemError("closesocket() failed: ", error);
}

kyUtil::Error systemError(const char* prefix, int error) {
    return kyUtil::Error(1, "%s%S", prefix, socketCalls().errorText(error).c_str());
}

} // namespace detail

namespace {

using detail::NativeSocket;
using detail::SocketCalls;

kyUtil::Error connectError(int error) {
    const SocketCalls& calls = detail::socketCalls();
    const int code =
        error == calls.networkUnreachableError || error == calls.connectionRefusedError ? 4 : 2;
    return kyUtil::Error(code, "connect() failed: %S", calls.errorText(error).c_str());
}

// Waits until the socket may be read or written, up to the time-out.
kyUtil::Error waitFor(const detail::SocketImpl& impl, bool write) {
    SocketCalls& calls = detail::socketCalls();
    for (;;) {
        detail::PollEntry entry = {impl.handle, write, false};
        int error = 0;
        const int n = calls.poll(&entry, 1, detail::pollTimeout(impl.timeout), &error);
        if (n > 0) {
            return kyUtil::Error();
        }
        if (n == 0) {
            return kyUtil::Error(5, "Socket operation timed out");
        }
        if (error != calls.interruptedError) {
            return detail::systemError("select() failed: ", error);
        }
    }
}

} // namespace

Socket::Socket(SocketImpl* impl) : impl_(impl) {}

Socket::~Socket() {
    delete impl_;
}

kyUtil::Error Socket::finish(kyUtil::Error e) const {
    if (impl_->throwMode && e.failed()) {
        throw e;
    }
    return e;
}

kyUtil::Error Socket::read(void* buffer, std::size_t size, std::size_t* count) {
    if (count != nullptr) {
        *count = 0;
    }
    if (buffer == nullptr && size != 0) {
        return finish(kyUtil::Error(4, "An I/O problem has occurred"));
    }
    if (impl_->handle == detail::kNoSocket) {
        return finish(kyUtil::Error(2, "No socket has been created"));
    }
    if (!impl_->connected) {
        return finish(kyUtil::Error(2, "Socket not connected"));
    }
    if (size == 0) {
        return kyUtil::Error();
    }
    SocketCalls& calls = detail::socketCalls();
    bool waitFirst = !impl_->timeout.isZero();
    for (;;) {
        if (waitFirst) {
            kyUtil::Error e = waitFor(*impl_, false);
            if (e.failed()) {
                return finish(e);
            }
        }
        int error = 0;
        const long long n = calls.recv(impl_->handle, buffer, size, &error);
        if (n > 0) {
            if (count != nullptr) {
                *count = static_cast<std::size_t>(n);
            }
            return kyUtil::Error();
        }
        if (n == 0) {
            return finish(kyUtil::Error(3, "End Of File"));
        }
        if (error == calls.wouldBlockError) {
            waitFirst = true;
        } else if (error != calls.interruptedError) {
            return finish(detail::systemError("recv() failed: ", error));
        }
    }
}

kyUtil::Error Socket::write(const void* buffer, std::size_t size, std::size_t* count) {
    if (count != nullptr) {
        *count = 0;
    }
    if (buffer == nullptr && size != 0) {
        return finish(kyUtil::Error(4, "An I/O problem has occurred"));
    }
    if (impl_->handle == detail::kNoSocket) {
        return finish(kyUtil::Error(2, "No socket has been created"));
    }
    if (!impl_->connected) {
        return finish(kyUtil::Error(2, "Socket not connected"));
    }
    SocketCalls& calls = detail::socketCalls();
    const char* bytes = static_cast<const char*>(buffer);
    const bool limited = !impl_->timeout.isZero();
    bool waitFirst = limited;
    std::size_t done = 0;
    kyUtil::Error result;
    while (done < size && result.ok()) {
        if (waitFirst) {
            result = waitFor(*impl_, true);
            if (result.failed()) {
                break;
            }
        }
        int error = 0;
        const long long n = calls.send(impl_->handle, bytes + done, size - done, &error);
        if (n > 0) {
            done += static_cast<std::size_t>(n);
            waitFirst = limited;
        } else if (n == 0 || error == calls.wouldBlockError) {
            waitFirst = true; // no room now: wait until there is
        } else if (error != calls.interruptedError) {
            result = detail::systemError("send() failed: ", error);
        }
    }
    if (count != nullptr) {
        *count = done;
    }
    return finish(result);
}

kyUtil::Error Socket::close() {
    return impl_->close();
}

kyUtil::Interval Socket::getTimeout() const {
    return impl_->timeout;
}

void Socket::setTimeout(const kyUtil::Interval& timeout) {
    impl_->timeout = timeout;
}

bool Socket::getThrowMode() const {
    return impl_->throwMode;
}

void Socket::setThrowMode(bool throwErrors) {
    impl_->throwMode = throwErrors;
}

bool Socket::isConnected() const {
    return impl_->connected;
}

bool Socket::dataAvailable() const {
    if (impl_->handle == detail::kNoSocket) {
        return false;
    }
    detail::PollEntry entry = {impl_->handle, false, false};
    int error = 0;
    return detail::socketCalls().poll(&entry, 1, 0, &error) > 0 && entry.ready;
}

std::pair<Address, kyUtil::Error> Socket::localAddress() const {
    if (impl_->handle == detail::kNoSocket) {
        return {Address(), kyUtil::Error(2, "No socket has been created")};
    }
    std::string host;
    int port = 0;
    int error = 0;
    if (detail::socketCalls().socketName(impl_->handle, false, host, &port, &error) != 0) {
        return {Address(), detail::systemError("getsockname() failed: ", error)};
    }
    return {Address(kyString::IString(host.c_str()), port), kyUtil::Error()};
}

std::pair<Address, kyUtil::Error> Socket::remoteAddress() const {
    if (impl_->handle == detail::kNoSocket || !impl_->connected) {
        return {Address(), kyUtil::Error(2, "socket is not connected")};
    }
    std::string host;
    int port = 0;
    int error = 0;
    if (detail::socketCalls().socketName(impl_->handle, true, host, &port, &error) != 0) {
        return {Address(), detail::systemError("getpeername() failed: ", error)};
    }
    return {Address(kyString::IString(host.c_str()), port), kyUtil::Error()};
}

kyUtil::Error Socket::setNoDelay(bool noDelay) {
    if (impl_->handle == detail::kNoSocket) {
        return kyUtil::Error(2, "No socket has been created");
    }
    int error = 0;
    if (detail::socketCalls().setOption(impl_->handle, detail::Option::kNoDelay, noDelay ? 1 : 0,
                                        &error) != 0) {
        return detail::systemError("setsockopt() failed: ", error);
    }
    return kyUtil::Error();
}

kyUtil::Error Socket::getCStream(const char* mode, std::FILE** stream) {
    *stream = nullptr;
    if (impl_->handle == detail::kNoSocket) {
        return kyUtil::Error(2, "No socket has been created");
    }
    int stage = 0;
    int error = 0;
    if (detail::socketCalls().openCStream(impl_->handle, mode, stream, &stage, &error) == 0) {
        return kyUtil::Error();
    }
    if (stage == 1) {
        return detail::systemError("_open_osfhandle() failed for  socket: ", error);
    }
    return kyUtil::Error(1, "_fdopen() failed for socket file descriptor");
}

ClientSocket::ClientSocket(const Address& address)
    : Socket(new detail::SocketImpl()), address_(address) {}

ClientSocket::~ClientSocket() = default;

kyUtil::Error ClientSocket::connect() {
    SocketImpl& impl = *getImpl();
    if (impl.handle != detail::kNoSocket) {
        (void)impl.close(); // a new connection replaces the old one
    }
    const int families = usableFamilies();
    const Address* candidates[2] = {nullptr, nullptr};
    std::size_t count = 0;
    if ((families & kFamilyIPv4) != 0) {
        candidates[count++] = &address_;
    }
    std::unique_ptr<Address> ipv6Loopback;
    if (address_.isLocalLoopback() && (families & kFamilyIPv6) != 0) {
        ipv6Loopback.reset(new Address(L"::1", address_.getPort()));
        candidates[count++] = ipv6Loopback.get();
    }
    if (count == 0) {
        return kyUtil::Error(2, "connect() failed: No useable protocol families found.");
    }
    SocketCalls& calls = detail::socketCalls();
    kyUtil::Error result;
    int lastError = 0;
    NativeSocket connected = detail::kNoSocket;
    for (std::size_t c = 0; c < count && connected == detail::kNoSocket; ++c) {
        int error = 0;
        addrinfo* list = detail::lookUp(*candidates[c], false, &error);
        if (list == nullptr) {
            lastError = error;
            if (c + 1 == count) {
                result = kyUtil::Error(2, "getaddrinfo failed: %S",
                                       calls.addrInfoErrorText(error).c_str());
            }
            continue;
        }
        for (const addrinfo* info = list; info != nullptr && connected == detail::kNoSocket;
             info = calls.nextAddrInfo(info)) {
            const NativeSocket s = calls.socketFor(info, &error);
            if (s == detail::kNoSocket) {
                lastError = error;
                continue;
            }
            int ignored = 0;
            if (calls.setOption(s, detail::Option::kLinger, 2, &error) != 0) {
                lastError = error;
                result = kyUtil::Error(2, "Could not set LINGER socket option: %S",
                                       calls.errorText(error).c_str());
                (void)calls.close(s, &ignored); // the failure above is the one to report
                continue;
            }
            if (calls.connect(s, info, &error) == 0) {
                connected = s;
                break;
            }
            lastError = error;
            result = connectError(error);
            std::printf("Connection failed: %s\n", result.message());
            std::fflush(stdout);
            (void)calls.close(s, &ignored); // the connect failure is the one to report
        }
        calls.freeAddrInfo(list);
    }
    if (connected != detail::kNoSocket) {
        impl.handle = connected;
        impl.connected = true;
        return kyUtil::Error(); // earlier failed attempts do not matter once one succeeded
    }
    if (result.ok()) {
        result = kyUtil::Error(2, "connect() failed: %S", calls.errorText(lastError).c_str());
    }
    return result;
}

kyUtil::Error ClientSocket::getConnectError() const {
    const SocketImpl& impl = *getImpl();
    if (impl.handle == detail::kNoSocket) {
        return kyUtil::Error(2, "No socket has been created");
    }
    int pending = 0;
    int error = 0;
    if (detail::socketCalls().pendingError(impl.handle, &pending, &error) != 0) {
        return connectError(error);
    }
    return pending == 0 ? kyUtil::Error() : connectError(pending);
}

} // namespace kyTCP
