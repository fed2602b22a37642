#include <Pegasus/Client/CIMClient.h>

#include "Model/ObjectManager.h"

#include <utility>

namespace Pegasus
{

namespace
{

using Manager = cimom::ObjectManager;

Manager& localManager()
{
    if (Manager* manager = Manager::current()) return *manager;
    throw CannotConnectException(String("Cannot connect to local CIM server. Connection failed."));
}

[[noreturn]] void throwNoNetwork(const String& host, Uint32 portNumber)
{
    String text("Cannot connect to ");
    text.append(host);
    text.appendPrintf(":%u. ", portNumber);
    text.append(String("The embedded CIM library has no network client: use connectLocal()."));
    throw CannotConnectException(text);
}

/// The error as a client sees it, with the name of the code in front.
CIMException clientError(const CIMException& error)
{
    String text(cimStatusCodeToString(error.getCode()));
    if (error.getMessage().size() > 0) text = text + String(": ") + error.getMessage();
    return CIMException(error.getCode(), text);
}

/// Runs an operation of the object manager for a connected client, as the user without name.
template <class Result, class... Parameters, class... Arguments>
Result call(Boolean connected, Result (Manager::*operation)(const OperationContext&, Parameters...),
            Arguments&&... arguments)
{
    if (!connected) throw NotConnectedException();
    try {
        return (localManager().*operation)(OperationContext(),
                                           std::forward<Arguments>(arguments)...);
    } catch (const CIMException& error) {
        throw clientError(error);
    }
}

}  // namespace

CIMClient::CIMClient() = default;

CIMClient::~CIMClient() = default;

Uint32 CIMClient::getTimeout() const
{
    return _timeout;
}

void CIMClient::setTimeout(Uint32 timeoutMilliseconds)
{
    _timeout = timeoutMilliseconds;
}

void CIMClient::connect(const String& host, const Uint32 portNumber, const String&, const String&)
{
    if (_connected) throw AlreadyConnectedException();
    throwNoNetwork(host, portNumber);
}

void CIMClient::connect(const String& host, const Uint32 portNumber, const SSLContext&,
                        const String& userName, const String& password)
{
    connect(host, portNumber, userName, password);
}

void CIMClient::connectLocal()
{
    if (_connected) throw AlreadyConnectedException();
    localManager();
    _connected = true;
}

void CIMClient::disconnect()
{
    _connected = false;
}

CIMClass CIMClient::getClass(const CIMNamespaceName& nameSpace, const CIMName& className,
                             Boolean localOnly, Boolean includeQualifiers,
                             Boolean includeClassOrigin, const CIMPropertyList& propertyList)
{
    return call(_connected, &Manager::getClass, nameSpace, className, localOnly, includeQualifiers,
                includeClassOrigin, propertyList);
}

Array<CIMClass> CIMClient::enumerateClasses(const CIMNamespaceName& nameSpace,
                                            const CIMName& className, Boolean deepInheritance,
                                            Boolean localOnly, Boolean includeQualifiers,
                                            Boolean includeClassOrigin)
{
    return call(_connected, &Manager::enumerateClasses, nameSpace, className, deepInheritance,
                localOnly, includeQualifiers, includeClassOrigin);
}

Array<CIMName> CIMClient::enumerateClassNames(const CIMNamespaceName& nameSpace,
                                              const CIMName& className, Boolean deepInheritance)
{
    return call(_connected, &Manager::enumerateClassNames, nameSpace, className, deepInheritance);
}

CIMQualifierDecl CIMClient::getQualifier(const CIMNamespaceName& nameSpace,
                                         const CIMName& qualifierName)
{
    return call(_connected, &Manager::getQualifier, nameSpace, qualifierName);
}

Array<CIMQualifierDecl> CIMClient::enumerateQualifiers(const CIMNamespaceName& nameSpace)
{
    return call(_connected, &Manager::enumerateQualifiers, nameSpace);
}

CIMInstance CIMClient::getInstance(const CIMNamespaceName& nameSpace,
                                   const CIMObjectPath& instanceName, Boolean,
                                   Boolean includeQualifiers, Boolean includeClassOrigin,
                                   const CIMPropertyList& propertyList)
{
    return call(_connected, &Manager::getInstance, nameSpace, instanceName, includeQualifiers,
                includeClassOrigin, propertyList);
}

Array<CIMInstance> CIMClient::enumerateInstances(const CIMNamespaceName& nameSpace,
                                                 const CIMName& className, Boolean deepInheritance,
                                                 Boolean, Boolean includeQualifiers,
                                                 Boolean includeClassOrigin,
                                                 const CIMPropertyList& propertyList)
{
    return call(_connected, &Manager::enumerateInstances, nameSpace, className, deepInheritance,
                includeQualifiers, includeClassOrigin, propertyList);
}

Array<CIMObjectPath> CIMClient::enumerateInstanceNames(const CIMNamespaceName& nameSpace,
                                                       const CIMName& className)
{
    return call(_connected, &Manager::enumerateInstanceNames, nameSpace, className);
}

CIMObjectPath CIMClient::createInstance(const CIMNamespaceName& nameSpace,
                                        const CIMInstance& newInstance)
{
    return call(_connected, &Manager::createInstance, nameSpace, newInstance);
}

void CIMClient::modifyInstance(const CIMNamespaceName& nameSpace,
                               const CIMInstance& modifiedInstance, Boolean includeQualifiers,
                               const CIMPropertyList& propertyList)
{
    call(_connected, &Manager::modifyInstance, nameSpace, modifiedInstance, includeQualifiers,
         propertyList);
}

void CIMClient::deleteInstance(const CIMNamespaceName& nameSpace, const CIMObjectPath& instanceName)
{
    call(_connected, &Manager::deleteInstance, nameSpace, instanceName);
}

Array<CIMObject> CIMClient::associators(const CIMNamespaceName& nameSpace,
                                        const CIMObjectPath& objectName, const CIMName& assocClass,
                                        const CIMName& resultClass, const String& role,
                                        const String& resultRole, Boolean includeQualifiers,
                                        Boolean includeClassOrigin,
                                        const CIMPropertyList& propertyList)
{
    return call(_connected, &Manager::associators, nameSpace, objectName, assocClass, resultClass,
                role, resultRole, includeQualifiers, includeClassOrigin, propertyList);
}

Array<CIMObjectPath> CIMClient::associatorNames(const CIMNamespaceName& nameSpace,
                                                const CIMObjectPath& objectName,
                                                const CIMName& assocClass,
                                                const CIMName& resultClass, const String& role,
                                                const String& resultRole)
{
    return call(_connected, &Manager::associatorNames, nameSpace, objectName, assocClass,
                resultClass, role, resultRole);
}

Array<CIMObject> CIMClient::references(const CIMNamespaceName& nameSpace,
                                       const CIMObjectPath& objectName, const CIMName& resultClass,
                                       const String& role, Boolean includeQualifiers,
                                       Boolean includeClassOrigin,
                                       const CIMPropertyList& propertyList)
{
    return call(_connected, &Manager::references, nameSpace, objectName, resultClass, role,
                includeQualifiers, includeClassOrigin, propertyList);
}

Array<CIMObjectPath> CIMClient::referenceNames(const CIMNamespaceName& nameSpace,
                                               const CIMObjectPath& objectName,
                                               const CIMName& resultClass, const String& role)
{
    return call(_connected, &Manager::referenceNames, nameSpace, objectName, resultClass, role);
}

CIMValue CIMClient::getProperty(const CIMNamespaceName& nameSpace,
                                const CIMObjectPath& instanceName, const CIMName& propertyName)
{
    return call(_connected, &Manager::getProperty, nameSpace, instanceName, propertyName);
}

void CIMClient::setProperty(const CIMNamespaceName& nameSpace, const CIMObjectPath& instanceName,
                            const CIMName& propertyName, const CIMValue& newValue)
{
    call(_connected, &Manager::setProperty, nameSpace, instanceName, propertyName, newValue);
}

CIMValue CIMClient::invokeMethod(const CIMNamespaceName& nameSpace,
                                 const CIMObjectPath& instanceName, const CIMName& methodName,
                                 const Array<CIMParamValue>& inParameters,
                                 Array<CIMParamValue>& outParameters)
{
    return call(_connected, &Manager::invokeMethod, nameSpace, instanceName, methodName,
                inParameters, outParameters);
}

}  // namespace Pegasus
