// showcase_plugins.cpp - the plug-in section of the showcase: a proxy found by the directory
// scan declares services, and its main plug-in is loaded only when a service is used.
#include "plugins/GreetingService.h"
#include "showcase.h"

#include <Base/OS/kyOSAppMain.h>
#include <Base/Plugin/kyPluginService.h>

#include <cstdio>

void showcasePlugins() {
    showcaseSection("Plugin: proxies, lazy main plug-ins and the service registry");

    kyOS::AppMain::addPluginDirectory(kyString::IString(KY_EXAMPLE_PLUGIN_DIR));
    kyPlugin::ServiceManager* services = kyPlugin::ServiceManager::getInstance();
    services->registerServices(nullptr);

    const int type = services->getServiceIndex("Greeting");
    std::printf("services of type Greeting after the scan: %d\n", services->getNumServices(type));
    for (int i = 0; i < services->getNumServices(type); ++i) {
        kyPlugin::Service* s = services->getService(type, i);
        std::printf("  %s (from a plug-in: %s)\n", s->getName(), s->isPlugin() ? "yes" : "no");
    }
    std::printf("nothing loaded yet but the proxy; now greeting:\n");
    for (const char* name : {"plain", "loud"}) {
        auto* greeting = static_cast<GreetingService*>(services->getService("Greeting", name));
        char text[64] = "";
        if (greeting != nullptr && greeting->greet("world", text, sizeof text)) {
            std::printf("  %s: %s\n", name, text);
        }
    }
    std::printf("dropping the services releases the main plug-in, then the proxy:\n");
    while (services->getNumServices(type) > 0) {
        // The registry holds no count: the last reference taken here deletes the service.
        ky::Reference<kyPlugin::Service> last(services->getService(type, 0));
    }
}
