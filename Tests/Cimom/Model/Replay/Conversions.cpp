#include "Conversions.h"

#include <cxxabi.h>

#include <algorithm>
#include <memory>

namespace replay
{

using namespace Pegasus;

namespace
{

/// The position of the word in the list.
template <size_t Count>
int indexOf(const char* const (&words)[Count], const Json& word)
{
    const auto found = std::find(std::begin(words), std::end(words), word.get<std::string>());
    if (found == std::end(words)) throw std::runtime_error("unknown word " + word.dump());
    return int(found - words);
}

const char* const keyTypes[] = {"BOOLEAN", "STRING", "NUMERIC", "REFERENCE"};

bool isUtf8Safe(const String& x)
{
    for (Uint32 i = 0; i < x.size(); ++i) {
        const Uint16 unit = x[i];
        const Uint16 next = x[i + 1];
        const bool isPair = unit >= 0xD800 && unit < 0xDC00 && next >= 0xDC00 && next < 0xE000;
        if (isPair) {
            ++i;
        } else if (unit == 0 || (unit >= 0xD800 && unit < 0xE000) || unit >= 0xFFFE) {
            return false;
        }
    }
    return true;
}

Uint32 number(const Json& in, const char* name)
{
    return in.value(name, Uint32(0));
}

template <class Owner>
void addQualifiers(Owner& owner, const Json& in)
{
    for (const Json& x : member(in, "qualifiers"))
        owner.addQualifier(qualifier(x));
}

template <class Owner>
void addProperties(Owner& owner, const Json& in)
{
    for (const Json& x : member(in, "properties"))
        owner.addProperty(property(x));
}

template <class Owner>
Json qualifiersOf(const Owner& x)
{
    return listOf(x, x.getQualifierCount(),
                  [](const Owner& owner, Uint32 i) { return describe(owner.getQualifier(i)); });
}

template <class Owner>
Json propertiesOf(const Owner& x)
{
    return listOf(x, x.getPropertyCount(),
                  [](const Owner& owner, Uint32 i) { return describe(owner.getProperty(i)); });
}

template <class List>
Json namesOf(const List& names)
{
    return listOf(names, names.size(),
                  [](const List& list, Uint32 i) { return describe(list[i].getString()); });
}

const Json uninitialized = {{"uninitialized", true}};

}  // namespace

Json describe(const Exception& exception)
{
    int status = 0;
    const std::unique_ptr<char, void (*)(void*)> demangled(
        abi::__cxa_demangle(typeid(exception).name(), nullptr, nullptr, &status), std::free);
    std::string type(demangled.get());
    const std::string scope = "Pegasus::";
    if (type.compare(0, scope.size(), scope) == 0) type.erase(0, scope.size());
    Json result = {{"type", type}, {"message", describe(exception.getMessage())}};
    if (const auto* const failure = dynamic_cast<const CIMException*>(&exception)) {
        result["code"] = int(failure->getCode());
    }
    return result;
}

Json member(const Json& in, const char* name)
{
    return in.value(name, Json());
}

bool isSet(const Json& in, const char* name)
{
    return in.value(name, false);
}

Json position(Uint32 index)
{
    return index == PEG_NOT_FOUND ? Json("NOT_FOUND") : Json(index);
}

String text(const Json& in)
{
    if (in.is_object()) {
        String result;
        for (const Json& unit : in.at("utf16"))
            result.append(Char16(unit.get<Uint16>()));
        return result;
    }
    const std::string utf8 = in.get<std::string>();
    return String(utf8.data(), Uint32(utf8.size()));
}

Json describe(const String& x)
{
    if (isUtf8Safe(x)) return std::string(x.getCString());
    return {{"utf16", listOf(x, x.size(), [](const String& s, Uint32 i) { return Uint16(s[i]); })}};
}

CIMName name(const Json& in)
{
    return in.is_null() ? CIMName() : CIMName(text(in));
}

Json describe(const CIMName& x)
{
    return x.isNull() ? Json() : describe(x.getString());
}

CIMNamespaceName nameSpace(const Json& in)
{
    return in.is_null() ? CIMNamespaceName() : CIMNamespaceName(text(in));
}

Json describe(const CIMNamespaceName& x)
{
    return x.isNull() ? Json() : describe(x.getString());
}

CIMKeyBinding::Type keyType(const Json& in)
{
    return CIMKeyBinding::Type(indexOf(keyTypes, in));
}

CIMKeyBinding key(const Json& in)
{
    if (in.contains("cimvalue")) return CIMKeyBinding(name(in["name"]), value(in["cimvalue"]));
    return CIMKeyBinding(name(in["name"]), text(in["value"]), keyType(in["type"]));
}

Json describe(const CIMKeyBinding& x)
{
    return {{"name", describe(x.getName().getString())},
            {"type", keyTypes[x.getType()]},
            {"value", describe(x.getValue())}};
}

Array<CIMKeyBinding> keys(const Json& in)
{
    Array<CIMKeyBinding> result;
    for (const Json& x : in)
        result.append(key(x));
    return result;
}

Json describe(const Array<CIMKeyBinding>& x)
{
    return listOf(x, x.size(),
                  [](const Array<CIMKeyBinding>& a, Uint32 i) { return describe(a[i]); });
}

CIMObjectPath path(const Json& in)
{
    if (in.is_null()) return CIMObjectPath();
    if (in.is_string()) return CIMObjectPath(text(in));
    return CIMObjectPath(text(in.value("host", Json(""))), nameSpace(member(in, "namespace")),
                         name(member(in, "class")), keys(member(in, "keys")));
}

Json describe(const CIMObjectPath& x)
{
    return {{"host", describe(x.getHost())},
            {"namespace", describe(x.getNameSpace())},
            {"class", describe(x.getClassName())},
            {"keys", describe(x.getKeyBindings())},
            {"toString", describe(x.toString())}};
}

CIMType type(const Json& in)
{
    for (int i = CIMTYPE_BOOLEAN; i <= CIMTYPE_INSTANCE; ++i)
        if (in == cimTypeToString(CIMType(i))) return CIMType(i);
    throw std::runtime_error("unknown type " + in.dump());
}

CIMValue value(const Json& in)
{
    if (isSet(in, "default")) return CIMValue();
    const bool isArray = isSet(in, "array");
    const CIMType cimType = type(in["type"]);
    if (isSet(in, "null")) return CIMValue(cimType, isArray, number(in, "arraySize"));
    const Json& content = in["value"];
    return withElementType(cimType, [&](auto sample) {
        using Element = decltype(sample);
        if (!isArray) return CIMValue(element<Element>(content));
        Array<Element> array;
        for (const Json& x : content)
            array.append(element<Element>(x));
        return CIMValue(array);
    });
}

Json describe(const CIMValue& x)
{
    return {{"type", cimTypeToString(x.getType())},
            {"isArray", x.isArray()},
            {"isNull", x.isNull()},
            {"arraySize", x.getArraySize()},
            {"toString", describe(x.toString())}};
}

CIMFlavor flavor(const Json& in)
{
    static const std::map<std::string, CIMFlavor> flavors = {
        {"NONE", CIMFlavor::NONE},
        {"OVERRIDABLE", CIMFlavor::OVERRIDABLE},
        {"ENABLEOVERRIDE", CIMFlavor::ENABLEOVERRIDE},
        {"DISABLEOVERRIDE", CIMFlavor::DISABLEOVERRIDE},
        {"TOSUBCLASS", CIMFlavor::TOSUBCLASS},
        {"RESTRICTED", CIMFlavor::RESTRICTED},
        {"TOINSTANCE", CIMFlavor::TOINSTANCE},
        {"TRANSLATABLE", CIMFlavor::TRANSLATABLE},
        {"DEFAULTS", CIMFlavor::DEFAULTS},
        {"TOSUBELEMENTS", CIMFlavor::TOSUBELEMENTS},
    };
    CIMFlavor all;
    for (const Json& listed : in)
        all.addFlavor(flavors.at(listed));
    return all;
}

CIMQualifier qualifier(const Json& in)
{
    if (isSet(in, "uninitialized")) return CIMQualifier();
    if (!in.contains("flavor")) return CIMQualifier(name(in["name"]), value(in["value"]));
    return CIMQualifier(name(in["name"]), value(in["value"]), flavor(in["flavor"]),
                        isSet(in, "propagated"));
}

Json describe(const CIMConstQualifier& x)
{
    return {{"name", describe(x.getName().getString())},
            {"value", describe(x.getValue())},
            {"flavor", describe(x.getFlavor().toString())},
            {"propagated", x.getPropagated() != 0}};
}

CIMProperty property(const Json& in)
{
    if (isSet(in, "uninitialized")) return CIMProperty();
    CIMProperty result(name(in["name"]), value(in["value"]), number(in, "arraySize"),
                       name(member(in, "refClass")), name(member(in, "origin")),
                       isSet(in, "propagated"));
    addQualifiers(result, in);
    return result;
}

Json describe(const CIMConstProperty& x)
{
    if (x.isUninitialized()) return uninitialized;
    return {{"name", describe(x.getName().getString())},
            {"value", describe(x.getValue())},
            {"arraySize", x.getArraySize()},
            {"refClass", describe(x.getReferenceClassName())},
            {"origin", describe(x.getClassOrigin())},
            {"propagated", x.getPropagated()},
            {"qualifiers", qualifiersOf(x)}};
}

CIMParameter parameter(const Json& in)
{
    if (isSet(in, "uninitialized")) return CIMParameter();
    CIMParameter result(name(in["name"]), type(in["type"]), isSet(in, "array"),
                        number(in, "arraySize"), name(member(in, "refClass")));
    addQualifiers(result, in);
    return result;
}

Json describe(const CIMConstParameter& x)
{
    return {{"name", describe(x.getName().getString())},
            {"type", cimTypeToString(x.getType())},
            {"isArray", x.isArray()},
            {"arraySize", x.getArraySize()},
            {"refClass", describe(x.getReferenceClassName())},
            {"qualifiers", qualifiersOf(x)}};
}

CIMMethod method(const Json& in)
{
    if (isSet(in, "uninitialized")) return CIMMethod();
    CIMMethod result(name(in["name"]), type(in["type"]), name(member(in, "origin")),
                     isSet(in, "propagated"));
    addQualifiers(result, in);
    for (const Json& x : member(in, "params"))
        result.addParameter(parameter(x));
    return result;
}

Json describe(const CIMConstMethod& x)
{
    return {{"name", describe(x.getName().getString())},
            {"type", cimTypeToString(x.getType())},
            {"origin", describe(x.getClassOrigin())},
            {"propagated", x.getPropagated()},
            {"qualifiers", qualifiersOf(x)},
            {"params", listOf(x, x.getParameterCount(), [](const CIMConstMethod& m, Uint32 i) {
                 return describe(m.getParameter(i));
             })}};
}

CIMInstance instance(const Json& in)
{
    if (isSet(in, "uninitialized")) return CIMInstance();
    CIMInstance result(name(in["class"]));
    if (in.contains("path")) result.setPath(path(in["path"]));
    addQualifiers(result, in);
    addProperties(result, in);
    return result;
}

Json describe(const CIMConstInstance& x)
{
    if (x.isUninitialized()) return uninitialized;
    return {{"class", describe(x.getClassName())},
            {"path", describe(x.getPath())},
            {"qualifiers", qualifiersOf(x)},
            {"properties", propertiesOf(x)}};
}

Json describe(const CIMInstance& x)
{
    return describe(CIMConstInstance(x));
}

CIMClass classDefinition(const Json& in)
{
    if (isSet(in, "uninitialized")) return CIMClass();
    CIMClass result(name(in["name"]), name(member(in, "super")));
    if (in.contains("path")) result.setPath(path(in["path"]));
    addQualifiers(result, in);
    addProperties(result, in);
    for (const Json& x : member(in, "methods"))
        result.addMethod(method(x));
    return result;
}

Json describe(const CIMConstClass& x)
{
    if (x.isUninitialized()) return uninitialized;
    Array<CIMName> keyNames;
    x.getKeyNames(keyNames);
    return {{"name", describe(x.getClassName())},
            {"super", describe(x.getSuperClassName())},
            {"path", describe(x.getPath())},
            {"isAssociation", x.isAssociation()},
            {"isAbstract", x.isAbstract()},
            {"hasKeys", x.hasKeys()},
            {"keyNames", namesOf(keyNames)},
            {"qualifiers", qualifiersOf(x)},
            {"properties", propertiesOf(x)},
            {"methods", listOf(x, x.getMethodCount(), [](const CIMConstClass& c, Uint32 i) {
                 return describe(c.getMethod(i));
             })}};
}

CIMPropertyList propertyList(const Json& in)
{
    if (in.is_null()) return CIMPropertyList();
    Array<CIMName> names;
    for (const Json& x : in)
        names.append(name(x));
    return CIMPropertyList(names);
}

Json describe(const CIMPropertyList& x)
{
    return {{"isNull", x.isNull()},
            {"size", x.size()},
            {"names", namesOf(x)},
            {"nameArraySize", x.getPropertyNameArray().size()}};
}

CIMParamValue paramValue(const Json& in)
{
    if (isSet(in, "uninitialized")) return CIMParamValue();
    return CIMParamValue(text(in["name"]), value(in["value"]), in.value("isTyped", true));
}

Json describe(const CIMParamValue& x)
{
    if (x.isUninitialized()) return uninitialized;
    return {{"name", describe(x.getParameterName())},
            {"isTyped", x.isTyped()},
            {"value", describe(x.getValue())}};
}

}  // namespace replay
