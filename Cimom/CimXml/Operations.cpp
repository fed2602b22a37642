#include "CimXml/Operations.h"

#include "CimXml/Decode.h"
#include "CimXml/Encode.h"

#include <Pegasus/Common/Exception.h>

#include <set>

PEGASUS_USING_PEGASUS;

namespace cimom
{

namespace
{

using Kind = Operation::Kind;

enum class Empty
{
    LeaveOut,  ///< no IRETURNVALUE when there is no result
    Write
};

/// Writes what `write` appends as the operation's result.
template <class Write>
void writeResult(std::string& out, Empty empty, Write write)
{
    out += "<IRETURNVALUE>\n";
    const std::size_t start = out.size();
    write();
    if (out.size() == start && empty == Empty::LeaveOut) {
        out.resize(start - std::string_view("<IRETURNVALUE>\n").size());
        return;
    }
    out += "</IRETURNVALUE>\n";
}

/// Writes every item of an array as the operation's result.
template <class T, class Append>
void writeAll(std::string& out, Empty empty, const Array<T>& items, Append append)
{
    writeResult(out, empty, [&] {
        for (Uint32 i = 0; i < items.size(); ++i)
            append(items[i]);
    });
}

CIMObjectPath fullPath(const CallContext& context, CIMObjectPath path)
{
    if (path.getHost().size() == 0) path.setHost(context.hostName);
    if (path.getNameSpace().isNull()) path.setNameSpace(context.nameSpace);
    return path;
}

bool isClassPath(const CIMObjectPath& source, const CIMObjectPath& result)
{
    return source.getKeyBindings().size() == 0 && result.getKeyBindings().size() == 0;
}

void writePaths(const CallContext& context, const CIMObjectPath& source,
                const Array<CIMObjectPath>& paths, std::string& out)
{
    writeAll(out, Empty::Write, paths, [&](const CIMObjectPath& path) {
        out += "<OBJECTPATH>\n";
        xml::appendFullPath(out, fullPath(context, path), isClassPath(source, path));
        out += "</OBJECTPATH>\n";
    });
}

void writeObjects(const CallContext& context, const Array<CIMObject>& objects, std::string& out)
{
    writeAll(out, Empty::Write, objects, [&](const CIMObject& object) {
        out += "<VALUE.OBJECTWITHPATH>\n";
        xml::appendFullPath(out, fullPath(context, object.getPath()), object.isClass());
        xml::appendObject(out, object);
        out += "</VALUE.OBJECTWITHPATH>\n";
    });
}

void getClass(const CallContext& c, const Parameters& p, std::string& out)
{
    const CIMClass cimClass =
        c.manager.getClass(c.operation, c.nameSpace, p.requiredClassName("ClassName"),
                           p.flag("LocalOnly", true), p.flag("IncludeQualifiers", true),
                           p.flag("IncludeClassOrigin", false), p.names("PropertyList"));
    writeResult(out, Empty::Write, [&] { xml::appendClass(out, cimClass); });
}

void enumerateClasses(const CallContext& c, const Parameters& p, std::string& out)
{
    const auto classes = c.manager.enumerateClasses(
        c.operation, c.nameSpace, p.className("ClassName"), p.flag("DeepInheritance", false),
        p.flag("LocalOnly", true), p.flag("IncludeQualifiers", true),
        p.flag("IncludeClassOrigin", false));
    writeAll(out, Empty::LeaveOut, classes,
             [&](const CIMClass& item) { xml::appendClass(out, item); });
}

void enumerateClassNames(const CallContext& c, const Parameters& p, std::string& out)
{
    const auto names = c.manager.enumerateClassNames(
        c.operation, c.nameSpace, p.className("ClassName"), p.flag("DeepInheritance", false));
    writeAll(out, Empty::LeaveOut, names,
             [&](const CIMName& item) { xml::appendClassName(out, item); });
}

void getQualifier(const CallContext& c, const Parameters& p, std::string& out)
{
    const auto declaration =
        c.manager.getQualifier(c.operation, c.nameSpace, p.requiredName("QualifierName"));
    writeResult(out, Empty::Write, [&] { xml::appendQualifierDecl(out, declaration); });
}

void enumerateQualifiers(const CallContext& c, const Parameters&, std::string& out)
{
    const auto declarations = c.manager.enumerateQualifiers(c.operation, c.nameSpace);
    writeAll(out, Empty::LeaveOut, declarations,
             [&](const CIMQualifierDecl& item) { xml::appendQualifierDecl(out, item); });
}

void getInstance(const CallContext& c, const Parameters& p, std::string& out)
{
    const CIMInstance instance =
        c.manager.getInstance(c.operation, c.nameSpace, p.requiredPath("InstanceName"),
                              p.flag("IncludeQualifiers", false),
                              p.flag("IncludeClassOrigin", false), p.names("PropertyList"));
    // A provider that delivers nothing makes an empty success.
    if (!instance.isUninitialized())
        writeResult(out, Empty::Write, [&] { xml::appendInstance(out, instance); });
}

void enumerateInstances(const CallContext& c, const Parameters& p, std::string& out)
{
    const auto instances = c.manager.enumerateInstances(
        c.operation, c.nameSpace, p.requiredClassName("ClassName"), p.flag("DeepInheritance", true),
        p.flag("IncludeQualifiers", false), p.flag("IncludeClassOrigin", false),
        p.names("PropertyList"));
    writeAll(out, Empty::LeaveOut, instances, [&](const CIMInstance& item) {
        out += "<VALUE.NAMEDINSTANCE>\n";
        xml::appendInstanceName(out, item.getPath());
        xml::appendInstance(out, item);
        out += "</VALUE.NAMEDINSTANCE>\n";
    });
}

void enumerateInstanceNames(const CallContext& c, const Parameters& p, std::string& out)
{
    const auto paths = c.manager.enumerateInstanceNames(c.operation, c.nameSpace,
                                                        p.requiredClassName("ClassName"));
    writeAll(out, Empty::LeaveOut, paths,
             [&](const CIMObjectPath& item) { xml::appendInstanceName(out, item); });
}

void createInstance(const CallContext& c, const Parameters& p, std::string& out)
{
    const CIMObjectPath path =
        c.manager.createInstance(c.operation, c.nameSpace, p.requiredInstance("NewInstance"));
    writeResult(out, Empty::Write, [&] { xml::appendInstanceName(out, path); });
}

void modifyInstance(const CallContext& c, const Parameters& p, std::string&)
{
    c.manager.modifyInstance(c.operation, c.nameSpace, p.requiredInstance("ModifiedInstance"),
                             p.flag("IncludeQualifiers", true), p.names("PropertyList"));
}

void deleteInstance(const CallContext& c, const Parameters& p, std::string&)
{
    c.manager.deleteInstance(c.operation, c.nameSpace, p.requiredPath("InstanceName"));
}

void getProperty(const CallContext& c, const Parameters& p, std::string& out)
{
    const CIMValue value = c.manager.getProperty(
        c.operation, c.nameSpace, p.requiredPath("InstanceName"), p.requiredName("PropertyName"));
    writeResult(out, Empty::Write, [&] { xml::appendValue(out, value); });
}

/// The class of that name with its qualifiers; unknown is CIM_ERR_INVALID_CLASS.
CIMClass classOf(const CallContext& c, const CIMName& name)
{
    try {
        return c.manager.getClass(c.operation, c.nameSpace, name, false, false, false,
                                  CIMPropertyList());
    } catch (const CIMException& error) {
        if (error.getCode() != CIM_ERR_NOT_FOUND) throw;
        throw CIMException(CIM_ERR_INVALID_CLASS, error.getMessage());
    }
}

/// The new value of SetProperty carries no type: the class declares it.
CIMValue newValue(const CallContext& c, const Parameters& p, const CIMName& className,
                  const CIMName& property)
{
    const CIMClass cimClass = classOf(c, className);
    const Uint32 position = cimClass.findProperty(property);
    if (position == PEG_NOT_FOUND)
        throw CIMException(CIM_ERR_NO_SUCH_PROPERTY, property.getString());
    const CIMConstProperty declared = cimClass.getProperty(position);
    const XmlElement* value = p.element("NewValue");
    if (!value) return CIMValue(declared.getType(), declared.isArray());
    try {
        return xml::decodeValue(*value, declared.getType(), declared.isArray());
    } catch (const RequestError&) {
        throw CIMException(CIM_ERR_TYPE_MISMATCH, property.getString());
    }
}

void setProperty(const CallContext& c, const Parameters& p, std::string&)
{
    const CIMObjectPath path = p.requiredPath("InstanceName");
    const CIMName property = p.requiredName("PropertyName");
    c.manager.setProperty(c.operation, c.nameSpace, path, property,
                          newValue(c, p, path.getClassName(), property));
}

void associators(const CallContext& c, const Parameters& p, std::string& out)
{
    const auto objects =
        c.manager.associators(c.operation, c.nameSpace, p.requiredPath("ObjectName"),
                              p.className("AssocClass"), p.className("ResultClass"), p.text("Role"),
                              p.text("ResultRole"), p.flag("IncludeQualifiers", false),
                              p.flag("IncludeClassOrigin", false), p.names("PropertyList"));
    writeObjects(c, objects, out);
}

void associatorNames(const CallContext& c, const Parameters& p, std::string& out)
{
    const CIMObjectPath source = p.requiredPath("ObjectName");
    const auto paths =
        c.manager.associatorNames(c.operation, c.nameSpace, source, p.className("AssocClass"),
                                  p.className("ResultClass"), p.text("Role"), p.text("ResultRole"));
    writePaths(c, source, paths, out);
}

void references(const CallContext& c, const Parameters& p, std::string& out)
{
    const auto objects = c.manager.references(
        c.operation, c.nameSpace, p.requiredPath("ObjectName"), p.className("ResultClass"),
        p.text("Role"), p.flag("IncludeQualifiers", false), p.flag("IncludeClassOrigin", false),
        p.names("PropertyList"));
    writeObjects(c, objects, out);
}

void referenceNames(const CallContext& c, const Parameters& p, std::string& out)
{
    const CIMObjectPath source = p.requiredPath("ObjectName");
    const auto paths = c.manager.referenceNames(c.operation, c.nameSpace, source,
                                                p.className("ResultClass"), p.text("Role"));
    writePaths(c, source, paths, out);
}

/// Standard operations on the schema and queries, which this object manager does not offer.
void notSupported(const CallContext&, const Parameters&, std::string&)
{
    throw CIMException(CIM_ERR_NOT_SUPPORTED);
}

const std::vector<Operation>& operations()
{
    using P = Operation::Parameter;
    static const P className{"ClassName", Kind::ClassName};
    static const P localOnly{"LocalOnly", Kind::Flag};
    static const P deep{"DeepInheritance", Kind::Flag};
    static const P qualifiers{"IncludeQualifiers", Kind::Flag};
    static const P origin{"IncludeClassOrigin", Kind::Flag};
    static const P list{"PropertyList", Kind::Names};
    static const P instanceName{"InstanceName", Kind::InstanceName};
    static const P objectName{"ObjectName", Kind::ObjectName};
    static const P assocClass{"AssocClass", Kind::ClassName};
    static const P resultClass{"ResultClass", Kind::ClassName};
    static const P role{"Role", Kind::Text};
    static const P resultRole{"ResultRole", Kind::Text};
    static const P propertyName{"PropertyName", Kind::Text};
    static const std::vector<Operation> all = {
        {"GetClass", {className, localOnly, qualifiers, origin, list}, getClass},
        {"EnumerateClasses", {className, deep, localOnly, qualifiers, origin}, enumerateClasses},
        {"EnumerateClassNames", {className, deep}, enumerateClassNames},
        {"GetQualifier", {{"QualifierName", Kind::Text}}, getQualifier},
        {"EnumerateQualifiers", {}, enumerateQualifiers},
        {"GetInstance", {instanceName, localOnly, qualifiers, origin, list}, getInstance},
        {"EnumerateInstances",
         {className, localOnly, deep, qualifiers, origin, list},
         enumerateInstances},
        {"EnumerateInstanceNames", {className}, enumerateInstanceNames},
        {"CreateInstance", {{"NewInstance", Kind::Instance}}, createInstance},
        {"ModifyInstance",
         {{"ModifiedInstance", Kind::NamedInstance}, qualifiers, list},
         modifyInstance},
        {"DeleteInstance", {instanceName}, deleteInstance},
        {"GetProperty", {instanceName, propertyName}, getProperty},
        {"SetProperty", {instanceName, propertyName, {"NewValue", Kind::Value}}, setProperty},
        {"Associators",
         {objectName, assocClass, resultClass, role, resultRole, qualifiers, origin, list},
         associators},
        {"AssociatorNames",
         {objectName, assocClass, resultClass, role, resultRole},
         associatorNames},
        {"References", {objectName, resultClass, role, qualifiers, origin, list}, references},
        {"ReferenceNames", {objectName, resultClass, role}, referenceNames},
        {"ExecQuery", {{"QueryLanguage", Kind::Text}, {"Query", Kind::Text}}, notSupported},
        {"CreateClass", {{"NewClass", Kind::Value}}, notSupported},
        {"ModifyClass", {{"ModifiedClass", Kind::Value}}, notSupported},
        {"DeleteClass", {className}, notSupported},
        {"SetQualifier", {{"QualifierDeclaration", Kind::Value}}, notSupported},
        {"DeleteQualifier", {{"QualifierName", Kind::Text}}, notSupported},
    };
    return all;
}

bool equalNoCase(std::string_view a, const std::string& b)
{
    return String::equalNoCase(String(a.data(), static_cast<Uint32>(a.size())),
                               String(b.data(), static_cast<Uint32>(b.size())));
}

const Operation::Parameter& findParameter(const Operation& operation, const std::string& name)
{
    for (const Operation::Parameter& parameter : operation.parameters) {
        if (equalNoCase(parameter.name, name)) return parameter;
    }
    const String text(name.data(), static_cast<Uint32>(name.size()));
    throw CIMException(CIM_ERR_NOT_SUPPORTED,
                       "Unrecognized or invalid request input parameter \"" + text + "\"");
}

const XmlElement& valueOf(const XmlElement& parameter)
{
    const XmlElement* value = parameter.child("VALUE");
    if (!value) throw xml::validationError(parameter, "Expected VALUE element");
    return *value;
}

/// An untyped parameter with the type its declaration gives it.
CIMParamValue typedParameter(const CIMParamValue& parameter, const CIMConstMethod& method)
{
    const String name = parameter.getParameterName();
    const Uint32 position =
        CIMName::legal(name) ? method.findParameter(CIMName(name)) : PEG_NOT_FOUND;
    if (position == PEG_NOT_FOUND) return parameter;
    const CIMConstParameter declared = method.getParameter(position);
    CIMValue value = parameter.getValue();
    try {
        if (value.isNull()) {
            value = CIMValue(declared.getType(), declared.isArray());
        } else if (value.getType() == CIMTYPE_STRING) {
            value = xml::convertText(value, declared.getType());
        }
    } catch (...) {
        throw CIMException(CIM_ERR_INVALID_PARAMETER,
                           String("Malformed ") + cimTypeToString(declared.getType()) + " value");
    }
    return CIMParamValue(name, value, true);
}

Array<CIMParamValue> typedParameters(const CallContext& c, const CIMName& className,
                                     const CIMName& methodName, const Array<CIMParamValue>& in)
{
    bool allTyped = true;
    for (Uint32 i = 0; i < in.size(); ++i)
        allTyped = allTyped && in[i].isTyped();
    if (allTyped) return in;
    const CIMClass cimClass = c.manager.getClass(c.operation, c.nameSpace, className, false, false,
                                                 false, CIMPropertyList());
    const Uint32 position = cimClass.findMethod(methodName);
    if (position == PEG_NOT_FOUND) throw CIMException(CIM_ERR_METHOD_NOT_FOUND);
    const CIMConstMethod method = cimClass.getMethod(position);
    Array<CIMParamValue> typed;
    for (Uint32 i = 0; i < in.size(); ++i)
        typed.append(in[i].isTyped() ? in[i] : typedParameter(in[i], method));
    return typed;
}

}  // namespace

const Operation* findOperation(const std::string& name)
{
    for (const Operation& operation : operations()) {
        if (equalNoCase(operation.name, name)) return &operation;
    }
    return nullptr;
}

Parameters::Parameters(const Operation& operation, const XmlElement& call)
{
    std::set<std::string_view> seen;
    for (std::size_t i = 1; i < call.children.size(); ++i) {
        const XmlElement& element = call.children[i];
        if (element.name != "IPARAMVALUE")
            throw xml::validationError(element, "Expected IPARAMVALUE element");
        const Operation::Parameter& parameter =
            findParameter(operation, xml::requiredAttribute(element, "NAME"));
        if (!seen.insert(parameter.name).second) {
            throw CIMException(CIM_ERR_INVALID_PARAMETER, "Duplicated request input parameter.");
        }
        if (element.children.empty() && parameter.kind != Kind::Flag) continue;
        values_.emplace(parameter.name, decode(element, parameter.kind));
    }
}

Parameters::Value Parameters::decode(const XmlElement& parameter, Kind kind)
{
    switch (kind) {
        case Kind::Flag:
            return xml::decodeBoolean(valueOf(parameter));
        case Kind::Text:
            return xml::decodeText(valueOf(parameter));
        case Kind::Names:
            return xml::decodePropertyList(xml::onlyChild(parameter));
        case Kind::ClassName:
            return xml::decodeClassName(xml::onlyChild(parameter));
        case Kind::InstanceName:
            if (!parameter.child("INSTANCENAME"))
                throw xml::validationError(parameter, "Expected INSTANCENAME element");
            return xml::decodeObjectName(xml::onlyChild(parameter));
        case Kind::ObjectName:
            return xml::decodeObjectName(xml::onlyChild(parameter));
        case Kind::Instance:
            return xml::decodeInstance(xml::onlyChild(parameter));
        case Kind::NamedInstance:
            return xml::decodeNamedInstance(xml::onlyChild(parameter));
        case Kind::Value:
            break;
    }
    return &parameter;
}

template <class T>
const T* Parameters::find(std::string_view name) const
{
    const auto found = values_.find(name);
    return found == values_.end() ? nullptr : &std::get<T>(found->second);
}

bool Parameters::flag(std::string_view name, bool otherwise) const
{
    const bool* value = find<bool>(name);
    return value ? *value : otherwise;
}

String Parameters::text(std::string_view name) const
{
    const String* value = find<String>(name);
    return value ? *value : String();
}

CIMName Parameters::className(std::string_view name) const
{
    const CIMName* value = find<CIMName>(name);
    return value ? *value : CIMName();
}

CIMPropertyList Parameters::names(std::string_view name) const
{
    const CIMPropertyList* value = find<CIMPropertyList>(name);
    return value ? *value : CIMPropertyList();
}

CIMName Parameters::requiredClassName(std::string_view name) const
{
    const CIMName* value = find<CIMName>(name);
    if (value) return *value;
    const String text(name.data(), static_cast<Uint32>(name.size()));
    throw CIMException(CIM_ERR_INVALID_PARAMETER,
                       "Required parameter \"" + text + "\" missing from request.");
}

CIMName Parameters::requiredName(std::string_view name) const
{
    const String* value = find<String>(name);
    if (!value) throw CIMException(CIM_ERR_INVALID_PARAMETER);
    if (!CIMName::legal(*value))
        throw CIMException(CIM_ERR_INVALID_PARAMETER, "The CIM name is not valid: " + *value);
    return CIMName(*value);
}

CIMObjectPath Parameters::requiredPath(std::string_view name) const
{
    const CIMObjectPath* value = find<CIMObjectPath>(name);
    if (!value) throw CIMException(CIM_ERR_INVALID_PARAMETER);
    return *value;
}

CIMInstance Parameters::requiredInstance(std::string_view name) const
{
    const CIMInstance* value = find<CIMInstance>(name);
    if (!value) throw CIMException(CIM_ERR_INVALID_PARAMETER);
    return *value;
}

const XmlElement* Parameters::element(std::string_view name) const
{
    const auto* value = find<const XmlElement*>(name);
    return value ? *value : nullptr;
}

void invokeMethod(const CallContext& c, const CIMObjectPath& path, const CIMName& method,
                  const Array<CIMParamValue>& in, std::string& out)
{
    Array<CIMParamValue> results;
    const CIMValue value =
        c.manager.invokeMethod(c.operation, c.nameSpace, path, method,
                               typedParameters(c, path.getClassName(), method, in), results);
    if (!value.isNull()) xml::appendReturnValue(out, value);
    for (Uint32 i = 0; i < results.size(); ++i)
        xml::appendParamValue(out, results[i]);
}

}  // namespace cimom
