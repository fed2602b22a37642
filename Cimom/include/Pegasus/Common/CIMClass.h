// CIM classes.
#pragma once

#include <Pegasus/Common/CIMInstance.h>

namespace cimom
{

struct Class;

}  // namespace cimom

namespace Pegasus
{

/// A class as the object manager knows it: to read, and to make instances of. A handle.
class CIMClass : public detail::Handle<const cimom::Class>
{
public:
    using Handle::Handle;
    CIMClass() = default;

    const CIMName& getClassName() const;
    /// Replaces the array by the names of the properties whose qualifier Key is true.
    void getKeyNames(Array<CIMName>& keyNames) const;
    /// The position of the property of that name (ignoring case), or PEG_NOT_FOUND.
    Uint32 findProperty(const CIMName& name) const;
    /// Throws IndexOutOfBoundsException.
    CIMConstProperty getProperty(Uint32 index) const;
    Uint32 getPropertyCount() const;

    /// A new instance with the listed properties (null list: all) in the order of the class, with
    /// their default values. Qualifiers of the class and its properties, and class origins, only
    /// if requested. Its path is the bare class name. Abstract classes are accepted.
    CIMInstance buildInstance(Boolean includeQualifiers, Boolean includeClassOrigin,
                              const CIMPropertyList& propertyList) const;
};

}  // namespace Pegasus
