// Inheritance between classes: what a class is once its superclass is taken into account.
#pragma once

#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/CIMPropertyList.h>
#include <Pegasus/Common/CIMQualifierDecl.h>

#include <functional>

namespace cimom
{

/// What resolution has to know of the namespace.
struct SchemaLookup
{
    /// The declaration of a qualifier, null when there is none.
    std::function<const Pegasus::CIMQualifierDecl*(const Pegasus::CIMName&)> qualifier;
    std::function<bool(const Pegasus::CIMName&)> hasClass;
};

/// Returns the class with everything it inherits. `superclass` is resolved itself, or uninitialized
/// for a root class. The arguments are not changed.
///
/// Order: inherited properties (methods) that the class does not override, as in the superclass,
/// then its own. An inherited element keeps all its qualifiers. The class itself and an element
/// that overrides get the inherited qualifiers that are not Restricted, in front of their own, the
/// last inherited one first. Parameters are as the overriding method declares them. An overriding
/// property has its own default or none.
///
/// Throws Pegasus::CIMException with CIM_ERR_INVALID_PARAMETER and a text that names the class,
/// the element and the rule: an undeclared qualifier, or one of another type or in a wrong scope;
/// a changed DisableOverride qualifier; an override of another type or of nothing; a new key below
/// a class with keys; a reference property outside an association or to an unknown class; an
/// association below a class that is none.
Pegasus::CIMClass resolveClass(const Pegasus::CIMClass& given, const Pegasus::CIMClass& superclass,
                               const SchemaLookup& schema);

/// Returns what GetClass shows of a resolved class. localOnly leaves out elements and qualifiers
/// that are inherited and not overridden; a null list means all properties. Methods are always
/// there.
Pegasus::CIMClass viewClass(const Pegasus::CIMClass& resolved, bool localOnly,
                            bool includeQualifiers, bool includeClassOrigin,
                            const Pegasus::CIMPropertyList& properties);

}  // namespace cimom
