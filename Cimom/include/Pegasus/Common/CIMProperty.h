// Properties of classes and instances.
#pragma once

#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMQualifier.h>
#include <Pegasus/Common/CIMValue.h>
#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/Linkage.h>

namespace Pegasus
{

class CIMProperty;
class CIMConstProperty;

namespace detail
{

/// What a property answers, changeable or not.
class PEGASUS_COMMON_LINKAGE PropertyReader : public QualifiedReader
{
public:
    const CIMName& getName() const;
    const CIMValue& getValue() const;
    CIMType getType() const;
    Boolean isArray() const;
    /// The declared size of a fixed-size array, else 0.
    Uint32 getArraySize() const;
    const CIMName& getReferenceClassName() const;
    const CIMName& getClassOrigin() const;
    Boolean getPropagated() const;
    /// Same name, value, reference class, origin, propagation and qualifiers in order; the array
    /// size does not count.
    Boolean identical(const CIMConstProperty& x) const;
    /// An independent deep copy.
    CIMProperty clone() const;

protected:
    PropertyReader() = default;
    PropertyReader(const CIMName& name, const CIMValue& value, Uint32 arraySize,
                   const CIMName& referenceClassName, const CIMName& classOrigin,
                   Boolean propagated);
};

}  // namespace detail

/// A property: a named value with qualifiers. A handle.
class PEGASUS_COMMON_LINKAGE CIMProperty
    : public detail::Qualified<CIMProperty, detail::PropertyReader>
{
public:
    CIMProperty() = default;
    /// The value also fixes type and arrayness. Throws UninitializedObjectException when the name
    /// is null; TypeMismatchException for an array of references, a reference class on something
    /// else than a reference, or an array size that does not match the value.
    CIMProperty(const CIMName& name, const CIMValue& value, Uint32 arraySize = 0,
                const CIMName& referenceClassName = CIMName(),
                const CIMName& classOrigin = CIMName(), Boolean propagated = false)
        : Qualified(name, value, arraySize, referenceClassName, classOrigin, propagated)
    {
    }

    /// Throws Exception when the property sits in a container and the name differs in more than
    /// case.
    void setName(const CIMName& name);
    /// Throws TypeMismatchException unless type and arrayness are the property's own, null or not.
    void setValue(const CIMValue& value);
    void setClassOrigin(const CIMName& classOrigin);
    void setPropagated(Boolean propagated);
};

/// A handle on a property that offers no setters; made from any CIMProperty.
class PEGASUS_COMMON_LINKAGE CIMConstProperty : public detail::PropertyReader
{
public:
    CIMConstProperty() = default;
    CIMConstProperty(const CIMProperty& x) : PropertyReader(x) {}
    CIMConstProperty(const CIMName& name, const CIMValue& value, Uint32 arraySize = 0,
                     const CIMName& referenceClassName = CIMName(),
                     const CIMName& classOrigin = CIMName(), Boolean propagated = false)
        : PropertyReader(name, value, arraySize, referenceClassName, classOrigin, propagated)
    {
    }
};

}  // namespace Pegasus
