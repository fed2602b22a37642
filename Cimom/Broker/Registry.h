// The registered providers and the classes that they serve.
#pragma once

#include "Broker/ProviderModule.h"
#include "Repository/Repository.h"

#include <memory>
#include <vector>

namespace cimom
{

/// The namespace of what clients find the object manager by, and of the instances that register
/// provider modules. It must have the classes of interop.mof.
constexpr const char* interopNamespace = "root/interop";

/// The provider types of PG_ProviderCapabilities that this object manager calls.
enum class ProviderKind
{
    Instance = 2,
    Association = 3,
    Method = 5,
};

struct BrokerOptions
{
    /// Put as host into every path handed to a provider and into paths sent without a host.
    Pegasus::String hostName;
    /// Folders searched for lib<Location>.so of a registered module, in order.
    std::vector<std::filesystem::path> providerFolders;
    LogLine log = [](const std::string&) {};
    /// Whether clients may change static instances, those of the interop namespace excepted.
    bool writableInstances = false;
};

/// The registered modules and providers and their routes. Immutable once built.
class Registry
{
public:
    /// Reads the PG_ProviderModule, PG_Provider and PG_ProviderCapabilities instances of the
    /// interop namespace; none when these classes do not exist. Throws std::runtime_error, naming
    /// the instance and the property, when one is incomplete, refers to one that is not there, or
    /// registers a second provider for the same class and type.
    Registry(const Repository& repository, const BrokerOptions& options);
    /// Terminates the providers, last registered first.
    ~Registry();

    /// The provider registered for exactly this class; null when there is none.
    ProviderObject* find(const CIMNamespaceName& nameSpace, const CIMName& className,
                         ProviderKind kind) const;
    /// Null when no module of that name is registered.
    ProviderModule* module(const Pegasus::String& name) const;

private:
    /// One class in one namespace that a provider serves, and how.
    struct Route
    {
        CIMNamespaceName nameSpace;
        CIMName className;
        ProviderKind kind;
        ProviderObject* provider;
    };

    void addModule(const CIMInstance& instance, const BrokerOptions& options);
    void addProvider(const CIMInstance& instance);
    void addCapabilities(const CIMInstance& instance);
    void addRoute(const CIMInstance& instance, const Route& route);
    ProviderObject* provider(const Pegasus::String& moduleName, const Pegasus::String& name) const;

    ProviderObject::InitializationLock initializations_;
    std::vector<std::unique_ptr<ProviderModule>> modules_;
    std::vector<std::unique_ptr<ProviderObject>> providers_;
    std::vector<Route> routes_;
};

}  // namespace cimom
