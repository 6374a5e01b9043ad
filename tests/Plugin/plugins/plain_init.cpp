// plain_init.cpp - a test plug-in with both life-cycle entry points; they announce themselves
// on the application output so that a test sees them even after the library is gone.
#include <Base/OS/kyOSAppOutput.h>
#include <Base/Plugin/kyPluginExport.h>

KY_PLUGIN_EXPORT void initializePlugin() {
    kyOS::AppOutput::write(kyOS::AppOutput::kInformation, "init plain_init\n");
}
KY_PLUGIN_EXPORT void uninitializePlugin() {
    kyOS::AppOutput::write(kyOS::AppOutput::kInformation, "uninit plain_init\n");
}
KY_PLUGIN_EXPORT int plainValue() {
    return 7;
}
