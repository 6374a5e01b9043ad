// kyUndoReport.h - the undo trace: every step of every manager, written to one file.
#ifndef KY_UNDO_REPORT_H
#define KY_UNDO_REPORT_H

#include <Base/BaseExport.h>

extern "C" {

/// Opens `path` for appending as the undo trace file and writes a separator line to it. A
/// trace file already open is closed first; a null or empty path only closes it. When the
/// file cannot be opened, tracing stays off. Not synchronised: call it from the thread that
/// uses the undo managers.
KY_BASE_API void kyUndoReportInit(const char* path);

/// Formats like `printf` (at most 1,023 characters per call; "%s" takes narrow text) and
/// appends the text to the trace file, flushing it at once so that the trace survives a
/// crash. Does nothing while no trace file is open.
KY_BASE_API void kyUndoReport(const char* format, ...);

} // extern "C"

#endif // KY_UNDO_REPORT_H
