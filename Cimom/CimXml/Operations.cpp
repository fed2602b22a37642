#include "CimXml/Operations.h"

#include "CimXml/Decode.h"

#include <map>
#include <optional>
#include <utility>

PEGASUS_USING_PEGASUS;

namespace cimom
{

/// An intrinsic call. The operation decodes the parameters that it needs. A parameter without a
/// value counts as absent.
class Call : public CallContext
{
public:
    Call(const Operation& operation, const CallContext& context, const XmlElement& call)
        : CallContext(context)
    {
        for (std::size_t i = 1; i < call.children.size(); ++i) {
            const XmlElement& element = call.children[i];
            if (element.name != "IPARAMVALUE")
                throw xml::validationError(element, "Expected IPARAMVALUE element");
            if (!given_.emplace(known(operation, element), &element).second) {
                throw CIMException(CIM_ERR_INVALID_PARAMETER,
                                   "Duplicated request input parameter.");
            }
        }
    }

    /// The parameter's element; null when it is not there.
    const XmlElement* find(std::string_view name) const
    {
        const auto found = given_.find(name);
        return found == given_.end() ? nullptr : found->second;
    }

    bool flag(std::string_view name, bool defaultValue) const
    {
        const XmlElement* found = find(name);
        if (!found) return defaultValue;
        if (found->children.empty()) throw xml::validationError(*found, "Expected VALUE element");
        return xml::decodeBoolean(xml::onlyChild(*found));
    }

    /// Nothing when the parameter is absent.
    template <class T>
    std::optional<T> read(std::string_view name, T (*decode)(const XmlElement&)) const
    {
        const XmlElement* found = find(name);
        if (!found || found->children.empty()) return std::nullopt;
        return xml::reading(decode, xml::onlyChild(*found));
    }

    template <class T>
    T required(std::string_view name, T (*decode)(const XmlElement&)) const
    {
        const std::optional<T> value = read(name, decode);
        if (!value) throw CIMException(CIM_ERR_INVALID_PARAMETER);
        return *value;
    }

    String text(std::string_view name) const
    {
        return read(name, xml::decodeText).value_or(String());
    }
    CIMName className(std::string_view name = "ClassName") const
    {
        return read(name, xml::decodeClassName).value_or(CIMName());
    }
    CIMName requiredClassName() const
    {
        const CIMName name = className();
        if (!name.isNull()) return name;
        throw CIMException(CIM_ERR_INVALID_PARAMETER,
                           "Required parameter \"ClassName\" missing from request.");
    }
    /// A name that travels as text.
    CIMName requiredName(std::string_view name) const
    {
        const String value = required(name, xml::decodeText);
        if (CIMName::legal(value)) return CIMName(value);
        throw CIMException(CIM_ERR_INVALID_PARAMETER, "The CIM name is not valid: " + value);
    }
    CIMObjectPath instanceName() const { return required("InstanceName", xml::decodeInstanceName); }
    bool deep(bool defaultValue) const { return flag("DeepInheritance", defaultValue); }
    CIMPropertyList propertyList() const
    {
        return read("PropertyList", xml::decodePropertyList).value_or(CIMPropertyList());
    }
    ClassView classView() const
    {
        return {flag("LocalOnly", true), flag("IncludeQualifiers", true),
                flag("IncludeClassOrigin", false), propertyList()};
    }
    InstanceView instanceView() const
    {
        flag("LocalOnly", false);  // deprecated: it has to be a boolean, and has no effect
        return {flag("IncludeQualifiers", false), flag("IncludeClassOrigin", false),
                propertyList()};
    }
    /// The classes that an operation on classes enumerates.
    std::vector<CIMName> subclassNames() const
    {
        return schema.subclassNames(nameSpace, className(), deep(false));
    }
    Traversal traversal() const
    {
        return {required("ObjectName", xml::decodeObjectName), className("AssocClass"),
                className("ResultClass"), text("Role"), text("ResultRole")};
    }

private:
    /// The name in the spelling of the operation's table.
    static std::string_view known(const Operation& operation, const XmlElement& parameter)
    {
        const std::string& given = xml::requiredAttribute(parameter, "NAME");
        for (const std::string& name : operation.parameters) {
            if (equalNoCase(name, given)) return name;
        }
        throw CIMException(
            CIM_ERR_NOT_SUPPORTED,
            toString("Unrecognized or invalid request input parameter \"" + given + "\""));
    }

    std::map<std::string_view, const XmlElement*> given_;
};

namespace
{

/// The new value of SetProperty. It carries no type: the declaration in the class gives it.
CIMValue newValue(const Call& c, const CIMName& className, const CIMName& name)
{
    const ClassPtr cimClass = c.schema.requireClass(c.nameSpace, className, CIM_ERR_INVALID_CLASS);
    const Property* property = cimClass->property(name);
    if (!property) throw CIMException(CIM_ERR_NO_SUCH_PROPERTY, name.getString());
    const CIMValue null(property->value.getType(), property->value.isArray());
    const XmlElement* given = c.find("NewValue");
    if (!given) return null;
    try {
        const CIMValue value = xml::decodeValue(*given, null.getType(), null.isArray());
        if (value.typeCompatible(null)) return value;
    } catch (const RequestError&) {
        // Not a value of the type, either.
    }
    throw CIMException(CIM_ERR_TYPE_MISMATCH, name.getString());
}

void setProperty(const Call& c, ReplyWriter&)
{
    const CIMObjectPath path = c.instanceName();
    const CIMName name = c.requiredName("PropertyName");
    c.broker.setProperty(c.identity, c.nameSpace, path, name,
                         newValue(c, path.getClassName(), name));
}

void writePaths(ReplyWriter& reply, const Array<CIMObjectPath>& paths)
{
    reply.writeEach(paths, [&reply](const CIMObjectPath& path) {
        reply.write("<OBJECTPATH>\n");
        reply.encoder().writeInstancePath(path);
        reply.write("</OBJECTPATH>\n");
    });
}

/// Each instance after its path, in an element of that name.
void writeInstances(ReplyWriter& reply, const Array<CIMInstance>& instances,
                    const std::string& element,
                    void (xml::Encoder::*writePath)(const CIMObjectPath&))
{
    reply.writeEach(instances, [&reply, start = "<" + element + ">\n", end = "</" + element + ">\n",
                                writePath](const CIMInstance& instance) {
        reply.write(start);
        (reply.encoder().*writePath)(instance.getPath());
        reply.encoder().writeListedInstance(instance.object());
        reply.write(end);
    });
}

void writeObjects(ReplyWriter& reply, const Array<CIMInstance>& objects)
{
    writeInstances(reply, objects, "VALUE.OBJECTWITHPATH", &xml::Encoder::writeInstancePath);
}

/// Standard operations on the schema and queries, which this object manager does not offer.
void notSupported(const Call&, ReplyWriter&)
{
    throw CIMException(CIM_ERR_NOT_SUPPORTED);
}

const Operation operations[] = {
    {"GetClass",
     {"ClassName", "LocalOnly", "IncludeQualifiers", "IncludeClassOrigin", "PropertyList"},
     [](const Call& c, ReplyWriter& reply) {
         const CIMName name = c.requiredClassName();
         reply.encoder().writeClass(*c.schema.getClass(c.nameSpace, name, c.classView()));
     }},
    {"EnumerateClasses",
     {"ClassName", "DeepInheritance", "LocalOnly", "IncludeQualifiers", "IncludeClassOrigin"},
     [](const Call& c, ReplyWriter& reply) {
         const ClassView view = c.classView();
         for (const CIMName& name : c.subclassNames())
             reply.encoder().writeClass(*c.schema.getClass(c.nameSpace, name, view));
     }},
    {"EnumerateClassNames",
     {"ClassName", "DeepInheritance"},
     [](const Call& c, ReplyWriter& reply) {
         for (const CIMName& name : c.subclassNames())
             reply.encoder().writeClassName(name);
     }},
    {"GetQualifier",
     {"QualifierName"},
     [](const Call& c, ReplyWriter& reply) {
         const CIMName name = c.requiredName("QualifierName");
         reply.encoder().writeQualifierDecl(c.schema.getQualifierDecl(c.nameSpace, name));
     }},
    {"EnumerateQualifiers",
     {},
     [](const Call& c, ReplyWriter& reply) {
         for (const QualifierDecl* declaration : c.schema.qualifierDecls(c.nameSpace))
             reply.encoder().writeQualifierDecl(*declaration);
     }},
    {"GetInstance",
     {"InstanceName", "LocalOnly", "IncludeQualifiers", "IncludeClassOrigin", "PropertyList"},
     [](const Call& c, ReplyWriter& reply) {
         const CIMInstance found =
             c.broker.getInstance(c.identity, c.nameSpace, c.instanceName(), c.instanceView());
         // A provider that delivers nothing makes an empty success.
         if (!found.isUninitialized()) reply.encoder().writeInstance(found.object());
     }},
    {"EnumerateInstances",
     {"ClassName", "LocalOnly", "DeepInheritance", "IncludeQualifiers", "IncludeClassOrigin",
      "PropertyList"},
     [](const Call& c, ReplyWriter& reply) {
         const auto found = c.broker.enumerateInstances(
             c.identity, c.nameSpace, c.requiredClassName(), c.deep(true), c.instanceView());
         writeInstances(reply, found, "VALUE.NAMEDINSTANCE", &xml::Encoder::writeInstanceName);
     }},
    {"EnumerateInstanceNames",
     {"ClassName"},
     [](const Call& c, ReplyWriter& reply) {
         reply.writeEach(
             c.broker.enumerateInstanceNames(c.identity, c.nameSpace, c.requiredClassName()),
             [&reply](const CIMObjectPath& path) { reply.encoder().writeInstanceName(path); });
     }},
    {"CreateInstance",
     {"NewInstance"},
     [](const Call& c, ReplyWriter& reply) {
         const CIMInstance given = c.required("NewInstance", xml::decodeInstance);
         reply.encoder().writeInstanceName(c.broker.createInstance(c.identity, c.nameSpace, given));
     }},
    {"ModifyInstance",
     {"ModifiedInstance", "IncludeQualifiers", "PropertyList"},
     [](const Call& c, ReplyWriter&) {
         const CIMInstance given = c.required("ModifiedInstance", xml::decodeNamedInstance);
         c.broker.modifyInstance(c.identity, c.nameSpace, given, c.flag("IncludeQualifiers", true),
                                 c.propertyList());
     }},
    {"DeleteInstance",
     {"InstanceName"},
     [](const Call& c, ReplyWriter&) {
         c.broker.deleteInstance(c.identity, c.nameSpace, c.instanceName());
     }},
    {"GetProperty",
     {"InstanceName", "PropertyName"},
     [](const Call& c, ReplyWriter& reply) {
         reply.encoder().writeValue(c.broker.getProperty(c.identity, c.nameSpace, c.instanceName(),
                                                         c.requiredName("PropertyName")));
     }},
    {"SetProperty", {"InstanceName", "PropertyName", "NewValue"}, setProperty},
    {"Associators",
     {"ObjectName", "AssocClass", "ResultClass", "Role", "ResultRole", "IncludeQualifiers",
      "IncludeClassOrigin", "PropertyList"},
     [](const Call& c, ReplyWriter& reply) {
         writeObjects(
             reply, c.broker.associators(c.identity, c.nameSpace, c.traversal(), c.instanceView()));
     },
     true},
    {"AssociatorNames",
     {"ObjectName", "AssocClass", "ResultClass", "Role", "ResultRole"},
     [](const Call& c, ReplyWriter& reply) {
         writePaths(reply, c.broker.associatorNames(c.identity, c.nameSpace, c.traversal()));
     },
     true},
    {"References",
     {"ObjectName", "ResultClass", "Role", "IncludeQualifiers", "IncludeClassOrigin",
      "PropertyList"},
     [](const Call& c, ReplyWriter& reply) {
         writeObjects(
             reply, c.broker.references(c.identity, c.nameSpace, c.traversal(), c.instanceView()));
     },
     true},
    {"ReferenceNames",
     {"ObjectName", "ResultClass", "Role"},
     [](const Call& c, ReplyWriter& reply) {
         writePaths(reply, c.broker.referenceNames(c.identity, c.nameSpace, c.traversal()));
     },
     true},
    {"ExecQuery", {"QueryLanguage", "Query"}, notSupported},
    {"CreateClass", {"NewClass"}, notSupported},
    {"ModifyClass", {"ModifiedClass"}, notSupported},
    {"DeleteClass", {"ClassName"}, notSupported},
    {"SetQualifier", {"QualifierDeclaration"}, notSupported},
    {"DeleteQualifier", {"QualifierName"}, notSupported},
};

/// A PARAMVALUE; an untyped one with the type that the method's declaration gives it.
CIMParamValue decodeParameter(const CallContext& c, const CIMName& className,
                              const CIMName& methodName, const XmlElement& element)
{
    const CIMParamValue sent = xml::reading(xml::decodeParamValue, element);
    if (sent.isTyped()) return sent;
    const ClassPtr cimClass = c.schema.requireClass(c.nameSpace, className, CIM_ERR_NOT_FOUND);
    const Method* method = cimClass->method(methodName);
    if (!method) throw CIMException(CIM_ERR_METHOD_NOT_FOUND);
    const String name = sent.getParameterName();
    const Uint32 position = positionOf(method->parameters, CIMName(name));
    if (position == PEG_NOT_FOUND) return sent;
    const Parameter& declared = method->parameters[position];
    try {
        return CIMParamValue(name, xml::decodeValue(element, declared.type, declared.isArray));
    } catch (const RequestError&) {
        throw CIMException(CIM_ERR_INVALID_PARAMETER,
                           String("Malformed ") + cimTypeToString(declared.type) + " value");
    }
}

}  // namespace

const Operation* findOperation(const std::string& name)
{
    for (const Operation& operation : operations) {
        if (equalNoCase(operation.name, name)) return &operation;
    }
    return nullptr;
}

void runOperation(const Operation& operation, const CallContext& context, const XmlElement& call,
                  ReplyWriter& reply)
{
    reply.writeReturnValue(operation.alwaysHasReturnValue,
                           [&] { operation.run(Call(operation, context, call), reply); });
}

void runMethod(const CallContext& c, const CIMObjectPath& path, const CIMName& method,
               const XmlElement& call, ReplyWriter& reply)
{
    Array<CIMParamValue> in;
    for (std::size_t i = 1; i < call.children.size(); ++i)
        in.append(decodeParameter(c, path.getClassName(), method, call.children[i]));
    Array<CIMParamValue> results;
    const CIMValue value =
        c.broker.invokeMethod(c.identity, c.nameSpace, path, method, in, results);
    if (!value.isNull()) reply.encoder().writeReturnValue(value);
    for (Uint32 i = 0; i < results.size(); ++i)
        reply.encoder().writeParamValue(results[i]);
}

}  // namespace cimom
