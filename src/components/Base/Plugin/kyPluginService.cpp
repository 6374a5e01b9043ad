// kyPluginService.cpp - services, the lists per type, and the registry with its directory scan.
#include <Base/Plugin/kyPluginService.h>

#include <Base/Containers/kyVector.h>
#include <Base/OS/kyOSAppMain.h>
#include <Base/OS/kyOSAppOutput.h>
#include <Base/OS/kyOSFile.h>
#include <Base/OS/kyOSFilename.h>
#include <Base/Plugin/internal/kyPluginLibrary.h>
#include <Base/Plugin/kyPluginPlugin.h>
#include <Base/String/kyStringIString.h>
#include <Base/Utility/kyImplBase.h>

#include <algorithm>
#include <cstring>
#include <cwchar>
#include <string>
#include <vector>

namespace kyPlugin {

namespace {
// Proxies are recognised by their base name alone, whatever their suffix.
constexpr wchar_t kProxyPrefix[] = L"serviceDecl_";
constexpr unsigned kProxyPrefixLength = 12;
// Debug-symbol files sit beside the libraries on Windows and share their base name.
constexpr wchar_t kSkippedSuffix[] = L"pdb";

void releaseProxy(void* proxy) {
    static_cast<PluginProxy*>(proxy)->decrementCount();
}
} // namespace

namespace detail {

class ServiceImpl : public ky::ImplBase {
public:
    std::string name;
    PluginProxy* proxy = nullptr; // holds one count
    bool allowOverride = false;
};

class ServiceForTypeImpl : public ky::ImplBase {
public:
    std::string type;
    std::vector<Service*> services;
};

class ServiceManagerImpl : public ky::ImplBase {
public:
    std::vector<ServiceForType*> types;
    bool directoriesRegistered = false;

    ServiceForType* find(const char* type) const {
        if (type == nullptr) {
            return nullptr;
        }
        for (ServiceForType* t : types) {
            if (std::strcmp(t->getType(), type) == 0) {
                return t;
            }
        }
        return nullptr;
    }
    void scan(const kyString::IString& directory);
};

} // namespace detail

// --- Service ---------------------------------------------------------------------------------

Service::Service(const char* name, bool allowOverride) : impl_(new detail::ServiceImpl) {
    impl_->name = name != nullptr ? name : "";
    impl_->allowOverride = allowOverride;
}

Service::Service(const char* name, PluginProxy* proxy) : impl_(new detail::ServiceImpl) {
    impl_->name = name != nullptr ? name : "";
    impl_->proxy = proxy;
    if (proxy != nullptr) {
        proxy->incrementCount();
    }
}

Service::~Service() {
    destroyed.emit(this);
    PluginProxy* proxy = impl_->proxy;
    delete impl_;
    // The concrete class's code usually lives in the proxy's library: release it only once
    // this deletion has returned out of that code.
    if (proxy != nullptr) {
        ky::ReferenceCount::runAfterDeletion(releaseProxy, proxy);
    }
}

bool Service::registerService() {
    return ServiceManager::getInstance()->addService(this);
}
const char* Service::getName() const {
    return impl_->name.c_str();
}
bool Service::isPlugin() const {
    return impl_->proxy != nullptr;
}
bool Service::getAllowOverride() const {
    return impl_->allowOverride;
}
PluginProxy* Service::getPluginProxy() const {
    return impl_->proxy;
}

// --- ServiceForType --------------------------------------------------------------------------

ServiceForType::ServiceForType(const char* type) : impl_(new detail::ServiceForTypeImpl) {
    impl_->type = type != nullptr ? type : "";
}

ServiceForType::~ServiceForType() {
    delete impl_;
}

const char* ServiceForType::getType() const {
    return impl_->type.c_str();
}
int ServiceForType::getNumServices() const {
    return static_cast<int>(impl_->services.size());
}

Service* ServiceForType::getService(int index) const {
    if (index < 0 || index >= getNumServices()) {
        return nullptr;
    }
    return impl_->services[static_cast<std::size_t>(index)];
}

Service* ServiceForType::findService(const char* name) const {
    if (name == nullptr) {
        return nullptr;
    }
    for (Service* s : impl_->services) {
        if (std::strcmp(s->getName(), name) == 0) {
            return s;
        }
    }
    return nullptr;
}

void ServiceForType::addService(Service* service) {
    if (service == nullptr) {
        return;
    }
    impl_->services.push_back(service);
    service->destroyed.connect(this, &ServiceForType::destroyedService, tracker_);
}

void ServiceForType::removeService(Service* service) {
    auto& list = impl_->services;
    const auto it = std::find(list.begin(), list.end(), service);
    if (it == list.end()) {
        return;
    }
    list.erase(it);
    service->destroyed.disconnectInstance(this);
}

void ServiceForType::destroyedService(Service* service) {
    auto& list = impl_->services;
    list.erase(std::remove(list.begin(), list.end(), service), list.end());
}

// --- ServiceManager --------------------------------------------------------------------------

namespace {
detail::ServiceManagerImpl* gManagerImpl = nullptr;
}

ServiceManager::ServiceManager() : impl_(new detail::ServiceManagerImpl) {
    gManagerImpl = impl_;
}

ServiceManager::~ServiceManager() {
    for (ServiceForType* t : impl_->types) {
        delete t;
    }
    delete impl_;
}

ServiceManager* ServiceManager::getInstance() {
    // Never destroyed: services may outlive every static destructor.
    static ServiceManager* instance = new ServiceManager;
    return instance;
}

bool ServiceManager::servicesRegistered() const {
    return impl_->directoriesRegistered;
}

void ServiceManager::registerServices(const char* subdirectory) {
    if (impl_->directoriesRegistered) {
        return;
    }
    impl_->directoriesRegistered = true;
    const ky::vector<kyString::IString> directories = kyOS::AppMain::getPluginDirectories();
    for (unsigned i = 0; i < directories.size(); ++i) {
        kyString::IString directory = directories[i];
        if (!kyOS::doesFileExist(kyOS::Filename(directory))) {
            continue;
        }
        if (subdirectory != nullptr) {
            directory = kyOS::Filename::join(directory, kyString::IString(subdirectory));
            if (!kyOS::doesFileExist(kyOS::Filename(directory))) {
                continue;
            }
        }
        impl_->scan(directory);
    }
}

void detail::ServiceManagerImpl::scan(const kyString::IString& directory) {
    ky::vector<kyString::IString> entries;
    kyOS::File folder(directory);
    if (!folder.readDir(entries, true).ok()) {
        return; // an unreadable directory holds nothing we can load
    }
    for (unsigned i = 0; i < entries.size(); ++i) {
        const kyString::IString& entry = entries[i];
        kyOS::FileStatus status;
        if (kyOS::File::query(entry, status).ok() && status.isDirectory()) {
            continue;
        }
        const kyOS::Filename name(entry);
        const kyString::IString& trunk = name.baseTrunk();
        if (trunk.length() < kProxyPrefixLength ||
            std::wcsncmp(trunk.asWChar(), kProxyPrefix, kProxyPrefixLength) != 0 ||
            name.baseSuffix().str() == kSkippedSuffix) {
            continue;
        }
        PluginLoader loader;
        ky::Reference<PluginProxy> proxy = loader.loadProxy(entry.asMultibyte());
        if (proxy) {
            if (!proxy->installServices()) {
                kyOS::AppOutput::printf(kyOS::AppOutput::kInformation, "No services in: %S\n",
                                        entry.asWChar());
            }
        } else {
            kyOS::AppOutput::printf(kyOS::AppOutput::kErrors, "Proxy failed to load: %S\n",
                                    entry.asWChar());
            kyOS::AppOutput::printf(kyOS::AppOutput::kErrors, "%s\n", loader.getError());
        }
        // Proxies with services live on through their services' references.
    }
}

bool ServiceManager::addService(Service* service) {
    if (service == nullptr) {
        return false;
    }
    ServiceForType* type = impl_->find(service->getType());
    if (type == nullptr) {
        type = new ServiceForType(service->getType());
        impl_->types.push_back(type);
    }
    Service* existing = type->findService(service->getName());
    if (existing != nullptr) {
        if (!existing->getAllowOverride()) {
            kyOS::AppOutput::printf(
                kyOS::AppOutput::kErrors,
                "Registration of a service failed.  The name is already used: %s\n",
                service->getName());
            return false;
        }
        type->removeService(existing);
    }
    type->addService(service);
    if (PluginProxy* proxy = service->getPluginProxy()) {
        proxy->addService(service);
    }
    return true;
}

void ServiceManager::removeService(Service* service) {
    if (service == nullptr) {
        return;
    }
    if (ServiceForType* type = impl_->find(service->getType())) {
        type->removeService(service);
    }
}

int ServiceManager::numServiceTypes() const {
    return static_cast<int>(impl_->types.size());
}

const char* ServiceManager::getServiceType(int index) const {
    if (index < 0 || index >= numServiceTypes()) {
        return nullptr;
    }
    return impl_->types[static_cast<std::size_t>(index)]->getType();
}

int ServiceManager::getServiceIndex(const char* type) const {
    for (int i = 0; type != nullptr && i < numServiceTypes(); ++i) {
        if (std::strcmp(impl_->types[static_cast<std::size_t>(i)]->getType(), type) == 0) {
            return i;
        }
    }
    return -1;
}

int ServiceManager::getNumServices(const char* type) const {
    return getNumServices(getServiceIndex(type));
}

int ServiceManager::getNumServices(int typeIndex) const {
    if (typeIndex < 0 || typeIndex >= numServiceTypes()) {
        return -1;
    }
    return impl_->types[static_cast<std::size_t>(typeIndex)]->getNumServices();
}

Service* ServiceManager::getService(int typeIndex, int i) const {
    if (typeIndex < 0 || typeIndex >= numServiceTypes()) {
        return nullptr;
    }
    return impl_->types[static_cast<std::size_t>(typeIndex)]->getService(i);
}

Service* ServiceManager::getService(const char* type, const char* name) const {
    return getService(getServiceIndex(type), name);
}

Service* ServiceManager::getService(int typeIndex, const char* name) const {
    if (typeIndex < 0 || typeIndex >= numServiceTypes()) {
        return nullptr;
    }
    return impl_->types[static_cast<std::size_t>(typeIndex)]->findService(name);
}

void detail::resetServiceScanForTesting() {
    (void)ServiceManager::getInstance();
    gManagerImpl->directoriesRegistered = false;
}

} // namespace kyPlugin
