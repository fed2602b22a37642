// CIM classes.
#pragma once

#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMMethod.h>
#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/CIMPropertyList.h>
#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/Linkage.h>

namespace Pegasus
{

namespace detail
{

/// What a class answers, changeable or not.
class PEGASUS_COMMON_LINKAGE ClassReader : public ObjectReader
{
public:
    /// True when the qualifier Association is there and true.
    Boolean isAssociation() const;
    /// True when the qualifier Abstract is there and true.
    Boolean isAbstract() const;
    /// Null for a root class.
    const CIMName& getSuperClassName() const;
    /// The position of the method of that name (ignoring case), or PEG_NOT_FOUND.
    Uint32 findMethod(const CIMName& name) const;
    /// Throws IndexOutOfBoundsException.
    CIMConstMethod getMethod(Uint32 index) const;
    Uint32 getMethodCount() const;
    /// Replaces the array by the names of the properties whose qualifier Key is true.
    void getKeyNames(Array<CIMName>& keyNames) const;
    Boolean hasKeys() const;
    /// Same path, superclass, properties, methods and qualifiers in the same order.
    Boolean identical(const CIMConstClass& x) const;
    /// An independent deep copy.
    CIMClass clone() const;

protected:
    ClassReader() = default;
    /// Throws DynamicCastFailedException unless `other` is a class.
    explicit ClassReader(const ObjectReader& other);
    /// Throws UninitializedObjectException when the class name is null.
    ClassReader(const CIMName& className, const CIMName& superClassName);
};

}  // namespace detail

/// A class: properties, methods and qualifiers under a name. A handle.
class PEGASUS_COMMON_LINKAGE CIMClass : public detail::Object<CIMClass, detail::ClassReader>
{
public:
    CIMClass() = default;
    /// A handle on the same class. Throws DynamicCastFailedException when it is none.
    explicit CIMClass(const CIMObject& x) : Object(static_cast<const detail::ObjectReader&>(x)) {}
    /// Throws UninitializedObjectException when the class name is null.
    CIMClass(const CIMName& className, const CIMName& superClassName = CIMName())
        : Object(className, superClassName)
    {
    }

    void setSuperClassName(const CIMName& superClassName);

    /// Stores the handle, not a copy. Throws AlreadyExistsException for a name that is there,
    /// UninitializedObjectException for an uninitialized method.
    CIMClass& addMethod(const CIMMethod& x);
    using ClassReader::getMethod;
    CIMMethod getMethod(Uint32 index);
    /// Throws IndexOutOfBoundsException.
    void removeMethod(Uint32 index);

    /// A new instance with the listed properties (null list: all) in the order of the class, with
    /// their default values. Qualifiers of the class and its properties, and class origins, only
    /// when asked for. Its path is the bare class name. Abstract classes are accepted.
    CIMInstance buildInstance(Boolean includeQualifiers, Boolean includeClassOrigin,
                              const CIMPropertyList& propertyList) const;
};

/// A handle on a class that offers no setters.
class PEGASUS_COMMON_LINKAGE CIMConstClass : public detail::ClassReader
{
public:
    CIMConstClass() = default;
    CIMConstClass(const CIMClass& x) : ClassReader(x) {}
    explicit CIMConstClass(const CIMObject& x) : ClassReader(static_cast<const ObjectReader&>(x)) {}
    explicit CIMConstClass(const CIMConstObject& x)
        : ClassReader(static_cast<const ObjectReader&>(x))
    {
    }
    CIMConstClass(const CIMName& className, const CIMName& superClassName = CIMName())
        : ClassReader(className, superClassName)
    {
    }
};

}  // namespace Pegasus
