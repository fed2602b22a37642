#include <Pegasus/Provider/CIMOMHandle.h>

#include "Model/ObjectManager.h"

using cimom::ObjectManager;
using cimom::PathForm;

namespace Pegasus
{

CIMClass CIMOMHandle::getClass(const OperationContext& context, const CIMNamespaceName& nameSpace,
                               const CIMName& className, Boolean localOnly,
                               Boolean includeQualifiers, Boolean includeClassOrigin,
                               const CIMPropertyList& propertyList)
{
    return ObjectManager::running().getClass(
        context, nameSpace, className,
        {localOnly, includeQualifiers, includeClassOrigin, propertyList});
}

CIMInstance CIMOMHandle::getInstance(const OperationContext& context,
                                     const CIMNamespaceName& nameSpace,
                                     const CIMObjectPath& instanceName, Boolean,
                                     Boolean includeQualifiers, Boolean includeClassOrigin,
                                     const CIMPropertyList& propertyList)
{
    return ObjectManager::running().getInstance(
        context, nameSpace, instanceName, {includeQualifiers, includeClassOrigin, propertyList});
}

Array<CIMInstance> CIMOMHandle::enumerateInstances(
    const OperationContext& context, const CIMNamespaceName& nameSpace, const CIMName& className,
    Boolean deepInheritance, Boolean, Boolean includeQualifiers, Boolean includeClassOrigin,
    const CIMPropertyList& propertyList)
{
    return ObjectManager::running().enumerateInstances(
        context, nameSpace, className, deepInheritance,
        {includeQualifiers, includeClassOrigin, propertyList}, PathForm::Local);
}

Array<CIMObjectPath> CIMOMHandle::enumerateInstanceNames(const OperationContext& context,
                                                         const CIMNamespaceName& nameSpace,
                                                         const CIMName& className)
{
    return ObjectManager::running().enumerateInstanceNames(context, nameSpace, className,
                                                           PathForm::Local);
}

void CIMOMHandle::disallowProviderUnload() {}

void CIMOMHandle::allowProviderUnload() {}

}  // namespace Pegasus
