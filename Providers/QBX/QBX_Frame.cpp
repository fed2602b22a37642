#include "QBX_Frame.h"

#ifdef QBX_CIM_INTERNAL
#include <Pegasus/Common/MessageLoader.h>
#include <Pegasus/Common/InternalException.h>
#endif

namespace Pegasus
{
namespace QBX_Frame
{

const CIMNamespaceName& nameSpace()
{
    static const CIMNamespaceName name(QBX_NAMESPACE);
    return name;
}

Array<CIMName> names(std::initializer_list<const char*> texts)
{
    Array<CIMName> result;
    for (const char* text : texts)
        result.append(CIMName(text));
    return result;
}

String userName(const OperationContext& context)
{
    const IdentityContainer identity = context.get(IdentityContainer::NAME);
    return identity.getUserName();
}

namespace
{

// Source and line are for the server's trace only; an SDK has no exception that carries them.
[[noreturn]] void refuse(CIMStatusCode code, const String& message,
                         [[maybe_unused]] const String& source, [[maybe_unused]] Uint32 line)
{
#ifdef QBX_CIM_INTERNAL
    throw TraceableCIMException(code, message, source, line);
#else
    throw CIMException(code, message);
#endif
}

void authorize(const String& user, const String& privilegeKey, const String& source, Uint32 line)
{
    switch (api_authorizeCIMUser(c_str(user.getCString()), c_str(privilegeKey.getCString()))) {
        case API_CIMUSER_AUTHORIZATION_SUCCESS:
            return;
        case API_CIMUSER_AUTHORIZATION_UNAUTH_USER:
        case API_CIMUSER_AUTHORIZATION_USER_NOTFOUND:
            refuse(CIM_ERR_ACCESS_DENIED, "Insufficient generic privilege", source, line);
        default:
            refuse(CIM_ERR_NOT_SUPPORTED, "Does not support in generic!", source, line);
    }
}

}  // namespace

String openApi(const OperationContext& context, const String& source, Uint32 line)
{
    const String user = userName(context);
    if (api_qbxOpenForCimserver(c_str(user.getCString())) != 0)
        refuse(CIM_ERR_ACCESS_DENIED, "Insufficient privilege for the user", source, line);
    return user;
}

void openApiFor(const String& operation, const CIMName& className, const OperationContext& context,
                const String& source, Uint32 line)
{
    const String user = openApi(context, source, line);
    String privilegeKey = className.getString() + "." + operation;
    privilegeKey.toLower();
    authorize(user, privilegeKey, source, line);
}

void requireServedClass(const CIMName& className, const Array<CIMName>& served,
                        const String& provider)
{
    if (QBX_Common::isPartOfArray(className, served)) return;
    throw CIMNotSupportedException(provider + " Invalid class name" + className.getString());
}

String requireKey(const CIMObjectPath& path, const char* keyName, const String& provider)
{
    const CIMName wanted(keyName);
    const Array<CIMKeyBinding> keys = path.getKeyBindings();
    for (Uint32 i = 0; i < keys.size(); ++i) {
        if (keys[i].getName() == wanted) return keys[i].getValue();
    }
    throw CIMInvalidParameterException(provider + " " + keyName + " key not found.");
}

CIMOperationFailedException deviceNotFound(const String& provider, const char* operation,
                                           const String& tag)
{
    return CIMOperationFailedException(provider + "::" + operation + "()  Device not found with " +
                                       QBX_KEY_TAG + "=" + tag);
}

CIMInvalidParameterException parameterNotFound(const String& provider, const char* method,
                                               const char* parameter)
{
    return CIMInvalidParameterException(provider + ":" + method +
                                        " parameter not found: " + parameter);
}

void deliverMatch(InstanceResponseHandler& handler, const Array<CIMInstance>& instances,
                  const CIMObjectPath& path, const String& provider, const String& identifier)
{
    const Uint32 position = QBX_Common::findMatch(instances, path);
    if (position == PEG_NOT_FOUND) {
        throw CIMObjectNotFoundException(provider + " CIM Object not found." + identifier);
    }
    deliver(handler, instances[position]);
}

CIMObjectPath elementPath(const CIMName& className, const String& host, const String& tag)
{
    static const CIMName creationClassName(QBX_KEY_CREATION_CLASS_NAME);
    static const CIMName tagName(QBX_KEY_TAG);
    Array<CIMKeyBinding> keys;
    keys.append(CIMKeyBinding(creationClassName, className.getString(), CIMKeyBinding::STRING));
    keys.append(CIMKeyBinding(tagName, tag, CIMKeyBinding::STRING));
    return CIMObjectPath(host, nameSpace(), className, keys);
}

CIMClass elementClass(CIMOMHandle cimom, const CIMName& className, bool includeQualifiers,
                      bool includeClassOrigin, const CIMPropertyList& propertyList)
{
    return QBX_Common::getStoredCIMClass(cimom, OperationContext(), nameSpace(), className, false,
                                         includeQualifiers, includeClassOrigin, propertyList);
}

}  // namespace QBX_Frame
}  // namespace Pegasus
