// The list of properties that an operation is to deal with.
#pragma once

#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/CIMName.h>

#include <memory>
#include <vector>

namespace Pegasus
{

/// A list of property names. The null list (the default) means all properties, an empty list none.
class CIMPropertyList
{
public:
    CIMPropertyList() = default;
    /// Throws UninitializedObjectException when a name is null.
    CIMPropertyList(const Array<CIMName>& propertyNames);

    Boolean isNull() const { return isNull_; }
    Uint32 size() const { return names_.size(); }
    /// Throws IndexOutOfBoundsException.
    const CIMName& operator[](Uint32 index) const { return names_[index]; }
    /// True when the name is listed (ignoring case); false for the null list.
    Boolean contains(const CIMName& name) const;
    /// True when the name is listed or the list is null.
    Boolean useThisProperty(const CIMName& name) const { return isNull_ || contains(name); }

private:
    Array<CIMName> names_;
    std::shared_ptr<const std::vector<CIMName>> sorted_;  // null for the null list
    Boolean isNull_ = true;
};

}  // namespace Pegasus
