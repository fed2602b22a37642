// The broker's association operations.
#include "Broker/Broker.h"

#include "Broker/BrokerImpl.h"
#include "Broker/ResponseHandlers.h"

#include <Pegasus/Provider/CIMAssociationProvider.h>

#include <algorithm>
#include <utility>

PEGASUS_USING_PEGASUS;

namespace cimom
{
namespace
{

/// Adds the name unless it is there; true when it was added.
bool addOnce(std::vector<CIMName>& names, const CIMName& name)
{
    const auto isSame = [&](const CIMName& other) { return other.equal(name); };
    if (std::any_of(names.begin(), names.end(), isSame)) return false;
    names.push_back(name);
    return true;
}

/// Whether the error says that an object, its class or its namespace does not exist (any more);
/// stored associations may refer to such.
bool saysNotThere(const CIMException& error)
{
    return error.getCode() == CIM_ERR_NOT_FOUND || error.getCode() == CIM_ERR_INVALID_CLASS ||
           error.getCode() == CIM_ERR_INVALID_NAMESPACE;
}

CIMObjectPath classPath(const CIMName& name)
{
    return CIMObjectPath(String(), CIMNamespaceName(), name);
}

/// The class with what a client asked to see of it.
CIMObject classOf(const Repository& repository, const CIMNamespaceName& nameSpace,
                  const CIMName& name, const InstanceView& view)
{
    return CIMObject(repository.getClass(nameSpace, name, false, view.includeQualifiers,
                                         view.includeClassOrigin, view.properties));
}

}  // namespace

void Broker::Impl::requireTraversable(const Ns& nameSpace, const CIMObjectPath& source,
                                      const CIMName& associationClass,
                                      const CIMName& resultClass) const
{
    if (!associationClass.isNull()) {
        requireClass(nameSpace, associationClass, CIM_ERR_INVALID_PARAMETER);
    }
    if (!resultClass.isNull()) requireClass(nameSpace, resultClass, CIM_ERR_INVALID_CLASS);
    requireClass(nameSpace, source.getClassName(), CIM_ERR_INVALID_PARAMETER);
}

CIMObjectPath Broker::Impl::located(const Ns& nameSpace, const CIMObjectPath& path) const
{
    CIMObjectPath full = path;
    if (full.getHost().size() == 0) full.setHost(options.hostName);
    if (full.getNameSpace().isNull()) full.setNameSpace(nameSpace);
    return full;
}

void Broker::Impl::appendLocated(const Ns& nameSpace, const Array<CIMObjectPath>& paths,
                                 Array<CIMObjectPath>& results) const
{
    for (Uint32 i = 0; i < paths.size(); ++i)
        results.append(located(nameSpace, paths[i]));
}

void Broker::Impl::appendShown(const Ns& nameSpace, const Array<CIMObject>& objects,
                               const InstanceView& view, Array<CIMObject>& results) const
{
    for (Uint32 i = 0; i < objects.size(); ++i) {
        results.append(shown(nameSpace, objects[i], view));
    }
}

CIMObject Broker::Impl::shown(const Ns& nameSpace, const CIMObject& object,
                              const InstanceView& view) const
{
    const CIMObjectPath path = located(nameSpace, object.getPath());
    if (object.isInstance()) return CIMObject(view.of(CIMInstance(object), path));
    CIMObject cimClass = object.clone();
    cimClass.setPath(path);
    return cimClass;
}

Array<CIMObject> Broker::associators(const Ctx& context, const Ns& nameSpace,
                                     const CIMObjectPath& path, const CIMName& assocClass,
                                     const CIMName& resultClass, const String& role,
                                     const String& resultRole, bool includeQualifiers,
                                     bool includeClassOrigin, const CIMPropertyList& properties)
{
    impl_->requireTraversable(nameSpace, path, assocClass, resultClass);
    const InstanceView view{includeQualifiers, includeClassOrigin, withoutRepetitions(properties)};
    const AssociationFilter filter{resultClass, role, resultRole};
    const StaticAssociations stored(impl_->repository, nameSpace, path);
    Array<CIMObject> results;
    std::vector<CIMName> classes;

    const auto fetch = [&](const CIMObjectPath& other) {
        const Ns where = other.getNameSpace().isNull() ? nameSpace : other.getNameSpace();
        try {
            CIMInstance found = getInstance(context, where, other, includeQualifiers,
                                            includeClassOrigin, view.properties);
            if (found.isUninitialized()) return;
            found.setPath(impl_->located(nameSpace, other));
            results.append(CIMObject(found));
        } catch (const CIMException& error) {
            if (!saysNotThere(error)) throw;
        }
    };
    const auto visit = [&](const AssociationClass& association, ProviderObject* target) {
        for (const CIMName& name : stored.associatedClasses(association, filter)) {
            if (!addOnce(classes, name)) continue;
            const CIMObject object = classOf(impl_->repository, nameSpace, name, view);
            results.append(impl_->shown(nameSpace, object, view));
        }
        if (target == nullptr) {
            for (const CIMObjectPath& other : stored.associated(association, filter))
                fetch(other);
            return;
        }
        const auto answer = impl_->callProvider<CIMAssociationProvider, ObjectListHandler>(
            context, *target, [&](auto& provider, const Ctx& ctx, auto& handler) {
                provider.associators(ctx, impl_->reference(nameSpace, path), association.name,
                                     resultClass, role, resultRole, includeQualifiers,
                                     includeClassOrigin, view.properties, handler);
            });
        impl_->appendShown(nameSpace, answer.result(), view, results);
    };
    impl_->forEachAssociation(nameSpace, assocClass, path, visit);
    return results;
}

Array<CIMObjectPath> Broker::associatorNames(const Ctx& context, const Ns& nameSpace,
                                             const CIMObjectPath& path, const CIMName& assocClass,
                                             const CIMName& resultClass, const String& role,
                                             const String& resultRole)
{
    impl_->requireTraversable(nameSpace, path, assocClass, resultClass);
    const AssociationFilter filter{resultClass, role, resultRole};
    const StaticAssociations stored(impl_->repository, nameSpace, path);
    Array<CIMObjectPath> results;
    std::vector<CIMName> classes;

    const auto visit = [&](const AssociationClass& association, ProviderObject* target) {
        for (const CIMName& name : stored.associatedClasses(association, filter)) {
            if (addOnce(classes, name)) results.append(impl_->located(nameSpace, classPath(name)));
        }
        if (target == nullptr) {
            for (const CIMObjectPath& other : stored.associated(association, filter)) {
                results.append(impl_->located(nameSpace, other));
            }
            return;
        }
        const auto answer = impl_->callProvider<CIMAssociationProvider, PathListHandler>(
            context, *target, [&](auto& provider, const Ctx& ctx, auto& handler) {
                provider.associatorNames(ctx, impl_->reference(nameSpace, path), association.name,
                                         resultClass, role, resultRole, handler);
            });
        impl_->appendLocated(nameSpace, answer.result(), results);
    };
    impl_->forEachAssociation(nameSpace, assocClass, path, visit);
    return results;
}

Array<CIMObject> Broker::references(const Ctx& context, const Ns& nameSpace,
                                    const CIMObjectPath& path, const CIMName& resultClass,
                                    const String& role, bool includeQualifiers,
                                    bool includeClassOrigin, const CIMPropertyList& properties)
{
    impl_->requireTraversable(nameSpace, path, resultClass, CIMName());
    const InstanceView view{includeQualifiers, includeClassOrigin, withoutRepetitions(properties)};
    const StaticAssociations stored(impl_->repository, nameSpace, path);
    Array<CIMObject> results;

    const auto visit = [&](const AssociationClass& association, ProviderObject* target) {
        if (stored.isReferencedClass(association, role)) {
            const CIMObject object = classOf(impl_->repository, nameSpace, association.name, view);
            results.append(impl_->shown(nameSpace, object, view));
        }
        if (target == nullptr) {
            for (const CIMInstance& instance : stored.referencing(association, role)) {
                results.append(impl_->shown(nameSpace, CIMObject(instance), view));
            }
            return;
        }
        const auto answer = impl_->callProvider<CIMAssociationProvider, ObjectListHandler>(
            context, *target, [&](auto& provider, const Ctx& ctx, auto& handler) {
                provider.references(ctx, impl_->reference(nameSpace, path), association.name, role,
                                    includeQualifiers, includeClassOrigin, view.properties,
                                    handler);
            });
        impl_->appendShown(nameSpace, answer.result(), view, results);
    };
    impl_->forEachAssociation(nameSpace, resultClass, path, visit);
    return results;
}

Array<CIMObjectPath> Broker::referenceNames(const Ctx& context, const Ns& nameSpace,
                                            const CIMObjectPath& path, const CIMName& resultClass,
                                            const String& role)
{
    impl_->requireTraversable(nameSpace, path, resultClass, CIMName());
    const StaticAssociations stored(impl_->repository, nameSpace, path);
    Array<CIMObjectPath> results;

    const auto visit = [&](const AssociationClass& association, ProviderObject* target) {
        if (stored.isReferencedClass(association, role)) {
            results.append(impl_->located(nameSpace, classPath(association.name)));
        }
        if (target == nullptr) {
            for (const CIMInstance& instance : stored.referencing(association, role)) {
                results.append(impl_->located(nameSpace, instance.getPath()));
            }
            return;
        }
        const auto answer = impl_->callProvider<CIMAssociationProvider, PathListHandler>(
            context, *target, [&](auto& provider, const Ctx& ctx, auto& handler) {
                provider.referenceNames(ctx, impl_->reference(nameSpace, path), association.name,
                                        role, handler);
            });
        impl_->appendLocated(nameSpace, answer.result(), results);
    };
    impl_->forEachAssociation(nameSpace, resultClass, path, visit);
    return results;
}

}  // namespace cimom
