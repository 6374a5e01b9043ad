// kyOSDebugTrace.h - kyOS::DebugTrace and kyOS::DebugTraceManager, named timing traces.
#ifndef KY_OS_DEBUGTRACE_H
#define KY_OS_DEBUGTRACE_H

#include <Base/BaseExport.h>
#include <Base/Containers/kyVector.h>
#include <Base/OS/kyOSStopWatch.h>
#include <Base/String/kyStringCString.h>

namespace kyOS {

/// A named, nestable timing trace. Each line it prints goes to the application output's
/// information channel, stamped with the application's elapsed seconds
/// (`AppMain::getElapsed`); the lines between a `start` and its `stop` are indented one level
/// more. Traces with a category are enabled by `DebugTraceManager` (see there); traces without
/// one always are.
///
/// Lines, exactly: "%9.4f Start trace: %s %s\n", "%9.4f End trace: %s elapsed %.4f total %.4f
/// calls %d\n", "%9.4f tick trace: %s %s now %.4f\n" (or without the text), "%9.4f trace: %s.
/// %s\n" (two blanks after the full stop, kept on purpose).
///
/// A trace registers itself with the manager when constructed and leaves it when destroyed.
/// Not synchronised: one thread at a time per trace.
///
/// @code
///   static kyOS::DebugTrace trace("load scene", 1);
///   trace.start("big.scene");
///   trace.tick("geometry read");
///   trace.stop();
/// @endcode
class KY_BASE_API DebugTrace {
public:
    DebugTrace(const kyString::CString& name, int level);
    DebugTrace(const kyString::CString& name, int level, const kyString::CString& category);
    DebugTrace(const kyString::CString& name, int level, const kyString::CString& category,
               const kyString::CString& subcategory);
    ~DebugTrace();
    DebugTrace(const DebugTrace&) = delete;
    DebugTrace& operator=(const DebugTrace&) = delete;

    /// Opens an interval: counts the call, prints the start line, indents, starts a watch.
    void start(const char* text = nullptr);
    /// Closes the innermost interval; returns its seconds (0.0 when disabled or none is open).
    double stop();
    /// Prints the innermost interval's running seconds (0.0 when none is open) and returns
    /// them; 0.0 when disabled.
    double tick(const char* text = nullptr);
    /// Prints a free-text line (nothing without a text).
    void print(const char* text);

    bool enabled() const { return enabled_; }
    const kyString::CString& name() const { return name_; }
    int level() const { return level_; }
    int calls() const { return calls_; }
    /// Seconds over every completed start/stop pair.
    double total() const { return total_; }
    const kyString::CString& category() const { return category_; }
    const kyString::CString& subcategory() const { return subcategory_; }

private:
    void init();
    void setEnabled(bool enabled) { enabled_ = enabled; }

    ky::vector<StopWatch> watches_; // one per open start
    double total_ = 0.0;
    kyString::CString name_;
    int level_;
    int calls_ = 0;
    bool enabled_ = true;
    kyString::CString category_;
    kyString::CString subcategory_;

    friend class DebugTraceManager;
};

namespace detail {
class DebugTraceManagerImpl;
} // namespace detail

/// The process-wide registry of traces, which decides which are enabled. A trace without a
/// category is always enabled. A trace with a category is enabled when every category is
/// (`enableAllCategories`), when its category is, or when its "category/subcategory" is
/// (`enableCategory` takes either form); otherwise it is disabled. Enabling applies at once
/// to registered traces and to those registered later.
///
/// Thread-safe. The manager lives until the process ends.
class KY_BASE_API DebugTraceManager {
public:
    static DebugTraceManager& getInstance();

    void registerTrace(DebugTrace* trace);
    void registerTrace(DebugTrace* trace, const kyString::CString& category);
    void registerTrace(DebugTrace* trace, const kyString::CString& category,
                       const kyString::CString& subcategory);
    /// Forgets a trace (its destructor calls this).
    void unregisterTrace(DebugTrace* trace);

    /// Enables the traces of a category, or of one "category/subcategory".
    void enableCategory(const kyString::CString& category);
    void enableAllCategories();
    /// Traces registered now.
    int numTraces() const;

    DebugTraceManager(const DebugTraceManager&) = delete;
    DebugTraceManager& operator=(const DebugTraceManager&) = delete;

private:
    DebugTraceManager();
    ~DebugTraceManager();
    void initializeTrace(DebugTrace* trace, bool registered);
    bool isEnabled(const DebugTrace* trace) const;

    detail::DebugTraceManagerImpl* impl_;
};

} // namespace kyOS

#endif // KY_OS_DEBUGTRACE_H
