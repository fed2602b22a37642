#include "CimXml/Decode.h"

#include "Model/Elements.h"
#include "Model/NoCase.h"
#include "Model/ValueText.h"

#include <algorithm>
#include <initializer_list>
#include <set>
#include <type_traits>
#include <vector>

PEGASUS_USING_PEGASUS;

namespace cimom::xml
{

namespace
{

/// How many levels of elements an embedded instance counts as, beside its own: each one inside
/// another takes another pass over its text.
constexpr unsigned depthOfDocument = 8;

/// The error for the value of an element.
RequestError semanticError(const XmlElement& element, const std::string& text)
{
    return notValid("Semantic error: on line " + std::to_string(element.line) + ": " + text);
}

/// The error for the value of an attribute.
RequestError attributeError(const XmlElement& element, std::string_view attribute)
{
    return semanticError(
        element, "Illegal value for " + element.name + "." + std::string(attribute) + " attribute");
}

void expectName(const XmlElement& element, const std::string& name)
{
    if (element.name != name) throw validationError(element, "Expected " + name + " element");
}

/// Refuses children other than these.
void allowChildren(const XmlElement& element, std::initializer_list<std::string_view> names)
{
    for (const XmlElement& child : element.children) {
        if (std::find(names.begin(), names.end(), child.name) == names.end()) {
            throw validationError(
                child, "Unexpected " + child.name + " element in " + element.name + " element");
        }
    }
}

/// The type in that attribute, with the type of an embedded object in place of string.
CIMType typeAttribute(const XmlElement& element, std::string_view attribute)
{
    const std::string& name = requiredAttribute(element, attribute);
    Sint32 type = CIMTYPE_BOOLEAN;
    while (type <= CIMTYPE_REFERENCE && name != cimTypeToString(static_cast<CIMType>(type)))
        ++type;
    if (type > CIMTYPE_REFERENCE) throw attributeError(element, attribute);
    const std::string* embedded = element.attribute("EmbeddedObject");
    if (!embedded) embedded = element.attribute("EMBEDDEDOBJECT");
    if (!embedded || type != CIMTYPE_STRING) return static_cast<CIMType>(type);
    if (equalNoCase(*embedded, "instance")) return CIMTYPE_INSTANCE;
    if (equalNoCase(*embedded, "object")) return CIMTYPE_OBJECT;
    throw attributeError(element, "EmbeddedObject");
}

/// False when the attribute is not there.
bool booleanAttribute(const XmlElement& element, std::string_view attribute)
{
    const std::string* value = element.attribute(attribute);
    const auto flag = readValue<bool>(value ? *value : "FALSE");
    if (!flag) throw attributeError(element, attribute);
    return *flag;
}

/// The value of that type in the text of an element. Throws TypeMismatchException for other text.
template <class T>
T parse(const XmlElement& element)
{
    if constexpr (std::is_same_v<T, CIMInstance> || std::is_same_v<T, CIMObject>) {
        return decodeInstance(parseXml(element.text, element.depth + depthOfDocument));
    } else {
        if (const auto value = readValue<T>(element.text)) return *value;
        throw TypeMismatchException();
    }
}

/// Checks that a path element has two children: the location of the object, and its name.
void expectPathParts(const XmlElement& element, const std::string& where)
{
    if (element.children.size() != 2)
        throw validationError(element, "Expected " + where + " element and one more");
    expectName(element.children[0], where);
}

/// VALUE.REFERENCE.
CIMObjectPath decodeReference(const XmlElement& reference)
{
    const XmlElement& path = onlyChild(reference);
    if (path.name == "INSTANCENAME" || path.name == "CLASSNAME") return decodeObjectName(path);
    if (path.name == "LOCALINSTANCEPATH" || path.name == "LOCALCLASSPATH")
        return decodeLocalPath(path);
    if (path.name != "CLASSPATH") expectName(path, "INSTANCEPATH");
    expectPathParts(path, "NAMESPACEPATH");
    const XmlElement& where = path.children[0];
    expectPathParts(where, "HOST");
    CIMObjectPath result = decodeObjectName(path.children[1]);
    result.setNameSpace(decodeNamespace(where.children[1]));
    result.setHost(toString(where.children[0].text));
    return result;
}

CIMKeyBinding decodeKeyBinding(const XmlElement& binding)
{
    expectName(binding, "KEYBINDING");
    const CIMName name = nameAttribute(binding, "NAME");
    const XmlElement& value = onlyChild(binding);
    if (value.name == "VALUE.REFERENCE")
        return CIMKeyBinding(name, decodeReference(value).toString(), CIMKeyBinding::REFERENCE);
    expectName(value, "KEYVALUE");
    if (value.hasCdata || !value.children.empty()) {
        throw validationError(value,
                              "Expected close of KEYVALUE element, got " + value.text + " instead");
    }
    const String text = toString(value.text);
    const std::string* type = value.attribute("VALUETYPE");
    if (!type || *type == "string") return CIMKeyBinding(name, text, CIMKeyBinding::STRING);
    if (*type == "numeric") return CIMKeyBinding(name, text, CIMKeyBinding::NUMERIC);
    if (*type == "boolean") return CIMKeyBinding(name, text, CIMKeyBinding::BOOLEAN);
    throw attributeError(value, "VALUETYPE");
}

CIMName optionalName(const XmlElement& element, std::string_view attribute)
{
    return element.attribute(attribute) ? nameAttribute(element, attribute) : CIMName();
}

CIMProperty decodeProperty(const XmlElement& element)
{
    const bool reference = element.name == "PROPERTY.REFERENCE";
    const bool isArray = element.name == "PROPERTY.ARRAY";
    allowChildren(element, {"QUALIFIER", reference ? "VALUE.REFERENCE"
                                         : isArray ? "VALUE.ARRAY"
                                                   : "VALUE"});
    const CIMType type = reference ? CIMTYPE_REFERENCE : typeAttribute(element, "TYPE");
    return CIMProperty(nameAttribute(element, "NAME"), decodeValue(element, type, isArray), 0,
                       optionalName(element, "REFERENCECLASS"),
                       optionalName(element, "CLASSORIGIN"),
                       booleanAttribute(element, "PROPAGATED"));
}

/// The VALUE elements of a VALUE.ARRAY, or the VALUE itself.
std::vector<const XmlElement*> valuesOf(const XmlElement& value)
{
    if (value.name == "VALUE") {
        allowChildren(value, {});
        return {&value};
    }
    expectName(value, "VALUE.ARRAY");
    allowChildren(value, {"VALUE"});
    std::vector<const XmlElement*> values;
    for (const XmlElement& item : value.children)
        values.push_back(valuesOf(item)[0]);
    return values;
}

CIMValue decodeReferences(const XmlElement& array)
{
    allowChildren(array, {"VALUE.REFERENCE"});
    Array<CIMObjectPath> paths;
    for (const XmlElement& item : array.children)
        paths.append(decodeReference(item));
    return CIMValue(paths);
}

}  // namespace

RequestError validationError(const XmlElement& element, const std::string& text)
{
    return notValid("Validation error: on line " + std::to_string(element.line) + ": " + text);
}

const std::string& requiredAttribute(const XmlElement& element, std::string_view name)
{
    if (const std::string* value = element.attribute(name)) return *value;
    throw validationError(element,
                          "missing " + element.name + "." + std::string(name) + " attribute");
}

CIMName nameAttribute(const XmlElement& element, std::string_view name)
{
    const String value = toString(requiredAttribute(element, name));
    if (CIMName::legal(value)) return CIMName(value);
    throw attributeError(element, name);
}

const XmlElement& onlyChild(const XmlElement& element)
{
    if (element.children.size() == 1) return element.children[0];
    throw validationError(element, "Expected one element in " + element.name);
}

String decodeText(const XmlElement& element)
{
    expectName(element, "VALUE");
    allowChildren(element, {});
    return toString(element.text);
}

bool decodeBoolean(const XmlElement& element)
{
    expectName(element, "VALUE");
    if (const auto flag = readValue<bool>(element.text)) return *flag;
    throw semanticError(element, "Invalid value for VALUE element: must be \"TRUE\" or \"FALSE\"");
}

CIMNamespaceName decodeNamespace(const XmlElement& element)
{
    expectName(element, "LOCALNAMESPACEPATH");
    String nameSpace;
    for (const XmlElement& part : element.children) {
        expectName(part, "NAMESPACE");
        if (nameSpace.size() != 0) nameSpace.append(Char16('/'));
        nameSpace.append(nameAttribute(part, "NAME").getString());
    }
    return CIMNamespaceName(nameSpace);
}

CIMName decodeClassName(const XmlElement& element)
{
    expectName(element, "CLASSNAME");
    return nameAttribute(element, "NAME");
}

CIMObjectPath decodeInstanceName(const XmlElement& element)
{
    expectName(element, "INSTANCENAME");
    Array<CIMKeyBinding> keys;
    for (const XmlElement& child : element.children)
        keys.append(decodeKeyBinding(child));
    const CIMName className = nameAttribute(element, "CLASSNAME");
    const CIMObjectPath path(String(), CIMNamespaceName(), className, keys);
    if (path.toString().size() <= longestObjectPath) return path;
    throw semanticError(
        element, "the path is longer than " + std::to_string(longestObjectPath) + " characters");
}

CIMObjectPath decodeObjectName(const XmlElement& element)
{
    if (element.name != "CLASSNAME") return decodeInstanceName(element);
    return CIMObjectPath(String(), CIMNamespaceName(), decodeClassName(element));
}

CIMObjectPath decodeLocalPath(const XmlElement& element)
{
    expectPathParts(element, "LOCALNAMESPACEPATH");
    CIMObjectPath path = decodeObjectName(element.children[1]);
    path.setNameSpace(decodeNamespace(element.children[0]));
    return path;
}

CIMInstance decodeInstance(const XmlElement& element)
{
    expectName(element, "INSTANCE");
    allowChildren(element, {"QUALIFIER", "PROPERTY", "PROPERTY.ARRAY", "PROPERTY.REFERENCE"});
    CIMInstance instance(nameAttribute(element, "CLASSNAME"));
    std::set<CIMName, NoCaseLess> names;
    for (const XmlElement& child : element.children) {
        if (child.name == "QUALIFIER") continue;
        const CIMProperty property = decodeProperty(child);
        if (names.insert(property.getName()).second)
            instance.object().properties.push_back(property.shared());
        else
            instance.addProperty(property);  // throws
    }
    return instance;
}

CIMInstance decodeNamedInstance(const XmlElement& element)
{
    expectName(element, "VALUE.NAMEDINSTANCE");
    expectPathParts(element, "INSTANCENAME");
    const CIMObjectPath path = decodeInstanceName(element.children[0]);
    CIMInstance instance = decodeInstance(element.children[1]);
    if (!path.getClassName().equal(instance.getClassName()))
        throw CIMException(CIM_ERR_INVALID_PARAMETER, "type mismatch");
    instance.setPath(path);
    return instance;
}

CIMPropertyList decodePropertyList(const XmlElement& element)
{
    expectName(element, "VALUE.ARRAY");
    Array<CIMName> names;
    for (const XmlElement* value : valuesOf(element))
        names.append(CIMName(toString(value->text)));
    return CIMPropertyList(names);
}

CIMParamValue decodeParamValue(const XmlElement& element)
{
    expectName(element, "PARAMVALUE");
    allowChildren(element, {"VALUE", "VALUE.ARRAY", "VALUE.REFERENCE", "VALUE.REFARRAY"});
    const String name = nameAttribute(element, "NAME").getString();
    const bool reference = element.child("VALUE.REFERENCE") || element.child("VALUE.REFARRAY");
    const bool hasType = element.attribute("PARAMTYPE");
    CIMType type = reference ? CIMTYPE_REFERENCE : CIMTYPE_STRING;
    if (hasType) type = typeAttribute(element, "PARAMTYPE");
    if (!element.children.empty() && reference != (type == CIMTYPE_REFERENCE))
        throw semanticError(element, "PARAMVALUE.PARAMTYPE does not fit the value");
    return CIMParamValue(name, decodeValue(element, type, false), hasType || reference);
}

CIMValue decodeValue(const XmlElement& holder, CIMType type, bool isArray)
{
    const auto value =
        std::find_if(holder.children.begin(), holder.children.end(),
                     [](const XmlElement& child) { return child.name.rfind("VALUE", 0) == 0; });
    if (value == holder.children.end()) return CIMValue(type, isArray);
    if (value->name == "VALUE.REFERENCE") return CIMValue(decodeReference(*value));
    if (value->name == "VALUE.REFARRAY") return decodeReferences(*value);
    isArray = value->name == "VALUE.ARRAY";
    const auto values = valuesOf(*value);
    const auto parseElement = [](const XmlElement* element, const auto& sample) {
        return parse<std::decay_t<decltype(sample)>>(*element);
    };
    const std::string refusal = std::string("Invalid ") + cimTypeToString(type) + " value";
    try {
        return readItems(values, type, isArray, parseElement);
    } catch (const Exception&) {
        throw semanticError(*value, refusal);
    } catch (const RequestError& error) {  // of an embedded object
        throw semanticError(*value, refusal + ": " + error.detail);
    }
}

}  // namespace cimom::xml
