// The association classes of the schema, and the associations that the repository holds itself.
#pragma once

#include "Repository/Names.h"
#include "Repository/Repository.h"

#include <unordered_map>
#include <vector>

namespace cimom
{

/// An association class and its references, inherited ones included.
struct AssociationClass
{
    struct Reference
    {
        Pegasus::CIMName name;
        Pegasus::CIMName className;
    };
    Pegasus::CIMName name;
    std::vector<Reference> references;
};

/// What a traversal is narrowed down to; null and empty members let everything pass.
struct AssociationFilter
{
    Pegasus::CIMName resultClass;
    Pegasus::String role;
    Pegasus::String resultRole;
};

/// The association classes of every namespace in schema order. Immutable once built.
class AssociationIndex
{
public:
    explicit AssociationIndex(const Repository& repository);

    /// The association classes that a traversal from an object of class `source` has to ask: with
    /// a class given, that one and its subclasses; with none, all with a reference that the source
    /// fits.
    std::vector<const AssociationClass*> route(const Pegasus::CIMNamespaceName& nameSpace,
                                               const Pegasus::CIMName& associationClass,
                                               const Pegasus::CIMName& source) const;

private:
    const Repository& repository_;
    std::unordered_map<Pegasus::CIMNamespaceName, std::vector<AssociationClass>, NoCase, NoCase>
        byNamespace_;
};

/// Answers traversals from one source, an object or a class, from what the repository holds.
class StaticAssociations
{
public:
    StaticAssociations(const Repository& repository, const Pegasus::CIMNamespaceName& nameSpace,
                       const Pegasus::CIMObjectPath& source);

    /// The stored instances of the association that refer to the source in the given role.
    std::vector<Pegasus::CIMInstance> referencing(const AssociationClass& association,
                                                  const Pegasus::String& role) const;
    /// The objects that stored instances of the association associate with the source.
    std::vector<Pegasus::CIMObjectPath> associated(const AssociationClass& association,
                                                   const AssociationFilter& filter) const;

    /// True when the source is a class that the association can refer to in the given role.
    bool isReferencedClass(const AssociationClass& association, const Pegasus::String& role) const;
    /// The classes that the association's schema associates with the source, when that is a class.
    std::vector<Pegasus::CIMName> associatedClasses(const AssociationClass& association,
                                                    const AssociationFilter& filter) const;

private:
    using Reference = AssociationClass::Reference;
    bool isSourceClass(const Reference& reference) const;
    bool refersToSource(const Pegasus::CIMInstance& association, const Reference& reference) const;
    bool passes(const Pegasus::CIMName& className, const Reference& reference,
                const AssociationFilter& filter) const;

    const Repository& repository_;
    const Pegasus::CIMNamespaceName nameSpace_;
    const Pegasus::CIMObjectPath source_;
    const bool sourceIsClass_;
};

}  // namespace cimom
