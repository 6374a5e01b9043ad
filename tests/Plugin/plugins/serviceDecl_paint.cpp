// serviceDecl_paint.cpp - a test proxy: declares two brushes whose strokes need paint_main.
#include "TestBrush.h"

#include <Base/OS/kyOSAppOutput.h>
#include <Base/Plugin/kyPluginExport.h>
#include <Base/Plugin/kyPluginPlugin.h>

namespace {

class ProxyBrush : public kytest::BrushService {
public:
    ProxyBrush(const char* name, kyPlugin::PluginProxy* proxy) : BrushService(name, proxy) {}
    int stroke() override {
        ky::Reference<kyPlugin::Plugin> main = getPluginProxy()->getMainPlugin();
        if (!main) {
            return -1;
        }
        auto paint = reinterpret_cast<int (*)()>(main->getSymbol("paintStroke"));
        return paint != nullptr ? paint() : -1;
    }
};

} // namespace

KY_PLUGIN_EXPORT void initializePlugin() {
    kyOS::AppOutput::write(kyOS::AppOutput::kInformation, "init serviceDecl_paint\n");
}
KY_PLUGIN_EXPORT void uninitializePlugin() {
    kyOS::AppOutput::write(kyOS::AppOutput::kInformation, "uninit serviceDecl_paint\n");
}
KY_PLUGIN_EXPORT const char* getPluginProxyName() {
    return "paint_main" KY_TEST_PLUGIN_SUFFIX;
}
KY_PLUGIN_EXPORT void installPluginServices(kyPlugin::PluginProxy* proxy) {
    for (const char* name : {"round", "flat"}) {
        auto* brush = new ProxyBrush(name, proxy);
        if (!brush->registerService()) {
            ky::Reference<kyPlugin::Service> refused(brush); // dropped at once: deleted
        }
    }
}
