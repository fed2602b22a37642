// The list of properties that an operation is to deal with.
#pragma once

#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/Linkage.h>
#include <Pegasus/Common/String.h>

namespace Pegasus
{

/// A list of property names. The null list (the default) means all properties, an empty list none.
class PEGASUS_COMMON_LINKAGE CIMPropertyList
{
public:
    CIMPropertyList();
    /// Throws UninitializedObjectException when a name is null.
    CIMPropertyList(const Array<CIMName>& propertyNames);

    /// As the constructor; the list is unchanged when it throws.
    void set(const Array<CIMName>& propertyNames);
    /// Makes it the null list.
    void clear();
    Boolean isNull() const;
    Uint32 size() const;
    /// Throws IndexOutOfBoundsException.
    const CIMName& operator[](Uint32 index) const;
    Array<CIMName> getPropertyNameArray() const;
    /// Replaces the list by these names, each once; no names make a null list empty.
    void append(Array<String>& propertyListArray);
    /// True when the name is listed (ignoring case); false for the null list.
    Boolean contains(const CIMName& name) const;
    /// True when the name is listed or the list is null.
    Boolean useThisProperty(const CIMName& name) const;
    String toString() const;

private:
    Array<CIMName> _names;
    Boolean _isNull = true;
};

}  // namespace Pegasus
