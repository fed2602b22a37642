// A client of the object manager in the same process.
#pragma once

#include <Pegasus/Client/CIMClientException.h>
#include <Pegasus/Client/Linkage.h>
#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/CIMObjectPath.h>
#include <Pegasus/Common/CIMParamValue.h>
#include <Pegasus/Common/CIMPropertyList.h>
#include <Pegasus/Common/CIMQualifierDecl.h>
#include <Pegasus/Common/CIMValue.h>
#include <Pegasus/Common/Config.h>
#include <Pegasus/Common/Exception.h>

namespace Pegasus
{

class SSLContext;

/// A CIM client. In the embedded library it reaches the object manager of its own process only, by
/// connectLocal(), as a user without name. Every operation throws NotConnectedException before
/// that, and CIMException for an error of the operation; its message starts with the name of the
/// code, as in "CIM_ERR_NOT_FOUND: text".
class PEGASUS_CLIENT_LINKAGE CIMClient
{
public:
    CIMClient();
    ~CIMClient();
    CIMClient(const CIMClient&) = delete;
    CIMClient& operator=(const CIMClient&) = delete;

    /// Milliseconds, 20000 unless set. Kept only: local operations are not timed.
    Uint32 getTimeout() const;
    void setTimeout(Uint32 timeoutMilliseconds);

    /// Throws CannotConnectException: the embedded library has no network client.
    void connect(const String& host, const Uint32 portNumber, const String& userName,
                 const String& password);
    void connect(const String& host, const Uint32 portNumber, const SSLContext& sslContext,
                 const String& userName, const String& password);
    /// Throws AlreadyConnectedException, or CannotConnectException when the process has no object
    /// manager.
    void connectLocal();
    /// Does nothing when not connected.
    void disconnect();

    CIMClass getClass(const CIMNamespaceName& nameSpace, const CIMName& className,
                      Boolean localOnly = true, Boolean includeQualifiers = true,
                      Boolean includeClassOrigin = false,
                      const CIMPropertyList& propertyList = CIMPropertyList());
    Array<CIMClass> enumerateClasses(const CIMNamespaceName& nameSpace,
                                     const CIMName& className = CIMName(),
                                     Boolean deepInheritance = false, Boolean localOnly = true,
                                     Boolean includeQualifiers = true,
                                     Boolean includeClassOrigin = false);
    Array<CIMName> enumerateClassNames(const CIMNamespaceName& nameSpace,
                                       const CIMName& className = CIMName(),
                                       Boolean deepInheritance = false);
    CIMQualifierDecl getQualifier(const CIMNamespaceName& nameSpace, const CIMName& qualifierName);
    Array<CIMQualifierDecl> enumerateQualifiers(const CIMNamespaceName& nameSpace);

    /// `localOnly` has no effect on instances, here and in enumerateInstances.
    CIMInstance getInstance(const CIMNamespaceName& nameSpace, const CIMObjectPath& instanceName,
                            Boolean localOnly = true, Boolean includeQualifiers = false,
                            Boolean includeClassOrigin = false,
                            const CIMPropertyList& propertyList = CIMPropertyList());
    Array<CIMInstance> enumerateInstances(const CIMNamespaceName& nameSpace,
                                          const CIMName& className, Boolean deepInheritance = true,
                                          Boolean localOnly = true,
                                          Boolean includeQualifiers = false,
                                          Boolean includeClassOrigin = false,
                                          const CIMPropertyList& propertyList = CIMPropertyList());
    Array<CIMObjectPath> enumerateInstanceNames(const CIMNamespaceName& nameSpace,
                                                const CIMName& className);
    CIMObjectPath createInstance(const CIMNamespaceName& nameSpace, const CIMInstance& newInstance);
    void modifyInstance(const CIMNamespaceName& nameSpace, const CIMInstance& modifiedInstance,
                        Boolean includeQualifiers = true,
                        const CIMPropertyList& propertyList = CIMPropertyList());
    void deleteInstance(const CIMNamespaceName& nameSpace, const CIMObjectPath& instanceName);

    Array<CIMObject> associators(const CIMNamespaceName& nameSpace, const CIMObjectPath& objectName,
                                 const CIMName& assocClass = CIMName(),
                                 const CIMName& resultClass = CIMName(),
                                 const String& role = String::EMPTY,
                                 const String& resultRole = String::EMPTY,
                                 Boolean includeQualifiers = false,
                                 Boolean includeClassOrigin = false,
                                 const CIMPropertyList& propertyList = CIMPropertyList());
    Array<CIMObjectPath> associatorNames(const CIMNamespaceName& nameSpace,
                                         const CIMObjectPath& objectName,
                                         const CIMName& assocClass = CIMName(),
                                         const CIMName& resultClass = CIMName(),
                                         const String& role = String::EMPTY,
                                         const String& resultRole = String::EMPTY);
    Array<CIMObject> references(const CIMNamespaceName& nameSpace, const CIMObjectPath& objectName,
                                const CIMName& resultClass = CIMName(),
                                const String& role = String::EMPTY,
                                Boolean includeQualifiers = false,
                                Boolean includeClassOrigin = false,
                                const CIMPropertyList& propertyList = CIMPropertyList());
    Array<CIMObjectPath> referenceNames(const CIMNamespaceName& nameSpace,
                                        const CIMObjectPath& objectName,
                                        const CIMName& resultClass = CIMName(),
                                        const String& role = String::EMPTY);

    CIMValue getProperty(const CIMNamespaceName& nameSpace, const CIMObjectPath& instanceName,
                         const CIMName& propertyName);
    void setProperty(const CIMNamespaceName& nameSpace, const CIMObjectPath& instanceName,
                     const CIMName& propertyName, const CIMValue& newValue = CIMValue());
    CIMValue invokeMethod(const CIMNamespaceName& nameSpace, const CIMObjectPath& instanceName,
                          const CIMName& methodName, const Array<CIMParamValue>& inParameters,
                          Array<CIMParamValue>& outParameters);

private:
    Boolean _connected = false;
    Uint32 _timeout = 20000;
};

}  // namespace Pegasus
