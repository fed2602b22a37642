// Properties of classes and instances.
#pragma once

#include <Pegasus/Common/CIMHandle.h>
#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMValue.h>

namespace cimom
{

struct Property;

}  // namespace cimom

namespace Pegasus
{

class CIMProperty;
class CIMConstProperty;

namespace detail
{

/// What both handles on properties offer; `Property` is const for the one without setters.
template <class Property>
class PropertyHandle : public Handle<Property>
{
public:
    using Handle<Property>::Handle;

    const CIMName& getName() const;
    const CIMValue& getValue() const;
    CIMType getType() const { return getValue().getType(); }
    Boolean isArray() const { return getValue().isArray(); }
    /// An independent deep copy.
    CIMProperty clone() const;
};

}  // namespace detail

/// A property: a named value. A handle.
class CIMProperty : public detail::PropertyHandle<cimom::Property>
{
public:
    using PropertyHandle::PropertyHandle;
    CIMProperty() = default;
    /// The value also fixes type and arrayness. Throws UninitializedObjectException when the name
    /// is null; TypeMismatchException for an array of references, a reference class on something
    /// else than a reference, or an array size that does not match the value.
    CIMProperty(const CIMName& name, const CIMValue& value, Uint32 arraySize = 0,
                const CIMName& referenceClassName = CIMName(),
                const CIMName& classOrigin = CIMName(), Boolean propagated = false);

    /// Throws TypeMismatchException unless type and arrayness are the property's own, null or not.
    void setValue(const CIMValue& value);
};

/// A handle on a property that offers no setters; made from any CIMProperty.
class CIMConstProperty : public detail::PropertyHandle<const cimom::Property>
{
public:
    using PropertyHandle::PropertyHandle;
    CIMConstProperty() = default;
    CIMConstProperty(const CIMProperty& x) : PropertyHandle(x.shared()) {}
};

}  // namespace Pegasus
