// The frame that every operation of every provider shares: who asks, may they, is it our class,
// and how results are delivered.
//
// An operation reads: entry trace, openApi(), for changes authorize(), requireServedClass(), the
// work, deliver(), exit trace. Whatever is thrown passes to the CIM server; an operation that ends
// by an exception writes no exit trace.
#ifndef QBX_Frame_h
#define QBX_Frame_h

#include "QBX_Common.h"
#include "QBX_Records.h"

#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/ResponseHandler.h>
#include <Pegasus/Provider/ProviderException.h>

#include <initializer_list>

namespace Pegasus
{
/// The steps that every operation of every provider is made of.
namespace QBX_Frame
{

/// The text of a temporary CString, for log_message(); valid to the end of the full expression.
inline const char* c_str(const CString& text)
{
    return text;
}

/// The lines that an operation writes as it begins and as it ends.
struct Traces
{
    const char* entry;  ///< before anything else
    const char* exit;   ///< after the results; never when the operation throws
};

/// Writes a line without arguments at trace level.
void trace(const char* line);

/// The namespace of everything the array's modules publish.
const CIMNamespaceName& nameSpace();

/// An array of names, in the order given.
Array<CIMName> names(std::initializer_list<const char*> texts);

/// The name of the user on whose behalf the request runs. Throws when the context has no identity.
String userName(const OperationContext&);

/// A place in a provider's source, which the server's trace of a refusal names. As a default
/// argument, here() is the place of the call.
struct SourceLocation
{
    const char* file;  ///< without folders
    Uint32 line;       ///< in that file

    /// The place of the call.
    static constexpr SourceLocation here(const char* itsFile = __builtin_FILE(),
                                         Uint32 itsLine = __builtin_LINE())
    {
        return {itsFile, itsLine};
    }
};

/// Opens the Storage-system API for the requesting user and returns the user's name.
/// CIM_ERR_ACCESS_DENIED when the API refuses.
String openApi(const OperationContext&, const SourceLocation& at = SourceLocation::here());

/// openApi(), then asks whether the user holds the privilege for this operation on this class
/// ("class.operation", lower case). CIM_ERR_ACCESS_DENIED when not, CIM_ERR_NOT_SUPPORTED when the
/// array knows no such privilege.
void openApiFor(const String& operation, const CIMName& className, const OperationContext&,
                const SourceLocation& at = SourceLocation::here());

/// CIMNotSupportedException unless the name is one of the provider's classes.
void requireServedClass(const CIMName& className, const Array<CIMName>& served,
                        const String& provider);

/// The value of the path's first key of that name; CIMInvalidParameterException when there is none.
String requireKey(const CIMObjectPath& path, const char* keyName, const String& provider);

/// The exception of a method or modification whose target the array does not know by its tag.
CIMOperationFailedException deviceNotFound(const String& provider, const char* operation,
                                           const String& tag);

/// The exception of a method call that lacks a parameter. `method` is the word of the message.
CIMInvalidParameterException parameterNotFound(const String& provider, const char* method,
                                               const char* parameter);

/// Hands all results to the handler and completes it.
template <class Handler, class Results>
void deliver(Handler& handler, const Results& results)
{
    handler.processing();
    handler.deliver(results);
    handler.complete();
}

/// Delivers the first instance that `path` denotes. CIMObjectNotFoundException, ending in
/// `identifier`, when there is none.
void deliverMatch(InstanceResponseHandler& handler, const Array<CIMInstance>& instances,
                  const CIMObjectPath& path, const String& provider, const String& identifier);

/// A provider of elements: its name, the classes it serves, and what tells its elements apart.
struct Elements
{
    const String& provider;  ///< begins every message
    Array<CIMName> classes;  ///< in the order they are tested
    const char* key;         ///< name of the key that a path must have
};

/// enumerateInstances or enumerateInstanceNames of a provider of elements; `build` returns all
/// results of the requested class.
template <class Handler, class Build>
void enumerateElements(const Traces& traces, const Elements& elements,
                       const OperationContext& context, const CIMObjectPath& ref, Handler& handler,
                       Build&& build, const SourceLocation& at = SourceLocation::here())
{
    trace(traces.entry);
    openApi(context, at);
    requireServedClass(ref.getClassName(), elements.classes, elements.provider);
    deliver(handler, build());
    trace(traces.exit);
}

/// getInstance of a provider of elements; `build` returns all instances of the requested class.
template <class Build>
void getElement(const Traces& traces, const Elements& elements, const OperationContext& context,
                const CIMObjectPath& ref, InstanceResponseHandler& handler, Build&& build,
                const SourceLocation& at = SourceLocation::here())
{
    trace(traces.entry);
    openApi(context, at);
    requireServedClass(ref.getClassName(), elements.classes, elements.provider);
    const String identifier = requireKey(ref, elements.key, elements.provider);
    deliverMatch(handler, build(), ref, elements.provider, identifier);
    trace(traces.exit);
}

/// The path of an element that is identified by "CreationClassName" and "Tag".
CIMObjectPath elementPath(const CIMName& className, const String& host, const String& tag);

/// The definition of a class of namespace "root/qbx".
CIMClass elementClass(CIMOMHandle cimom, const CIMName& className, bool includeQualifiers,
                      bool includeClassOrigin, const CIMPropertyList& propertyList);

/// The paths of the records that are of the class. `Provider` names the record's class
/// (_getCIMName) and builds its path.
template <class Provider, class Records>
Array<CIMObjectPath> pathsOfClass(const Records& records, const CIMName& className,
                                  const String& host)
{
    Array<CIMObjectPath> paths;
    for (const auto& record : records) {
        if (!QBX_Records::isPresent(record)) continue;
        const CIMName name = Provider::_getCIMName(QBX_Records::cageType(record));
        if (name != className) continue;
        paths.append(Provider::buildObjectPath(name, host, QBX_Records::text(record.deviceID)));
    }
    return paths;
}

/// The instances of the records that are of the class; the class is fetched for each of them.
template <class Provider, class Records>
Array<CIMInstance> instancesOfClass(const Records& records, const CIMName& className,
                                    const CIMOMHandle& cimom, bool includeQualifiers,
                                    bool includeClassOrigin, const CIMPropertyList& propertyList,
                                    const String& host)
{
    Array<CIMInstance> instances;
    for (const auto& record : records) {
        const jb_type_e type = QBX_Records::cageType(record);
        if (!QBX_Records::isPresent(record)) continue;
        if (Provider::_getCIMName(type) != className) continue;
        const CIMClass cimClass = Provider::_getCIMClass(cimom, type, includeQualifiers,
                                                         includeClassOrigin, propertyList);
        instances.append(Provider::buildInstance(cimClass, record, host));
    }
    return instances;
}

}  // namespace QBX_Frame
}  // namespace Pegasus

#endif
