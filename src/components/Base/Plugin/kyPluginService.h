// kyPluginService.h - kyPlugin::Service and the process-wide ServiceManager registry.
#ifndef KY_PLUGIN_SERVICE_H
#define KY_PLUGIN_SERVICE_H

#include <Base/BaseExport.h>
#include <Base/Containers/kyReferenceCount.h>
#include <Base/RTB/kyRTBSignal.h>

namespace kyPlugin {

class PluginProxy;
class ServiceManager;

namespace detail {
class ServiceImpl;
class ServiceForTypeImpl;
class ServiceManagerImpl;
} // namespace detail

/// A named service of a type (the type name comes from the concrete class). Built into the
/// application, or declared by a plug-in proxy, whose code runs it by loading the main
/// plug-in on first use. The base of every service class the application defines.
///
/// Ownership: reference counted; the registry keeps plain pointers and drops a service when
/// it announces its destruction, so whoever made the service decides when it goes (by
/// holding a `ky::Reference` and dropping it). A plug-in service holds a reference to its
/// proxy; that reference is dropped once the service's deletion has returned, so a library
/// is never released while its code still runs. Not thread-safe.
class KY_BASE_API Service : public ky::ReferenceCount {
public:
    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;

    /// Emitted with the service at the start of its destruction.
    kyRTB::Signal<Service*> destroyed;

    /// A service built into the application; `allowOverride` lets a later registration of
    /// the same name and type replace it.
    Service(const char* name, bool allowOverride);
    /// A service of a plug-in proxy (never overridable); takes a reference to `proxy`.
    Service(const char* name, PluginProxy* proxy);

    /// Adds the service to the service manager; false when refused.
    virtual bool registerService();
    /// The service's type name (each concrete service class returns its type's).
    virtual const char* getType() const = 0;

    const char* getName() const;
    /// True for a service of a plug-in proxy.
    bool isPlugin() const;
    bool getAllowOverride() const;

protected:
    ~Service() override;
    PluginProxy* getPluginProxy() const;

private:
    friend class ServiceManager;
    detail::ServiceImpl* impl_;
};

/// The services of one type, in registration order. Owned by the service manager. Not
/// thread-safe.
class KY_BASE_API ServiceForType {
public:
    explicit ServiceForType(const char* type);
    ~ServiceForType();
    ServiceForType(const ServiceForType&) = delete;
    ServiceForType& operator=(const ServiceForType&) = delete;

    const char* getType() const;
    int getNumServices() const;
    /// Null for an index out of range.
    Service* getService(int index) const;
    /// The service named `name` (exact comparison), or null.
    Service* findService(const char* name) const;
    /// Appends the service and removes it again when it announces its destruction.
    void addService(Service* service);
    /// Removes the service and the connection to its destroyed signal; others are ignored.
    void removeService(Service* service);

private:
    void destroyedService(Service* service);

    detail::ServiceForTypeImpl* impl_;
    /// Ties the connections to the services' destroyed signals to this list's lifetime.
    kyRTB::Signal<> tracker_;
};

/// The process-wide registry of services by type, and the scan of the plug-in directories
/// for proxies. Created on first use (thread-safe), lives until the process ends.
///
/// Messages of the scan go to `kyOS::AppOutput`: failures on channel 1, proxies without
/// services on channel 2; a refused registration on channel 1. Registration and look-up
/// are used from one thread.
///
/// @code
///   kyOS::AppMain::addPluginDirectory(L"/opt/app/plug-ins");
///   kyPlugin::ServiceManager* m = kyPlugin::ServiceManager::getInstance();
///   m->registerServices(nullptr);                       // once per process
///   kyPlugin::Service* s = m->getService("Brush", "round");
/// @endcode
class KY_BASE_API ServiceManager {
public:
    static ServiceManager* getInstance();

    /// Loads the proxies of every plug-in directory (or of its `subdirectory` when not null)
    /// and installs their services. Runs once per process; later calls return at once.
    void registerServices(const char* subdirectory);
    /// True once `registerServices` has run.
    bool servicesRegistered() const;

    /// Registers a service under its type and name; false for null or when the name is taken
    /// by a service that does not allow override.
    bool addService(Service* service);
    /// Takes the service out of its type's list (it stays alive).
    void removeService(Service* service);

    int numServiceTypes() const;
    /// Null for an index out of range.
    const char* getServiceType(int index) const;
    /// The index of the type, or -1.
    int getServiceIndex(const char* type) const;
    /// -1 for an unknown type.
    int getNumServices(const char* type) const;
    int getNumServices(int typeIndex) const;
    Service* getService(int typeIndex, int i) const;
    Service* getService(const char* type, const char* name) const;
    Service* getService(int typeIndex, const char* name) const;

private:
    ServiceManager();
    ~ServiceManager();
    ServiceManager(const ServiceManager&) = delete;
    ServiceManager& operator=(const ServiceManager&) = delete;

    detail::ServiceManagerImpl* impl_;
};

} // namespace kyPlugin

#endif // KY_PLUGIN_SERVICE_H
