// Objects, as associations deliver them.
#pragma once

#include <Pegasus/Common/CIMInstance.h>

namespace Pegasus
{

/// An object in the result of an association operation: always an instance here. A handle on the
/// same object as the instance it was made from.
class CIMObject : public detail::InstanceHandle
{
public:
    using InstanceHandle::InstanceHandle;
    CIMObject() = default;
    CIMObject(const CIMInstance& x) : InstanceHandle(x.shared()) {}

    /// An independent deep copy.
    CIMObject clone() const { return CIMObject(copy()); }
};

}  // namespace Pegasus
