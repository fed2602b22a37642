#include "Broker/AssociationSchema.h"

#include <algorithm>

PEGASUS_USING_PEGASUS;

namespace cimom
{

namespace
{

bool has(const std::vector<CIMName>& names, const CIMName& name)
{
    return std::find(names.begin(), names.end(), name) != names.end();
}

void addOnce(std::vector<CIMName>& names, const CIMName& name)
{
    if (!has(names, name)) names.push_back(name);
}

bool isReference(const Property& property)
{
    return property.value.getType() == CIMTYPE_REFERENCE;
}

/// Whether a reference of that name plays the role; the empty role is played by all.
bool plays(const Property& reference, const String& role)
{
    return role.size() == 0 || String::equalNoCase(reference.name.getString(), role);
}

}  // namespace

AssociationSchema::AssociationSchema(const Repository& repository) : repository_(repository)
{
    for (const CIMNamespaceName& nameSpace : repository.namespaces()) {
        for (const CIMName& name : repository.subclassNames(nameSpace, CIMName(), true)) {
            const ClassPtr definition = repository.findClass(nameSpace, name);
            if (!definition->isAssociation()) continue;
            associations_.push_back(
                {nameSpace, definition, repository.lineage(nameSpace, name, CIM_ERR_FAILED)});
        }
    }
}

void AssociationSchema::requireClasses(const CIMNamespaceName& nameSpace,
                                       const Traversal& traversal,
                                       CIMStatusCode whenNoAssociation) const
{
    if (!traversal.associationClass.isNull())
        repository_.requireClass(nameSpace, traversal.associationClass, whenNoAssociation);
    if (!traversal.resultClass.isNull())
        repository_.requireClass(nameSpace, traversal.resultClass, CIM_ERR_INVALID_CLASS);
}

std::vector<const AssociationSchema::Association*> AssociationSchema::associations(
    const CIMNamespaceName& nameSpace, const CIMName& wanted) const
{
    std::vector<const Association*> found;
    for (const Association& association : associations_) {
        const bool isWanted = wanted.isNull() || has(association.lineage, wanted);
        if (isWanted && association.nameSpace.equal(nameSpace)) found.push_back(&association);
    }
    return found;
}

std::vector<CIMName> AssociationSchema::associationsOf(const CIMNamespaceName& nameSpace,
                                                       const Traversal& traversal) const
{
    requireClasses(nameSpace, traversal, CIM_ERR_INVALID_PARAMETER);
    const std::vector<CIMName> fitting =
        repository_.lineage(nameSpace, traversal.source.getClassName(), CIM_ERR_INVALID_PARAMETER);
    const auto fitsSource = [&](const auto& property) {
        return isReference(*property) && has(fitting, property->referenceClassName);
    };
    std::vector<CIMName> names;
    for (const Association* each : associations(nameSpace, traversal.associationClass)) {
        const auto& properties = each->definition->properties;
        if (std::any_of(properties.begin(), properties.end(), fitsSource))
            names.push_back(each->definition->name());
    }
    return names;
}

std::vector<AssociationSchema::Reference> AssociationSchema::referencesTo(
    const CIMNamespaceName& nameSpace, const Traversal& traversal) const
{
    std::vector<CIMName> sources =
        repository_.lineage(nameSpace, traversal.source.getClassName(), CIM_ERR_INVALID_PARAMETER);
    std::rotate(sources.begin(), sources.begin() + 1, sources.end());
    const auto candidates = associations(nameSpace, traversal.associationClass);
    std::vector<Reference> found;
    for (const CIMName& source : sources) {
        for (const Association* each : candidates) {
            for (const auto& property : each->definition->properties) {
                if (isReference(*property) && property->referenceClassName == source &&
                    plays(*property, traversal.role))
                    found.push_back({each->definition.get(), property.get()});
            }
        }
    }
    return found;
}

bool AssociationSchema::isKindOf(const CIMNamespaceName& nameSpace, const CIMName& name,
                                 const CIMName& wanted) const
{
    if (wanted.isNull()) return true;
    return repository_.findClass(nameSpace, name) != nullptr &&
           has(repository_.lineage(nameSpace, name, CIM_ERR_FAILED), wanted);
}

std::vector<CIMName> AssociationSchema::classesOf(const CIMNamespaceName& nameSpace,
                                                  const Traversal& traversal) const
{
    const bool isOfAssociations = traversal.kind == Traversal::References;
    requireClasses(nameSpace, traversal,
                   isOfAssociations ? CIM_ERR_INVALID_PARAMETER : CIM_ERR_INVALID_CLASS);
    std::vector<CIMName> names;
    for (const Reference& reference : referencesTo(nameSpace, traversal)) {
        if (isOfAssociations) {
            addOnce(names, reference.association->name());
            continue;
        }
        for (const auto& other : reference.association->properties) {
            if (!isReference(*other) || other.get() == reference.property) continue;
            const CIMName& name = other->referenceClassName;
            if (plays(*other, traversal.resultRole) &&
                isKindOf(nameSpace, name, traversal.resultClass))
                addOnce(names, name);
        }
    }
    return names;
}

}  // namespace cimom
