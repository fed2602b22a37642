#include "QBX_Common.h"

#include "QBX_Frame.h"
#include "QBX_PathMatcher.h"
#include "QBX_Records.h"

#include <Pegasus/Client/CIMClient.h>

#include <atomic>

namespace Pegasus
{

using QBX_Frame::c_str;

// ---- Classes and instances ----

CIMClass QBX_Common::getStoredCIMClass(CIMOMHandle& cimom, const OperationContext& context,
                                       const CIMNamespaceName& nameSpace, const CIMName& className,
                                       bool localOnly, bool includeQualifiers,
                                       bool includeClassOrigin, CIMPropertyList propertyList)
{
    return cimom.getClass(context, nameSpace, className, localOnly, includeQualifiers,
                          includeClassOrigin, propertyList);
}

CIMInstance QBX_Common::buildInstanceSkeleton(CIMClass& cimClass)
{
    log_message(QBX_LOG_TRACE, "-->QBX_Common::_buildInstanceSkeleton()\n");
    CIMInstance instance = cimClass.buildInstance(true, true, CIMPropertyList());
    log_message(QBX_LOG_TRACE, "<--QBX_Common::_buildInstanceSkeleton()\n");
    return instance;
}

namespace
{

/// The value is made only when the instance has the property.
template <class Value>
void store(CIMInstance& instance, const CIMName& name, const Value& value)
{
    const Uint32 position = instance.findProperty(name);
    if (position != PEG_NOT_FOUND) instance.getProperty(position).setValue(CIMValue(value));
}

}  // namespace

void QBX_Common::setPropertyValue(CIMInstance& instance, CIMName name, const bool& value)
{
    store(instance, name, value);
}

void QBX_Common::setPropertyValue(CIMInstance& instance, CIMName name, const Uint8& value)
{
    store(instance, name, value);
}

void QBX_Common::setPropertyValue(CIMInstance& instance, CIMName name, const Uint16& value)
{
    store(instance, name, value);
}

void QBX_Common::setPropertyValue(CIMInstance& instance, CIMName name, const Uint32& value)
{
    store(instance, name, value);
}

void QBX_Common::setPropertyValue(CIMInstance& instance, CIMName name, const Uint64& value)
{
    store(instance, name, value);
}

void QBX_Common::setPropertyValue(CIMInstance& instance, CIMName name, const Sint16& value)
{
    store(instance, name, value);
}

void QBX_Common::setPropertyValue(CIMInstance& instance, CIMName name, const String& value)
{
    store(instance, name, value);
}

void QBX_Common::setPropertyValue(CIMInstance& instance, CIMName name, const CIMDateTime& value)
{
    store(instance, name, value);
}

void QBX_Common::setPropertyValue(CIMInstance& instance, CIMName name, const CIMObjectPath& value)
{
    store(instance, name, value);
}

void QBX_Common::setPropertyValue(CIMInstance& instance, CIMName name, const CIMInstance& value)
{
    store(instance, name, value);
}

void QBX_Common::setPropertyValue(CIMInstance& instance, CIMName name, const Array<bool>& value)
{
    store(instance, name, value);
}

void QBX_Common::setPropertyValue(CIMInstance& instance, CIMName name, const Array<Uint16>& value)
{
    store(instance, name, value);
}

void QBX_Common::setPropertyValue(CIMInstance& instance, CIMName name, const Array<Uint64>& value)
{
    store(instance, name, value);
}

void QBX_Common::setPropertyValue(CIMInstance& instance, CIMName name, const Array<Sint32>& value)
{
    store(instance, name, value);
}

void QBX_Common::setPropertyValue(CIMInstance& instance, CIMName name, const Array<String>& value)
{
    store(instance, name, value);
}

void QBX_Common::setPropertyValue(CIMInstance& instance, CIMName name,
                                  const Array<CIMDateTime>& value)
{
    store(instance, name, value);
}

void QBX_Common::setPropertyValueToNull(CIMInstance& instance, CIMName name, CIMType type)
{
    CIMValue null;
    null.setNullValue(type, false, 0);
    store(instance, name, null);
}

// ---- Reading requests ----

String QBX_Common::getStringProperty(const CIMObjectPath& path, const String& keyName)
{
    String value;
    log_message(QBX_LOG_TRACE, "-->QBX_Common::getStringProperty(), propertyName = %s\n",
                c_str(keyName.getCString()));
    const Array<CIMKeyBinding> keys = path.getKeyBindings();
    for (Uint32 i = 0; i < keys.size(); ++i) {
        if (keys[i].getName() == CIMName(keyName)) value = keys[i].getValue();
    }
    log_message(QBX_LOG_TRACE, "<--QBX_Common::getStringProperty(), value = %s\n",
                c_str(value.getCString()));
    return value;
}

String QBX_Common::getStringProperty(const CIMInstance& instance, const String& propertyName)
{
    String value;
    log_message(QBX_LOG_TRACE, "-->QBX_Common::getStringProperty(), propertyName = %s\n",
                c_str(propertyName.getCString()));
    if (propertyName.size() == 0 || instance.isUninitialized()) {
        log_message(QBX_LOG_REJECTED, "\tInvalid property name.\n");
        return value;
    }
    const Uint32 position = instance.findProperty(propertyName);
    if (position != PEG_NOT_FOUND) instance.getProperty(position).getValue().get(value);
    log_message(QBX_LOG_TRACE, "<--QBX_Common::getStringProperty(), value = %s\n",
                c_str(value.getCString()));
    return value;
}

namespace
{

/// Reads a parameter after the trace line `entry`, which shows its name.
template <class Value>
int readParameter(const char* entry, const Array<CIMParamValue>& parameters, const String& name,
                  Value& out)
{
    log_message(QBX_LOG_TRACE, entry, c_str(name.getCString()));
    int result = QBX_PARAMETER_READ;
    for (Uint32 i = 0; i < parameters.size(); ++i) {
        if (!String::equalNoCase(parameters[i].getParameterName(), name)) continue;
        const CIMValue value = parameters[i].getValue();
        if (!value.isNull()) {
            value.get(out);
            return result;
        }
        result = QBX_PARAMETER_READ_AFTER_NULL;
    }
    return QBX_PARAMETER_MISSING;
}

}  // namespace

int QBX_Common::getParameter(const Array<CIMParamValue>& parameters, const String& name,
                             Uint16& out)
{
    const int result = readParameter("-->QBX_Common::getParameter(Uint16), paramName = %s\n",
                                     parameters, name, out);
    log_message(QBX_LOG_TRACE, "<--QBX_Common::getParameter(Uint16), paramValue = %d\n", out);
    return result;
}

int QBX_Common::getParameter(const Array<CIMParamValue>& parameters, const String& name, bool& out)
{
    const int result = readParameter("-->QBX_Common::getParameter(Boolean), paramName = %s\n",
                                     parameters, name, out);
    log_message(QBX_LOG_TRACE, "<--QBX_Common::getParameter(Boolean), paramValue = %d\n", out);
    return result;
}

int QBX_Common::getParameter(const Array<CIMParamValue>& parameters, const String& name,
                             Uint32& out)
{
    const int result = readParameter("-->QBX_Common::getParameter(Uint32), paramName = %s\n",
                                     parameters, name, out);
    log_message(QBX_LOG_TRACE, "<--QBX_Common::getParameter(Uint32), paramValue = %d\n", out);
    return result;
}

int QBX_Common::getParameter(const Array<CIMParamValue>& parameters, const String& name,
                             Uint64& out)
{
    const int result = readParameter("-->QBX_Common::getParameter(Uint64), paramName = %s\n",
                                     parameters, name, out);
    log_message(QBX_LOG_TRACE, "<--QBX_Common::getParameter(Uint64), paramValue = %llu\n", out);
    return result;
}

int QBX_Common::getParameter(const Array<CIMParamValue>& parameters, const String& name,
                             String& out)
{
    const int result = readParameter("-->QBX_Common::getParameter(String), paramName = %s\n",
                                     parameters, name, out);
    log_message(QBX_LOG_TRACE, "<--QBX_Common::getParameter(String), paramValue = %s\n",
                c_str(out.getCString()));
    return result;
}

int QBX_Common::getParameter(const Array<CIMParamValue>& parameters, const String& name, Uint8& out)
{
    const int result = readParameter("-->QBX_Common::getParameter(Uint8), paramName = %s\n",
                                     parameters, name, out);
    log_message(QBX_LOG_TRACE, "<--QBX_Common::getParameter(Uint8), paramValue = %d\n", out);
    return result;
}

int QBX_Common::getParameter(const Array<CIMParamValue>& parameters, const String& name,
                             CIMDateTime& out)
{
    const int result = readParameter("-->QBX_Common::getParameter(CIMDateTime), paramName = %s\n",
                                     parameters, name, out);
    log_message(QBX_LOG_TRACE, "<--QBX_Common::getParameter(CIMDateTime), paramValue = %s\n",
                c_str(out.toString().getCString()));
    return result;
}

int QBX_Common::getParameter(const Array<CIMParamValue>& parameters, const String& name,
                             CIMObjectPath& out)
{
    const int result = readParameter("-->QBX_Common::getParameter(CIMObjectPath), paramName = %s\n",
                                     parameters, name, out);
    log_message(QBX_LOG_TRACE, "<--QBX_Common::getParameter(CIMObjectPath), paramValue = %s\n",
                c_str(out.toString().getCString()));
    return result;
}

int QBX_Common::getParameter(const Array<CIMParamValue>& parameters, const String& name,
                             Array<String>& out)
{
    const int result = readParameter("-->QBX_Common::getParameter(Array<String>), paramName = %s\n",
                                     parameters, name, out);
    log_message(QBX_LOG_TRACE, "<--QBX_Common::getParameter(Array<String>)");
    return result;
}

int QBX_Common::getParameter(const Array<CIMParamValue>& parameters, const String& name,
                             Array<Uint16>& out)
{
    const int result = readParameter("-->QBX_Common::getParameter(Array<Uint16>), paramName = %s\n",
                                     parameters, name, out);
    log_message(QBX_LOG_TRACE, "<--QBX_Common::getParameter(Array<Uint16>)\n");
    return result;
}

// ---- Identity of the storage system ----

api_StorageArray_t QBX_Common::initSystemInfo()
{
    // The record is written once, by whoever claims it, and only read from then on.
    static api_StorageArray_t storageSystem;
    static std::atomic<bool> is_claimed{false};
    static std::atomic<bool> is_initok{false};
    if (is_initok.load(std::memory_order_acquire)) return storageSystem;

    api_StorageArray_t record = {};
    if (api_getStorageArray(&record) != 0) {
        log_message(QBX_LOG_FAILURE, "QBX_Common::initSystemInfo: getStorageArray failed\n");
        return api_StorageArray_t{};
    }
    const bool isComplete = record.elementName[0] != '\0' && record.name[0] != '\0';
    if (isComplete && !is_claimed.exchange(true)) {
        storageSystem = record;
        is_initok.store(true, std::memory_order_release);
    }
    return record;
}

String QBX_Common::getSystemHostName(CIMOMHandle&)
{
    return QBX_Records::text(initSystemInfo().elementName);
}

String QBX_Common::getSystemName(CIMOMHandle&)
{
    return QBX_Records::text(initSystemInfo().name);
}

bool QBX_Common::isQuadPortSystem(CIMOMHandle&)
{
    return initSystemInfo().isQuadPort != 0;
}

namespace
{

/// Where one system-level object is looked for and what is written when it cannot be found.
struct SystemObject
{
    const char* className;
    const char* clientError;
    const char* clientUnknownError;
    const char* cimomError;
    const char* cimomUnknownError;
    const char* notFound;
};

constexpr SystemObject SYSTEM_PACKAGE = {
    QBX_SYSTEM_PACKAGE,
    "QBX_Common::getSystemPkgObjectPath: %s. Trying via cimom.\n",
    "QBX_Common::getSystemPkgObjectPath: Unknow exception! Trying via cimom\n",
    "QBX_Common::getSystemPkgObjectPath: %s.\n",
    "QBX_Common::getSystemPkgObjectPath: Unknow exception in cimom!\n",
    "cannot get at system pkg object path\n"};

constexpr SystemObject SYSTEM = {
    QBX_STORAGE_SYSTEM,
    "QBX_Common::getSystemObjectPath: %s. Trying via cimom.\n",
    "QBX_Common::getSystemObjectPath: Unknow exception! Trying via cimom\n",
    "QBX_Common::getSystemObjectPath: %s.\n",
    "QBX_Common::getSystemObjectPath: Unknow exception in cimom!\n",
    "cannot get at system object path\n"};

constexpr SystemObject SYSTEM_VIEW = {
    QBX_STORAGE_SYSTEM_VIEW,
    "QBX_Common::getSystemViewObjectPath: %s. Trying via cimom.\n",
    "QBX_Common::getSystemViewObjectPath: Unknow exception! Trying via cimom\n",
    "QBX_Common::getSystemViewObjectPath: %s.\n",
    "QBX_Common::getSystemViewObjectPath: Unknow exception in cimom!\n",
    "cannot get at system view object path\n"};

/// Runs one way of asking for the names. False, with the failure logged, when it threw.
template <class Ask>
bool askForNames(Ask&& ask, const char* error, const char* unknownError)
{
    try {
        ask();
        return true;
    } catch (const Exception& exception) {
        log_message(QBX_LOG_FAILURE, error, c_str(exception.getMessage().getCString()));
    } catch (...) {
        log_message(QBX_LOG_FAILURE, unknownError);
    }
    return false;
}

Array<CIMObjectPath> findSystemObjects(CIMOMHandle& cimom, const SystemObject& object)
{
    Array<CIMObjectPath> names;
    const bool answered = askForNames(
        [&] {
            names = QBX_Common::enumerateInstanceNames(CIMNamespaceName(QBX_NAMESPACE),
                                                       CIMName(object.className));
        },
        object.clientError, object.clientUnknownError);
    if (answered) return names;
    askForNames(
        [&] {
            names = cimom.enumerateInstanceNames(
                OperationContext(), CIMNamespaceName(QBX_NAMESPACE), CIMName(object.className));
        },
        object.cimomError, object.cimomUnknownError);
    return names;
}

CIMObjectPath findSystemObject(CIMOMHandle& cimom, const SystemObject& object)
{
    const Array<CIMObjectPath> names = findSystemObjects(cimom, object);
    try {
        if (names.size() != 0) {
            CIMObjectPath path = names[0];
            path.setHost(QBX_Common::getSystemHostName(cimom));
            path.setNameSpace(CIMNamespaceName(QBX_NAMESPACE));
            return path;
        }
    } catch (...) {
        // A host name that cannot stand in a path: as good as no path.
    }
    log_message(QBX_LOG_FAILURE, object.notFound);
    return CIMObjectPath();
}

}  // namespace

CIMObjectPath QBX_Common::getSystemPkgObjectPath(CIMOMHandle& cimom)
{
    return findSystemObject(cimom, SYSTEM_PACKAGE);
}

CIMObjectPath QBX_Common::getSystemObjectPath(CIMOMHandle& cimom)
{
    log_message(QBX_LOG_TRACE, "-->QBX_Common::getSystemObjectPath()\n");
    const CIMObjectPath path = findSystemObject(cimom, SYSTEM);
    log_message(QBX_LOG_TRACE, "<--QBX_Common::getSystemObjectPath()\n");
    return path;
}

CIMObjectPath QBX_Common::getSystemViewObjectPath(CIMOMHandle& cimom)
{
    log_message(QBX_LOG_TRACE, "-->QBX_Common::getSystemViewObjectPath()\n");
    const CIMObjectPath path = findSystemObject(cimom, SYSTEM_VIEW);
    log_message(QBX_LOG_TRACE, "<--QBX_Common::getSystemViewObjectPath()\n");
    return path;
}

Array<CIMObjectPath> QBX_Common::enumerateInstanceNames(const CIMNamespaceName& nameSpace,
                                                        const CIMName& className)
{
    log_message(QBX_LOG_TRACE, "-->QBX_Common::enumerateInstanceNames()\n");
    CIMClient client;
    client.connectLocal();
    const Array<CIMObjectPath> names = client.enumerateInstanceNames(nameSpace, className);
    client.disconnect();
    log_message(QBX_LOG_TRACE, "<--QBX_Common::enumerateInstanceNames()\n");
    return names;
}

// ---- Object paths and associations ----

bool QBX_Common::isPartOfArray(const CIMName& name, const Array<CIMName>& names)
{
    for (Uint32 i = 0; i < names.size(); ++i) {
        if (names[i] == name) return true;
    }
    return false;
}

bool QBX_Common::matchObjectPath(const CIMObjectPath& first, const CIMObjectPath& second)
{
    return QBX_PathMatcher(first).matches(second);
}

namespace
{

/// One end of an association: the role, and the object as the association refers to it.
struct AssocEnd
{
    AssocEnd(const String& roleName, const CIMObjectPath& object, const String& host)
        : role(roleName), path(object)
    {
        if (path.getHost() != host) path.setHost(host);
    }
    CIMName role;
    CIMObjectPath path;
};

template <class... Ends>
CIMObjectPath assocPath(const CIMName& assocClass, const String& host, const String& nameSpace,
                        const Ends&... ends)
{
    CIMObjectPath path(host, CIMNamespaceName(nameSpace), assocClass);
    Array<CIMKeyBinding> keys;
    (keys.append(CIMKeyBinding(ends.role, CIMValue(ends.path))), ...);
    path.setKeyBindings(keys);
    return path;
}

/// Fills the references of an association's skeleton, then sets its path.
template <class... Ends>
CIMInstance completed(CIMInstance instance, const CIMName& assocClass, const String& host,
                      const String& nameSpace, const Ends&... ends)
{
    (QBX_Common::setPropertyValue(instance, ends.role, ends.path), ...);
    instance.setPath(assocPath(assocClass, host, nameSpace, ends...));
    return instance;
}

}  // namespace

CIMObjectPath QBX_Common::buildAssocPath(const CIMName& assocClass, const String& firstRole,
                                         const String& secondRole, const CIMObjectPath& first,
                                         const CIMObjectPath& second, const String& host,
                                         String nameSpace)
{
    return buildAssocPath(assocClass, firstRole, secondRole, first, second, host, host, host,
                          nameSpace);
}

CIMObjectPath QBX_Common::buildAssocPath(const CIMName& assocClass, const String& firstRole,
                                         const String& secondRole, const CIMObjectPath& first,
                                         const CIMObjectPath& second, const String& host,
                                         const String& firstHost, const String& secondHost,
                                         String nameSpace)
{
    return assocPath(assocClass, host, nameSpace, AssocEnd(firstRole, first, firstHost),
                     AssocEnd(secondRole, second, secondHost));
}

CIMObjectPath QBX_Common::buildAssocPath(const CIMName& assocClass, const String& firstRole,
                                         const String& secondRole, const String& thirdRole,
                                         const CIMObjectPath& first, const CIMObjectPath& second,
                                         const CIMObjectPath& third, const String& host,
                                         String nameSpace)
{
    return assocPath(assocClass, host, nameSpace, AssocEnd(firstRole, first, host),
                     AssocEnd(secondRole, second, host), AssocEnd(thirdRole, third, host));
}

CIMInstance QBX_Common::buildAssocInstance(const CIMName& assocClass, const String& firstRole,
                                           const String& secondRole, const CIMObjectPath& first,
                                           const CIMObjectPath& second, CIMClass& cimClass,
                                           const String& host, String nameSpace)
{
    return buildAssocInstance(assocClass, firstRole, secondRole, first, second, cimClass, host,
                              host, host, nameSpace);
}

CIMInstance QBX_Common::buildAssocInstance(const CIMName& assocClass, const String& firstRole,
                                           const String& secondRole, const CIMObjectPath& first,
                                           const CIMObjectPath& second, CIMClass& cimClass,
                                           const String& host, const String& firstHost,
                                           const String& secondHost, String nameSpace)
{
    const CIMInstance skeleton = buildInstanceSkeleton(cimClass);
    return completed(skeleton, assocClass, host, nameSpace, AssocEnd(firstRole, first, firstHost),
                     AssocEnd(secondRole, second, secondHost));
}

CIMInstance QBX_Common::buildAssocInstance(const CIMName& assocClass, const String& firstRole,
                                           const String& secondRole, const String& thirdRole,
                                           const CIMObjectPath& first, const CIMObjectPath& second,
                                           const CIMObjectPath& third, CIMClass& cimClass,
                                           const String& host, String nameSpace)
{
    const CIMInstance skeleton = buildInstanceSkeleton(cimClass);
    return completed(skeleton, assocClass, host, nameSpace, AssocEnd(firstRole, first, host),
                     AssocEnd(secondRole, second, host), AssocEnd(thirdRole, third, host));
}

}  // namespace Pegasus
