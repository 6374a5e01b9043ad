// paint_main.cpp - the main plug-in behind serviceDecl_paint: counts strokes.
#include <Base/OS/kyOSAppOutput.h>
#include <Base/Plugin/kyPluginExport.h>

namespace {
int gStrokes = 0;
}

KY_PLUGIN_EXPORT void initializePlugin() {
    kyOS::AppOutput::write(kyOS::AppOutput::kInformation, "init paint_main\n");
}
KY_PLUGIN_EXPORT void uninitializePlugin() {
    kyOS::AppOutput::write(kyOS::AppOutput::kInformation, "uninit paint_main\n");
}
KY_PLUGIN_EXPORT int paintStroke() {
    return ++gStrokes;
}
KY_PLUGIN_EXPORT int paintStrokes() {
    return gStrokes;
}
