// Properties of classes and instances.
#pragma once

#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/CIMHandle.h>
#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMValue.h>
#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/Linkage.h>

namespace cimom
{
struct Property;
}

namespace Pegasus
{

class CIMConstProperty;

/// A property: a named value. A handle.
class PEGASUS_COMMON_LINKAGE CIMProperty : public detail::Handle<cimom::Property>
{
public:
    using Handle::Handle;
    CIMProperty() = default;
    /// The value also fixes type and arrayness. Throws UninitializedObjectException when the name
    /// is null; TypeMismatchException for an array of references, a reference class on something
    /// else than a reference, or an array size that does not match the value.
    CIMProperty(const CIMName& name, const CIMValue& value, Uint32 arraySize = 0,
                const CIMName& referenceClassName = CIMName(),
                const CIMName& classOrigin = CIMName(), Boolean propagated = false);

    const CIMName& getName() const;
    const CIMValue& getValue() const;
    /// Throws TypeMismatchException unless type and arrayness are the property's own, null or not.
    void setValue(const CIMValue& value);
    CIMType getType() const;
    Boolean isArray() const;
    /// The declared size of a fixed-size array, else 0.
    Uint32 getArraySize() const;
    const CIMName& getReferenceClassName() const;
    const CIMName& getClassOrigin() const;
    Boolean getPropagated() const;
    /// Same name, value, reference class, origin and propagation; the array size does not count.
    Boolean identical(const CIMConstProperty& x) const;
    /// An independent deep copy.
    CIMProperty clone() const;
};

/// A handle on a property that offers no setters; made from any CIMProperty.
class PEGASUS_COMMON_LINKAGE CIMConstProperty : public detail::Handle<const cimom::Property>
{
public:
    using Handle::Handle;
    CIMConstProperty() = default;
    CIMConstProperty(const CIMProperty& x) : Handle(x.shared()) {}

    const CIMName& getName() const;
    const CIMValue& getValue() const;
    CIMType getType() const;
    Boolean isArray() const;
    Uint32 getArraySize() const;
    const CIMName& getReferenceClassName() const;
    const CIMName& getClassOrigin() const;
    Boolean getPropagated() const;
    Boolean identical(const CIMConstProperty& x) const;
    CIMProperty clone() const;
};

}  // namespace Pegasus
