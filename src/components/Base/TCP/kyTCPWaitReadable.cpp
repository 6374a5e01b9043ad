// kyTCPWaitReadable.cpp - kyTCP::WaitReadable and kyTCP::waitReadable.
#include <Base/TCP/kyTCPWaitReadable.h>

#include <Base/TCP/internal/kyTCPSocketCalls.h>
#include <Base/TCP/internal/kyTCPSocketImpl.h>
#include <Base/Utility/kyImplBase.h>

#include <algorithm>

namespace kyTCP {

using detail::NativeSocket;

namespace {

// As many handles as the platform's select set held.
constexpr std::size_t kMaxHandles = 64;

bool contains(const std::vector<NativeSocket>& set, NativeSocket h) {
    return std::find(set.begin(), set.end(), h) != set.end();
}

void addHandle(std::vector<NativeSocket>& set, NativeSocket h) {
    if (h != detail::kNoSocket && set.size() < kMaxHandles && !contains(set, h)) {
        set.push_back(h);
    }
}

// Waits on `set` and keeps only the ready handles; the poll result and its error.
int pollSet(std::vector<NativeSocket>& set, const kyUtil::Interval& timeout, int* error) {
    detail::SocketCalls& calls = detail::socketCalls();
    std::vector<detail::PollEntry> entries;
    for (NativeSocket h : set) {
        entries.push_back({h, false, false});
    }
    int n = 0;
    while ((n = calls.poll(entries.data(), entries.size(), detail::pollTimeout(timeout), error)) <
               0 &&
           *error == calls.interruptedError) {
    }
    set.clear();
    for (const detail::PollEntry& e : entries) {
        if (n > 0 && e.ready) {
            set.push_back(e.socket);
        }
    }
    return n;
}

} // namespace

class WaitReadableImpl : public ky::ImplBase {
public:
    std::vector<NativeSocket> handles; // each once, at most kMaxHandles
};

WaitReadable::WaitReadable() : impl_(new WaitReadableImpl()) {}

WaitReadable::~WaitReadable() {
    delete impl_;
}

void WaitReadable::add(const Socket& socket) {
    addHandle(impl_->handles, socket.getImpl()->handle);
}

void WaitReadable::add(const Server& server) {
    for (SocketImpl* s :
         {server.getListeningSocketImplIPv6(), server.getListeningSocketImplIPv4()}) {
        if (s != nullptr) {
            addHandle(impl_->handles, s->handle);
        }
    }
}

void WaitReadable::reset() {
    impl_->handles.clear();
}

kyUtil::Error WaitReadable::wait(const kyUtil::Interval& timeout) {
    int error = 0;
    const int n = pollSet(impl_->handles, timeout, &error);
    if (n == 0) {
        return kyUtil::Error();
    }
    // Ready sockets are reported like a failure: old behaviour, kept (see the header).
    return detail::systemError("", error);
}

bool WaitReadable::isReadable(const Socket& socket) const {
    const NativeSocket h = socket.getImpl()->handle;
    return h != detail::kNoSocket && contains(impl_->handles, h);
}

bool WaitReadable::isReadable(const Server& server) const {
    for (SocketImpl* s :
         {server.getListeningSocketImplIPv6(), server.getListeningSocketImplIPv4()}) {
        if (s != nullptr && s->handle != detail::kNoSocket && contains(impl_->handles, s->handle)) {
            return true;
        }
    }
    return false;
}

kyUtil::Error waitReadable(const std::vector<Socket*>& sockets, std::vector<Socket*>& readable,
                           const kyUtil::Interval& timeout) {
    std::vector<NativeSocket> set;
    for (const Socket* s : sockets) {
        addHandle(set, s->getImpl()->handle);
    }
    int error = 0;
    if (pollSet(set, timeout, &error) < 0) {
        return kyUtil::Error(1, "select() failed");
    }
    for (Socket* s : sockets) {
        if (s->getImpl()->handle != detail::kNoSocket && contains(set, s->getImpl()->handle)) {
            readable.push_back(s);
        }
    }
    return kyUtil::Error();
}

} // namespace kyTCP
