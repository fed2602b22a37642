// Properties of classes and instances.
#pragma once

#include <Pegasus/Common/CIMHandle.h>
#include <Pegasus/Common/Elements.h>

namespace Pegasus
{

class CIMProperty;
class CIMConstProperty;

namespace detail
{

/// What both handles on properties offer.
template <class Property>
class PropertyHandle : public Handle<Property>
{
public:
    using Handle<Property>::Handle;

    const CIMName& getName() const { return this->object().name; }
    const CIMValue& getValue() const { return this->object().value; }
    CIMType getType() const { return getValue().getType(); }
    Boolean isArray() const { return getValue().isArray(); }
    /// The declared size of a fixed-size array, else 0.
    Uint32 getArraySize() const { return this->object().arraySize; }
    const CIMName& getReferenceClassName() const { return this->object().referenceClassName; }
    const CIMName& getClassOrigin() const { return this->object().classOrigin; }
    Boolean getPropagated() const { return this->object().propagated; }
    /// Same name, value, reference class, origin, propagation and qualifiers; the array size does
    /// not count.
    Boolean identical(const CIMConstProperty& x) const;
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

template <class Property>
Boolean detail::PropertyHandle<Property>::identical(const CIMConstProperty& x) const
{
    return cimom::identical(this->object(), x.object());
}

template <class Property>
CIMProperty detail::PropertyHandle<Property>::clone() const
{
    return CIMProperty(cimom::clone(this->object()));
}

}  // namespace Pegasus
