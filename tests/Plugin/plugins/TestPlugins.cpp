// TestPlugins.cpp - the tiny libraries the plug-in tests load, one build per kind:
// KY_TEST_PLUGIN_KIND 0 plain_init, 1 plain_bare, 2 paint_main, 3 serviceDecl_paint,
// 4 serviceDecl_empty. Life-cycle entry points announce themselves on the application output,
// so that a test sees them even after the library is gone.
#include "TestBrush.h"

#include <Base/OS/kyOSAppOutput.h>
#include <Base/Plugin/kyPluginExport.h>
#include <Base/Plugin/kyPluginPlugin.h>

#include <string>

#define KIND KY_TEST_PLUGIN_KIND
namespace {
const char* const kNames[] = {"plain_init", "", "paint_main", "serviceDecl_paint",
                              "serviceDecl_empty"};
[[maybe_unused]] void say(const char* what) {
    kyOS::AppOutput::write(2, (std::string(what) + " " + kNames[KIND] + "\n").c_str());
}
int gStrokes = 0;

// A brush whose strokes are painted by the main plug-in, loaded on the first stroke.
class ProxyBrush : public kytest::BrushService {
public:
    ProxyBrush(const char* name, kyPlugin::PluginProxy* proxy) : BrushService(name, proxy) {}
    int stroke() override {
        ky::Reference<kyPlugin::Plugin> main = getPluginProxy()->getMainPlugin();
        auto paint = main ? reinterpret_cast<int (*)()>(main->getSymbol("paintStroke")) : nullptr;
        return paint != nullptr ? paint() : -1;
    }
};
} // namespace

#if KIND != 1
KY_PLUGIN_EXPORT void initializePlugin() {
    say("init");
}
KY_PLUGIN_EXPORT void uninitializePlugin() {
    say("uninit");
}
#endif
KY_PLUGIN_EXPORT int plainValue() {
    return 7 + KIND;
}
KY_PLUGIN_EXPORT int paintStroke() {
    return ++gStrokes;
}
#if KIND >= 3
KY_PLUGIN_EXPORT const char* getPluginProxyName() {
    return "paint_main" KY_TEST_PLUGIN_SUFFIX;
}
KY_PLUGIN_EXPORT void installPluginServices(kyPlugin::PluginProxy* proxy) {
    for (const char* name : {"round", "flat"}) {
        auto* brush = KIND == 3 ? new ProxyBrush(name, proxy) : nullptr;
        if (brush != nullptr && !brush->registerService()) {
            ky::Reference<kyPlugin::Service> refused(brush); // dropped at once: deleted
        }
    }
}
#endif
