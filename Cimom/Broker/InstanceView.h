// What a client asked to see of each instance.
#pragma once

#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/CIMPropertyList.h>

namespace cimom
{

/// The filters of a read request. They are applied to everything that goes back to the client, as
/// providers are free to ignore them.
struct InstanceView
{
    bool includeQualifiers = false;
    bool includeClassOrigin = false;
    /// Null: all properties in the instance's order. Otherwise these, in the list's order; names
    /// that the instance lacks are left out, keys are not added.
    Pegasus::CIMPropertyList properties;

    /// The filtered instance under the given path (of the same class). It shares with the given
    /// one, which stays as it is, those properties that are shown whole.
    Pegasus::CIMInstance of(const Pegasus::CIMInstance& instance,
                            const Pegasus::CIMObjectPath& path) const;
};

/// The list without repeated names; the first of each stays. Null stays null.
Pegasus::CIMPropertyList withoutRepetitions(const Pegasus::CIMPropertyList& list);

/// The names of all properties of the class in its order.
Pegasus::CIMPropertyList propertyNames(const Pegasus::CIMConstClass& cimClass);

}  // namespace cimom
