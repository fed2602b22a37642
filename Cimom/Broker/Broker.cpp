#include "Broker/Broker.h"

#include "Broker/BrokerImpl.h"
#include "Broker/ResponseHandlers.h"
#include "Broker/Text.h"

#include <Pegasus/Common/AcceptLanguageList.h>
#include <Pegasus/Common/ContentLanguageList.h>
#include <Pegasus/Provider/CIMInstanceProvider.h>
#include <Pegasus/Provider/CIMMethodProvider.h>

#include <stdexcept>
#include <utility>

PEGASUS_USING_PEGASUS;

namespace cimom
{
namespace
{

thread_local unsigned callsOnThisThread = 0;

template <class T>
Array<T> toArray(const std::vector<T>& items)
{
    Array<T> array;
    for (const T& item : items)
        array.append(item);
    return array;
}

BrokerOptions checked(BrokerOptions options)
{
    try {
        CIMObjectPath().setHost(options.hostName);
    } catch (const Exception&) {
        throw std::runtime_error("The host name \"" + toUtf8(options.hostName) +
                                 "\" is malformed; use a DNS name or an IP address.");
    }
    return options;
}

template <class ContainerType, class Default>
void passOn(const OperationContext& from, OperationContext& to, const Default& whenMissing)
{
    if (from.contains(ContainerType::NAME)) {
        to.insert(from.get(ContainerType::NAME));
    } else {
        to.insert(ContainerType(whenMissing));
    }
}

}  // namespace

CallDepth::CallDepth(unsigned limit)
{
    if (callsOnThisThread >= limit) {
        throw CIMException(CIM_ERR_FAILED,
                           printable("The request was not made: " + std::to_string(limit) +
                                     " provider calls are under way that were made from within one "
                                     "another. A provider calls itself without end."));
    }
    ++callsOnThisThread;
}

CallDepth::~CallDepth()
{
    --callsOnThisThread;
}

Broker::Impl::Impl(Repository& repositoryToUse, BrokerOptions optionsToUse)
    : repository(repositoryToUse),
      options(checked(std::move(optionsToUse))),
      registry(repository, options.interopNamespace, options.providerFolders,
               options.initializeWait),
      associationIndex(repository)
{
}

void Broker::Impl::requireNamespace(const Ns& nameSpace) const
{
    if (nameSpace.isNull() || !repository.hasNamespace(nameSpace)) {
        throw CIMException(CIM_ERR_INVALID_NAMESPACE, nameSpace.getString());
    }
}

void Broker::Impl::requireClass(const Ns& nameSpace, const CIMName& className,
                                CIMStatusCode codeWhenUnknown) const
{
    requireNamespace(nameSpace);
    if (className.isNull() || !repository.hasClass(nameSpace, className)) {
        throw CIMException(codeWhenUnknown, className.getString());
    }
}

CIMObjectPath Broker::Impl::reference(const Ns& nameSpace, const CIMObjectPath& path) const
{
    CIMObjectPath full = path;
    full.setHost(options.hostName);
    full.setNameSpace(nameSpace);
    return full;
}

OperationContext Broker::Impl::providerContext(const Ctx& caller)
{
    OperationContext context;
    passOn<IdentityContainer>(caller, context, String());
    passOn<AcceptLanguageListContainer>(caller, context, AcceptLanguageList());
    passOn<ContentLanguageListContainer>(caller, context, ContentLanguageList());
    return context;
}

Broker::Broker(Repository& repository, BrokerOptions options)
    : impl_(std::make_unique<Impl>(repository, std::move(options)))
{
}

Broker::~Broker() = default;

void Broker::setModuleFactory(const String& moduleName, Factory factory)
{
    ProviderModule* const module = impl_->registry.module(moduleName);
    if (module == nullptr) {
        throw std::invalid_argument("No provider module \"" + toUtf8(moduleName) +
                                    "\" is registered.");
    }
    module->setFactory(factory);
}

CIMClass Broker::getClass(const Ctx&, const Ns& nameSpace, const CIMName& className, bool localOnly,
                          bool includeQualifiers, bool includeClassOrigin,
                          const CIMPropertyList& properties)
{
    impl_->requireClass(nameSpace, className, CIM_ERR_NOT_FOUND);
    return impl_->repository.getClass(nameSpace, className, localOnly, includeQualifiers,
                                      includeClassOrigin, properties);
}

Array<CIMClass> Broker::enumerateClasses(const Ctx& context, const Ns& nameSpace,
                                         const CIMName& className, bool deep, bool localOnly,
                                         bool includeQualifiers, bool includeClassOrigin)
{
    const Array<CIMName> names = enumerateClassNames(context, nameSpace, className, deep);
    Array<CIMClass> classes;
    for (Uint32 i = 0; i < names.size(); ++i) {
        classes.append(impl_->repository.getClass(nameSpace, names[i], localOnly, includeQualifiers,
                                                  includeClassOrigin));
    }
    return classes;
}

Array<CIMName> Broker::enumerateClassNames(const Ctx&, const Ns& nameSpace,
                                           const CIMName& className, bool deep)
{
    impl_->requireNamespace(nameSpace);
    return toArray(impl_->repository.subclassNames(nameSpace, className, deep));
}

CIMQualifierDecl Broker::getQualifier(const Ctx&, const Ns& nameSpace, const CIMName& name)
{
    impl_->requireNamespace(nameSpace);
    return impl_->repository.getQualifierDecl(nameSpace, name);
}

Array<CIMQualifierDecl> Broker::enumerateQualifiers(const Ctx&, const Ns& nameSpace)
{
    impl_->requireNamespace(nameSpace);
    return toArray(impl_->repository.qualifierDecls(nameSpace));
}

CIMInstance Broker::getInstance(const Ctx& context, const Ns& nameSpace, const CIMObjectPath& path,
                                bool includeQualifiers, bool includeClassOrigin,
                                const CIMPropertyList& properties)
{
    impl_->requireClass(nameSpace, path.getClassName(), CIM_ERR_INVALID_CLASS);
    const InstanceView view{includeQualifiers, includeClassOrigin, withoutRepetitions(properties)};
    ProviderObject* const target = impl_->instanceProvider(nameSpace, path.getClassName());
    if (target == nullptr) {
        const CIMInstance stored = impl_->repository.getInstance(nameSpace, path);
        return view.of(stored, localPath(stored.getPath()));
    }

    const auto answer = impl_->callProvider<CIMInstanceProvider, SingleInstanceHandler>(
        context, *target, [&](auto& provider, const Ctx& ctx, auto& handler) {
            provider.getInstance(ctx, impl_->reference(nameSpace, path), includeQualifiers,
                                 includeClassOrigin, view.properties, handler);
        });
    const CIMInstance found = answer.result();
    return found.isUninitialized() ? found : view.of(found, localPath(found.getPath()));
}

Array<CIMInstance> Broker::enumerateInstances(const Ctx& context, const Ns& nameSpace,
                                              const CIMName& className, bool deep,
                                              bool includeQualifiers, bool includeClassOrigin,
                                              const CIMPropertyList& properties)
{
    impl_->requireClass(nameSpace, className, CIM_ERR_INVALID_CLASS);
    // Without deep inheritance the class's own properties are as good as listed by the client.
    const bool onlyOfThisClass = !deep && properties.isNull();
    const InstanceView view{includeQualifiers, includeClassOrigin,
                            onlyOfThisClass
                                ? propertyNames(impl_->repository.getClass(nameSpace, className))
                                : withoutRepetitions(properties)};
    Array<CIMInstance> results;
    const auto show = [&](const CIMInstance& instance) {
        results.append(view.of(instance, localPath(instance.getPath())));
    };
    const auto visit = [&](const CIMName& name, ProviderObject* target) {
        if (target == nullptr) {
            for (const CIMInstance& stored : impl_->repository.instancesOf(nameSpace, name)) {
                show(stored);
            }
            return;
        }
        const CIMObjectPath reference = impl_->reference(nameSpace, CIMObjectPath("", Ns(), name));
        const auto answer = impl_->callProvider<CIMInstanceProvider, InstanceListHandler>(
            context, *target, [&](auto& provider, const Ctx& ctx, auto& handler) {
                provider.enumerateInstances(ctx, reference, includeQualifiers, includeClassOrigin,
                                            view.properties, handler);
            });
        const Array<CIMInstance> delivered = answer.result();
        for (Uint32 i = 0; i < delivered.size(); ++i)
            show(delivered[i]);
    };
    impl_->forEachClass(nameSpace, className, visit);
    return results;
}

Array<CIMObjectPath> Broker::enumerateInstanceNames(const Ctx& context, const Ns& nameSpace,
                                                    const CIMName& className)
{
    impl_->requireClass(nameSpace, className, CIM_ERR_INVALID_CLASS);
    Array<CIMObjectPath> results;
    const auto visit = [&](const CIMName& name, ProviderObject* target) {
        if (target == nullptr) {
            for (const CIMInstance& stored : impl_->repository.instancesOf(nameSpace, name)) {
                results.append(localPath(stored.getPath()));
            }
            return;
        }
        const CIMObjectPath reference = impl_->reference(nameSpace, CIMObjectPath("", Ns(), name));
        const auto answer = impl_->callProvider<CIMInstanceProvider, PathListHandler>(
            context, *target, [&](auto& provider, const Ctx& ctx, auto& handler) {
                provider.enumerateInstanceNames(ctx, reference, handler);
            });
        const Array<CIMObjectPath> delivered = answer.result();
        for (Uint32 i = 0; i < delivered.size(); ++i)
            results.append(localPath(delivered[i]));
    };
    impl_->forEachClass(nameSpace, className, visit);
    return results;
}

CIMObjectPath Broker::createInstance(const Ctx& context, const Ns& nameSpace,
                                     const CIMInstance& instance)
{
    impl_->requireClass(nameSpace, instance.getClassName(), CIM_ERR_INVALID_CLASS);
    ProviderObject* const target = impl_->instanceProvider(nameSpace, instance.getClassName());
    if (target == nullptr) return impl_->repository.addInstance(nameSpace, instance);

    const CIMObjectPath reference = impl_->reference(nameSpace, instance.getPath());
    const auto answer = impl_->callProvider<CIMInstanceProvider, SinglePathHandler>(
        context, *target, [&](auto& provider, const Ctx& ctx, auto& handler) {
            provider.createInstance(ctx, reference, instance, handler);
        });
    return localPath(answer.result());
}

void Broker::modifyInstance(const Ctx& context, const Ns& nameSpace, const CIMInstance& instance,
                            bool includeQualifiers, const CIMPropertyList& properties)
{
    impl_->requireClass(nameSpace, instance.getClassName(), CIM_ERR_INVALID_CLASS);
    const CIMPropertyList list = withoutRepetitions(properties);
    ProviderObject* const target = impl_->instanceProvider(nameSpace, instance.getClassName());
    if (target == nullptr) {
        impl_->repository.modifyInstance(nameSpace, instance, list);
        return;
    }

    const CIMObjectPath reference = impl_->reference(nameSpace, instance.getPath());
    impl_->callProvider<CIMInstanceProvider, EmptyHandler>(
        context, *target, [&](auto& provider, const Ctx& ctx, auto& handler) {
            provider.modifyInstance(ctx, reference, instance, includeQualifiers, list, handler);
        });
}

void Broker::deleteInstance(const Ctx& context, const Ns& nameSpace, const CIMObjectPath& path)
{
    impl_->requireClass(nameSpace, path.getClassName(), CIM_ERR_INVALID_CLASS);
    ProviderObject* const target = impl_->instanceProvider(nameSpace, path.getClassName());
    if (target == nullptr) {
        impl_->repository.removeInstance(nameSpace, path);
        return;
    }

    impl_->callProvider<CIMInstanceProvider, EmptyHandler>(
        context, *target, [&](auto& provider, const Ctx& ctx, auto& handler) {
            provider.deleteInstance(ctx, impl_->reference(nameSpace, path), handler);
        });
}

CIMValue Broker::getProperty(const Ctx& context, const Ns& nameSpace, const CIMObjectPath& path,
                             const CIMName& propertyName)
{
    const CIMPropertyList list(Array<CIMName>(1, propertyName));
    const CIMInstance instance = getInstance(context, nameSpace, path, false, false, list);
    if (!instance.isUninitialized()) {
        const Uint32 position = instance.findProperty(propertyName);
        if (position != PEG_NOT_FOUND) return instance.getProperty(position).getValue();
    }
    const CIMClass cimClass = impl_->repository.getClass(nameSpace, path.getClassName());
    const Uint32 declared = cimClass.findProperty(propertyName);
    if (declared == PEG_NOT_FOUND) {
        throw CIMException(CIM_ERR_NO_SUCH_PROPERTY, propertyName.getString());
    }
    const CIMConstProperty property = cimClass.getProperty(declared);
    return CIMValue(property.getType(), property.isArray());
}

void Broker::setProperty(const Ctx& context, const Ns& nameSpace, const CIMObjectPath& path,
                         const CIMName& propertyName, const CIMValue& value)
{
    CIMInstance instance(path.getClassName());
    instance.setPath(impl_->reference(nameSpace, path));
    instance.addProperty(CIMProperty(propertyName, value));
    modifyInstance(context, nameSpace, instance, false,
                   CIMPropertyList(Array<CIMName>(1, propertyName)));
}

CIMValue Broker::invokeMethod(const Ctx& context, const Ns& nameSpace, const CIMObjectPath& path,
                              const CIMName& methodName, const Array<CIMParamValue>& in,
                              Array<CIMParamValue>& out)
{
    impl_->requireClass(nameSpace, path.getClassName(), CIM_ERR_NOT_FOUND);
    ProviderObject* const target =
        impl_->registry.find(nameSpace, path.getClassName(), ProviderKind::Method);
    if (target == nullptr) {
        throw CIMException(CIM_ERR_METHOD_NOT_AVAILABLE, methodName.getString());
    }

    const auto answer = impl_->callProvider<CIMMethodProvider, MethodHandler>(
        context, *target, [&](auto& provider, const Ctx& ctx, auto& handler) {
            provider.invokeMethod(ctx, impl_->reference(nameSpace, path), methodName, in, handler);
        });
    out = answer.parameters();
    return answer.returnValue();
}

}  // namespace cimom
