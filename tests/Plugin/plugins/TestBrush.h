// TestBrush.h - the service type that the test plug-ins declare and the tests use.
#ifndef KY_TESTS_PLUGIN_TESTBRUSH_H
#define KY_TESTS_PLUGIN_TESTBRUSH_H

#include <Base/Plugin/kyPluginService.h>

namespace kytest {

/// A service type of the application under test: a brush that paints strokes.
class BrushService : public kyPlugin::Service {
public:
    using kyPlugin::Service::Service;
    const char* getType() const override { return "Brush"; }
    /// The main plug-in's stroke count after this stroke, -1 when it cannot be loaded.
    virtual int stroke() = 0;
    kyPlugin::PluginProxy* proxy() const { return getPluginProxy(); }
};

} // namespace kytest

#endif // KY_TESTS_PLUGIN_TESTBRUSH_H
