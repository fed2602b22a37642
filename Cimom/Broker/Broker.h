// How an operation reaches providers and the repository.
#pragma once

#include "Broker/AssociationSchema.h"
#include "Broker/Registry.h"
#include "Model/ObjectManager.h"
#include "Repository/Repository.h"

#include <Pegasus/Common/CIMParamValue.h>

#include <vector>

namespace cimom
{

class InstanceFilter;

/// Routes operations: subclass fan-out, association routing, static instances, upcalls with their
/// contexts, and exceptions turned into CIM errors. Providers are loaded at the first request for
/// them. The destructor terminates every provider it loaded; no operation may run by then.
///
/// A registration holds for exactly one class. An enumeration of a base class calls the providers
/// of its subclasses one after the other, in schema order. The instances of classes without an
/// instance provider come from the repository. They can be changed there if the options allow it;
/// otherwise operations that write throw CIM_ERR_NOT_SUPPORTED. Only providers serve associations.
///
/// The results of a provider count once it has called complete(). A provider that returns without
/// doing so has delivered nothing: an uninitialized instance, an empty path, no results.
///
/// Paths of enumerated and fetched instances come back without host and namespace unless asked for,
/// paths from association operations with both. Returned instances may share properties with those
/// that the provider delivered.
class Broker : public ObjectManager
{
public:
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
    const AssociationSchema& associations() const { return associations_; }
    /// The class's path, with this server's host.
    CIMObjectPath classPath(const CIMNamespaceName&, const CIMName& className) const;
    CIMClass getClass(const OperationContext&, const CIMNamespaceName&, const CIMName& className,
                      const ClassView&) override;

    // ---- Instances ----

    CIMInstance getInstance(const OperationContext&, const CIMNamespaceName&, const CIMObjectPath&,
                            const InstanceView&) override;
    Array<CIMInstance> enumerateInstances(const OperationContext&, const CIMNamespaceName&,
                                          const CIMName& className, bool deep, const InstanceView&,
                                          PathForm) override;
    Array<CIMObjectPath> enumerateInstanceNames(const OperationContext&, const CIMNamespaceName&,
                                                const CIMName& className, PathForm) override;
    CIMObjectPath createInstance(const OperationContext&, const CIMNamespaceName&,
                                 const CIMInstance&);
    /// The instance's path names the target.
    void modifyInstance(const OperationContext&, const CIMNamespaceName&, const CIMInstance&,
                        bool includeQualifiers, const CIMPropertyList&);
    void deleteInstance(const OperationContext&, const CIMNamespaceName&, const CIMObjectPath&);
    Pegasus::CIMValue getProperty(const OperationContext&, const CIMNamespaceName&,
                                  const CIMObjectPath&, const CIMName& propertyName);
    void setProperty(const OperationContext&, const CIMNamespaceName&, const CIMObjectPath&,
                     const CIMName& propertyName, const Pegasus::CIMValue&);
    /// The provider receives the input parameters as they are, so they have to be typed. Returns
    /// the method's return value (null when the provider delivered none); `out` receives the output
    /// parameters.
    Pegasus::CIMValue invokeMethod(const OperationContext&, const CIMNamespaceName&,
                                   const CIMObjectPath&, const CIMName& methodName,
                                   const Array<Pegasus::CIMParamValue>& in,
                                   Array<Pegasus::CIMParamValue>& out);

    // ---- Associations ----

    /// Whether a provider is called for the traversal from an instance.
    bool isServed(const CIMNamespaceName&, const Traversal&) const;
    /// What the traversal from an instance finds.
    Array<CIMInstance> traverse(const OperationContext&, const CIMNamespaceName&, const Traversal&,
                                const InstanceView&);
    Array<CIMObjectPath> traverseNames(const OperationContext&, const CIMNamespaceName&,
                                       const Traversal&);

private:
    /// The class, in the client's spelling, and all below it in schema order.
    std::vector<CIMName> withSubclasses(const CIMNamespaceName&, const CIMName& className) const;
    /// The path as a provider receives it: with this server's host and the request's namespace.
    CIMObjectPath reference(const CIMNamespaceName&, CIMObjectPath) const;
    /// A full path gets this server's host and the namespace where it has none.
    void putInForm(PathForm, const CIMNamespaceName&, CIMObjectPath&) const;
    void putInForm(PathForm, const CIMNamespaceName&, Array<CIMObjectPath>&) const;
    /// Moves what was found to the results: filtered, and each under its path in that form.
    template <class Object>
    void addFiltered(Array<CIMInstance>& results, Array<Object>& found, const InstanceFilter&,
                     PathForm, const CIMNamespaceName&) const;

    /// The provider of the class's instances for operations that write; null when the repository
    /// serves them. Throws CIM_ERR_NOT_SUPPORTED when clients may not change those.
    ProviderObject* writingProvider(const CIMNamespaceName&, const CIMName& className) const;
    /// Runs `call(provider, context, source, association, handler)` for the provider of each
    /// association class of the traversal, and returns all results. Providers that throw
    /// CIM_ERR_NOT_SUPPORTED have none.
    template <class Handler, class Call>
    auto callAssociations(const OperationContext&, const CIMNamespaceName&, const Traversal&,
                          Call call) const;

    Repository& repository_;
    const BrokerOptions options_;
    const Registry registry_;
    const AssociationSchema associations_;
};

}  // namespace cimom
