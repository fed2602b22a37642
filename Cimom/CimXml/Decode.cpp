#include "CimXml/Decode.h"

#include "CimXml/Encode.h"

#include <Pegasus/Common/Exception.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <limits>
#include <optional>
#include <stdexcept>
#include <type_traits>

PEGASUS_USING_PEGASUS;

namespace cimom::xml
{

namespace
{

std::string onLine(const XmlElement& element)
{
    return "on line " + std::to_string(element.line) + ": ";
}

String toString(const std::string& text)
{
    return String(text.data(), static_cast<Uint32>(text.size()));
}

bool equalNoCase(std::string_view a, std::string_view b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](unsigned char x, unsigned char y) {
        return std::tolower(x) == std::tolower(y);
    });
}

std::optional<CIMType> typeOfName(std::string_view name)
{
    for (int type = CIMTYPE_BOOLEAN; type <= CIMTYPE_REFERENCE; ++type) {
        if (name == cimTypeToString(static_cast<CIMType>(type))) return static_cast<CIMType>(type);
    }
    return std::nullopt;
}

/// The type in that attribute, with the type of an embedded object in place of string.
CIMType typeAttribute(const XmlElement& element, std::string_view attribute)
{
    const auto type = typeOfName(requiredAttribute(element, attribute));
    if (!type) {
        throw semanticError(element, "Illegal value for " + element.name + "." +
                                         std::string(attribute) + " attribute");
    }
    const std::string* embedded = element.attribute("EmbeddedObject");
    if (!embedded) embedded = element.attribute("EMBEDDEDOBJECT");
    if (!embedded || *type != CIMTYPE_STRING) return *type;
    if (equalNoCase(*embedded, "instance")) return CIMTYPE_INSTANCE;
    if (equalNoCase(*embedded, "object")) return CIMTYPE_OBJECT;
    throw semanticError(element, "EmbeddedObject must be \"instance\" or \"object\"");
}

bool booleanAttribute(const XmlElement& element, std::string_view attribute, bool otherwise)
{
    const std::string* value = element.attribute(attribute);
    if (!value) return otherwise;
    if (equalNoCase(*value, "true")) return true;
    if (equalNoCase(*value, "false")) return false;
    throw semanticError(
        element, "Invalid " + element.name + "." + std::string(attribute) + " attribute value");
}

// Texts of every type. All throw std::invalid_argument.

[[noreturn]] void refuseText()
{
    throw std::invalid_argument("no value of the type");
}

void parse(const std::string& text, Boolean& value)
{
    value = equalNoCase(text, "TRUE");
    if (!value && !equalNoCase(text, "FALSE")) refuseText();
}

template <class Integer>
std::enable_if_t<std::is_integral_v<Integer>> parse(const std::string& text, Integer& value)
{
    std::string_view digits = text;
    bool negative = false;
    if (std::is_signed_v<Integer> && !digits.empty() && (digits[0] == '-' || digits[0] == '+')) {
        negative = digits[0] == '-';
        digits.remove_prefix(1);
    }
    const bool hex =
        digits.size() > 2 && digits[0] == '0' && (digits[1] == 'x' || digits[1] == 'X');
    if (hex) digits.remove_prefix(2);
    if (digits.empty() || (!hex && digits.size() > 1 && digits[0] == '0')) refuseText();
    Uint64 magnitude = 0;
    const auto [end, error] =
        std::from_chars(digits.data(), digits.data() + digits.size(), magnitude, hex ? 16 : 10);
    const Uint64 limit =
        static_cast<Uint64>(std::numeric_limits<Integer>::max()) + (negative ? 1 : 0);
    if (error != std::errc() || end != digits.data() + digits.size() || magnitude > limit)
        refuseText();
    value = static_cast<Integer>(negative ? 0 - magnitude : magnitude);
}

template <class Real>
std::enable_if_t<std::is_floating_point_v<Real>> parse(const std::string& text, Real& value)
{
    const char* first = text.data() + (text.compare(0, 1, "+") == 0 ? 1 : 0);
    const char* last = text.data() + text.size();
    const auto [end, error] = std::from_chars(first, last, value);
    if (error != std::errc() || end != last || (first != text.data() && *first == '-'))
        refuseText();
}

void parse(const std::string& text, Char16& value)
{
    const String characters = toString(text);
    if (characters.size() != 1) refuseText();
    value = characters[0];
}

void parse(const std::string& text, String& value)
{
    value = toString(text);
}

void parse(const std::string& text, CIMDateTime& value)
{
    try {
        value = CIMDateTime(toString(text));
    } catch (const Exception&) {
        refuseText();
    }
}

void parse(const std::string& text, CIMObjectPath& value)
{
    value = CIMObjectPath(toString(text));
}

void parse(const std::string& text, CIMInstance& value)
{
    value = decodeInstance(parseXml(text, XmlProlog::Optional));
}

void parse(const std::string& text, CIMObject& value)
{
    CIMInstance instance;
    parse(text, instance);
    value = CIMObject(instance);
}

template <class T>
CIMValue parseAll(const std::vector<std::string>& texts, bool isArray)
{
    Array<T> items;
    for (const std::string& text : texts) {
        T item{};
        parse(text, item);
        items.append(item);
    }
    return isArray ? CIMValue(items) : CIMValue(items[0]);
}

/// The values of these texts; exactly one text unless an array is asked for.
CIMValue parseTexts(const std::vector<std::string>& texts, CIMType type, bool isArray)
{
    switch (type) {
        case CIMTYPE_BOOLEAN:
            return parseAll<Boolean>(texts, isArray);
        case CIMTYPE_UINT8:
            return parseAll<Uint8>(texts, isArray);
        case CIMTYPE_SINT8:
            return parseAll<Sint8>(texts, isArray);
        case CIMTYPE_UINT16:
            return parseAll<Uint16>(texts, isArray);
        case CIMTYPE_SINT16:
            return parseAll<Sint16>(texts, isArray);
        case CIMTYPE_UINT32:
            return parseAll<Uint32>(texts, isArray);
        case CIMTYPE_SINT32:
            return parseAll<Sint32>(texts, isArray);
        case CIMTYPE_UINT64:
            return parseAll<Uint64>(texts, isArray);
        case CIMTYPE_SINT64:
            return parseAll<Sint64>(texts, isArray);
        case CIMTYPE_REAL32:
            return parseAll<Real32>(texts, isArray);
        case CIMTYPE_REAL64:
            return parseAll<Real64>(texts, isArray);
        case CIMTYPE_CHAR16:
            return parseAll<Char16>(texts, isArray);
        case CIMTYPE_STRING:
            return parseAll<String>(texts, isArray);
        case CIMTYPE_DATETIME:
            return parseAll<CIMDateTime>(texts, isArray);
        case CIMTYPE_REFERENCE:
            return parseAll<CIMObjectPath>(texts, isArray);
        case CIMTYPE_OBJECT:
            return parseAll<CIMObject>(texts, isArray);
        case CIMTYPE_INSTANCE:
            return parseAll<CIMInstance>(texts, isArray);
    }
    refuseText();
}

void appendNamespacePart(const XmlElement& part, String& nameSpace)
{
    if (part.name != "NAMESPACE") throw validationError(part, "expected NAMESPACE element");
    if (nameSpace.size() != 0) nameSpace.append(Char16('/'));
    nameSpace.append(nameAttribute(part, "NAME").getString());
}

CIMObjectPath withNamespace(const std::string& host, const XmlElement& nameSpace,
                            CIMObjectPath path)
{
    path.setNameSpace(decodeNamespace(nameSpace));
    if (!host.empty()) path.setHost(toString(host));
    return path;
}

/// The two children of a path element: where the object is, and its name.
void expectPathParts(const XmlElement& element, std::string_view where)
{
    if (element.children.empty() || element.children[0].name != where) {
        throw validationError(element, "expected " + std::string(where) + " element");
    }
    if (element.children.size() != 2) {
        throw validationError(element, "Expected a name after " + std::string(where) + " element");
    }
}

/// VALUE.REFERENCE.
CIMObjectPath decodeReference(const XmlElement& reference)
{
    const XmlElement& path = onlyChild(reference);
    if (path.name == "INSTANCENAME" || path.name == "CLASSNAME") return decodeObjectName(path);
    if (path.name == "LOCALINSTANCEPATH" || path.name == "LOCALCLASSPATH")
        return decodeLocalPath(path);
    if (path.name != "INSTANCEPATH" && path.name != "CLASSPATH") {
        throw validationError(path,
                              "Expected INSTANCEPATH, LOCALINSTANCEPATH, INSTANCENAME, CLASSPATH, "
                              "LOCALCLASSPATH or CLASSNAME element");
    }
    expectPathParts(path, "NAMESPACEPATH");
    const XmlElement& where = path.children[0];
    expectPathParts(where, "HOST");
    return withNamespace(where.children[0].text, where.children[1],
                         decodeObjectName(path.children[1]));
}

CIMKeyBinding decodeKeyBinding(const XmlElement& binding)
{
    if (binding.name != "KEYBINDING") throw validationError(binding, "Expected KEYBINDING element");
    const CIMName name = nameAttribute(binding, "NAME");
    const XmlElement& value = onlyChild(binding);
    if (value.name == "VALUE.REFERENCE") {
        return CIMKeyBinding(name, decodeReference(value).toString(), CIMKeyBinding::REFERENCE);
    }
    if (value.name != "KEYVALUE")
        throw validationError(value, "Expected KEYVALUE or VALUE.REFERENCE element");
    if (value.hasCdata || !value.children.empty()) {
        throw validationError(value,
                              "Expected close of KEYVALUE element, got " + value.text + " instead");
    }
    const std::string* type = value.attribute("VALUETYPE");
    if (!type || *type == "string")
        return CIMKeyBinding(name, decodeText(value), CIMKeyBinding::STRING);
    if (*type == "numeric") return CIMKeyBinding(name, decodeText(value), CIMKeyBinding::NUMERIC);
    if (*type == "boolean") return CIMKeyBinding(name, decodeText(value), CIMKeyBinding::BOOLEAN);
    throw semanticError(value, "Illegal value for KEYVALUE.VALUETYPE attribute");
}

CIMQualifier decodeQualifier(const XmlElement& element)
{
    allowChildren(element, {"VALUE", "VALUE.ARRAY"});
    CIMFlavor flavor;
    if (booleanAttribute(element, "OVERRIDABLE", true)) flavor.addFlavor(CIMFlavor::OVERRIDABLE);
    if (booleanAttribute(element, "TOSUBCLASS", true)) flavor.addFlavor(CIMFlavor::TOSUBCLASS);
    if (booleanAttribute(element, "TRANSLATABLE", false)) flavor.addFlavor(CIMFlavor::TRANSLATABLE);
    const CIMType type = typeAttribute(element, "TYPE");
    return CIMQualifier(nameAttribute(element, "NAME"),
                        decodeValue(element, type, element.child("VALUE.ARRAY")), flavor,
                        booleanAttribute(element, "PROPAGATED", false));
}

CIMName optionalName(const XmlElement& element, std::string_view attribute)
{
    return element.attribute(attribute) ? nameAttribute(element, attribute) : CIMName();
}

CIMProperty decodeProperty(const XmlElement& element)
{
    const bool reference = element.name == "PROPERTY.REFERENCE";
    const bool isArray = element.name == "PROPERTY.ARRAY";
    const std::string_view value = reference ? "VALUE.REFERENCE"
                                   : isArray ? "VALUE.ARRAY"
                                             : "VALUE";
    allowChildren(element, {"QUALIFIER", value});
    const CIMType type = reference ? CIMTYPE_REFERENCE : typeAttribute(element, "TYPE");
    CIMProperty property(nameAttribute(element, "NAME"), decodeValue(element, type, isArray), 0,
                         optionalName(element, "REFERENCECLASS"),
                         optionalName(element, "CLASSORIGIN"),
                         booleanAttribute(element, "PROPAGATED", false));
    for (const XmlElement& child : element.children) {
        if (child.name == "QUALIFIER") property.addQualifier(decodeQualifier(child));
    }
    return property;
}

std::vector<std::string> textsOf(const XmlElement& array)
{
    allowChildren(array, {"VALUE"});
    std::vector<std::string> texts;
    for (const XmlElement& item : array.children) {
        allowChildren(item, {});
        texts.push_back(item.text);
    }
    return texts;
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
    return RequestError(400, "request-not-valid", "Validation error: " + onLine(element) + text);
}

RequestError semanticError(const XmlElement& element, const std::string& text)
{
    return RequestError(400, "request-not-valid", "Semantic error: " + onLine(element) + text);
}

const std::string& requiredAttribute(const XmlElement& element, std::string_view name)
{
    const std::string* value = element.attribute(name);
    if (!value)
        throw validationError(element,
                              "missing " + element.name + "." + std::string(name) + " attribute");
    return *value;
}

CIMName nameAttribute(const XmlElement& element, std::string_view name)
{
    const String value = toString(requiredAttribute(element, name));
    if (CIMName::legal(value)) return CIMName(value);
    throw semanticError(
        element, "Illegal value for " + element.name + "." + std::string(name) + " attribute");
}

void allowChildren(const XmlElement& element, std::initializer_list<std::string_view> names)
{
    for (const XmlElement& child : element.children) {
        if (std::find(names.begin(), names.end(), child.name) == names.end()) {
            throw validationError(
                child, "Unexpected " + child.name + " element in " + element.name + " element");
        }
    }
}

const XmlElement& onlyChild(const XmlElement& element)
{
    if (element.children.size() != 1)
        throw validationError(element, "Expected one element in " + element.name);
    return element.children[0];
}

String decodeText(const XmlElement& element)
{
    return toString(element.text);
}

bool decodeBoolean(const XmlElement& element)
{
    if (equalNoCase(element.text, "TRUE")) return true;
    if (equalNoCase(element.text, "FALSE")) return false;
    throw semanticError(element, "Invalid value for VALUE element: must be \"TRUE\" or \"FALSE\"");
}

CIMNamespaceName decodeNamespace(const XmlElement& element)
{
    if (element.name != "LOCALNAMESPACEPATH")
        throw validationError(element, "expected LOCALNAMESPACEPATH element");
    if (element.children.empty())
        throw validationError(element, "Expected one or more NAMESPACE elements");
    String nameSpace;
    for (const XmlElement& part : element.children)
        appendNamespacePart(part, nameSpace);
    return CIMNamespaceName(nameSpace);
}

CIMName decodeClassName(const XmlElement& element)
{
    if (element.name != "CLASSNAME") throw validationError(element, "Expected CLASSNAME element");
    return nameAttribute(element, "NAME");
}

CIMObjectPath decodeObjectName(const XmlElement& element)
{
    if (element.name == "CLASSNAME")
        return CIMObjectPath(String(), CIMNamespaceName(), decodeClassName(element));
    if (element.name != "INSTANCENAME")
        throw validationError(element, "Expected INSTANCENAME element");
    Array<CIMKeyBinding> keys;
    for (const XmlElement& child : element.children)
        keys.append(decodeKeyBinding(child));
    return CIMObjectPath(String(), CIMNamespaceName(), nameAttribute(element, "CLASSNAME"), keys);
}

CIMObjectPath decodeLocalPath(const XmlElement& element)
{
    expectPathParts(element, "LOCALNAMESPACEPATH");
    return withNamespace("", element.children[0], decodeObjectName(element.children[1]));
}

CIMInstance decodeInstance(const XmlElement& element)
{
    if (element.name != "INSTANCE") throw validationError(element, "Expected INSTANCE element");
    allowChildren(element, {"QUALIFIER", "PROPERTY", "PROPERTY.ARRAY", "PROPERTY.REFERENCE"});
    CIMInstance instance(nameAttribute(element, "CLASSNAME"));
    for (const XmlElement& child : element.children) {
        if (child.name == "QUALIFIER") {
            instance.addQualifier(decodeQualifier(child));
        } else {
            instance.addProperty(decodeProperty(child));
        }
    }
    return instance;
}

CIMInstance decodeNamedInstance(const XmlElement& element)
{
    if (element.name != "VALUE.NAMEDINSTANCE")
        throw validationError(element, "Expected VALUE.NAMEDINSTANCE element");
    expectPathParts(element, "INSTANCENAME");
    const CIMObjectPath path = decodeObjectName(element.children[0]);
    CIMInstance instance = decodeInstance(element.children[1]);
    if (!path.getClassName().equal(instance.getClassName())) {
        throw CIMException(CIM_ERR_INVALID_PARAMETER, "type mismatch");
    }
    instance.setPath(path);
    return instance;
}

CIMPropertyList decodePropertyList(const XmlElement& element)
{
    if (element.name != "VALUE.ARRAY")
        throw validationError(element, "Expected VALUE.ARRAY element");
    Array<CIMName> names;
    for (const std::string& text : textsOf(element)) {
        if (!CIMName::legal(toString(text)))
            throw semanticError(element, "Illegal property name " + text);
        names.append(CIMName(toString(text)));
    }
    return CIMPropertyList(names);
}

CIMParamValue decodeParamValue(const XmlElement& element)
{
    allowChildren(element, {"VALUE", "VALUE.ARRAY", "VALUE.REFERENCE", "VALUE.REFARRAY"});
    const String name = nameAttribute(element, "NAME").getString();
    const bool references = element.child("VALUE.REFERENCE") || element.child("VALUE.REFARRAY");
    const bool isArray = element.child("VALUE.ARRAY") || element.child("VALUE.REFARRAY");
    if (element.attribute("PARAMTYPE")) {
        const CIMType type = typeAttribute(element, "PARAMTYPE");
        if (!element.children.empty() && references != (type == CIMTYPE_REFERENCE)) {
            throw semanticError(element, "PARAMVALUE.PARAMTYPE does not fit the value");
        }
        return CIMParamValue(name, decodeValue(element, type, isArray), true);
    }
    if (references)
        return CIMParamValue(name, decodeValue(element, CIMTYPE_REFERENCE, isArray), true);
    return CIMParamValue(name, decodeValue(element, CIMTYPE_STRING, isArray), false);
}

CIMValue decodeValue(const XmlElement& holder, CIMType type, bool isArray)
{
    const bool reference = type == CIMTYPE_REFERENCE;
    const XmlElement* value =
        holder.child(reference ? (isArray ? "VALUE.REFARRAY" : "VALUE.REFERENCE")
                               : (isArray ? "VALUE.ARRAY" : "VALUE"));
    if (!value) return CIMValue(type, isArray);
    if (reference) return isArray ? decodeReferences(*value) : CIMValue(decodeReference(*value));
    if (!isArray) allowChildren(*value, {});
    const std::vector<std::string> texts =
        isArray ? textsOf(*value) : std::vector<std::string>{value->text};
    try {
        return parseTexts(texts, type, isArray);
    } catch (const std::invalid_argument&) {
        throw semanticError(*value, std::string("Invalid ") + cimTypeToString(type) + " value");
    } catch (const XmlError& error) {
        throw semanticError(*value, std::string("Invalid embedded object: ") + error.what());
    }
}

CIMValue convertText(const CIMValue& text, CIMType type)
{
    if (text.isNull()) return CIMValue(type, text.isArray());
    std::vector<std::string> texts;
    if (text.isArray()) {
        Array<String> items;
        text.get(items);
        for (Uint32 i = 0; i < items.size(); ++i)
            texts.push_back(utf8(items[i]));
    } else {
        String item;
        text.get(item);
        texts.push_back(utf8(item));
    }
    return parseTexts(texts, type, text.isArray());
}

}  // namespace cimom::xml
