// serviceDecl_greeter.cpp - the example's proxy: small, loaded at start, it declares the
// greeter's services and loads greeter only when a greeting is first asked for.
#include "GreetingService.h"

#include <Base/Plugin/kyPluginExport.h>
#include <Base/Plugin/kyPluginPlugin.h>

namespace {

class LazyGreeting : public GreetingService {
public:
    LazyGreeting(const char* name, int style, kyPlugin::PluginProxy* proxy)
        : GreetingService(name, proxy), style_(style) {}

    bool greet(const char* who, char* out, unsigned size) override {
        ky::Reference<kyPlugin::Plugin> main = getPluginProxy()->getMainPlugin();
        if (!main) {
            return false; // getPluginProxy()->getError() says why
        }
        using Format = int (*)(int, const char*, char*, unsigned);
        auto format = reinterpret_cast<Format>(main->getSymbol("greeterFormat"));
        return format != nullptr && format(style_, who, out, size) > 0;
    }

private:
    int style_;
};

} // namespace

KY_PLUGIN_EXPORT const char* getPluginProxyName() {
    return "greeter" KY_PLUGIN_SUFFIX;
}

KY_PLUGIN_EXPORT void installPluginServices(kyPlugin::PluginProxy* proxy) {
    const struct {
        const char* name;
        int style;
    } services[] = {{"plain", 0}, {"loud", 1}};
    for (const auto& s : services) {
        auto* service = new LazyGreeting(s.name, s.style, proxy);
        if (!service->registerService()) {
            ky::Reference<kyPlugin::Service> refused(service); // deleted with the reference
        }
    }
}
