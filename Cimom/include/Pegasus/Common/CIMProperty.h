// Properties of classes and instances.
#pragma once

#include <Pegasus/Common/CIMHandle.h>
#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMValue.h>

namespace cimom
{

struct Instance;
struct InstanceProperty;
struct Property;

}  // namespace cimom

namespace Pegasus
{

class CIMProperty;

namespace detail
{

/// What both handles on properties offer. A handle is on a property by itself, or on one in an
/// instance: that of a position.
class PropertyHandle
{
public:
    Boolean isUninitialized() const { return !property_ && !instance_; }
    const CIMName& getName() const;
    const CIMValue& getValue() const;
    CIMType getType() const { return getValue().getType(); }
    Boolean isArray() const { return getValue().isArray(); }
    /// An independent deep copy.
    CIMProperty clone() const;

protected:
    PropertyHandle() = default;
    explicit PropertyHandle(std::shared_ptr<cimom::Property> property);
    PropertyHandle(std::shared_ptr<cimom::Instance> instance, Uint32 position);

    cimom::InstanceProperty get() const;

    // At most one of them is there.
    std::shared_ptr<cimom::Property> property_;
    std::shared_ptr<cimom::Instance> instance_;
    Uint32 position_ = 0;
};

}  // namespace detail

/// A property: a named value. A handle.
class CIMProperty : public detail::PropertyHandle
{
public:
    CIMProperty() = default;
    explicit CIMProperty(std::shared_ptr<cimom::Property> property);
    CIMProperty(std::shared_ptr<cimom::Instance> instance, Uint32 position);
    /// The value also fixes type and arrayness. Throws UninitializedObjectException when the name
    /// is null; TypeMismatchException for an array of references, a reference class on something
    /// else than a reference, or an array size that does not match the value.
    CIMProperty(const CIMName& name, const CIMValue& value, Uint32 arraySize = 0,
                const CIMName& referenceClassName = CIMName(),
                const CIMName& classOrigin = CIMName(), Boolean propagated = false);

    /// Throws TypeMismatchException unless type and arrayness are the property's own, null or not.
    void setValue(const CIMValue& value);

    /// For the object manager: the property itself, which an instance shares from now on.
    std::shared_ptr<cimom::Property> shared() const;
};

/// A handle on a property that offers no setters; made from any CIMProperty.
class CIMConstProperty : public detail::PropertyHandle
{
public:
    CIMConstProperty() = default;
    explicit CIMConstProperty(const std::shared_ptr<const cimom::Property>& property);
    CIMConstProperty(const CIMProperty& x) : PropertyHandle(x) {}
};

}  // namespace Pegasus
