// How an operation reaches providers and the repository.
#pragma once

#include "Broker/Registry.h"
#include "Model/ObjectManager.h"
#include "Repository/Repository.h"

#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/CIMParamValue.h>
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
    CIMNamespaceName interopNamespace{"root/interop"};
};

/// Where a traversal of associations starts and what it is narrowed down to; null names and empty
/// roles let everything pass. References use `resultClass` for the association.
struct Traversal
{
    CIMObjectPath source;
    CIMName associationClass;
    CIMName resultClass;
    Pegasus::String role;
    Pegasus::String resultRole;
};

/// Routes operations: subclass fan-out, association routing, static instances, upcalls with their
/// contexts, and exceptions turned into CIM errors. Providers are loaded at the first request for
/// them. The destructor terminates every provider it loaded; no operation may run by then.
///
/// A registration holds for exactly one class. A base class is enumerated with one provider call
/// for each registered class below it, one after the other in schema order; classes without an
/// instance provider are served from the repository, which is not changed: writing to one of their
/// instances is CIM_ERR_NOT_SUPPORTED. Associations are traversed by providers only.
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
    using Ctx = OperationContext;
    using Ns = CIMNamespaceName;

    /// Reads the registration instances and the association classes from the repository, which
    /// must be complete by now and outlive the broker. Throws std::runtime_error, naming the
    /// instance and the property, for a bad registration, and for a malformed host name.
    Broker(const Repository& repository, BrokerOptions options);
    ~Broker() override;

    /// For tests and tools: uses this factory instead of a library for the module of that name.
    /// Throws std::invalid_argument when no such module is registered. To be called before the
    /// first request.
    using Factory = Pegasus::CIMProvider* (*)(const Pegasus::String& providerName);
    void setModuleFactory(const Pegasus::String& moduleName, Factory factory);

    // ---- Schema ----

    CIMClass getClass(const Ctx&, const Ns&, const CIMName& className, const ClassView&) override;
    std::vector<ClassPtr> enumerateClasses(const Ns&, const CIMName& className, bool deep,
                                           const ClassView&) const;
    /// A null class name means the root classes.
    std::vector<CIMName> enumerateClassNames(const Ns&, const CIMName& className, bool deep) const;
    const QualifierDecl& getQualifier(const Ns&, const CIMName&) const;
    std::vector<const QualifierDecl*> enumerateQualifiers(const Ns&) const;

    // ---- Instances ----

    CIMInstance getInstance(const Ctx&, const Ns&, const CIMObjectPath&,
                            const InstanceView&) override;
    Array<CIMInstance> enumerateInstances(const Ctx&, const Ns&, const CIMName& className,
                                          bool deep, const InstanceView&) override;
    Array<CIMObjectPath> enumerateInstanceNames(const Ctx&, const Ns&,
                                                const CIMName& className) override;
    CIMObjectPath createInstance(const Ctx&, const Ns&, const CIMInstance&);
    /// The instance's path names the target.
    void modifyInstance(const Ctx&, const Ns&, const CIMInstance&, bool includeQualifiers,
                        const CIMPropertyList&);
    void deleteInstance(const Ctx&, const Ns&, const CIMObjectPath&);
    Pegasus::CIMValue getProperty(const Ctx&, const Ns&, const CIMObjectPath&,
                                  const CIMName& propertyName);
    void setProperty(const Ctx&, const Ns&, const CIMObjectPath&, const CIMName& propertyName,
                     const Pegasus::CIMValue&);
    /// Input parameters are handed over as they are; whoever read them from text has typed them.
    /// Returns the method's return value (null when the provider delivered none); `out` receives
    /// the output parameters.
    Pegasus::CIMValue invokeMethod(const Ctx&, const Ns&, const CIMObjectPath&,
                                   const CIMName& methodName,
                                   const Array<Pegasus::CIMParamValue>& in,
                                   Array<Pegasus::CIMParamValue>& out);

    // ---- Associations ----

    Array<CIMInstance> associators(const Ctx&, const Ns&, const Traversal&, const InstanceView&);
    Array<CIMObjectPath> associatorNames(const Ctx&, const Ns&, const Traversal&);
    Array<CIMInstance> references(const Ctx&, const Ns&, const Traversal&, const InstanceView&);
    Array<CIMObjectPath> referenceNames(const Ctx&, const Ns&, const Traversal&);

private:
    // The broker's engineer fills this in.
};

}  // namespace cimom
