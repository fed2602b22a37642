// How an operation reaches providers and the repository.
#pragma once

#include "Model/ObjectManager.h"
#include "Repository/Repository.h"

#include <Pegasus/Provider/CIMProvider.h>

#include <chrono>
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
    /// How many provider calls may stand on one thread, each made from within the one before.
    unsigned callDepth = 16;
    /// How long a request waits for a provider that another thread is initializing.
    std::chrono::milliseconds initializeWait{20000};
};

/// Routes operations: subclass fan-out, association routing, static instances, upcalls with their
/// contexts, and exceptions turned into CIM errors. Providers are loaded at the first request for
/// them. The destructor terminates every provider it loaded; no operation may run by then.
///
/// A registration holds for exactly one class. A base class is enumerated with one provider call
/// for each registered class below it, one after the other in schema order; classes without an
/// instance provider are served from the repository.
///
/// What a provider delivers counts once it has called complete(). A provider that returns without
/// doing so has answered with nothing: an uninitialized instance, an empty path, no results.
///
/// Paths of enumerated and fetched instances come back without host and namespace, paths from
/// association operations with both. Returned instances may share properties with those that the
/// provider delivered.
class Broker : public ObjectManager
{
public:
    /// Reads the registration instances and the association classes from the repository, which
    /// must be complete by now and outlive the broker. Throws std::runtime_error, naming the
    /// instance and the property, for a bad registration, and for a malformed host name.
    Broker(Repository& repository, BrokerOptions options);
    ~Broker() override;

    /// For tests and tools: uses this factory instead of a library for the module of that name.
    /// Throws std::invalid_argument when no such module is registered. To be called before the
    /// first request.
    using Factory = Pegasus::CIMProvider* (*)(const Pegasus::String& providerName);
    void setModuleFactory(const Pegasus::String& moduleName, Factory factory);

    Pegasus::CIMClass getClass(const Ctx&, const Ns&, const Pegasus::CIMName& className,
                               bool localOnly, bool includeQualifiers, bool includeClassOrigin,
                               const Pegasus::CIMPropertyList&) override;
    Pegasus::Array<Pegasus::CIMClass> enumerateClasses(const Ctx&, const Ns&,
                                                       const Pegasus::CIMName& className, bool deep,
                                                       bool localOnly, bool includeQualifiers,
                                                       bool includeClassOrigin) override;
    Pegasus::Array<Pegasus::CIMName> enumerateClassNames(const Ctx&, const Ns&,
                                                         const Pegasus::CIMName& className,
                                                         bool deep) override;
    Pegasus::CIMQualifierDecl getQualifier(const Ctx&, const Ns&, const Pegasus::CIMName&) override;
    Pegasus::Array<Pegasus::CIMQualifierDecl> enumerateQualifiers(const Ctx&, const Ns&) override;

    Pegasus::CIMInstance getInstance(const Ctx&, const Ns&, const Pegasus::CIMObjectPath&,
                                     bool includeQualifiers, bool includeClassOrigin,
                                     const Pegasus::CIMPropertyList&) override;
    Pegasus::Array<Pegasus::CIMInstance> enumerateInstances(
        const Ctx&, const Ns&, const Pegasus::CIMName& className, bool deep, bool includeQualifiers,
        bool includeClassOrigin, const Pegasus::CIMPropertyList&) override;
    Pegasus::Array<Pegasus::CIMObjectPath> enumerateInstanceNames(
        const Ctx&, const Ns&, const Pegasus::CIMName& className) override;
    Pegasus::CIMObjectPath createInstance(const Ctx&, const Ns&,
                                          const Pegasus::CIMInstance&) override;
    void modifyInstance(const Ctx&, const Ns&, const Pegasus::CIMInstance&, bool includeQualifiers,
                        const Pegasus::CIMPropertyList&) override;
    void deleteInstance(const Ctx&, const Ns&, const Pegasus::CIMObjectPath&) override;
    Pegasus::CIMValue getProperty(const Ctx&, const Ns&, const Pegasus::CIMObjectPath&,
                                  const Pegasus::CIMName& propertyName) override;
    void setProperty(const Ctx&, const Ns&, const Pegasus::CIMObjectPath&,
                     const Pegasus::CIMName& propertyName, const Pegasus::CIMValue&) override;

    Pegasus::Array<Pegasus::CIMObject> associators(
        const Ctx&, const Ns&, const Pegasus::CIMObjectPath&, const Pegasus::CIMName& assocClass,
        const Pegasus::CIMName& resultClass, const Pegasus::String& role,
        const Pegasus::String& resultRole, bool includeQualifiers, bool includeClassOrigin,
        const Pegasus::CIMPropertyList&) override;
    Pegasus::Array<Pegasus::CIMObjectPath> associatorNames(
        const Ctx&, const Ns&, const Pegasus::CIMObjectPath&, const Pegasus::CIMName& assocClass,
        const Pegasus::CIMName& resultClass, const Pegasus::String& role,
        const Pegasus::String& resultRole) override;
    Pegasus::Array<Pegasus::CIMObject> references(const Ctx&, const Ns&,
                                                  const Pegasus::CIMObjectPath&,
                                                  const Pegasus::CIMName& resultClass,
                                                  const Pegasus::String& role,
                                                  bool includeQualifiers, bool includeClassOrigin,
                                                  const Pegasus::CIMPropertyList&) override;
    Pegasus::Array<Pegasus::CIMObjectPath> referenceNames(const Ctx&, const Ns&,
                                                          const Pegasus::CIMObjectPath&,
                                                          const Pegasus::CIMName& resultClass,
                                                          const Pegasus::String& role) override;

    /// Input parameters are handed over as they are; whoever read them from text has typed them.
    Pegasus::CIMValue invokeMethod(const Ctx&, const Ns&, const Pegasus::CIMObjectPath&,
                                   const Pegasus::CIMName& methodName,
                                   const Pegasus::Array<Pegasus::CIMParamValue>& in,
                                   Pegasus::Array<Pegasus::CIMParamValue>& out) override;

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace cimom
