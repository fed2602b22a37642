#include "Broker/AssociationIndex.h"

#include "Broker/Paths.h"

PEGASUS_USING_PEGASUS;

namespace cimom
{
namespace
{

AssociationClass describe(const CIMConstClass& cimClass)
{
    AssociationClass association{cimClass.getClassName(), {}};
    for (Uint32 i = 0; i < cimClass.getPropertyCount(); ++i) {
        const CIMConstProperty property = cimClass.getProperty(i);
        if (property.getType() == CIMTYPE_REFERENCE) {
            association.references.push_back(
                {property.getName(), property.getReferenceClassName()});
        }
    }
    return association;
}

bool hasRole(const AssociationClass::Reference& reference, const String& role)
{
    return role.size() == 0 || String::equalNoCase(reference.name.getString(), role);
}

/// The path that the reference holds; without class when it is null or missing.
CIMObjectPath referredPath(const CIMInstance& association,
                           const AssociationClass::Reference& reference)
{
    CIMObjectPath path;
    const Uint32 position = association.findProperty(reference.name);
    if (position != PEG_NOT_FOUND) {
        const CIMValue& value = association.getProperty(position).getValue();
        if (value.getType() == CIMTYPE_REFERENCE && !value.isArray()) value.get(path);
    }
    return path;
}

}  // namespace

AssociationIndex::AssociationIndex(const Repository& repository) : repository_(repository)
{
    for (const CIMNamespaceName& nameSpace : repository.namespaces()) {
        auto& associations = byNamespace_[nameSpace];
        for (const CIMName& name : repository.subclassNames(nameSpace, CIMName(), true)) {
            const CIMClass cimClass = repository.getClass(nameSpace, name);
            if (cimClass.isAssociation()) associations.push_back(describe(cimClass));
        }
    }
}

std::vector<const AssociationClass*> AssociationIndex::route(const CIMNamespaceName& nameSpace,
                                                             const CIMName& associationClass,
                                                             const CIMName& source) const
{
    std::vector<const AssociationClass*> result;
    const auto associations = byNamespace_.find(nameSpace);
    if (associations == byNamespace_.end()) return result;

    const auto isWanted = [&](const AssociationClass& association) {
        if (!associationClass.isNull()) {
            return repository_.isSubclassOf(nameSpace, association.name, associationClass);
        }
        for (const AssociationClass::Reference& reference : association.references) {
            if (repository_.isSubclassOf(nameSpace, source, reference.className)) return true;
        }
        return false;
    };
    for (const AssociationClass& association : associations->second) {
        if (isWanted(association)) result.push_back(&association);
    }
    return result;
}

StaticAssociations::StaticAssociations(const Repository& repository,
                                       const CIMNamespaceName& nameSpace,
                                       const CIMObjectPath& source)
    : repository_(repository),
      nameSpace_(nameSpace),
      source_(localPath(source)),
      sourceIsClass_(source.getKeyBindings().size() == 0)
{
}

std::vector<CIMInstance> StaticAssociations::referencing(const AssociationClass& association,
                                                         const String& role) const
{
    std::vector<CIMInstance> result;
    for (const CIMInstance& instance : repository_.instancesOf(nameSpace_, association.name)) {
        bool refers = false;
        for (const Reference& reference : association.references) {
            refers = refers || (hasRole(reference, role) && refersToSource(instance, reference));
        }
        if (refers) result.push_back(instance);
    }
    return result;
}

std::vector<CIMObjectPath> StaticAssociations::associated(const AssociationClass& association,
                                                          const AssociationFilter& filter) const
{
    std::vector<CIMObjectPath> result;
    for (const CIMInstance& instance : repository_.instancesOf(nameSpace_, association.name)) {
        for (const Reference& near : association.references) {
            if (!hasRole(near, filter.role) || !refersToSource(instance, near)) continue;
            for (const Reference& far : association.references) {
                const CIMObjectPath path = referredPath(instance, far);
                if (&far != &near && passes(path.getClassName(), far, filter)) {
                    result.push_back(path);
                }
            }
        }
    }
    return result;
}

bool StaticAssociations::isReferencedClass(const AssociationClass& association,
                                           const String& role) const
{
    for (const Reference& reference : association.references) {
        if (hasRole(reference, role) && isSourceClass(reference)) return true;
    }
    return false;
}

std::vector<CIMName> StaticAssociations::associatedClasses(const AssociationClass& association,
                                                           const AssociationFilter& filter) const
{
    std::vector<CIMName> result;
    for (const Reference& near : association.references) {
        if (!hasRole(near, filter.role) || !isSourceClass(near)) continue;
        for (const Reference& far : association.references) {
            if (&far != &near && passes(far.className, far, filter)) {
                result.push_back(far.className);
            }
        }
    }
    return result;
}

bool StaticAssociations::isSourceClass(const Reference& reference) const
{
    return sourceIsClass_ &&
           repository_.isSubclassOf(nameSpace_, source_.getClassName(), reference.className);
}

bool StaticAssociations::refersToSource(const CIMInstance& association,
                                        const Reference& reference) const
{
    const CIMObjectPath path = referredPath(association, reference);
    const bool sameNamespace =
        path.getNameSpace().isNull() || path.getNameSpace().equal(nameSpace_);
    return sameNamespace && localPath(path).identical(source_);
}

bool StaticAssociations::passes(const CIMName& className, const Reference& reference,
                                const AssociationFilter& filter) const
{
    return !className.isNull() && hasRole(reference, filter.resultRole) &&
           (filter.resultClass.isNull() ||
            repository_.isSubclassOf(nameSpace_, className, filter.resultClass));
}

}  // namespace cimom
