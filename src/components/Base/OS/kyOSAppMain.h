// kyOSAppMain.h - kyOS::AppMain, the small application frame the library needs.
#ifndef KY_OS_APPMAIN_H
#define KY_OS_APPMAIN_H

#include <Base/BaseExport.h>
#include <Base/Containers/kyVector.h>
#include <Base/String/kyStringCString.h>
#include <Base/String/kyStringIString.h>

namespace kyOS {

/// What the library asks of the running application: its name, the seconds elapsed since it
/// started (stamped on trace lines), its argument list and the ordered list of plug-in
/// directories that the plug-in loader scans. The application sets these at start-up; the
/// library only reads them.
///
/// Process-wide state. Set it from one thread at start-up; reading is then safe from any
/// thread. The elapsed time runs from the moment the library was loaded (or from the last
/// `resetElapsed`).
///
/// @code
///   int main(int argc, char** argv) {
///       kyOS::AppMain::setArguments(argc, argv);           // the name is argv[0]'s base name
///       kyOS::AppMain::addPluginDirectory(L"/opt/app/plug-ins");
///       ...
///   }
/// @endcode
class KY_BASE_API AppMain {
public:
    static const kyString::CString& getApplicationName();
    static void setApplicationName(const kyString::CString& name);

    /// Seconds since the library was loaded or `resetElapsed` was last called.
    static double getElapsed();
    /// Restarts the elapsed-time clock from zero.
    static void resetElapsed();

    /// Keeps the arguments; when no name was set, the name becomes the last component of
    /// `argv[0]` without a ".exe" suffix.
    static void setArguments(int argc, const char* const* argv);
    static const ky::vector<kyString::CString>& getArguments();

    /// The plug-in directories in search order.
    static const ky::vector<kyString::IString>& getPluginDirectories();
    static void setPluginDirectories(const ky::vector<kyString::IString>& directories);
    static void addPluginDirectory(const kyString::IString& directory);
};

} // namespace kyOS

#endif // KY_OS_APPMAIN_H
