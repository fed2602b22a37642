// How an operation reaches providers and the repository.
#pragma once

#include "Model/ObjectManager.h"
#include "Repository/Repository.h"

#include <Pegasus/Provider/CIMProvider.h>

#include <filesystem>
#include <memory>
#include <vector>

namespace cimom
{

struct BrokerOptions
{
    /// Put as host into every path handed to a provider and into paths sent without a host.
    Pegasus::String hostName;
    /// Folders searched for lib<Location>.so of a registered module, in order.
    std::vector<std::filesystem::path> providerFolders;
    /// Where the PG_ProviderModule, PG_Provider and PG_ProviderCapabilities instances are.
    Pegasus::CIMNamespaceName interopNamespace{"root/interop"};
};

/// Routes operations: subclass fan-out, association routing, static instances, upcalls with their
/// contexts, and exceptions turned into CIM errors. Providers are loaded at the first request for
/// them. The destructor terminates every provider it loaded.
class Broker : public ObjectManager
{
public:
    /// Reads the registration instances from the repository, which must outlive the broker.
    /// Throws std::runtime_error, naming the instance and the property, for a bad registration.
    Broker(Repository& repository, BrokerOptions options);
    ~Broker() override;

    /// For tests and tools: uses this factory instead of a library for the module of that name.
    using Factory = Pegasus::CIMProvider* (*)(const Pegasus::String& providerName);
    void setModuleFactory(const Pegasus::String& moduleName, Factory factory);

    // (all ObjectManager operations)

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace cimom
