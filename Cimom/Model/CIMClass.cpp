#include <Pegasus/Common/CIMClass.h>

#include "Model/Elements.h"

namespace Pegasus
{

const CIMName& CIMClass::getClassName() const
{
    return object().name();
}

void CIMClass::getKeyNames(Array<CIMName>& keyNames) const
{
    keyNames.clear();
    for (const auto& property : object().properties) {
        if (property->qualifiers.isTrue("Key")) keyNames.append(property->name);
    }
}

Uint32 CIMClass::findProperty(const CIMName& name) const
{
    return object().properties.positionOf(name);
}

CIMConstProperty CIMClass::getProperty(Uint32 index) const
{
    if (index >= getPropertyCount()) detail::throwOutOfBounds();
    return CIMConstProperty(object().properties[index]);
}

Uint32 CIMClass::getPropertyCount() const
{
    return Uint32(object().properties.size());
}

CIMInstance CIMClass::buildInstance(Boolean includeQualifiers, Boolean includeClassOrigin,
                                    const CIMPropertyList& propertyList) const
{
    const auto& declared = object().properties;
    cimom::InstanceProperties properties(shared());
    properties.reserve(declared.size());
    for (Uint32 i = 0; i < declared.size(); ++i) {
        if (propertyList.useThisProperty(declared[i]->name)) properties.addDeclared(i);
    }
    properties.hide(includeQualifiers, includeClassOrigin);
    CIMInstance instance(getClassName());
    if (includeQualifiers) instance.object().qualifiers = object().qualifiers;
    instance.object().properties = std::move(properties);
    return instance;
}

}  // namespace Pegasus
