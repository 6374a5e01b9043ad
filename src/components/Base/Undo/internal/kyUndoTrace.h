// kyUndoTrace.h - the undo trace as the undo classes use it, and name helpers.
#ifndef KY_UNDO_INTERNAL_TRACE_H
#define KY_UNDO_INTERNAL_TRACE_H

#if defined(__GNUC__)
#define KY_UNDO_PRINTF_FORMAT(f, a) __attribute__((format(printf, f, a)))
#else
#define KY_UNDO_PRINTF_FORMAT(f, a)
#endif

namespace kyUndo {
namespace detail {

/// True while a trace file is open. Callers test it before computing costly trace arguments
/// (byte sums), so that an untraced history pays nothing for its trace.
bool traceEnabled();

/// Writes one formatted line to the trace file (what `kyUndoReport` does), format-checked.
void trace(const char* format, ...) KY_UNDO_PRINTF_FORMAT(1, 2);

/// How most traces print a name: "noname" when there is none.
inline const char* traceName(const char* name) {
    return name != nullptr ? name : "noname";
}

/// How the command doIt/undoIt traces print a name: as it is, which the C library shows as
/// "(null)" when missing (kept: those two traces never said "noname").
inline const char* rawTraceName(const char* name) {
    return name != nullptr ? name : "(null)";
}

/// An owned copy of `name` (null for null), released with `freeName`.
char* copyName(const char* name);
void freeName(char* name);

} // namespace detail
} // namespace kyUndo

#endif // KY_UNDO_INTERNAL_TRACE_H
