// serviceDecl_empty.cpp - a test proxy that declares nothing.
#include <Base/OS/kyOSAppOutput.h>
#include <Base/Plugin/kyPluginExport.h>

KY_PLUGIN_EXPORT void initializePlugin() {
    kyOS::AppOutput::write(kyOS::AppOutput::kInformation, "init serviceDecl_empty\n");
}
KY_PLUGIN_EXPORT void uninitializePlugin() {
    kyOS::AppOutput::write(kyOS::AppOutput::kInformation, "uninit serviceDecl_empty\n");
}
KY_PLUGIN_EXPORT const char* getPluginProxyName() {
    return "nothing" KY_TEST_PLUGIN_SUFFIX;
}
KY_PLUGIN_EXPORT void installPluginServices(kyPlugin::PluginProxy*) {}
