// How providers and clients in this process reach its object manager.
#include "Model/Errors.h"
#include "Model/ObjectManager.h"

#include <Pegasus/Client/CIMClient.h>
#include <Pegasus/Provider/CIMOMHandle.h>

using cimom::ObjectManager;

std::atomic<ObjectManager*> ObjectManager::current{nullptr};

namespace Pegasus
{

namespace
{

ObjectManager& manager()
{
    if (ObjectManager* const current = ObjectManager::current) return *current;
    throw CIMException(CIM_ERR_FAILED, "No object manager is running in this process.");
}

}  // namespace

CIMClass CIMOMHandle::getClass(const OperationContext& context, const CIMNamespaceName& nameSpace,
                               const CIMName& className, Boolean localOnly,
                               Boolean includeQualifiers, Boolean includeClassOrigin,
                               const CIMPropertyList& propertyList)
{
    return manager().getClass(context, nameSpace, className,
                              {localOnly, includeQualifiers, includeClassOrigin, propertyList});
}

CIMInstance CIMOMHandle::getInstance(const OperationContext& context,
                                     const CIMNamespaceName& nameSpace,
                                     const CIMObjectPath& instanceName, Boolean,
                                     Boolean includeQualifiers, Boolean includeClassOrigin,
                                     const CIMPropertyList& propertyList)
{
    return manager().getInstance(context, nameSpace, instanceName,
                                 {includeQualifiers, includeClassOrigin, propertyList});
}

Array<CIMInstance> CIMOMHandle::enumerateInstances(
    const OperationContext& context, const CIMNamespaceName& nameSpace, const CIMName& className,
    Boolean deepInheritance, Boolean, Boolean includeQualifiers, Boolean includeClassOrigin,
    const CIMPropertyList& propertyList)
{
    return manager().enumerateInstances(context, nameSpace, className, deepInheritance,
                                        {includeQualifiers, includeClassOrigin, propertyList});
}

Array<CIMObjectPath> CIMOMHandle::enumerateInstanceNames(const OperationContext& context,
                                                         const CIMNamespaceName& nameSpace,
                                                         const CIMName& className)
{
    return manager().enumerateInstanceNames(context, nameSpace, className);
}

void CIMOMHandle::disallowProviderUnload() {}

void CIMOMHandle::allowProviderUnload() {}

void CIMClient::connectLocal()
{
    if (_connected) throw AlreadyConnectedException();
    if (!ObjectManager::current) {
        throw CannotConnectException("Cannot connect to local CIM server. Connection failed.");
    }
    _connected = true;
}

Array<CIMObjectPath> CIMClient::enumerateInstanceNames(const CIMNamespaceName& nameSpace,
                                                       const CIMName& className)
{
    if (!_connected) throw NotConnectedException();
    try {
        return manager().enumerateInstanceNames(OperationContext(), nameSpace, className);
    } catch (const CIMException& error) {
        throw CIMException(error.getCode(), cimom::describe(error));
    }
}

}  // namespace Pegasus
