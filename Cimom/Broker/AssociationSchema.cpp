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

Traversal byAssociation(const Traversal& references)
{
    return {references.source, references.resultClass, CIMName(), references.role, String()};
}

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

std::vector<CIMName> AssociationSchema::associationsOf(const CIMNamespaceName& nameSpace,
                                                       const Traversal& traversal) const
{
    const CIMName& wanted = traversal.associationClass;
    if (!wanted.isNull()) repository_.requireClass(nameSpace, wanted, CIM_ERR_INVALID_PARAMETER);
    if (!traversal.resultClass.isNull())
        repository_.requireClass(nameSpace, traversal.resultClass, CIM_ERR_INVALID_CLASS);
    const std::vector<CIMName> fitting =
        repository_.lineage(nameSpace, traversal.source.getClassName(), CIM_ERR_INVALID_PARAMETER);

    const auto fitsSource = [&](const auto& property) {
        return isReference(*property) && has(fitting, property->referenceClassName);
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

std::vector<AssociationSchema::Reference> AssociationSchema::referencesTo(
    const CIMNamespaceName& nameSpace, const Traversal& traversal) const
{
    std::vector<CIMName> sources =
        repository_.lineage(nameSpace, traversal.source.getClassName(), CIM_ERR_INVALID_PARAMETER);
    std::rotate(sources.begin(), sources.begin() + 1, sources.end());
    const CIMName& wanted = traversal.associationClass;
    std::vector<Reference> found;
    for (const CIMName& source : sources) {
        for (const Association& association : associations_) {
            if (!association.nameSpace.equal(nameSpace)) continue;
            if (!wanted.isNull() && !has(association.lineage, wanted)) continue;
            for (const auto& property : association.definition->properties) {
                if (isReference(*property) && property->referenceClassName == source &&
                    plays(*property, traversal.role))
                    found.push_back({association.definition.get(), property.get()});
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

std::vector<CIMName> AssociationSchema::referenceClasses(const CIMNamespaceName& nameSpace,
                                                         const Traversal& traversal) const
{
    const Traversal ofAssociations = byAssociation(traversal);
    const CIMName& wanted = ofAssociations.associationClass;
    if (!wanted.isNull()) repository_.requireClass(nameSpace, wanted, CIM_ERR_INVALID_PARAMETER);
    std::vector<CIMName> names;
    for (const Reference& reference : referencesTo(nameSpace, ofAssociations))
        addOnce(names, reference.association->name());
    return names;
}

std::vector<CIMName> AssociationSchema::associatorClasses(const CIMNamespaceName& nameSpace,
                                                          const Traversal& traversal) const
{
    for (const CIMName& name : {traversal.associationClass, traversal.resultClass}) {
        if (!name.isNull()) repository_.requireClass(nameSpace, name, CIM_ERR_INVALID_CLASS);
    }
    std::vector<CIMName> names;
    for (const Reference& reference : referencesTo(nameSpace, traversal)) {
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
