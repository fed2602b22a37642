#include "QBX_Frame.h"

#include "QBX_PathMatcher.h"

#include <cstring>

#if __has_include(<Pegasus/Common/InternalException.h>) && \
    __has_include(<Pegasus/Common/MessageLoader.h>)
#define QBX_HAS_TRACEABLE_EXCEPTION
#include <Pegasus/Common/MessageLoader.h>  // before the next, which needs it
#include <Pegasus/Common/InternalException.h>
#endif

namespace Pegasus
{
namespace QBX_Frame
{

void trace(const char* line)
{
    log_message(QBX_LOG_TRACE, line);
}

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

/// The name of a file without its folders.
[[maybe_unused]] const char* baseName(const char* file)
{
    const char* const slash = std::strrchr(file, '/');
    return slash == nullptr ? file : slash + 1;
}

/// Throws, in the name of the place that refuses. An installed SDK lacks the exception that carries
/// it to the server's trace; clients see no difference.
[[noreturn]] void refuse(CIMStatusCode code, const char* message,
                         [[maybe_unused]] const SourceLocation& at)
{
#ifdef QBX_HAS_TRACEABLE_EXCEPTION
    throw TraceableCIMException(code, message, baseName(at.file), at.line);
#else
    throw CIMException(code, message);
#endif
}

void authorize(const String& user, const String& privilegeKey, const SourceLocation& at)
{
    switch (api_authorizeCIMUser(c_str(user.getCString()), c_str(privilegeKey.getCString()))) {
        case API_CIMUSER_AUTHORIZATION_SUCCESS:
            return;
        case API_CIMUSER_AUTHORIZATION_UNAUTH_USER:
        case API_CIMUSER_AUTHORIZATION_USER_NOTFOUND:
            refuse(CIM_ERR_ACCESS_DENIED, "Insufficient generic privilege", at);
        default:
            refuse(CIM_ERR_NOT_SUPPORTED, "Does not support in generic!", at);
    }
}

}  // namespace

String openApi(const OperationContext& context, const SourceLocation& at)
{
    const String user = userName(context);
    if (api_qbxOpenForCimserver(c_str(user.getCString())) != 0)
        refuse(CIM_ERR_ACCESS_DENIED, "Insufficient privilege for the user", at);
    return user;
}

void openApiFor(const String& operation, const CIMName& className, const OperationContext& context,
                const SourceLocation& at)
{
    const String user = openApi(context, at);
    String privilegeKey = className.getString() + "." + operation;
    privilegeKey.toLower();
    authorize(user, privilegeKey, at);
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
    const QBX_PathMatcher wanted(path);
    for (Uint32 i = 0; i < instances.size(); ++i) {
        if (!wanted.matches(instances[i].getPath())) continue;
        deliver(handler, instances[i]);
        return;
    }
    throw CIMObjectNotFoundException(provider + " CIM Object not found." + identifier);
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
