// Objects, as associations deliver them.
#pragma once

#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/Linkage.h>

namespace Pegasus
{

/// An object of an association's answer: always an instance here. A handle on the same object as
/// the instance it was made from.
class PEGASUS_COMMON_LINKAGE CIMObject : public detail::Handle<cimom::Instance>
{
public:
    CIMObject() = default;
    CIMObject(const CIMInstance& x) : Handle(x.shared()) {}

    const CIMName& getClassName() const;
    const CIMObjectPath& getPath() const;
    /// As CIMInstance::setPath.
    void setPath(const CIMObjectPath& path);
    Uint32 findProperty(const CIMName& name) const;
    /// Throws IndexOutOfBoundsException.
    CIMProperty getProperty(Uint32 index);
    CIMConstProperty getProperty(Uint32 index) const;
    Uint32 getPropertyCount() const;
    /// An independent deep copy.
    CIMObject clone() const;
};

}  // namespace Pegasus
