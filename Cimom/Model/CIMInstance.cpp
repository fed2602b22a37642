#include <Pegasus/Common/CIMInstance.h>

#include "Model/Elements.h"

#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/InternalException.h>

namespace Pegasus
{

namespace detail
{

const CIMObjectPath& InstanceHandle::getPath() const
{
    return object().path;
}

void InstanceHandle::setPath(const CIMObjectPath& path)
{
    cimom::Instance& instance = object();
    if (path.getClassName().isNull()) throw UninitializedObjectException();
    if (instance.path.getClassName() != path.getClassName()) throw TypeMismatchException();
    instance.path = path;
}

Uint32 InstanceHandle::findProperty(const CIMName& name) const
{
    return object().properties.positionOf(name);
}

CIMProperty InstanceHandle::getProperty(Uint32 index)
{
    if (index >= getPropertyCount()) throwOutOfBounds();
    return CIMProperty(shared(), index);
}

CIMConstProperty InstanceHandle::getProperty(Uint32 index) const
{
    if (index >= getPropertyCount()) throwOutOfBounds();
    return CIMProperty(shared(), index);
}

Uint32 InstanceHandle::getPropertyCount() const
{
    return Uint32(object().properties.size());
}

std::shared_ptr<cimom::Instance> InstanceHandle::copy() const
{
    const cimom::Instance& instance = object();
    return std::make_shared<cimom::Instance>(
        cimom::Instance{instance.path, instance.qualifiers, instance.properties.clone()});
}

}  // namespace detail

CIMInstance::CIMInstance(const CIMObject& x) : InstanceHandle(x.shared())
{
    if (isUninitialized()) throw DynamicCastFailedException();
}

CIMInstance::CIMInstance(const CIMName& className)
    : InstanceHandle(std::make_shared<cimom::Instance>())
{
    if (className.isNull()) throw UninitializedObjectException();
    object().path.setClassName(className);
}

CIMInstance& CIMInstance::addProperty(const CIMProperty& x)
{
    const CIMName& name = x.getName();
    if (findProperty(name) != PEG_NOT_FOUND) {
        throw AlreadyExistsException("property \"" + name.getString() + "\"");
    }
    object().properties.push_back(x.shared());
    return *this;
}

CIMObjectPath CIMInstance::buildPath(const CIMClass& cimClass) const
{
    Array<CIMName> names;
    cimClass.getKeyNames(names);
    Array<CIMKeyBinding> keys;
    for (Uint32 i = 0; i < names.size(); ++i) {
        const CIMValue* const value = object().value(names[i]);
        if (!value) throw NoSuchProperty(names[i].getString());
        keys.append(CIMKeyBinding(names[i], *value));
    }
    return CIMObjectPath(String(), CIMNamespaceName(), getClassName(), keys);
}

Boolean CIMInstance::identical(const CIMInstance& x) const
{
    return cimom::identical(object(), x.object());
}

}  // namespace Pegasus
