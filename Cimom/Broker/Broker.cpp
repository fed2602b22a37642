#include "Broker/Broker.h"

#include "Broker/InstanceFilter.h"
#include "Broker/ResponseHandlers.h"
#include "Model/Errors.h"

#include <Pegasus/Provider/CIMAssociationProvider.h>
#include <Pegasus/Provider/CIMInstanceProvider.h>
#include <Pegasus/Provider/CIMMethodProvider.h>

#include <algorithm>
#include <utility>

PEGASUS_USING_PEGASUS;

namespace cimom
{
namespace
{

constexpr int mostNestedCalls = 16;
thread_local int nestedCalls = 0;

/// Counts the provider calls that stand on this thread, each made from within the one before, so
/// that a provider which calls itself without end gets an error before the stack is used up.
struct NestedCall
{
    NestedCall()
    {
        if (nestedCalls == mostNestedCalls)
            throw CIMException(CIM_ERR_FAILED, "A provider calls itself without end.");
        ++nestedCalls;
    }
    ~NestedCall() { --nestedCalls; }
};

/// What a provider learns of the request: at least the caller's identity.
OperationContext providerContext(OperationContext context)
{
    if (!context.contains(IdentityContainer::NAME)) context.insert(IdentityContainer(String()));
    return context;
}

/// One provider call: `ask(provider, context, handler)`. Returns what the handler has collected;
/// what the provider throws becomes what the client is to see. No lock is held while it runs.
template <class Interface, class Handler, class Ask>
auto callProvider(const OperationContext& context, ProviderObject& target, Ask ask)
{
    using Result = decltype(std::declval<Handler>().result());
    const NestedCall nested;
    auto* const provider = dynamic_cast<Interface*>(&target.acquire());
    if (provider == nullptr) {
        throw CIMException(CIM_ERR_NOT_SUPPORTED, "Invalid provider interface.");
    }
    const OperationContext providersContext = providerContext(context);
    Handler handler;
    try {
        ask(*provider, providersContext, handler);
    } catch (...) {
        const CIMException error = currentError();
        if (error.getCode() != CIM_ERR_SUCCESS) throw error;
        return Result();
    }
    return handler.result();
}

/// Calls `ask(name)` for each class. When refusals are allowed, classes that answer "not supported"
/// count as empty.
template <class Ask>
void askEach(const std::vector<CIMName>& names, bool mayRefuse, Ask ask)
{
    for (const CIMName& name : names) {
        try {
            ask(name);
        } catch (const CIMException& error) {
            if (!mayRefuse || error.getCode() != CIM_ERR_NOT_SUPPORTED) throw;
        }
    }
}

/// The path without host and namespace, as an object is named within its namespace.
void makeLocal(CIMObjectPath& path)
{
    path.setHost(String());
    path.setNameSpace(CIMNamespaceName());
}

CIMObjectPath localPath(CIMObjectPath path)
{
    makeLocal(path);
    return path;
}

CIMPropertyList propertyNames(const Class& definition)
{
    Array<CIMName> names;
    for (const auto& property : definition.properties)
        names.append(property->name);
    return CIMPropertyList(names);
}

/// References name the association by their result class; no class is asked of the other side.
Traversal byAssociation(const Traversal& references)
{
    return {references.source, references.resultClass, CIMName(), references.role, String()};
}

}  // namespace

Broker::Broker(Repository& repository, const BrokerOptions& options)
    : repository_(repository), options_(options), registry_(repository, options)
{
    for (const Ns& nameSpace : repository.namespaces()) {
        for (const CIMName& name : repository.subclassNames(nameSpace, CIMName(), true)) {
            const ClassPtr definition = repository.findClass(nameSpace, name);
            if (!definition->isAssociation()) continue;
            associations_.push_back(
                {nameSpace, definition, repository.lineage(nameSpace, name, CIM_ERR_FAILED)});
        }
    }
}

CIMObjectPath Broker::reference(const Ns& nameSpace, CIMObjectPath path) const
{
    path.setHost(options_.hostName);
    path.setNameSpace(nameSpace);
    return path;
}

void Broker::locate(const Ns& nameSpace, CIMObjectPath& path) const
{
    if (path.getHost().size() == 0) path.setHost(options_.hostName);
    if (path.getNameSpace().isNull()) path.setNameSpace(nameSpace);
}

// ---- Schema ----

CIMClass Broker::getClass(const Ctx&, const Ns& nameSpace, const CIMName& className,
                          const ClassView& view)
{
    return CIMClass(repository_.getClass(nameSpace, className, view));
}

// ---- Instances ----

ProviderObject* Broker::instanceProvider(const Ns& nameSpace, const CIMName& className) const
{
    return registry_.find(nameSpace, className, ProviderKind::Instance);
}

ProviderObject* Broker::writingProvider(const Ns& nameSpace, const CIMName& className) const
{
    repository_.requireClass(nameSpace, className, CIM_ERR_INVALID_CLASS);
    ProviderObject* const target = instanceProvider(nameSpace, className);
    const bool isWritable = options_.writableInstances && !nameSpace.equal(interopNamespace);
    if (target != nullptr || isWritable) return target;
    throw CIMException(
        CIM_ERR_NOT_SUPPORTED,
        "No provider is registered that could change instances of " + className.getString() + ".");
}

std::vector<CIMName> Broker::withSubclasses(const Ns& nameSpace, const CIMName& className) const
{
    repository_.requireClass(nameSpace, className, CIM_ERR_INVALID_CLASS);
    std::vector<CIMName> names = repository_.subclassNames(nameSpace, className, true);
    names.insert(names.begin(), className);
    return names;
}

CIMInstance Broker::getInstance(const Ctx& context, const Ns& nameSpace, const CIMObjectPath& path,
                                const InstanceView& wanted)
{
    repository_.requireClass(nameSpace, path.getClassName(), CIM_ERR_INVALID_CLASS);
    const InstanceFilter filter(wanted);
    const InstanceView& view = filter.view();
    ProviderObject* const target = instanceProvider(nameSpace, path.getClassName());
    const auto ask = [&](auto& provider, const Ctx& ctx, auto& handler) {
        provider.getInstance(ctx, reference(nameSpace, path), view.includeQualifiers,
                             view.includeClassOrigin, view.properties, handler);
    };
    const CIMInstance found =
        target == nullptr
            ? repository_.getInstance(nameSpace, path)
            : callProvider<CIMInstanceProvider, SingleInstanceHandler>(context, *target, ask);
    return found.isUninitialized() ? found : filter.apply(found, localPath(found.getPath()));
}

Array<CIMInstance> Broker::enumerateInstances(const Ctx& context, const Ns& nameSpace,
                                              const CIMName& className, bool deep,
                                              const InstanceView& wanted)
{
    const std::vector<CIMName> names = withSubclasses(nameSpace, className);
    // Without deep inheritance the class's own properties are as good as listed by the client.
    const bool onlyOfThisClass = !deep && wanted.properties.isNull();
    const InstanceFilter filter({wanted.includeQualifiers, wanted.includeClassOrigin,
                                 onlyOfThisClass
                                     ? propertyNames(*repository_.findClass(nameSpace, className))
                                     : wanted.properties});
    const InstanceView& view = filter.view();
    Array<CIMInstance> results;
    askEach(names, names.size() > 1, [&](const CIMName& name) {
        ProviderObject* const target = instanceProvider(nameSpace, name);
        const auto ask = [&](auto& provider, const Ctx& ctx, auto& handler) {
            provider.enumerateInstances(ctx, CIMObjectPath(options_.hostName, nameSpace, name),
                                        view.includeQualifiers, view.includeClassOrigin,
                                        view.properties, handler);
        };
        Array<CIMInstance> found;
        if (target != nullptr) {
            found = callProvider<CIMInstanceProvider, InstanceListHandler>(context, *target, ask);
        } else {
            for (const CIMInstance& stored : repository_.instancesOf(nameSpace, name))
                found.append(stored);
        }
        for (Uint32 i = 0; i < found.size(); ++i) {
            const CIMInstance taken = std::exchange(found[i], CIMInstance());
            results.append(filter.apply(taken, localPath(taken.getPath())));
        }
    });
    return results;
}

Array<CIMObjectPath> Broker::enumerateInstanceNames(const Ctx& context, const Ns& nameSpace,
                                                    const CIMName& className)
{
    const std::vector<CIMName> names = withSubclasses(nameSpace, className);
    Array<CIMObjectPath> results;
    askEach(names, names.size() > 1, [&](const CIMName& name) {
        ProviderObject* const target = instanceProvider(nameSpace, name);
        if (target == nullptr) {
            for (const CIMInstance& stored : repository_.instancesOf(nameSpace, name))
                results.append(stored.getPath());
            return;
        }
        const auto ask = [&](auto& provider, const Ctx& ctx, auto& handler) {
            provider.enumerateInstanceNames(ctx, CIMObjectPath(options_.hostName, nameSpace, name),
                                            handler);
        };
        Array<CIMObjectPath> found =
            callProvider<CIMInstanceProvider, PathListHandler>(context, *target, ask);
        for (Uint32 i = 0; i < found.size(); ++i)
            makeLocal(found[i]);
        results.appendArray(found);
    });
    return results;
}

CIMObjectPath Broker::createInstance(const Ctx& context, const Ns& nameSpace,
                                     const CIMInstance& instance)
{
    ProviderObject* const target = writingProvider(nameSpace, instance.getClassName());
    if (target == nullptr) return repository_.addInstance(nameSpace, instance);
    const auto ask = [&](auto& provider, const Ctx& ctx, auto& handler) {
        provider.createInstance(ctx, reference(nameSpace, instance.getPath()), instance, handler);
    };
    return localPath(callProvider<CIMInstanceProvider, SinglePathHandler>(context, *target, ask));
}

void Broker::modifyInstance(const Ctx& context, const Ns& nameSpace, const CIMInstance& instance,
                            bool includeQualifiers, const CIMPropertyList& properties)
{
    ProviderObject* const target = writingProvider(nameSpace, instance.getClassName());
    if (target == nullptr) return repository_.modifyInstance(nameSpace, instance, properties);
    const InstanceFilter filter({includeQualifiers, false, properties});
    const auto ask = [&](auto& provider, const Ctx& ctx, auto& handler) {
        provider.modifyInstance(ctx, reference(nameSpace, instance.getPath()), instance,
                                includeQualifiers, filter.view().properties, handler);
    };
    callProvider<CIMInstanceProvider, EmptyHandler>(context, *target, ask);
}

void Broker::deleteInstance(const Ctx& context, const Ns& nameSpace, const CIMObjectPath& path)
{
    ProviderObject* const target = writingProvider(nameSpace, path.getClassName());
    if (target == nullptr) return repository_.deleteInstance(nameSpace, path);
    const auto ask = [&](auto& provider, const Ctx& ctx, auto& handler) {
        provider.deleteInstance(ctx, reference(nameSpace, path), handler);
    };
    callProvider<CIMInstanceProvider, EmptyHandler>(context, *target, ask);
}

CIMValue Broker::getProperty(const Ctx& context, const Ns& nameSpace, const CIMObjectPath& path,
                             const CIMName& propertyName)
{
    const CIMPropertyList list(Array<CIMName>(1, propertyName));
    const CIMInstance instance = getInstance(context, nameSpace, path, {false, false, list});
    if (!instance.isUninitialized()) {
        const Property* const found = instance.object().property(propertyName);
        if (found != nullptr) return found->value;
    }
    const Property* const declared =
        repository_.findClass(nameSpace, path.getClassName())->property(propertyName);
    if (declared == nullptr) {
        throw CIMException(CIM_ERR_NO_SUCH_PROPERTY, propertyName.getString());
    }
    return CIMValue(declared->value.getType(), declared->value.isArray());
}

void Broker::setProperty(const Ctx& context, const Ns& nameSpace, const CIMObjectPath& path,
                         const CIMName& propertyName, const CIMValue& value)
{
    CIMInstance instance(path.getClassName());
    instance.setPath(reference(nameSpace, path));
    instance.addProperty(CIMProperty(propertyName, value));
    modifyInstance(context, nameSpace, instance, false,
                   CIMPropertyList(Array<CIMName>(1, propertyName)));
}

CIMValue Broker::invokeMethod(const Ctx& context, const Ns& nameSpace, const CIMObjectPath& path,
                              const CIMName& methodName, const Array<CIMParamValue>& in,
                              Array<CIMParamValue>& out)
{
    repository_.requireClass(nameSpace, path.getClassName(), CIM_ERR_NOT_FOUND);
    ProviderObject* const target =
        registry_.find(nameSpace, path.getClassName(), ProviderKind::Method);
    if (target == nullptr) {
        throw CIMException(CIM_ERR_METHOD_NOT_AVAILABLE, methodName.getString());
    }
    const auto ask = [&](auto& provider, const Ctx& ctx, auto& handler) {
        provider.invokeMethod(ctx, reference(nameSpace, path), methodName, in, handler);
    };
    const auto result = callProvider<CIMMethodProvider, MethodHandler>(context, *target, ask);
    out = result.parameters;
    return result.returnValue;
}

// ---- Associations ----

std::vector<CIMName> Broker::associationsOf(const Ns& nameSpace, const Traversal& traversal) const
{
    const CIMName& wanted = traversal.associationClass;
    const CIMName& source = traversal.source.getClassName();
    if (!wanted.isNull()) repository_.requireClass(nameSpace, wanted, CIM_ERR_INVALID_PARAMETER);
    if (!traversal.resultClass.isNull()) {
        repository_.requireClass(nameSpace, traversal.resultClass, CIM_ERR_INVALID_CLASS);
    }
    const std::vector<CIMName> fitting =
        repository_.lineage(nameSpace, source, CIM_ERR_INVALID_PARAMETER);

    const auto has = [](const std::vector<CIMName>& names, const CIMName& name) {
        return std::find(names.begin(), names.end(), name) != names.end();
    };
    const auto fitsSource = [&](const auto& property) {
        return property->value.getType() == CIMTYPE_REFERENCE &&
               has(fitting, property->referenceClassName);
    };
    std::vector<CIMName> names;
    for (const Association& association : associations_) {
        const auto& properties = association.definition->properties;
        const bool isWanted = (wanted.isNull() || has(association.lineage, wanted)) &&
                              std::any_of(properties.begin(), properties.end(), fitsSource);
        if (isWanted && association.nameSpace.equal(nameSpace))
            names.push_back(association.definition->name());
    }
    return names;
}

template <class Handler, class Ask>
auto Broker::traverse(const Ctx& context, const Ns& nameSpace, const Traversal& traversal,
                      Ask ask) const
{
    const CIMObjectPath source = reference(nameSpace, traversal.source);
    decltype(std::declval<Handler>().result()) results;
    askEach(associationsOf(nameSpace, traversal), true, [&](const CIMName& association) {
        ProviderObject* const target =
            registry_.find(nameSpace, association, ProviderKind::Association);
        if (target == nullptr) return;
        const auto askThis = [&](auto& provider, const Ctx& ctx, auto& handler) {
            ask(provider, ctx, source, association, handler);
        };
        results.appendArray(
            callProvider<CIMAssociationProvider, Handler>(context, *target, askThis));
    });
    return results;
}

Array<CIMObjectPath> Broker::located(const Ns& nameSpace, Array<CIMObjectPath> paths) const
{
    for (Uint32 i = 0; i < paths.size(); ++i)
        locate(nameSpace, paths[i]);
    return paths;
}

Array<CIMInstance> Broker::shown(const InstanceFilter& filter, const Ns& nameSpace,
                                 Array<CIMObject> objects) const
{
    Array<CIMInstance> results;
    for (Uint32 i = 0; i < objects.size(); ++i) {
        const CIMInstance taken(std::exchange(objects[i], CIMObject()));
        CIMObjectPath path = taken.getPath();
        locate(nameSpace, path);
        results.append(filter.apply(taken, path));
    }
    return results;
}

Array<CIMInstance> Broker::associators(const Ctx& context, const Ns& nameSpace,
                                       const Traversal& traversal, const InstanceView& wanted)
{
    const InstanceFilter filter(wanted);
    const InstanceView& view = filter.view();
    const auto ask = [&](auto& provider, const Ctx& ctx, const CIMObjectPath& source,
                         const CIMName& association, auto& handler) {
        provider.associators(ctx, source, association, traversal.resultClass, traversal.role,
                             traversal.resultRole, view.includeQualifiers, view.includeClassOrigin,
                             view.properties, handler);
    };
    return shown(filter, nameSpace,
                 traverse<ObjectListHandler>(context, nameSpace, traversal, ask));
}

Array<CIMObjectPath> Broker::associatorNames(const Ctx& context, const Ns& nameSpace,
                                             const Traversal& traversal)
{
    const auto ask = [&](auto& provider, const Ctx& ctx, const CIMObjectPath& source,
                         const CIMName& association, auto& handler) {
        provider.associatorNames(ctx, source, association, traversal.resultClass, traversal.role,
                                 traversal.resultRole, handler);
    };
    return located(nameSpace, traverse<PathListHandler>(context, nameSpace, traversal, ask));
}

Array<CIMInstance> Broker::references(const Ctx& context, const Ns& nameSpace,
                                      const Traversal& traversal, const InstanceView& wanted)
{
    const InstanceFilter filter(wanted);
    const InstanceView& view = filter.view();
    const auto ask = [&](auto& provider, const Ctx& ctx, const CIMObjectPath& source,
                         const CIMName& association, auto& handler) {
        provider.references(ctx, source, association, traversal.role, view.includeQualifiers,
                            view.includeClassOrigin, view.properties, handler);
    };
    return shown(filter, nameSpace,
                 traverse<ObjectListHandler>(context, nameSpace, byAssociation(traversal), ask));
}

Array<CIMObjectPath> Broker::referenceNames(const Ctx& context, const Ns& nameSpace,
                                            const Traversal& traversal)
{
    const auto ask = [&](auto& provider, const Ctx& ctx, const CIMObjectPath& source,
                         const CIMName& association, auto& handler) {
        provider.referenceNames(ctx, source, association, traversal.role, handler);
    };
    return located(nameSpace,
                   traverse<PathListHandler>(context, nameSpace, byAssociation(traversal), ask));
}

}  // namespace cimom
