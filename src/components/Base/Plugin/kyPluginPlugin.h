// kyPluginPlugin.h - kyPlugin::Plugin, PluginProxy and PluginLoader: loading plug-in libraries.
#ifndef KY_PLUGIN_PLUGIN_H
#define KY_PLUGIN_PLUGIN_H

#include <Base/BaseExport.h>
#include <Base/Containers/kyReferenceCount.h>
#include <Base/RTB/kyRTBSignal.h>

namespace kyPlugin {

class Service;
class ServiceManager;
class PluginLoader;

namespace detail {
class PluginImpl;
class PluginProxyImpl;
} // namespace detail

/// One loaded dynamic library. Made only by `PluginLoader`, handed out as
/// `ky::Reference<Plugin>`; the last reference dropped unloads the library (calling its
/// "uninitializePlugin" first) unless `finallyUnload(false)` was set.
///
/// Failures set a text that `getError()` returns (the system's message, else a text of the
/// loader's own); nothing is thrown. Not thread-safe: one thread loads and uses plug-ins.
class KY_BASE_API Plugin : public ky::ReferenceCount {
public:
    Plugin(const Plugin&) = delete;
    Plugin& operator=(const Plugin&) = delete;

    /// Emitted with the plug-in at the start of its destruction.
    kyRTB::Signal<Plugin*> destroyed;

    /// The library's file name without its directory, as given (multibyte).
    const char* getName() const;
    /// The library's file name as given to the loader (multibyte).
    const char* getFilename() const;
    /// The address of an exported symbol; null when the plug-in is not loaded or the symbol
    /// is missing (which sets the error). Clears the error first.
    void* getSymbol(const char* name);
    /// The last failure as UTF-8 text, or null when there is none.
    virtual const char* getError() const;
    /// With false the library is never released, even when the plug-in goes away (for
    /// libraries that cannot be unloaded safely). True by default.
    void finallyUnload(bool unload);
    bool isLoaded() const;

protected:
    explicit Plugin(const char* fileName);
    ~Plugin() override;

    /// Emits `destroyed` once; the most derived destructor calls it first.
    void announceDestruction();

private:
    friend class PluginLoader;
    friend class PluginProxy;

    bool load();
    void setError(const char* text);

    detail::PluginImpl* impl_;
};

/// A service-declaration library ("serviceDecl_…"): loaded at start, it names its main
/// plug-in ("getPluginProxyName") and registers the main plug-in's services
/// ("installPluginServices"); the main plug-in is loaded the first time a service needs it.
///
/// Ownership: every service of the proxy holds a reference to it, and the proxy holds the
/// main plug-in, so both libraries stay until the proxy's last service goes. Not thread-safe.
class KY_BASE_API PluginProxy : public Plugin {
public:
    /// The main plug-in's file name, relative to the proxy's directory; empty when unset.
    const char* getProxyFor() const;
    /// Calls "installPluginServices" on the first call only; true when the proxy has at least
    /// one service.
    bool installServices();
    int getNumServices() const;
    /// Null for an index out of range.
    Service* getService(int index) const;
    /// The index of `service` in this proxy's list, or -1.
    int findService(Service* service) const;
    /// Loads the main plug-in on the first call; every call tells whether it is held. A
    /// failure is kept (see `getError`) and not retried.
    bool loadMainPlugin();
    /// The main plug-in, loading it first; null when it could not be loaded.
    ky::Reference<Plugin> getMainPlugin();
    /// The proxy's own failure (loading the main plug-in), else the library's.
    const char* getError() const override;

private:
    friend class PluginLoader;
    friend class ServiceManager;

    explicit PluginProxy(const char* fileName);
    ~PluginProxy() override;

    void setProxyFor(const char* name);
    void addService(Service* service);
    void destroyedService(Service* service);

    detail::PluginProxyImpl* proxyImpl_;
    /// Ties the connections to the services' destroyed signals to this proxy's lifetime.
    kyRTB::Signal<> tracker_;
};

/// Makes plug-ins and proxies. Keeps the text of its last failure. Not thread-safe.
///
/// @code
///   kyPlugin::PluginLoader loader;
///   ky::Reference<kyPlugin::Plugin> p = loader.load("/opt/app/plug-ins/paint.so");
///   if (!p) printf("%s\n", loader.getError());
/// @endcode
class KY_BASE_API PluginLoader {
public:
    PluginLoader();
    ~PluginLoader();
    PluginLoader(const PluginLoader&) = delete;
    PluginLoader& operator=(const PluginLoader&) = delete;

    /// Loads a plug-in; null on failure (then `getError()` says why).
    ky::Reference<Plugin> load(const char* fileName);
    /// Loads a proxy and asks it for its main plug-in's name; null on failure.
    ky::Reference<PluginProxy> loadProxy(const char* fileName);
    /// The last failure's text (UTF-8), empty when the last load succeeded.
    const char* getError() const;

private:
    struct State;
    State* state_;
};

} // namespace kyPlugin

#endif // KY_PLUGIN_PLUGIN_H
