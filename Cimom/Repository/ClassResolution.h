// Inheritance between classes: what a class is once its superclass is taken into account.
#pragma once

#include "Model/ObjectManager.h"
#include "Model/QualifierDecl.h"

#include <functional>

namespace cimom
{

/// The elements of the namespace that a class may refer to.
struct SchemaLookup
{
    /// The declaration of a qualifier, null when there is none.
    std::function<const QualifierDecl*(const CIMName&)> qualifier;
    std::function<bool(const CIMName&)> hasClass;
};

/// Returns the class with everything it inherits; `superclass` is resolved itself, null for a root
/// class.
///
/// Order: inherited properties (methods) that the class does not override, as in the superclass,
/// then its own. An inherited element keeps all its qualifiers. The class itself and an element
/// that overrides get the inherited qualifiers that are not Restricted, in front of their own, the
/// last inherited one first. Parameters are as the overriding method declares them. An overriding
/// property has its own default or none.
///
/// Throws Pegasus::CIMException with CIM_ERR_INVALID_PARAMETER and a text that names the class,
/// the element and the rule: an undeclared qualifier, or one in a wrong scope; a changed
/// DisableOverride qualifier; an override of another type or of nothing; a new key below a class
/// with keys; a reference property outside an association or to an unknown class; an association
/// below a class that is none. The caller has to make sure that qualifiers have the declared type.
Class resolveClass(const Class& given, const Class* superclass, const SchemaLookup& schema);

/// The parts of a resolved class that the view selects; the class itself if those are all.
ClassPtr viewClass(const ClassPtr& resolved, const ClassView& view);

}  // namespace cimom
