// Instances of CIM classes.
#pragma once

#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/CIMPropertyList.h>
#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/Linkage.h>

namespace Pegasus
{

namespace detail
{

/// What an instance answers, changeable or not.
class PEGASUS_COMMON_LINKAGE InstanceReader : public ObjectReader
{
public:
    /// The path made of the instance's class name and the values of the properties that the class
    /// marks as keys (in the class's spelling); host and namespace are empty. Throws NoSuchProperty
    /// when the instance lacks one, MalformedObjectNameException when a reference key is null.
    CIMObjectPath buildPath(const CIMConstClass& cimClass) const;
    /// Same path, properties and qualifiers in the same order.
    Boolean identical(const CIMConstInstance& x) const;
    /// An independent deep copy.
    CIMInstance clone() const;

protected:
    InstanceReader() = default;
    /// Throws DynamicCastFailedException unless `other` is an instance.
    explicit InstanceReader(const ObjectReader& other);
    /// Throws UninitializedObjectException when the name is null.
    explicit InstanceReader(const CIMName& className);
};

}  // namespace detail

/// An instance: a path, properties and qualifiers. A handle.
class PEGASUS_COMMON_LINKAGE CIMInstance
    : public detail::Object<CIMInstance, detail::InstanceReader>
{
public:
    CIMInstance() = default;
    /// A handle on the same instance. Throws DynamicCastFailedException when it is none.
    explicit CIMInstance(const CIMObject& x) : Object(static_cast<const detail::ObjectReader&>(x))
    {
    }
    /// Throws UninitializedObjectException when the name is null.
    CIMInstance(const CIMName& className) : Object(className) {}

    /// Removes the properties that are not listed (keys too) and, unless asked for, all qualifiers
    /// and class origins. Path and values stay.
    void instanceFilter(Boolean includeQualifiers, Boolean includeClassOrigin,
                        const CIMPropertyList& propertyList);
};

/// A handle on an instance that offers no setters.
class PEGASUS_COMMON_LINKAGE CIMConstInstance : public detail::InstanceReader
{
public:
    CIMConstInstance() = default;
    CIMConstInstance(const CIMInstance& x) : InstanceReader(x) {}
    explicit CIMConstInstance(const CIMObject& x)
        : InstanceReader(static_cast<const ObjectReader&>(x))
    {
    }
    explicit CIMConstInstance(const CIMConstObject& x)
        : InstanceReader(static_cast<const ObjectReader&>(x))
    {
    }
    CIMConstInstance(const CIMName& className) : InstanceReader(className) {}
};

}  // namespace Pegasus
