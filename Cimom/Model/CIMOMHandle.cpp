#include <Pegasus/Provider/CIMOMHandle.h>

#include "Model/ObjectManager.h"

namespace Pegasus
{

namespace
{

cimom::ObjectManager& manager()
{
    if (cimom::ObjectManager* current = cimom::ObjectManager::current()) return *current;
    throw CIMException(CIM_ERR_FAILED, String("No object manager is running in this process."));
}

[[noreturn]] void throwNotSupported(const char* operation)
{
    throw CIMException(
        CIM_ERR_NOT_SUPPORTED,
        String("The embedded object manager does not support ") + String(operation) + String("."));
}

}  // namespace

CIMOMHandle::CIMOMHandle() = default;
CIMOMHandle::CIMOMHandle(const CIMOMHandle&) = default;
CIMOMHandle::~CIMOMHandle() = default;
CIMOMHandle& CIMOMHandle::operator=(const CIMOMHandle&) = default;

CIMClass CIMOMHandle::getClass(const OperationContext& context, const CIMNamespaceName& nameSpace,
                               const CIMName& className, Boolean localOnly,
                               Boolean includeQualifiers, Boolean includeClassOrigin,
                               const CIMPropertyList& propertyList)
{
    return manager().getClass(context, nameSpace, className, localOnly, includeQualifiers,
                              includeClassOrigin, propertyList);
}

Array<CIMClass> CIMOMHandle::enumerateClasses(const OperationContext& context,
                                              const CIMNamespaceName& nameSpace,
                                              const CIMName& className, Boolean deepInheritance,
                                              Boolean localOnly, Boolean includeQualifiers,
                                              Boolean includeClassOrigin)
{
    return manager().enumerateClasses(context, nameSpace, className, deepInheritance, localOnly,
                                      includeQualifiers, includeClassOrigin);
}

Array<CIMName> CIMOMHandle::enumerateClassNames(const OperationContext& context,
                                                const CIMNamespaceName& nameSpace,
                                                const CIMName& className, Boolean deepInheritance)
{
    return manager().enumerateClassNames(context, nameSpace, className, deepInheritance);
}

void CIMOMHandle::createClass(const OperationContext&, const CIMNamespaceName&, const CIMClass&)
{
    throwNotSupported("CreateClass");
}

void CIMOMHandle::modifyClass(const OperationContext&, const CIMNamespaceName&, const CIMClass&)
{
    throwNotSupported("ModifyClass");
}

void CIMOMHandle::deleteClass(const OperationContext&, const CIMNamespaceName&, const CIMName&)
{
    throwNotSupported("DeleteClass");
}

CIMInstance CIMOMHandle::getInstance(const OperationContext& context,
                                     const CIMNamespaceName& nameSpace,
                                     const CIMObjectPath& instanceName, Boolean,
                                     Boolean includeQualifiers, Boolean includeClassOrigin,
                                     const CIMPropertyList& propertyList)
{
    return manager().getInstance(context, nameSpace, instanceName, includeQualifiers,
                                 includeClassOrigin, propertyList);
}

Array<CIMInstance> CIMOMHandle::enumerateInstances(
    const OperationContext& context, const CIMNamespaceName& nameSpace, const CIMName& className,
    Boolean deepInheritance, Boolean, Boolean includeQualifiers, Boolean includeClassOrigin,
    const CIMPropertyList& propertyList)
{
    return manager().enumerateInstances(context, nameSpace, className, deepInheritance,
                                        includeQualifiers, includeClassOrigin, propertyList);
}

Array<CIMObjectPath> CIMOMHandle::enumerateInstanceNames(const OperationContext& context,
                                                         const CIMNamespaceName& nameSpace,
                                                         const CIMName& className)
{
    return manager().enumerateInstanceNames(context, nameSpace, className);
}

CIMObjectPath CIMOMHandle::createInstance(const OperationContext& context,
                                          const CIMNamespaceName& nameSpace,
                                          const CIMInstance& newInstance)
{
    return manager().createInstance(context, nameSpace, newInstance);
}

void CIMOMHandle::modifyInstance(const OperationContext& context, const CIMNamespaceName& nameSpace,
                                 const CIMInstance& modifiedInstance, Boolean includeQualifiers,
                                 const CIMPropertyList& propertyList)
{
    manager().modifyInstance(context, nameSpace, modifiedInstance, includeQualifiers, propertyList);
}

void CIMOMHandle::deleteInstance(const OperationContext& context, const CIMNamespaceName& nameSpace,
                                 const CIMObjectPath& instanceName)
{
    manager().deleteInstance(context, nameSpace, instanceName);
}

Array<CIMObject> CIMOMHandle::execQuery(const OperationContext&, const CIMNamespaceName&,
                                        const String&, const String&)
{
    throwNotSupported("ExecQuery");
}

Array<CIMObject> CIMOMHandle::associators(const OperationContext& context,
                                          const CIMNamespaceName& nameSpace,
                                          const CIMObjectPath& objectName,
                                          const CIMName& assocClass, const CIMName& resultClass,
                                          const String& role, const String& resultRole,
                                          Boolean includeQualifiers, Boolean includeClassOrigin,
                                          const CIMPropertyList& propertyList)
{
    return manager().associators(context, nameSpace, objectName, assocClass, resultClass, role,
                                 resultRole, includeQualifiers, includeClassOrigin, propertyList);
}

Array<CIMObjectPath> CIMOMHandle::associatorNames(const OperationContext& context,
                                                  const CIMNamespaceName& nameSpace,
                                                  const CIMObjectPath& objectName,
                                                  const CIMName& assocClass,
                                                  const CIMName& resultClass, const String& role,
                                                  const String& resultRole)
{
    return manager().associatorNames(context, nameSpace, objectName, assocClass, resultClass, role,
                                     resultRole);
}

Array<CIMObject> CIMOMHandle::references(const OperationContext& context,
                                         const CIMNamespaceName& nameSpace,
                                         const CIMObjectPath& objectName,
                                         const CIMName& resultClass, const String& role,
                                         Boolean includeQualifiers, Boolean includeClassOrigin,
                                         const CIMPropertyList& propertyList)
{
    return manager().references(context, nameSpace, objectName, resultClass, role,
                                includeQualifiers, includeClassOrigin, propertyList);
}

Array<CIMObjectPath> CIMOMHandle::referenceNames(const OperationContext& context,
                                                 const CIMNamespaceName& nameSpace,
                                                 const CIMObjectPath& objectName,
                                                 const CIMName& resultClass, const String& role)
{
    return manager().referenceNames(context, nameSpace, objectName, resultClass, role);
}

CIMValue CIMOMHandle::getProperty(const OperationContext& context,
                                  const CIMNamespaceName& nameSpace,
                                  const CIMObjectPath& instanceName, const CIMName& propertyName)
{
    return manager().getProperty(context, nameSpace, instanceName, propertyName);
}

void CIMOMHandle::setProperty(const OperationContext& context, const CIMNamespaceName& nameSpace,
                              const CIMObjectPath& instanceName, const CIMName& propertyName,
                              const CIMValue& newValue)
{
    manager().setProperty(context, nameSpace, instanceName, propertyName, newValue);
}

CIMValue CIMOMHandle::invokeMethod(const OperationContext& context,
                                   const CIMNamespaceName& nameSpace,
                                   const CIMObjectPath& instanceName, const CIMName& methodName,
                                   const Array<CIMParamValue>& inParameters,
                                   Array<CIMParamValue>& outParameters)
{
    return manager().invokeMethod(context, nameSpace, instanceName, methodName, inParameters,
                                  outParameters);
}

void CIMOMHandle::disallowProviderUnload() {}

void CIMOMHandle::allowProviderUnload() {}

}  // namespace Pegasus
