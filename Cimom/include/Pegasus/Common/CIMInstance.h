// Instances of CIM classes.
#pragma once

#include <Pegasus/Common/CIMHandle.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/CIMPropertyList.h>

namespace cimom
{

struct Instance;

}  // namespace cimom

namespace Pegasus
{

class CIMClass;
class CIMObject;

namespace detail
{

/// What both handles on instances offer.
class InstanceHandle : public Handle<cimom::Instance>
{
public:
    using Handle::Handle;

    /// The class name of the path.
    const CIMName& getClassName() const { return getPath().getClassName(); }
    const CIMObjectPath& getPath() const;
    /// Takes over the path with its spelling of the class name. Throws TypeMismatchException when
    /// the path is of another class, UninitializedObjectException when it has none.
    void setPath(const CIMObjectPath& path);

    /// The position of the property of that name (ignoring case), or PEG_NOT_FOUND.
    Uint32 findProperty(const CIMName& name) const;
    /// Throws IndexOutOfBoundsException.
    CIMProperty getProperty(Uint32 index);
    CIMConstProperty getProperty(Uint32 index) const;
    Uint32 getPropertyCount() const;

protected:
    std::shared_ptr<cimom::Instance> copy() const;
};

}  // namespace detail

/// An instance: a path and properties. A handle.
class CIMInstance : public detail::InstanceHandle
{
public:
    using InstanceHandle::InstanceHandle;
    CIMInstance() = default;
    /// A handle on the same instance. Throws DynamicCastFailedException for an uninitialized
    /// object.
    explicit CIMInstance(const CIMObject& x);
    /// Throws UninitializedObjectException when the name is null.
    CIMInstance(const CIMName& className);

    /// Stores the handle, not a copy. Throws AlreadyExistsException for a name that is there,
    /// UninitializedObjectException for an uninitialized property.
    CIMInstance& addProperty(const CIMProperty& x);
    /// The path made of the instance's class name and the values of the properties that the class
    /// marks as keys (in the class's spelling); host and namespace are empty. Throws NoSuchProperty
    /// when the instance lacks one, MalformedObjectNameException when a reference key is null.
    CIMObjectPath buildPath(const CIMClass& cimClass) const;
    /// Same path, qualifiers and properties in the same order.
    Boolean identical(const CIMInstance& x) const;
    /// An independent deep copy.
    CIMInstance clone() const { return CIMInstance(copy()); }
};

}  // namespace Pegasus
