// The parts that all of the broker's operations share.
#pragma once

#include "Broker/AssociationIndex.h"
#include "Broker/Broker.h"
#include "Broker/InstanceView.h"
#include "Broker/Paths.h"
#include "Broker/ProviderErrors.h"
#include "Broker/Registry.h"

namespace cimom
{

/// Counts the provider calls that stand on the calling thread.
class CallDepth
{
public:
    /// Throws CIMException with CIM_ERR_FAILED when there are `limit` of them already.
    explicit CallDepth(unsigned limit);
    ~CallDepth();
    CallDepth(const CallDepth&) = delete;
    CallDepth& operator=(const CallDepth&) = delete;
};

struct Broker::Impl
{
    Impl(Repository& repositoryToUse, BrokerOptions optionsToUse);

    /// Checks of names; the text of the error is the name.
    void requireNamespace(const Ns& nameSpace) const;
    void requireClass(const Ns& nameSpace, const Pegasus::CIMName& className,
                      Pegasus::CIMStatusCode codeWhenUnknown) const;

    /// The checks before a traversal: the association class and the source's class are parameters,
    /// so they are CIM_ERR_INVALID_PARAMETER when unknown; the result class CIM_ERR_INVALID_CLASS.
    void requireTraversable(const Ns& nameSpace, const Pegasus::CIMObjectPath& source,
                            const Pegasus::CIMName& associationClass,
                            const Pegasus::CIMName& resultClass) const;

    /// The path as a provider is to see it: this server's host and the request's namespace.
    Pegasus::CIMObjectPath reference(const Ns& nameSpace, const Pegasus::CIMObjectPath& path) const;

    /// The path with this server's host and the namespace where it has none.
    Pegasus::CIMObjectPath located(const Ns& nameSpace, const Pegasus::CIMObjectPath& path) const;
    /// Appends the paths, each with host and namespace.
    void appendLocated(const Ns& nameSpace, const Pegasus::Array<Pegasus::CIMObjectPath>& paths,
                       Pegasus::Array<Pegasus::CIMObjectPath>& results) const;
    /// Appends the objects, each as `shown` gives it.
    void appendShown(const Ns& nameSpace, const Pegasus::Array<Pegasus::CIMObject>& objects,
                     const InstanceView& view, Pegasus::Array<Pegasus::CIMObject>& results) const;
    /// The object as a traversal shows it: filtered, and with a full path.
    Pegasus::CIMObject shown(const Ns& nameSpace, const Pegasus::CIMObject& object,
                             const InstanceView& view) const;

    ProviderObject* instanceProvider(const Ns& nameSpace, const Pegasus::CIMName& className) const
    {
        return registry.find(nameSpace, className, ProviderKind::Instance);
    }

    /// One provider call: checks the depth, gets the provider ready, and turns what it throws into
    /// what the client is to see. `call` is given the provider, its context and the handler, which
    /// is returned with the results. No lock is held while it runs.
    template <class Interface, class Handler, class Call>
    Handler callProvider(const Ctx& context, ProviderObject& target, Call call) const
    {
        const CallDepth depth(options.callDepth);
        auto* const provider = dynamic_cast<Interface*>(&target.acquire());
        if (provider == nullptr) {
            throw Pegasus::CIMException(Pegasus::CIM_ERR_NOT_SUPPORTED,
                                        "Invalid provider interface.");
        }
        const Pegasus::OperationContext providersContext = providerContext(context);
        Handler handler;
        try {
            call(*provider, providersContext, handler);
        } catch (...) {
            const Pegasus::CIMException error = currentProviderError();
            if (error.getCode() != Pegasus::CIM_ERR_SUCCESS) throw error;
            handler.discard();
        }
        return handler;
    }

    /// Calls `visit(name, provider)` for the class, in the client's spelling, and for each one
    /// below it in schema order; the provider is null when the repository serves the class. As
    /// soon as there is more than one class, those that answer "not supported" count as empty.
    template <class Visit>
    void forEachClass(const Ns& nameSpace, const Pegasus::CIMName& className, Visit visit) const
    {
        std::vector<Pegasus::CIMName> names = repository.subclassNames(nameSpace, className, true);
        names.insert(names.begin(), className);
        for (const Pegasus::CIMName& name : names) {
            try {
                visit(name, instanceProvider(nameSpace, name));
            } catch (const Pegasus::CIMException& error) {
                const bool isOneOfMany = names.size() > 1;
                if (!isOneOfMany || error.getCode() != Pegasus::CIM_ERR_NOT_SUPPORTED) throw;
            }
        }
    }

    /// Calls `visit(association, provider)` for each association class that a traversal from the
    /// source has to ask; the provider is null when the repository answers for the class. Those
    /// that answer "not supported" count as empty.
    template <class Visit>
    void forEachAssociation(const Ns& nameSpace, const Pegasus::CIMName& associationClass,
                            const Pegasus::CIMObjectPath& source, Visit visit) const
    {
        for (const AssociationClass* association :
             associationIndex.route(nameSpace, associationClass, source.getClassName())) {
            try {
                visit(*association,
                      registry.find(nameSpace, association->name, ProviderKind::Association));
            } catch (const Pegasus::CIMException& error) {
                if (error.getCode() != Pegasus::CIM_ERR_NOT_SUPPORTED) throw;
            }
        }
    }

    /// What a provider may learn of the request: the caller's identity and languages.
    static Pegasus::OperationContext providerContext(const Ctx& caller);

    Repository& repository;
    const BrokerOptions options;
    Registry registry;
    const AssociationIndex associationIndex;
};

}  // namespace cimom
