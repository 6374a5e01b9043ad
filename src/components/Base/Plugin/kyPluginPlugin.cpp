// kyPluginPlugin.cpp - loading and unloading plug-in libraries, proxies and the loader.
#include <Base/Plugin/kyPluginPlugin.h>

#include <Base/OS/kyOSFile.h>
#include <Base/OS/kyOSFilename.h>
#include <Base/Plugin/internal/kyPluginLibrary.h>
#include <Base/Plugin/kyPluginExport.h>
#include <Base/Plugin/kyPluginService.h>
#include <Base/String/kyStringIString.h>
#include <Base/Utility/kyImplBase.h>

#include <algorithm>
#include <string>
#include <vector>

namespace kyPlugin {

namespace {
constexpr unsigned kRetryDelayMs = 10;

std::string utf8Name(const std::string& multibyte) {
    return kyString::IString(multibyte.c_str()).asUTF8();
}

std::string formatted(const char* format, const std::string& argument) {
    std::string text(format);
    const std::size_t at = text.find("%s");
    if (at != std::string::npos) {
        text.replace(at, 2, argument);
    }
    return text;
}

bool fileExists(const std::string& multibyte) {
    kyOS::FileStatus status;
    const kyUtil::Error error = kyOS::File::query(kyString::IString(multibyte.c_str()), status);
    return error.ok() && status.exists();
}
} // namespace

namespace detail {

class PluginImpl : public ky::ImplBase {
public:
    std::string fileName;
    std::string name;
    std::string error;
    bool loaded = false;
    bool unloadOnRelease = true;
    bool announced = false;
    void* module = nullptr;
};

class PluginProxyImpl : public ky::ImplBase {
public:
    bool mainLoadAttempted = false;
    bool servicesInstalled = false;
    std::string proxyFor;
    std::string error;
    ky::Reference<Plugin> mainPlugin;
    std::vector<Service*> services;
};

} // namespace detail

// --- Plugin ----------------------------------------------------------------------------------

Plugin::Plugin(const char* fileName) : impl_(new detail::PluginImpl) {
    impl_->fileName = fileName != nullptr ? fileName : "";
    const kyOS::Filename path{kyString::IString(impl_->fileName.c_str())};
    impl_->name = path.basename().asMultibyte();
}

Plugin::~Plugin() {
    announceDestruction();
    if (impl_->loaded && impl_->unloadOnRelease) {
        const detail::LibraryCalls& calls = detail::libraryCalls();
        void* address = calls.symbol(impl_->module, "uninitializePlugin");
        if (address != nullptr) {
            reinterpret_cast<UninitializePluginFunc>(address)();
        } else {
            std::string system = calls.lastError();
            impl_->error = !system.empty() ? system
                                           : formatted("Plugin: could not find symbol: %s\n",
                                                       "uninitializePlugin");
        }
        impl_->loaded = false;
        calls.close(impl_->module);
        impl_->module = nullptr;
    }
    delete impl_;
}

void Plugin::announceDestruction() {
    if (!impl_->announced) {
        impl_->announced = true;
        destroyed.emit(this);
    }
}

const char* Plugin::getName() const {
    return impl_->name.c_str();
}
const char* Plugin::getFilename() const {
    return impl_->fileName.c_str();
}
bool Plugin::isLoaded() const {
    return impl_->loaded;
}
void Plugin::finallyUnload(bool unload) {
    impl_->unloadOnRelease = unload;
}

const char* Plugin::getError() const {
    return impl_->error.empty() ? nullptr : impl_->error.c_str();
}

void Plugin::setError(const char* text) {
    impl_->error = text != nullptr ? text : "";
}

void* Plugin::getSymbol(const char* name) {
    impl_->error.clear();
    if (!impl_->loaded || name == nullptr) {
        return nullptr;
    }
    const detail::LibraryCalls& calls = detail::libraryCalls();
    void* address = calls.symbol(impl_->module, name);
    if (address == nullptr) {
        const std::string system = calls.lastError();
        impl_->error =
            !system.empty() ? system : formatted("Plugin: could not find symbol: %s\n", name);
    }
    return address;
}

bool Plugin::load() {
    impl_->error.clear();
    if (!fileExists(impl_->fileName)) {
        return false; // no message: a missing file is the caller's to report
    }
    const detail::LibraryCalls& calls = detail::libraryCalls();
    const unsigned previousMode = calls.silenceErrors();
    void* module = calls.open(impl_->fileName.c_str());
    if (module == nullptr) {
        // A library still being written (an installer, a build) often loads a moment later.
        calls.sleepMilliseconds(kRetryDelayMs);
        module = calls.open(impl_->fileName.c_str());
    }
    calls.restoreErrors(previousMode);

    if (module != nullptr) {
        impl_->module = module;
        impl_->loaded = true;
        void* init = calls.symbol(module, "initializePlugin");
        if (init != nullptr) {
            reinterpret_cast<InitializePluginFunc>(init)();
        } else {
            const std::string system = calls.lastError();
            impl_->error = !system.empty() ? system
                                           : formatted("Plugin: could not find symbol: %s\n",
                                                       "initializePlugin");
        }
    } else {
        const std::string system = calls.lastError();
        impl_->error = !system.empty() ? system
                                       : formatted("Plugin: could not load plugin: %s\n",
                                                   utf8Name(impl_->fileName));
    }
    return impl_->loaded;
}

// --- PluginProxy -----------------------------------------------------------------------------

PluginProxy::PluginProxy(const char* fileName)
    : Plugin(fileName), proxyImpl_(new detail::PluginProxyImpl) {}

PluginProxy::~PluginProxy() {
    announceDestruction();
    // The main plug-in goes before the proxy's own library: the proxy may have code that
    // refers to it.
    delete proxyImpl_;
}

const char* PluginProxy::getProxyFor() const {
    return proxyImpl_->proxyFor.c_str();
}
void PluginProxy::setProxyFor(const char* name) {
    proxyImpl_->proxyFor = name ? name : "";
}

bool PluginProxy::installServices() {
    if (!proxyImpl_->servicesInstalled) {
        proxyImpl_->servicesInstalled = true;
        void* install = getSymbol("installPluginServices");
        if (install != nullptr) {
            reinterpret_cast<InstallPluginServicesFunc>(install)(this);
        }
    }
    return !proxyImpl_->services.empty();
}

int PluginProxy::getNumServices() const {
    return static_cast<int>(proxyImpl_->services.size());
}

Service* PluginProxy::getService(int index) const {
    if (index < 0 || index >= getNumServices()) {
        return nullptr;
    }
    return proxyImpl_->services[static_cast<std::size_t>(index)];
}

int PluginProxy::findService(Service* service) const {
    const auto& list = proxyImpl_->services;
    const auto it = std::find(list.begin(), list.end(), service);
    return it == list.end() ? -1 : static_cast<int>(it - list.begin());
}

void PluginProxy::addService(Service* service) {
    if (service == nullptr || findService(service) >= 0) {
        return;
    }
    proxyImpl_->services.push_back(service);
    service->destroyed.connect(this, &PluginProxy::destroyedService, tracker_);
}

void PluginProxy::destroyedService(Service* service) {
    auto& list = proxyImpl_->services;
    list.erase(std::remove(list.begin(), list.end(), service), list.end());
}

bool PluginProxy::loadMainPlugin() {
    proxyImpl_->error.clear();
    if (!proxyImpl_->mainLoadAttempted) {
        proxyImpl_->mainLoadAttempted = true;
        const kyOS::Filename own{kyString::IString(getFilename())};
        const kyString::IString mainName =
            kyOS::Filename::join(own.dirname(), kyString::IString(proxyImpl_->proxyFor.c_str()));
        const std::string multibyte = mainName.asMultibyte();
        if (fileExists(multibyte)) {
            PluginLoader loader;
            proxyImpl_->mainPlugin = loader.load(multibyte.c_str());
            if (!proxyImpl_->mainPlugin) {
                proxyImpl_->error = loader.getError();
            }
        } else {
            proxyImpl_->error = formatted("The proxy plugin does not exist: %s", mainName.asUTF8());
        }
    }
    return static_cast<bool>(proxyImpl_->mainPlugin);
}

ky::Reference<Plugin> PluginProxy::getMainPlugin() {
    (void)loadMainPlugin(); // the result is the reference itself
    return proxyImpl_->mainPlugin;
}

const char* PluginProxy::getError() const {
    return proxyImpl_->error.empty() ? Plugin::getError() : proxyImpl_->error.c_str();
}

// --- PluginLoader ----------------------------------------------------------------------------

struct PluginLoader::State {
    std::string error;
};

PluginLoader::PluginLoader() : state_(new State) {}
PluginLoader::~PluginLoader() {
    delete state_;
}
const char* PluginLoader::getError() const {
    return state_->error.c_str();
}

ky::Reference<Plugin> PluginLoader::load(const char* fileName) {
    state_->error.clear();
    ky::Reference<Plugin> plugin(new Plugin(fileName));
    if (!plugin->load()) {
        const char* error = plugin->getError();
        state_->error = error != nullptr ? error : "";
        return ky::Reference<Plugin>();
    }
    return plugin;
}

ky::Reference<PluginProxy> PluginLoader::loadProxy(const char* fileName) {
    state_->error.clear();
    ky::Reference<PluginProxy> proxy(new PluginProxy(fileName));
    if (!proxy->load()) {
        const char* error = proxy->Plugin::getError();
        state_->error = error != nullptr ? error : "";
        return ky::Reference<PluginProxy>();
    }
    void* name = proxy->getSymbol("getPluginProxyName");
    if (name != nullptr) {
        proxy->setProxyFor(reinterpret_cast<GetPluginProxyNameFunc>(name)());
    }
    return proxy;
}

} // namespace kyPlugin
