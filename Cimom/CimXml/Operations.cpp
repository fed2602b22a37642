#include "CimXml/Operations.h"

#include "CimXml/Call.h"

#include <utility>

PEGASUS_USING_PEGASUS;

namespace cimom
{

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

/// Whether the traversal starts at a class: it is answered from the schema then.
bool isOfClass(const Call& c)
{
    const XmlElement* name = c.find("ObjectName");
    return name && xml::onlyChild(*name).name == "CLASSNAME";
}

/// Writes what a traversal from an instance has found. An empty result is an empty element, unless
/// there was no provider to call, as OpenPegasus has it.
template <class Item>
void writeFound(const Call& c, ReplyWriter& reply, const Traversal& traversal, Array<Item> found,
                void (xml::Encoder::*writeItem)(const Item&))
{
    if (found.size() == 0 && c.broker.isServed(c.nameSpace, traversal))
        reply.keepEmptyReturnValue();
    reply.writeEach(std::move(found), writeItem);
}

template <Traversal::Kind kind>
void traverse(const Call& c, ReplyWriter& reply)
{
    const Traversal traversal = c.traversal(kind, c.required("ObjectName", xml::decodeObjectName));
    if (!isOfClass(c)) {
        return writeFound(c, reply, traversal,
                          c.broker.traverse(c.identity, c.nameSpace, traversal, c.instanceView()),
                          &xml::Encoder::writeObjectWithPath);
    }
    const auto names = c.broker.associations().classesOf(c.nameSpace, traversal);
    const ClassView view{false, c.flag("IncludeQualifiers", false),
                         c.flag("IncludeClassOrigin", false), c.propertyList()};
    for (const CIMName& name : names) {
        reply.encoder().writeClassWithPath(c.broker.classPath(c.nameSpace, name),
                                           *c.schema.getClass(c.nameSpace, name, view));
    }
}

template <Traversal::Kind kind>
void traverseNames(const Call& c, ReplyWriter& reply)
{
    const Traversal traversal = c.traversal(kind, c.required("ObjectName", xml::decodeObjectName));
    if (!isOfClass(c)) {
        return writeFound(c, reply, traversal,
                          c.broker.traverseNames(c.identity, c.nameSpace, traversal),
                          &xml::Encoder::writeObjectPath);
    }
    for (const CIMName& name : c.broker.associations().classesOf(c.nameSpace, traversal))
        reply.encoder().writeClassObjectPath(c.broker.classPath(c.nameSpace, name));
}

/// Standard operations on the schema and queries, which this object manager does not offer.
void notSupported(const Call&, ReplyWriter&)
{
    throw CIMException(CIM_ERR_NOT_SUPPORTED);
}

const std::vector<Operation> operations = {
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
         const auto found =
             c.broker.enumerateInstances(c.identity, c.nameSpace, c.requiredClassName(),
                                         c.deep(true), c.instanceView(), PathForm::Local);
         reply.writeEach(found, &xml::Encoder::writeNamedInstance);
     }},
    {"EnumerateInstanceNames",
     {"ClassName"},
     [](const Call& c, ReplyWriter& reply) {
         reply.writeEach(c.broker.enumerateInstanceNames(c.identity, c.nameSpace,
                                                         c.requiredClassName(), PathForm::Local),
                         &xml::Encoder::writeInstanceName);
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
     traverse<Traversal::Associators>},
    {"AssociatorNames",
     {"ObjectName", "AssocClass", "ResultClass", "Role", "ResultRole"},
     traverseNames<Traversal::Associators>},
    {"References",
     {"ObjectName", "ResultClass", "Role", "IncludeQualifiers", "IncludeClassOrigin",
      "PropertyList"},
     traverse<Traversal::References>},
    {"ReferenceNames", {"ObjectName", "ResultClass", "Role"}, traverseNames<Traversal::References>},
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
    for (const auto* table : {&operations, &pullOperations}) {
        for (const Operation& operation : *table) {
            if (equalNoCase(operation.name, name)) return &operation;
        }
    }
    return nullptr;
}

void runOperation(const Operation& operation, const CallContext& context, const XmlElement& call,
                  ReplyWriter& reply)
{
    reply.writeReturnValue([&] { operation.run(Call(operation, context, call), reply); });
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
