// Which provider serves which class, as the registration instances say.
#pragma once

#include "Broker/ProviderModule.h"
#include "Repository/Repository.h"

#include <memory>
#include <unordered_map>
#include <vector>

namespace cimom
{

/// The provider types of PG_ProviderCapabilities that this object manager calls.
enum class ProviderKind
{
    Instance = 2,
    Association = 3,
    Method = 5,
};

/// The registered modules and providers and their routes. Immutable once built.
class Registry
{
public:
    /// Reads the PG_ProviderModule, PG_Provider and PG_ProviderCapabilities instances of the
    /// namespace; none when it or these classes do not exist. Throws std::runtime_error, naming
    /// the instance and the property, when one is incomplete, refers to one that is not there, or
    /// registers a second provider for the same class and type.
    Registry(const Repository& repository, const Pegasus::CIMNamespaceName& interop,
             const std::vector<std::filesystem::path>& providerFolders,
             std::chrono::milliseconds initializeWait);
    /// Terminates the providers, last registered first.
    ~Registry();
    Registry(const Registry&) = delete;
    Registry& operator=(const Registry&) = delete;

    /// The provider registered for exactly this class; null when there is none.
    ProviderObject* find(const Pegasus::CIMNamespaceName& nameSpace,
                         const Pegasus::CIMName& className, ProviderKind kind) const;
    /// Null when no module of that name is registered.
    ProviderModule* module(const Pegasus::String& name) const;

private:
    void addModule(const Pegasus::CIMInstance& instance,
                   const std::vector<std::filesystem::path>& folders);
    void addProvider(const Pegasus::CIMInstance& instance);
    void addCapabilities(const Pegasus::CIMInstance& instance);
    ProviderObject* provider(const Pegasus::String& moduleName, const Pegasus::String& name) const;

    /// One class in one namespace, and one of the provider types.
    struct Route
    {
        Pegasus::CIMNamespaceName nameSpace;
        Pegasus::CIMName className;
        Pegasus::Uint16 type;
        bool operator==(const Route& other) const;
    };
    struct RouteHash
    {
        std::size_t operator()(const Route& route) const;
    };

    InitializationGate gate_;
    std::vector<std::unique_ptr<ProviderModule>> modules_;
    std::vector<std::unique_ptr<ProviderObject>> providers_;
    std::unordered_map<Route, ProviderObject*, RouteHash> routes_;
};

}  // namespace cimom
