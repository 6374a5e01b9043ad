// kyOSAppOutput.h - kyOS::AppOutput, the application's numbered output channels.
#ifndef KY_OS_APPOUTPUT_H
#define KY_OS_APPOUTPUT_H

#include <Base/BaseExport.h>

#include <cstdarg>

namespace kyOS {

/// Where the library and the application write text for the user: numbered channels, 1 for
/// errors and 2 for information (any other number is treated as information), with one
/// process-wide indentation level. Every line written starts with two blanks per level.
///
/// By default channel 1 goes to standard error and the others to standard output; an
/// application (a GUI, a log file, a test) installs its own sink with `setSink`. Formatting
/// follows the library's rule: "%s"/"%c" take narrow arguments, "%S"/"%C" wide ones.
///
/// Thread-safe: writes are serialised, so lines from different threads do not interleave
/// within one call. Failures to write are not reported.
///
/// @code
///   kyOS::AppOutput::printf(kyOS::AppOutput::kInformation, "%d plug-ins\n", 3);
///   kyOS::AppOutput::indent();   // later lines start with two blanks
/// @endcode
class KY_BASE_API AppOutput {
public:
    static constexpr int kErrors = 1;
    static constexpr int kInformation = 2;
    static constexpr int kBlanksPerLevel = 2;

    /// Receives each write: the channel and the text, indentation already applied.
    using Sink = void (*)(void* context, int channel, const char* text);

    /// Installs a sink for every channel; a null sink restores standard error and output.
    static void setSink(Sink sink, void* context = nullptr);

    static void write(int channel, const char* text);
    static void printf(int channel, const char* format, ...);
    static void vprintf(int channel, const char* format, va_list args);

    static int indentation();
    /// Sets the level (0 at least).
    static void setIndentation(int level);
    static void indent() { setIndentation(indentation() + 1); }
    static void unindent() { setIndentation(indentation() - 1); }
};

} // namespace kyOS

#endif // KY_OS_APPOUTPUT_H
