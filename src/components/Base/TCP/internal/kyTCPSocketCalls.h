// kyTCPSocketCalls.h - the one table through which the library makes its socket calls.
#ifndef KY_TCP_INTERNAL_SOCKETCALLS_H
#define KY_TCP_INTERNAL_SOCKETCALLS_H

#include <Base/BaseExport.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

struct addrinfo;

namespace kyTCP {
namespace detail {

/// A socket as the system knows it: a descriptor on POSIX, a SOCKET on Windows.
using NativeSocket = std::uintptr_t;
/// No socket.
constexpr NativeSocket kNoSocket = ~static_cast<NativeSocket>(0);

/// Address families of the table.
enum class Family { kIPv4, kIPv6 };

/// Socket options the library sets.
enum class Option {
    kLinger,  ///< on, `value` seconds
    kNoDelay, ///< TCP no-delay, `value` 0 or 1
    kV6Only,  ///< IPV6_V6ONLY, `value` 0 or 1
};

/// One socket of a readiness wait.
struct PollEntry {
    NativeSocket socket;
    bool wantWrite; ///< wait for writable instead of readable
    bool ready;     ///< set by the call
};

/// Every call the socket layer makes, one entry per system call (or per short task that must
/// stay together, such as a connect that the system may finish after an interruption). Each
/// entry returns -1 (or `kNoSocket`) on failure and puts the system's error number in `*error`:
/// errno on POSIX, the Windows Sockets code on Windows. `errorText` gives the system's text for
/// such a number. Sockets are made close-on-exec, and sends never raise SIGPIPE.
///
/// Production code calls through `socketCalls()`; tests install a `FaultHook` that every native
/// entry consults first, or replace entries and put the native table back afterwards.
struct SocketCalls {
    /// Starts the platform's socket layer (Windows Sockets 2.2); 0 or the start-up's code.
    int (*startup)();
    /// A stream socket of a family (the family probe and the listening sockets).
    NativeSocket (*socket)(Family family, int* error);
    /// A socket for one entry of an address-information list.
    NativeSocket (*socketFor)(const addrinfo* info, int* error);
    int (*close)(NativeSocket s, int* error);
    int (*setOption)(NativeSocket s, Option option, int value, int* error);
    /// Connects to one entry of an address-information list, waiting until it is made.
    int (*connect)(NativeSocket s, const addrinfo* info, int* error);
    /// Binds to `port` of the family's loopback address or any-address. POSIX allows the reuse
    /// of a port in TIME_WAIT (a live listener still makes the bind fail).
    int (*bind)(NativeSocket s, Family family, bool loopback, int port, int* error);
    int (*listen)(NativeSocket s, int backlog, int* error);
    NativeSocket (*accept)(NativeSocket s, int* error);
    long long (*send)(NativeSocket s, const void* buffer, std::size_t size, int* error);
    long long (*recv)(NativeSocket s, void* buffer, std::size_t size, int* error);
    /// Ends the sending direction (the peer reads end of data).
    int (*shutdownSend)(NativeSocket s, int* error);
    /// Waits until entries are ready: `timeoutMicroseconds` -1 without limit, 0 not at all.
    /// Returns the number of ready entries (0 on time-out).
    int (*poll)(PollEntry* entries, std::size_t count, long long timeoutMicroseconds, int* error);
    /// The numeric host and port of the local (`peer` false) or remote end.
    int (*socketName)(NativeSocket s, bool peer, std::string& host, int* port, int* error);
    /// The error a connect left on the socket (0 when none).
    int (*pendingError)(NativeSocket s, int* pending, int* error);
    /// Looks a node and service up; the result is freed with `freeAddrInfo`.
    int (*getAddrInfo)(const char* node, const char* service, bool passive, addrinfo** out,
                       int* error);
    void (*freeAddrInfo)(addrinfo* list);
    const addrinfo* (*nextAddrInfo)(const addrinfo* info);
    /// The numeric host text of one entry.
    int (*numericHost)(const addrinfo* info, std::string& out, int* error);
    /// The name of a numeric host (reverse look-up).
    int (*hostOf)(const char* numeric, std::string& out, int* error);
    int (*hostName)(std::string& out, int* error);
    /// The platform's dotted-quad parser: true when it gives an address. Its "no address"
    /// value is all ones, so "255.255.255.255" is not one.
    bool (*parseDottedQuad)(const char* text);
    /// A C stream over a duplicate of the socket; `*stage` is 1 when the duplicate failed,
    /// 2 when the stream could not be opened on it.
    int (*openCStream)(NativeSocket s, const char* mode, std::FILE** out, int* stage, int* error);
    std::wstring (*errorText)(int error);
    /// The text of a failed look-up (`getAddrInfo`'s error).
    std::wstring (*addrInfoErrorText)(int error);
    /// The system's numbers the portable code tests.
    int addressInUseError;       ///< 10048, EADDRINUSE
    int networkUnreachableError; ///< 10051, ENETUNREACH
    int connectionRefusedError;  ///< 10061, ECONNREFUSED
    int interruptedError;        ///< 10004, EINTR
    int wouldBlockError;         ///< 10035, EAGAIN
};

/// The table in use (the native one unless a test replaced entries).
KY_BASE_API SocketCalls& socketCalls();
/// The platform's own table.
KY_BASE_API const SocketCalls& nativeSocketCalls();

/// Which entry a native call belongs to, for the fault hook.
enum class SocketCall {
    kSocket,
    kClose,
    kSetOption,
    kConnect,
    kBind,
    kListen,
    kAccept,
    kSend,
    kRecv,
    kShutdown,
    kPoll,
    kSocketName,
    kGetAddrInfo,
    kCount
};

/// What the fault hook makes of one call.
struct Fault {
    enum Kind {
        kNone,  ///< make the call
        kFail,  ///< do not make it; fail with `error` (ECONNRESET, EPIPE, EINTR, EAGAIN, ...)
        kShort, ///< send or recv: transfer at most `limit` bytes (other calls: make them)
    };
    Kind kind;
    int error;
    std::size_t limit;
};

/// Consulted by every native entry before it calls the system; `context` is the hook's own.
using FaultHook = Fault (*)(SocketCall call, void* context);

/// Installs (or with null removes) the hook. Tests only; not thread-safe.
KY_BASE_API void setFaultHook(FaultHook hook, void* context);

struct FaultSlot {
    FaultHook hook;
    void* context;
};
KY_BASE_API extern FaultSlot gFaultSlot;

/// What every native entry does first: true when the hook says the call must not be made
/// (`*error` then holds the error to report); a short transfer narrows `*size`.
inline bool injectedFault(SocketCall call, int* error, std::size_t* size = nullptr) {
    if (gFaultSlot.hook == nullptr) {
        return false;
    }
    const Fault fault = gFaultSlot.hook(call, gFaultSlot.context);
    if (fault.kind == Fault::kFail) {
        *error = fault.error;
        return true;
    }
    if (fault.kind == Fault::kShort && size != nullptr && *size > fault.limit) {
        *size = fault.limit;
    }
    return false;
}

} // namespace detail
} // namespace kyTCP

#endif // KY_TCP_INTERNAL_SOCKETCALLS_H
