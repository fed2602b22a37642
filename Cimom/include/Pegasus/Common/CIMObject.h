// Objects: what classes and instances have in common.
#pragma once

#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMProperty.h>
#include <Pegasus/Common/CIMPropertyList.h>
#include <Pegasus/Common/CIMQualifier.h>
#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/Linkage.h>
#include <Pegasus/Common/String.h>

namespace Pegasus
{

class CIMClass;
class CIMConstClass;
class CIMInstance;
class CIMConstInstance;
class CIMObject;
class CIMConstObject;

namespace detail
{

/// What a class or an instance answers, changeable or not.
class PEGASUS_COMMON_LINKAGE ObjectReader : public QualifiedReader
{
public:
    /// The class name of the path.
    const CIMName& getClassName() const;
    const CIMObjectPath& getPath() const;
    /// The position of the property of that name (ignoring case), or PEG_NOT_FOUND.
    Uint32 findProperty(const CIMName& name) const;
    /// Throws IndexOutOfBoundsException.
    CIMConstProperty getProperty(Uint32 index) const;
    Uint32 getPropertyCount() const;

protected:
    ObjectReader() = default;
    void assignPath(const CIMObjectPath& path);
    void insertProperty(const CIMProperty& x);
    CIMProperty propertyAt(Uint32 index) const;
    void eraseProperty(Uint32 index);
    void filterInstance(Boolean includeQualifiers, Boolean includeClassOrigin,
                        const CIMPropertyList& propertyList);
    Boolean isIdentical(const ObjectReader& x) const;
};

/// What a class or an instance of handle class Self lets change.
template <class Self, class Reader>
class Object : public Qualified<Self, Reader>
{
public:
    /// Takes over the path with its spelling of the class name. Throws TypeMismatchException when
    /// the path is of another class, UninitializedObjectException when it has none.
    void setPath(const CIMObjectPath& path) { this->assignPath(path); }
    /// Stores the handle, not a copy. Throws AlreadyExistsException for a name that is there,
    /// UninitializedObjectException for an uninitialized property, TypeMismatchException for a
    /// reference without reference class in a class.
    Self& addProperty(const CIMProperty& x)
    {
        this->insertProperty(x);
        return static_cast<Self&>(*this);
    }
    using Reader::getProperty;
    CIMProperty getProperty(Uint32 index) { return this->propertyAt(index); }
    /// Throws IndexOutOfBoundsException.
    void removeProperty(Uint32 index) { this->eraseProperty(index); }

protected:
    Object() = default;
    using Qualified<Self, Reader>::Qualified;
};

/// What a CIMObject answers, changeable or not.
class PEGASUS_COMMON_LINKAGE AnyObjectReader : public ObjectReader
{
public:
    Boolean isClass() const;
    Boolean isInstance() const;
    /// Text for logs.
    String toString() const;
    /// Same content in the same order; what only classes have counts when this is a class.
    Boolean identical(const CIMConstObject& x) const;
    /// An independent deep copy.
    CIMObject clone() const;

protected:
    AnyObjectReader() = default;
    explicit AnyObjectReader(const ObjectReader& other) : ObjectReader(other) {}
};

}  // namespace detail

/// A class or an instance. A handle on the same object as the class or instance it was made from.
class PEGASUS_COMMON_LINKAGE CIMObject : public detail::Object<CIMObject, detail::AnyObjectReader>
{
public:
    CIMObject() = default;
    CIMObject(const CIMClass& x);
    CIMObject(const CIMInstance& x);

    /// See CIMInstance::instanceFilter; works on a class just so.
    void instanceFilter(Boolean includeQualifiers, Boolean includeClassOrigin,
                        const CIMPropertyList& propertyList);
};

/// A handle on a class or an instance that offers no setters.
class PEGASUS_COMMON_LINKAGE CIMConstObject : public detail::AnyObjectReader
{
public:
    CIMConstObject() = default;
    CIMConstObject(const CIMObject& x) : AnyObjectReader(x) {}
    CIMConstObject(const CIMClass& x);
    CIMConstObject(const CIMInstance& x);
    CIMConstObject(const CIMConstClass& x);
    CIMConstObject(const CIMConstInstance& x);
};

}  // namespace Pegasus
