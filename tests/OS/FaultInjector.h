// FaultInjector.h - a fault hook for the file layer's system-call table: counts the native
// calls and makes one of them, or every one from it on, fail, transfer less or die.
#ifndef KY_TESTS_OS_FAULTINJECTOR_H
#define KY_TESTS_OS_FAULTINJECTOR_H

#include <Base/OS/internal/kyOSFileCalls.h>

#include <cstddef>
#include <string>
#include <vector>

namespace kytest {

/// Installs itself as the file layer's fault hook for its lifetime (one at a time; tests
/// only). Calls are numbered from 1 in the order the library makes them; `arm...` resets the
/// count, so "call K" always means the K-th call of the operation that follows.
///  - `countOnly()`: every call goes through; `calls()` and `log()` tell what was made.
///  - `failAt(K, errno, mode)`: call K (or every call from K on) fails with that error.
///  - `shortenAt(K, limit, mode)`: a read, write or kernel copy at K (or from K on) moves at
///    most `limit` bytes; other calls are made as usual.
///  - `crashAt(K)`: call K and everything after it fail and change nothing, as if the process
///    had died just before K.
class FaultInjector {
public:
    using FileCall = kyOS::detail::FileCall;
    using Fault = kyOS::detail::Fault;

    enum class Mode { kOnce, kFromThenOn };

    FaultInjector() { kyOS::detail::setFaultHook(&FaultInjector::hook, this); }
    ~FaultInjector() { kyOS::detail::setFaultHook(nullptr, nullptr); }
    FaultInjector(const FaultInjector&) = delete;
    FaultInjector& operator=(const FaultInjector&) = delete;

    void countOnly() { arm(Action::kCount, 0, Mode::kOnce, 0, 0); }
    void failAt(std::size_t k, int error, Mode mode) { arm(Action::kFail, k, mode, error, 0); }
    void shortenAt(std::size_t k, std::size_t limit, Mode mode) {
        arm(Action::kShort, k, mode, 0, limit);
    }
    void crashAt(std::size_t k) { arm(Action::kCrash, k, Mode::kFromThenOn, 0, 0); }

    /// Native calls made since the last `arm...`.
    std::size_t calls() const { return calls_; }
    /// Which entry each of those calls went to, in order.
    const std::vector<FileCall>& log() const { return log_; }
    /// How many calls the fault actually changed (a short count only changes transfers).
    std::size_t affected() const { return affected_; }

    /// True for the calls a short count applies to.
    static bool isTransfer(FileCall call) {
        return call == FileCall::kRead || call == FileCall::kWrite || call == FileCall::kCopyRange;
    }

    static const char* name(FileCall call) {
        static const char* const kNames[] = {
            "open",     "read",          "write",         "seek",           "fsync",
            "close",    "stat",          "fstat",         "access",         "rename",
            "unlink",   "copyFile",      "copyRange",     "copyAttributes", "mkdir",
            "rmdir",    "listDirectory", "syncDirectory", "tempPath",       "tempFile",
            "diskFree", "owner",         "fullPath",      "getCwd",         "setCwd",
            "isRemote", "openMapped",    "setFileSize",   "fileSizeOf",     "createMapping",
            "mapView",  "unmapView",     "flushView",     "closeMapping",   "closeMapped",
            "replace"};
        static_assert(sizeof kNames / sizeof kNames[0] ==
                          static_cast<std::size_t>(FileCall::kCount),
                      "one name per entry of the system-call table");
        const std::size_t i = static_cast<std::size_t>(call);
        return i < sizeof kNames / sizeof kNames[0] ? kNames[i] : "?";
    }

    /// "open, read, write, ..." for a failure message.
    std::string describe() const {
        std::string text;
        for (std::size_t i = 0; i < log_.size(); ++i) {
            text += (i == 0 ? "" : ", ") + std::to_string(i + 1) + ":" + name(log_[i]);
        }
        return text;
    }

private:
    enum class Action { kCount, kFail, kShort, kCrash };

    void arm(Action action, std::size_t k, Mode mode, int error, std::size_t limit) {
        what_ = action;
        at_ = k;
        mode_ = mode;
        error_ = error;
        limit_ = limit;
        calls_ = 0;
        affected_ = 0;
        log_.clear();
    }

    static Fault hook(FileCall call, void* context) {
        return static_cast<FaultInjector*>(context)->decide(call);
    }

    Fault decide(FileCall call) {
        const std::size_t n = ++calls_;
        log_.push_back(call);
        const bool due = mode_ == Mode::kOnce ? n == at_ : n >= at_;
        if (what_ == Action::kCount || !due) {
            return Fault{Fault::kNone, 0, 0};
        }
        switch (what_) {
        case Action::kFail:
            ++affected_;
            return Fault{Fault::kFail, error_, 0};
        case Action::kShort:
            affected_ += isTransfer(call) ? 1 : 0;
            return Fault{Fault::kShort, 0, limit_};
        case Action::kCrash:
            ++affected_;
            return Fault{Fault::kCrash, 0, 0};
        case Action::kCount:
            break;
        }
        return Fault{Fault::kNone, 0, 0};
    }

    Action what_ = Action::kCount;
    Mode mode_ = Mode::kOnce;
    std::size_t at_ = 0;
    int error_ = 0;
    std::size_t limit_ = 0;
    std::size_t calls_ = 0;
    std::size_t affected_ = 0;
    std::vector<FileCall> log_;
};

} // namespace kytest

#endif // KY_TESTS_OS_FAULTINJECTOR_H
