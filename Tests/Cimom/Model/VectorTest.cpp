// Replays recorded uses of the library and compares what comes out. The files under vectors/ list
// cases {"id", "in": {"op", ...}, "out" or "throws"}. Text with lone surrogates is written
// {"utf16": [units]}, bytes in hexadecimal, numbers of 64 bits and reals as strings; a null name or
// path is null.
#include "Model/Types.h"

#include <Pegasus/Common/CIMClass.h>
#if EMBEDDED_LIBRARY
#include "Model/Schema.h"
#else
#include <Pegasus/Common/CIMQualifier.h>
#endif

#include <nlohmann/json.hpp>

#include <gtest/gtest.h>

#include <cxxabi.h>

#include <algorithm>
#include <codecvt>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <locale>
#include <map>
#include <memory>
#include <sstream>

using namespace Pegasus;

namespace
{

using Json = nlohmann::json;
// Not by way of the library: what it does with text is what is tested.
using Utf16 = std::wstring_convert<std::codecvt_utf8_utf16<char16_t>, char16_t>;

// ---- library objects from JSON

/// The member, or null.
Json member(const Json& in, const char* name)
{
    return in.value(name, Json());
}

/// True when the member is there and true.
bool isSet(const Json& in, const char* name)
{
    return in.value(name, false);
}

/// What the JSON describes; null is a default constructed name or path or an empty string. This is
/// for numbers, the others follow.
template <class T>
T make(const Json& in)
{
    if (!in.is_string()) return in.get<T>();
    const auto digits = in.get<std::string>();
    if (std::is_floating_point_v<T>) return T(std::strtod(digits.c_str(), nullptr));
    return digits[0] == '-' ? T(std::stoll(digits)) : T(std::stoull(digits));
}

template <>
String make(const Json& in)
{
    String result;
    if (in.is_string()) {
        for (const char16_t unit : Utf16().from_bytes(in.get<std::string>()))
            result.append(Char16(unit));
    } else if (in.is_object()) {
        for (const Json& unit : in["utf16"])
            result.append(Char16(unit.get<Uint16>()));
    }
    return result;
}

template <>
Char16 make(const Json& in)
{
    return in.get<Uint16>();
}

template <>
CIMName make(const Json& in)
{
    return in.is_null() ? CIMName() : CIMName(make<String>(in));
}

template <>
CIMNamespaceName make(const Json& in)
{
    return in.is_null() ? CIMNamespaceName() : CIMNamespaceName(make<String>(in));
}

template <>
CIMDateTime make(const Json& in)
{
    if (in.is_null()) return CIMDateTime();
    if (in.is_string()) return CIMDateTime(make<String>(in));
    return CIMDateTime(make<Uint64>(in["usec"]), isSet(in, "interval"));
}

template <>
CIMType make(const Json& in)
{
    for (int i = CIMTYPE_BOOLEAN; i <= CIMTYPE_INSTANCE; ++i)
        if (in == cimTypeToString(CIMType(i))) return CIMType(i);
    throw std::runtime_error("unknown type " + in.dump());
}

template <>
CIMValue make(const Json& in);

const char* const keyTypes[] = {"BOOLEAN", "STRING", "NUMERIC", "REFERENCE"};

template <>
CIMKeyBinding make(const Json& in)
{
    const auto name = make<CIMName>(in["name"]);
    if (in.contains("cimvalue")) return CIMKeyBinding(name, make<CIMValue>(in["cimvalue"]));
    const auto* const type = std::find(keyTypes, std::end(keyTypes), in["type"]);
    return CIMKeyBinding(name, make<String>(in["value"]), CIMKeyBinding::Type(type - keyTypes));
}

template <>
CIMObjectPath make(const Json& in)
{
    if (in.is_null()) return CIMObjectPath();
    if (in.is_string()) return CIMObjectPath(make<String>(in));
    Array<CIMKeyBinding> keys;
    for (const Json& x : member(in, "keys"))
        keys.append(make<CIMKeyBinding>(x));
    return CIMObjectPath(make<String>(member(in, "host")),
                         make<CIMNamespaceName>(member(in, "namespace")),
                         make<CIMName>(member(in, "class")), keys);
}

template <>
CIMProperty make(const Json& in)
{
    if (isSet(in, "uninitialized")) return CIMProperty();
    return CIMProperty(make<CIMName>(in["name"]), make<CIMValue>(in["value"]),
                       in.value("arraySize", Uint32(0)), make<CIMName>(member(in, "refClass")),
                       make<CIMName>(member(in, "origin")), isSet(in, "propagated"));
}

template <>
CIMInstance make(const Json& in)
{
    if (isSet(in, "uninitialized")) return CIMInstance();
    CIMInstance result(make<CIMName>(in.at("class")));
    if (in.contains("path")) result.setPath(make<CIMObjectPath>(in["path"]));
    for (const Json& x : member(in, "properties"))
        result.addProperty(make<CIMProperty>(x));
    return result;
}

template <>
CIMObject make(const Json& in)
{
    return make<CIMInstance>(in);
}

template <>
CIMValue make(const Json& in)
{
    if (isSet(in, "default")) return CIMValue();
    const bool isArray = isSet(in, "array");
    const auto type = make<CIMType>(in["type"]);
    if (isSet(in, "null")) return CIMValue(type, isArray, in.value("arraySize", Uint32(0)));
    return cimom::visitType(type, [&](auto sample) {
        using Element = decltype(sample);
        if (!isArray) return CIMValue(make<Element>(in["value"]));
        Array<Element> array;
        for (const Json& x : in["value"])
            array.append(make<Element>(x));
        return CIMValue(array);
    });
}

#if EMBEDDED_LIBRARY
// Classes have no setters: the object manager's own structures make them.
cimom::Qualifiers qualifiers(const Json& in)
{
    std::vector<cimom::Qualifier> list;
    for (const Json& x : member(in, "qualifiers"))
        list.push_back({make<CIMName>(x["name"]), make<CIMValue>(x["value"]), {}, false});
    return cimom::Qualifiers(list);
}

template <>
CIMClass make(const Json& in)
{
    const auto result = std::make_shared<cimom::Class>();
    result->path = make<CIMObjectPath>(in.value("path", in["name"]));
    result->superClassName = make<CIMName>(member(in, "super"));
    result->qualifiers = qualifiers(in);
    for (const Json& x : member(in, "properties")) {
        const auto property = make<CIMProperty>(x);
        property.object().qualifiers = qualifiers(x);
        result->properties.push_back(property.shared());
    }
    return CIMClass(result);
}
#else
template <class Owner>
Owner qualified(Owner owner, const Json& in)
{
    for (const Json& x : member(in, "qualifiers"))
        owner.addQualifier(CIMQualifier(make<CIMName>(x["name"]), make<CIMValue>(x["value"])));
    return owner;
}

template <>
CIMClass make(const Json& in)
{
    CIMClass result(make<CIMName>(in["name"]), make<CIMName>(member(in, "super")));
    if (in.contains("path")) result.setPath(make<CIMObjectPath>(in["path"]));
    for (const Json& x : member(in, "properties"))
        result.addProperty(qualified(make<CIMProperty>(x), x));
    return qualified(result, in);
}
#endif

// ---- JSON from library objects

/// A list of what is described at each position.
template <class Describe>
Json listOf(Uint32 size, Describe describeAt)
{
    Json list = Json::array();
    for (Uint32 i = 0; i < size; ++i)
        list.push_back(describeAt(i));
    return list;
}

Json unitsOf(const String& x)
{
    return listOf(x.size(), [&](Uint32 i) { return Uint16(x[i]); });
}

Json describe(const String& x)
{
    std::u16string units;
    for (Uint32 i = 0; i < x.size(); ++i)
        units += char16_t(x[i]);
    try {
        return Utf16().to_bytes(units);
    } catch (const std::range_error&) {
        return {{"utf16", unitsOf(x)}};
    }
}

Json describe(const Exception& exception)
{
    int status = 0;
    const std::unique_ptr<char, void (*)(void*)> demangled(
        abi::__cxa_demangle(typeid(exception).name(), nullptr, nullptr, &status), std::free);
    const std::string type(demangled.get() + std::string("Pegasus::").size());
    return {{"type", type}, {"message", describe(exception.getMessage())}};
}

template <class Name>
Json describeName(const Name& x)
{
    return x.isNull() ? Json() : describe(x.getString());
}

Json describe(const CIMKeyBinding& x)
{
    return {{"name", describe(x.getName().getString())},
            {"type", keyTypes[x.getType()]},
            {"value", describe(x.getValue())}};
}

Json describe(const CIMObjectPath& x)
{
    const Array<CIMKeyBinding> keys = x.getKeyBindings();
    return {{"host", describe(x.getHost())},
            {"namespace", describeName(x.getNameSpace())},
            {"class", describeName(x.getClassName())},
            {"keys", listOf(keys.size(), [&](Uint32 i) { return describe(keys[i]); })},
            {"toString", describe(x.toString())}};
}

Json describe(const CIMDateTime& x)
{
    return {{"toString", describe(x.toString())},
            {"isInterval", x.isInterval()},
            {"microSeconds", std::to_string(x.toMicroSeconds())}};
}

Json describe(const CIMValue& x)
{
    return {{"type", cimTypeToString(x.getType())},
            {"isArray", x.isArray()},
            {"isNull", x.isNull()},
            {"arraySize", x.getArraySize()},
            {"toString", describe(x.toString())}};
}

Json describe(const CIMConstProperty& x)
{
    return {{"name", describeName(x.getName())},
            {"value", describe(x.getValue())},
            {"arraySize", x.getArraySize()},
            {"refClass", describeName(x.getReferenceClassName())},
            {"origin", describeName(x.getClassOrigin())},
            {"propagated", x.getPropagated()}};
}

template <class Owner>
Json propertiesOf(const Owner& x)
{
    return listOf(x.getPropertyCount(), [&](Uint32 i) { return describe(x.getProperty(i)); });
}

Json describe(const CIMInstance& x)
{
    return {{"class", describeName(x.getClassName())},
            {"path", describe(x.getPath())},
            {"properties", propertiesOf(x)}};
}

Json describe(const CIMClass& x)
{
    Array<CIMName> keys(1, CIMName("Stale"));
    x.getKeyNames(keys);
    return {{"name", describeName(x.getClassName())},
            {"super", describeName(x.getSuperClassName())},
            {"path", describe(x.getPath())},
            {"isAssociation", x.isAssociation()},
            {"isAbstract", x.isAbstract()},
            {"keyNames", listOf(keys.size(), [&](Uint32 i) { return describeName(keys[i]); })},
            {"properties", propertiesOf(x)}};
}

// ---- operations

/// The result of the call, or {"throws"} when it throws.
template <class Call>
Json orThrows(Call call)
{
    try {
        return call();
    } catch (const Exception& exception) {
        return {{"throws", describe(exception)}};
    }
}

Json readUtf8(const Json& in)
{
    const auto hex = in["hex"].get<std::string>();
    std::string bytes;
    for (size_t i = 0; i < hex.size(); i += 2)
        bytes += char(std::stoi(hex.substr(i, 2), nullptr, 16));
    const String x(bytes.data(), in.value("n", Uint32(bytes.size())));
    return {{"size", x.size()}, {"utf16", unitsOf(x)}};
}

Json writeUtf8(const Json& in)
{
    std::string hex;
    for (const unsigned char c : std::string(make<String>(in["s"]).getCString()))
        hex += {"0123456789abcdef"[c / 16], "0123456789abcdef"[c % 16]};
    return {{"hex", hex}};
}

/// Makes a name from text in the given way: constructed from a String, or from characters, or
/// assigned.
template <class Name>
Json makeName(const Json& in)
{
    const auto text = make<String>(in["text"]);
    Json out = orThrows([&] {
        Name name;
        if (in["via"] == "string") name = Name(text);
        if (in["via"] == "cstr") name = Name(text.getCString());
        if (in["via"] == "assign") name = text;
        return Json{{"getString", describe(name.getString())}, {"isNull", name.isNull()}};
    });
    out["legal"] = Name::legal(text);
    return out;
}

template <class Name>
Json assignName(const Json& in)
{
    Name target(make<String>(in["start"]));
    Json out = orThrows([&] { return target = make<String>(in["text"]), Json::object(); });
    out["after"] = describe(target.getString());
    return out;
}

template <class T>
Json describeVariable(const T& x)
{
    if constexpr (std::is_floating_point_v<T>) {
        char digits[40];
        std::snprintf(digits, sizeof digits, "%.17g", double(x));
        return digits;
    } else if constexpr (std::is_arithmetic_v<T>) {
        return x;
    } else if constexpr (std::is_same_v<T, Char16>) {
        return Uint16(x);
    } else if constexpr (std::is_same_v<T, String> || std::is_same_v<T, CIMInstance>) {
        return describe(x);
    } else if constexpr (std::is_same_v<T, CIMObject>) {
        return {{"instance", describe(CIMInstance(x))}};
    } else {
        return describe(x.toString());
    }
}

template <class T>
Json describeVariable(const Array<T>& x)
{
    return listOf(x.size(), [&](Uint32 i) { return describeVariable<T>(x[i]); });
}

/// Reads a value into a variable that holds something, to see whether it is touched.
Json readValue(const Json& in)
{
    static const Json held = {{"boolean", true},
                              {"string", "sentinel"},
                              {"datetime", "20000101000000.000000+000"},
                              {"reference", "Sentinel.k=1"},
                              {"object", {{"class", "Sentinel"}}},
                              {"instance", {{"class", "Sentinel"}}}};
    const auto from = make<CIMValue>(in["value"]);
    const auto readInto = [&](auto variable) {
        Json out = orThrows([&] { return from.get(variable), Json::object(); });
        out["variable"] = describeVariable(variable);
        return out;
    };
    return cimom::visitType(make<CIMType>(in["as"]), [&](auto sample) {
        using Element = decltype(sample);
        const auto before = make<Element>(held.value(in["as"].get<std::string>(), Json(77)));
        return isSet(in, "asArray") ? readInto(Array<Element>(1, before)) : readInto(before);
    });
}

Json setNull(const Json& in)
{
    auto changed = make<CIMValue>(in["value"]);
    const CIMValue copy(changed);
    changed.setNullValue(make<CIMType>(in["type"]), isSet(in, "array"),
                         in.value("arraySize", Uint32(0)));
    return {{"value", describe(changed)}, {"copy_made_before", describe(copy)}};
}

template <class T>
Json compare(const Json& in)
{
    const auto a = make<T>(in["a"]);
    const auto b = make<T>(in["b"]);
    return {{"eq", a == b}, {"ne", a != b}};
}

template <class T>
Json identical(const Json& in)
{
    return make<T>(in["a"]).identical(make<T>(in["b"]));
}

/// What is made of the member of the operation's name.
template <class T>
Json made(const Json& in)
{
    return describe(make<T>(in[in["op"].get<std::string>()]));
}

Json setProperty(const Json& in)
{
    auto property = make<CIMProperty>(in["property"]);
    Json out =
        orThrows([&] { return property.setValue(make<CIMValue>(in["value"])), Json::object(); });
    out["after"] = describe(property);
    return out;
}

/// The position, or the exception, under "index".
Json findProperty(const Json& in)
{
    const auto instance = make<CIMInstance>(in["instance"]);
    return {{"index", orThrows([&] {
                 const Uint32 index = instance.findProperty(make<CIMName>(in["name"]));
                 return index == PEG_NOT_FOUND ? Json("NOT_FOUND") : Json(index);
             })}};
}

Json buildInstance(const Json& in)
{
    Array<CIMName> names;
    for (const Json& x : in["propertyList"])
        names.append(make<CIMName>(x));
    const bool all = in["propertyList"].is_null();
    return describe(make<CIMClass>(in["class"])
                        .buildInstance(in["includeQualifiers"], in["includeClassOrigin"],
                                       all ? CIMPropertyList() : CIMPropertyList(names)));
}

using S = const Json&;

const std::map<std::string, Json (*)(S)> operations = {
    {"str_from_utf8", readUtf8},
    {"str_to_utf8", writeUtf8},
    {"name", makeName<CIMName>},
    {"namespace", makeName<CIMNamespaceName>},
    {"name_pair", compare<CIMName>},
    {"namespace_pair", compare<CIMNamespaceName>},
    {"name_assign_keeps",
     [](S in) {
         return isSet(in, "namespace") ? assignName<CIMNamespaceName>(in) : assignName<CIMName>(in);
     }},
    {"path_parse", [](S in) { return describe(make<CIMObjectPath>(in["text"])); }},
    {"path_build",
     [](S in) { return orThrows([&] { return describe(make<CIMObjectPath>(in)); }); }},
    {"path_pair", compare<CIMObjectPath>},
    {"keybinding_eq",
     [](S in) { return Json(make<CIMKeyBinding>(in["a"]) == make<CIMKeyBinding>(in["b"])); }},
    {"keybinding_from_value",
     [](S in) {
         return describe(CIMKeyBinding(make<CIMName>(in["name"]), make<CIMValue>(in["value"])));
     }},
    {"type_text", [](S in) { return Json(cimTypeToString(make<CIMType>(in["type"]))); }},
    {"value", made<CIMValue>},
    {"value_get", readValue},
    {"value_setnull", setNull},
    {"value_pair", compare<CIMValue>},
    {"dt_parse", [](S in) { return describe(make<CIMDateTime>(in["text"])); }},
    {"dt_usec", [](S in) { return describe(make<CIMDateTime>(in)); }},
    {"dt_default", [](S) { return describe(CIMDateTime()); }},
    {"dt_pair",
     [](S in) {
         return Json{{"equal", orThrows([&] {
                          return make<CIMDateTime>(in["a"]).equal(make<CIMDateTime>(in["b"]));
                      })}};
     }},
    {"property", made<CIMProperty>},
    {"property_set", setProperty},
    {"property_identical", identical<CIMProperty>},
    {"instance", made<CIMInstance>},
    {"instance_identical", identical<CIMInstance>},
    {"find_property", findProperty},
    {"class", made<CIMClass>},
    {"build_path",
     [](S in) {
         return describe(make<CIMInstance>(in["instance"]).buildPath(make<CIMClass>(in["class"])));
     }},
    {"build_instance", buildInstance},
};

// ---- the test

/// {"out"} or {"throws"}, as recorded.
Json replay(const Json& in)
{
    try {
        const auto operation = operations.at(in["op"]);
        return orThrows([&] { return Json{{"out", operation(in)}}; });
    } catch (const std::exception& fault) {
        return {{"cannot be replayed", fault.what()}};
    }
}

/// Takes out what is not asked: what it repeats, and members that only the real library has.
void prune(Json& recorded)
{
    std::istringstream words(
        "id in tags catchable_as caller_keys_after same_hash same_text reparse_identical "
        "reparse_same_text reparse_throws typeCompatible identical reverse hasKeys methods "
        "qualifiers == != < <= > >= getDifference");
    for (std::string unasked; words >> unasked;)
        if (recorded.is_object()) recorded.erase(unasked);
    if (recorded.contains("eq")) recorded.erase("equal");
    for (Json& part : recorded)
        if (part.is_structured()) prune(part);
}

TEST(Recorded, UsesComeOutAsRecorded)
{
    for (const auto& topic : std::filesystem::directory_iterator(VECTORS)) {
        std::ifstream file(topic.path());
        const Json content = Json::parse(file);
        const Json& cases = content.is_object() ? content["cases"] : content;
        EXPECT_FALSE(cases.empty()) << topic;
        for (const Json& recorded : cases) {
            Json expected = recorded;
            prune(expected);
            EXPECT_EQ(expected, replay(recorded["in"]))
                << recorded["id"] << " in: " << recorded["in"].dump();
        }
    }
}

}  // namespace
