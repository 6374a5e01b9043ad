// greeter.cpp - the example's main plug-in: the real (here: tiny) work behind the services.
#include <Base/OS/kyOSAppOutput.h>
#include <Base/Plugin/kyPluginExport.h>

#include <cstdio>

KY_PLUGIN_EXPORT void initializePlugin() {
    kyOS::AppOutput::write(kyOS::AppOutput::kInformation, "  [greeter loaded on first use]\n");
}

KY_PLUGIN_EXPORT void uninitializePlugin() {
    kyOS::AppOutput::write(kyOS::AppOutput::kInformation, "  [greeter unloaded]\n");
}

/// Formats a greeting in `style` (0 plain, 1 loud).
KY_PLUGIN_EXPORT int greeterFormat(int style, const char* who, char* out, unsigned size) {
    return std::snprintf(out, size, style == 0 ? "Hello, %s." : "HELLO, %s!", who);
}
