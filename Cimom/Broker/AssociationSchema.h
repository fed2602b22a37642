// Which association classes tie which classes together.
#pragma once

#include "Repository/Repository.h"

#include <vector>

namespace cimom
{

/// Where a traversal of associations starts and what it is narrowed down to; null names and empty
/// roles let everything pass.
struct Traversal
{
    /// What it finds: the objects at the other ends of the associations, or the associations.
    enum Kind
    {
        Associators,
        References
    };

    Kind kind;
    CIMObjectPath source;
    CIMName associationClass;
    CIMName resultClass;  ///< as the role below, of the objects at the other ends
    Pegasus::String role;
    Pegasus::String resultRole;
};

/// The association classes of all namespaces. Read once, immutable.
class AssociationSchema
{
public:
    /// The repository must be complete by now and outlive this object.
    explicit AssociationSchema(const Repository&);

    /// The association classes whose providers are called for a traversal from an instance, in
    /// schema order: those with a reference that the source fits, of the association class given
    /// and its subclasses if one is given. Throws CIMException for unknown classes.
    std::vector<CIMName> associationsOf(const CIMNamespaceName&, const Traversal&) const;

    /// What a traversal from a class finds: the association classes that refer to it or one of its
    /// superclasses in that role, those of the superclasses first, the nearest before the others;
    /// or the classes at their other ends. Throws CIMException for unknown classes.
    std::vector<CIMName> classesOf(const CIMNamespaceName&, const Traversal&) const;

private:
    /// An association class, with the names of itself and its superclasses.
    struct Association
    {
        CIMNamespaceName nameSpace;
        ClassPtr definition;
        std::vector<CIMName> lineage;
    };
    /// A reference to a class, in an association class.
    struct Reference
    {
        const Class* association;
        const Property* property;
    };

    /// Throws CIMException when the traversal is narrowed down to a class that is unknown.
    void requireClasses(const CIMNamespaceName&, const Traversal&,
                        Pegasus::CIMStatusCode whenNoAssociation) const;
    /// The associations of that class (null: of any) and its subclasses.
    std::vector<const Association*> associations(const CIMNamespaceName&,
                                                 const CIMName& wanted) const;
    /// The references that a traversal from a class can start with.
    std::vector<Reference> referencesTo(const CIMNamespaceName&, const Traversal&) const;

    /// Whether the class is the wanted one (null: any) or below it.
    bool isKindOf(const CIMNamespaceName&, const CIMName&, const CIMName& wanted) const;

    const Repository& repository_;
    std::vector<Association> associations_;
};

}  // namespace cimom
