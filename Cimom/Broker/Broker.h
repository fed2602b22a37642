// How an operation reaches providers and the repository.
#pragma once

#include "Broker/Registry.h"
#include "Model/ObjectManager.h"
#include "Repository/Repository.h"

#include <Pegasus/Common/CIMParamValue.h>
#include <Pegasus/Common/CIMStatusCode.h>
#include <Pegasus/Provider/CIMProvider.h>

#include <filesystem>
#include <memory>
#include <utility>
#include <vector>

namespace cimom
{

class InstanceFilter;

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
/// instance provider are served from the repository, and changed in it where the options allow
/// that; else writing to them is CIM_ERR_NOT_SUPPORTED. Associations are traversed by providers
/// only.
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
    /// instance and the property, for a bad registration.
    Broker(Repository& repository, const BrokerOptions& options);

    /// For tests and tools: uses this factory instead of a library for the module of that name,
    /// which must be registered. To be called before the first request.
    void setModuleFactory(const Pegasus::String& moduleName, ProviderModule::Factory factory)
    {
        registry_.module(moduleName)->setFactory(factory);
    }

    // ---- Schema ----

    const Repository& schema() const { return repository_; }
    CIMClass getClass(const Ctx&, const Ns&, const CIMName& className, const ClassView&) override;

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
    /// The class, in the client's spelling, and all below it in schema order.
    std::vector<CIMName> withSubclasses(const Ns&, const CIMName& className) const;
    /// The association classes that a traversal has to ask, in schema order: with a class given,
    /// that one and its subclasses; with none, all with a reference that the source fits. Throws
    /// CIMException for unknown classes.
    std::vector<CIMName> associationsOf(const Ns&, const Traversal&) const;

    /// The path as a provider is to see it: this server's host and the request's namespace.
    CIMObjectPath reference(const Ns&, CIMObjectPath) const;
    /// Gives the path this server's host and the namespace where it has none.
    void locate(const Ns&, CIMObjectPath&) const;
    Array<CIMObjectPath> located(const Ns&, Array<CIMObjectPath>) const;
    /// The filtered objects, located.
    Array<CIMInstance> shown(const InstanceFilter&, const Ns&,
                             Array<Pegasus::CIMObject> objects) const;

    /// The provider of the class's instances; null when the repository serves them.
    ProviderObject* instanceProvider(const Ns&, const CIMName& className) const;
    /// The same for operations that write: CIM_ERR_NOT_SUPPORTED where the repository may not.
    ProviderObject* writingProvider(const Ns&, const CIMName& className) const;
    /// Calls `ask(provider, context, source, association, handler)` for the provider of each
    /// association class that the traversal has to ask; those that answer "not supported" count as
    /// empty. Returns all results.
    template <class Handler, class Ask>
    auto traverse(const Ctx&, const Ns&, const Traversal&, Ask ask) const;

    /// An association class, with the names of itself and its superclasses.
    struct Association
    {
        Ns nameSpace;
        ClassPtr definition;
        std::vector<CIMName> lineage;
    };

    Repository& repository_;
    const BrokerOptions options_;
    const Registry registry_;
    std::vector<Association> associations_;
};

}  // namespace cimom
