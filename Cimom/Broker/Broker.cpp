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

/// Counts the provider calls on this thread's stack, each of which was made by the one before. A
/// provider whose upcalls reach itself again and again gets an error before the stack is used up.
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

/// The context that a provider receives: the request's, with the identity of a user in any case.
OperationContext providerContext(OperationContext context)
{
    if (!context.contains(IdentityContainer::NAME)) context.insert(IdentityContainer(String()));
    return context;
}

/// Runs `call(provider, context, handler)` and returns what the handler has collected. An exception
/// of the provider becomes the error that the client receives. No lock is held during the call.
template <class Interface, class Handler, class Call>
auto callProvider(const OperationContext& context, ProviderObject& target, Call call)
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
        call(*provider, providersContext, handler);
    } catch (...) {
        const CIMException error = currentError();
        if (error.getCode() != CIM_ERR_SUCCESS) throw error;
        return Result();
    }
    return handler.result();
}

/// Runs `enumerate(name)` for each class. With `skipsNotSupported`, a class whose provider throws
/// CIM_ERR_NOT_SUPPORTED has no results.
template <class Enumerate>
void forEachClass(const std::vector<CIMName>& names, bool skipsNotSupported, Enumerate enumerate)
{
    for (const CIMName& name : names) {
        try {
            enumerate(name);
        } catch (const CIMException& error) {
            if (!skipsNotSupported || error.getCode() != CIM_ERR_NOT_SUPPORTED) throw;
        }
    }
}

/// The path without host and namespace, as an object is named within its namespace.
CIMObjectPath localPath(CIMObjectPath path)
{
    path.setHost(String());
    path.setNameSpace(CIMNamespaceName());
    return path;
}

CIMPropertyList propertyNames(const Class& definition)
{
    Array<CIMName> names;
    for (const auto& property : definition.properties)
        names.append(property->name);
    return CIMPropertyList(names);
}

}  // namespace

Broker::Broker(Repository& repository, const BrokerOptions& options)
    : repository_(repository),
      options_(options),
      registry_(repository, options),
      associations_(repository)
{
}

CIMObjectPath Broker::reference(const CIMNamespaceName& nameSpace, CIMObjectPath path) const
{
    path.setHost(options_.hostName);
    path.setNameSpace(nameSpace);
    return path;
}

void Broker::putInForm(PathForm form, const CIMNamespaceName& nameSpace, CIMObjectPath& path) const
{
    if (form == PathForm::Local) {
        path.setHost(String());
        path.setNameSpace(CIMNamespaceName());
    } else {
        if (path.getHost().size() == 0) path.setHost(options_.hostName);
        if (path.getNameSpace().isNull()) path.setNameSpace(nameSpace);
    }
}

void Broker::putInForm(PathForm form, const CIMNamespaceName& nameSpace,
                       Array<CIMObjectPath>& paths) const
{
    for (Uint32 i = 0; i < paths.size(); ++i)
        putInForm(form, nameSpace, paths[i]);
}

template <class Object>
void Broker::addFiltered(Array<CIMInstance>& results, Array<Object>& found,
                         const InstanceFilter& filter, PathForm form,
                         const CIMNamespaceName& nameSpace) const
{
    for (Uint32 i = 0; i < found.size(); ++i) {
        const CIMInstance instance(std::exchange(found[i], Object()));
        CIMObjectPath path = instance.getPath();
        putInForm(form, nameSpace, path);
        results.append(filter.apply(instance, path));
    }
}

// ---- Schema ----

CIMObjectPath Broker::classPath(const CIMNamespaceName& nameSpace, const CIMName& className) const
{
    return CIMObjectPath(options_.hostName, nameSpace, className);
}

CIMClass Broker::getClass(const OperationContext&, const CIMNamespaceName& nameSpace,
                          const CIMName& className, const ClassView& view)
{
    return CIMClass(repository_.getClass(nameSpace, className, view));
}

// ---- Instances ----

ProviderObject* Broker::writingProvider(const CIMNamespaceName& nameSpace,
                                        const CIMName& className) const
{
    repository_.requireClass(nameSpace, className, CIM_ERR_INVALID_CLASS);
    ProviderObject* const target = registry_.find(nameSpace, className, ProviderKind::Instance);
    const bool isWritable = options_.writableInstances && !nameSpace.equal(interopNamespace);
    if (target != nullptr || isWritable) return target;
    throw CIMException(
        CIM_ERR_NOT_SUPPORTED,
        "No provider is registered that could change instances of " + className.getString() + ".");
}

std::vector<CIMName> Broker::withSubclasses(const CIMNamespaceName& nameSpace,
                                            const CIMName& className) const
{
    repository_.requireClass(nameSpace, className, CIM_ERR_INVALID_CLASS);
    std::vector<CIMName> names = repository_.subclassNames(nameSpace, className, true);
    names.insert(names.begin(), className);
    return names;
}

CIMInstance Broker::getInstance(const OperationContext& context, const CIMNamespaceName& nameSpace,
                                const CIMObjectPath& path, const InstanceView& requested)
{
    repository_.requireClass(nameSpace, path.getClassName(), CIM_ERR_INVALID_CLASS);
    const InstanceFilter filter(requested);
    const InstanceView& view = filter.view();
    ProviderObject* const target =
        registry_.find(nameSpace, path.getClassName(), ProviderKind::Instance);
    const auto call = [&](auto& provider, const OperationContext& callContext, auto& handler) {
        provider.getInstance(callContext, reference(nameSpace, path), view.includeQualifiers,
                             view.includeClassOrigin, view.properties, handler);
    };
    const CIMInstance found =
        target == nullptr
            ? repository_.getInstance(nameSpace, path)
            : callProvider<CIMInstanceProvider, SingleInstanceHandler>(context, *target, call);
    return found.isUninitialized() ? found : filter.apply(found, localPath(found.getPath()));
}

Array<CIMInstance> Broker::enumerateInstances(const OperationContext& context,
                                              const CIMNamespaceName& nameSpace,
                                              const CIMName& className, bool deep,
                                              const InstanceView& requested, PathForm form)
{
    const std::vector<CIMName> names = withSubclasses(nameSpace, className);
    // Without DeepInheritance, instances of subclasses show the properties of the class only, as if
    // the client had listed these.
    const bool onlyOfThisClass = !deep && requested.properties.isNull();
    const InstanceFilter filter({requested.includeQualifiers, requested.includeClassOrigin,
                                 onlyOfThisClass
                                     ? propertyNames(*repository_.findClass(nameSpace, className))
                                     : requested.properties});
    const InstanceView& view = filter.view();
    Array<CIMInstance> results;
    forEachClass(names, names.size() > 1, [&](const CIMName& name) {
        ProviderObject* const target = registry_.find(nameSpace, name, ProviderKind::Instance);
        const auto call = [&](auto& provider, const OperationContext& callContext, auto& handler) {
            provider.enumerateInstances(callContext, classPath(nameSpace, name),
                                        view.includeQualifiers, view.includeClassOrigin,
                                        view.properties, handler);
        };
        Array<CIMInstance> found;
        if (target != nullptr) {
            found = callProvider<CIMInstanceProvider, InstanceListHandler>(context, *target, call);
        } else {
            for (const CIMInstance& stored : repository_.instancesOf(nameSpace, name))
                found.append(stored);
        }
        addFiltered(results, found, filter, form, nameSpace);
    });
    return results;
}

Array<CIMObjectPath> Broker::enumerateInstanceNames(const OperationContext& context,
                                                    const CIMNamespaceName& nameSpace,
                                                    const CIMName& className, PathForm form)
{
    const std::vector<CIMName> names = withSubclasses(nameSpace, className);
    Array<CIMObjectPath> results;
    forEachClass(names, names.size() > 1, [&](const CIMName& name) {
        ProviderObject* const target = registry_.find(nameSpace, name, ProviderKind::Instance);
        const auto call = [&](auto& provider, const OperationContext& callContext, auto& handler) {
            provider.enumerateInstanceNames(callContext, classPath(nameSpace, name), handler);
        };
        Array<CIMObjectPath> found;
        if (target != nullptr) {
            found = callProvider<CIMInstanceProvider, PathListHandler>(context, *target, call);
        } else {
            for (const CIMInstance& stored : repository_.instancesOf(nameSpace, name))
                found.append(stored.getPath());
        }
        putInForm(form, nameSpace, found);
        results.appendArray(found);
    });
    return results;
}

CIMObjectPath Broker::createInstance(const OperationContext& context,
                                     const CIMNamespaceName& nameSpace, const CIMInstance& instance)
{
    ProviderObject* const target = writingProvider(nameSpace, instance.getClassName());
    if (target == nullptr) return repository_.addInstance(nameSpace, instance);
    const auto call = [&](auto& provider, const OperationContext& callContext, auto& handler) {
        provider.createInstance(callContext, reference(nameSpace, instance.getPath()), instance,
                                handler);
    };
    return localPath(callProvider<CIMInstanceProvider, SinglePathHandler>(context, *target, call));
}

void Broker::modifyInstance(const OperationContext& context, const CIMNamespaceName& nameSpace,
                            const CIMInstance& instance, bool includeQualifiers,
                            const CIMPropertyList& properties)
{
    ProviderObject* const target = writingProvider(nameSpace, instance.getClassName());
    if (target == nullptr) return repository_.modifyInstance(nameSpace, instance, properties);
    const InstanceFilter filter({includeQualifiers, false, properties});
    const auto call = [&](auto& provider, const OperationContext& callContext, auto& handler) {
        provider.modifyInstance(callContext, reference(nameSpace, instance.getPath()), instance,
                                includeQualifiers, filter.view().properties, handler);
    };
    callProvider<CIMInstanceProvider, EmptyHandler>(context, *target, call);
}

void Broker::deleteInstance(const OperationContext& context, const CIMNamespaceName& nameSpace,
                            const CIMObjectPath& path)
{
    ProviderObject* const target = writingProvider(nameSpace, path.getClassName());
    if (target == nullptr) return repository_.deleteInstance(nameSpace, path);
    const auto call = [&](auto& provider, const OperationContext& callContext, auto& handler) {
        provider.deleteInstance(callContext, reference(nameSpace, path), handler);
    };
    callProvider<CIMInstanceProvider, EmptyHandler>(context, *target, call);
}

CIMValue Broker::getProperty(const OperationContext& context, const CIMNamespaceName& nameSpace,
                             const CIMObjectPath& path, const CIMName& propertyName)
{
    const CIMPropertyList list(Array<CIMName>(1, propertyName));
    const CIMInstance instance = getInstance(context, nameSpace, path, {false, false, list});
    if (!instance.isUninitialized()) {
        const CIMValue* const found = instance.object().value(propertyName);
        if (found != nullptr) return *found;
    }
    const Property* const declared =
        repository_.findClass(nameSpace, path.getClassName())->property(propertyName);
    if (declared == nullptr) {
        throw CIMException(CIM_ERR_NO_SUCH_PROPERTY, propertyName.getString());
    }
    return CIMValue(declared->value.getType(), declared->value.isArray());
}

void Broker::setProperty(const OperationContext& context, const CIMNamespaceName& nameSpace,
                         const CIMObjectPath& path, const CIMName& propertyName,
                         const CIMValue& value)
{
    CIMInstance instance(path.getClassName());
    instance.setPath(reference(nameSpace, path));
    instance.addProperty(CIMProperty(propertyName, value));
    modifyInstance(context, nameSpace, instance, false,
                   CIMPropertyList(Array<CIMName>(1, propertyName)));
}

CIMValue Broker::invokeMethod(const OperationContext& context, const CIMNamespaceName& nameSpace,
                              const CIMObjectPath& path, const CIMName& methodName,
                              const Array<CIMParamValue>& in, Array<CIMParamValue>& out)
{
    repository_.requireClass(nameSpace, path.getClassName(), CIM_ERR_NOT_FOUND);
    ProviderObject* const target =
        registry_.find(nameSpace, path.getClassName(), ProviderKind::Method);
    if (target == nullptr) {
        throw CIMException(CIM_ERR_METHOD_NOT_AVAILABLE, methodName.getString());
    }
    const auto call = [&](auto& provider, const OperationContext& callContext, auto& handler) {
        provider.invokeMethod(callContext, reference(nameSpace, path), methodName, in, handler);
    };
    const auto result = callProvider<CIMMethodProvider, MethodHandler>(context, *target, call);
    out = result.parameters;
    return result.returnValue;
}

// ---- Associations ----

bool Broker::isServed(const CIMNamespaceName& nameSpace, const Traversal& traversal) const
{
    const auto names = associations_.associationsOf(nameSpace, traversal);
    return std::any_of(names.begin(), names.end(), [&](const CIMName& association) {
        return registry_.find(nameSpace, association, ProviderKind::Association) != nullptr;
    });
}

template <class Handler, class Call>
auto Broker::callAssociations(const OperationContext& context, const CIMNamespaceName& nameSpace,
                              const Traversal& traversal, Call call) const
{
    const CIMObjectPath source = reference(nameSpace, traversal.source);
    decltype(std::declval<Handler>().result()) results;
    const auto& names = associations_.associationsOf(nameSpace, traversal);
    forEachClass(names, true, [&](const CIMName& association) {
        ProviderObject* const target =
            registry_.find(nameSpace, association, ProviderKind::Association);
        if (target == nullptr) return;
        const auto callThis = [&](auto& provider, const OperationContext& callContext,
                                  auto& handler) {
            call(provider, callContext, source, association, handler);
        };
        results.appendArray(
            callProvider<CIMAssociationProvider, Handler>(context, *target, callThis));
    });
    return results;
}

Array<CIMInstance> Broker::traverse(const OperationContext& context,
                                    const CIMNamespaceName& nameSpace, const Traversal& traversal,
                                    const InstanceView& requested)
{
    const InstanceFilter filter(requested);
    const InstanceView& view = filter.view();
    const auto call = [&](auto& provider, auto& callContext, auto& source, auto& association,
                          auto& handler) {
        if (traversal.kind == Traversal::References) {
            return provider.references(callContext, source, association, traversal.role,
                                       view.includeQualifiers, view.includeClassOrigin,
                                       view.properties, handler);
        }
        provider.associators(callContext, source, association, traversal.resultClass,
                             traversal.role, traversal.resultRole, view.includeQualifiers,
                             view.includeClassOrigin, view.properties, handler);
    };
    auto found = callAssociations<ObjectListHandler>(context, nameSpace, traversal, call);
    Array<CIMInstance> results;
    addFiltered(results, found, filter, PathForm::Full, nameSpace);
    return results;
}

Array<CIMObjectPath> Broker::traverseNames(const OperationContext& context,
                                           const CIMNamespaceName& nameSpace,
                                           const Traversal& traversal)
{
    const auto call = [&](auto& provider, auto& callContext, auto& source, auto& association,
                          auto& handler) {
        if (traversal.kind == Traversal::References)
            return provider.referenceNames(callContext, source, association, traversal.role,
                                           handler);
        provider.associatorNames(callContext, source, association, traversal.resultClass,
                                 traversal.role, traversal.resultRole, handler);
    };
    auto found = callAssociations<PathListHandler>(context, nameSpace, traversal, call);
    putInForm(PathForm::Full, nameSpace, found);
    return found;
}

}  // namespace cimom
