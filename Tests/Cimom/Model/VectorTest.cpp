// Replays recorded uses of the library and compares what comes out. The files under vectors/ list
// cases {"id", "in": {"op", ...}, "out" or "throws"}. The operation "script" is a list of steps
// [verb, register, ...] whose results are listed in "out".
//
// Text with lone surrogates is written {"utf16": [units]}, bytes in hexadecimal, numbers of 64 bits
// and reals as strings; a null name is null, a default constructed handle {"uninitialized": true}.
#include "Model/Types.h"

#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/CIMParamValue.h>
#if EMBEDDED_LIBRARY
#include "Model/Schema.h"
#else
#include <Pegasus/Common/CIMQualifier.h>
#endif

#include <nlohmann/json.hpp>

#include <gtest/gtest.h>

#include <cxxabi.h>

#include <algorithm>
#include <any>
#include <codecvt>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <locale>
#include <map>
#include <memory>

using namespace Pegasus;

namespace
{

using Json = nlohmann::json;

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

// Not by way of the library: what it does with text is what is tested.
using Utf16 = std::wstring_convert<std::codecvt_utf8_utf16<char16_t>, char16_t>;

String text(const Json& in)
{
    String result;
    if (in.is_string()) {
        for (const char16_t unit : Utf16().from_bytes(in.get<std::string>()))
            result.append(Char16(unit));
    } else {
        for (const Json& unit : member(in, "utf16"))
            result.append(Char16(unit.get<Uint16>()));
    }
    return result;
}

template <class Name = CIMName>
Name name(const Json& in)
{
    return in.is_null() ? Name() : Name(text(in));
}

template <class T>
T element(const Json& in);

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
    if (isSet(in, "null")) return CIMValue(cimType, isArray, in.value("arraySize", Uint32(0)));
    return cimom::visitType(cimType, [&](auto sample) {
        using Element = decltype(sample);
        if (!isArray) return CIMValue(element<Element>(in["value"]));
        Array<Element> array;
        for (const Json& x : in["value"])
            array.append(element<Element>(x));
        return CIMValue(array);
    });
}

const char* const keyTypes[] = {"BOOLEAN", "STRING", "NUMERIC", "REFERENCE"};

Array<CIMKeyBinding> keys(const Json& in)
{
    Array<CIMKeyBinding> result;
    for (const Json& x : in) {
        const auto* const found = std::find(keyTypes, std::end(keyTypes), member(x, "type"));
        const auto keyType = CIMKeyBinding::Type(found - keyTypes);
        result.append(x.contains("cimvalue")
                          ? CIMKeyBinding(name(x["name"]), value(x["cimvalue"]))
                          : CIMKeyBinding(name(x["name"]), text(x["value"]), keyType));
    }
    return result;
}

CIMObjectPath path(const Json& in)
{
    if (in.is_null()) return CIMObjectPath();
    if (in.is_string()) return CIMObjectPath(text(in));
    return CIMObjectPath(in.contains("host") ? text(in["host"]) : String(),
                         name<CIMNamespaceName>(member(in, "namespace")), name(member(in, "class")),
                         keys(member(in, "keys")));
}

CIMProperty property(const Json& in)
{
    if (isSet(in, "uninitialized")) return CIMProperty();
    return CIMProperty(name(in["name"]), value(in["value"]), in.value("arraySize", Uint32(0)),
                       name(member(in, "refClass")), name(member(in, "origin")),
                       isSet(in, "propagated"));
}

CIMInstance instance(const Json& in)
{
    if (isSet(in, "uninitialized")) return CIMInstance();
    CIMInstance result(name(in.at("class")));
    if (in.contains("path")) result.setPath(path(in["path"]));
    for (const Json& x : member(in, "properties"))
        result.addProperty(property(x));
    return result;
}

template <class T>
T element(const Json& in)
{
    if constexpr (std::is_floating_point_v<T>) {
        return in.is_string() ? T(std::strtod(in.get<std::string>().c_str(), nullptr))
                              : in.get<T>();
    } else if constexpr (std::is_arithmetic_v<T>) {
        if (!in.is_string()) return in.get<T>();
        const auto digits = in.get<std::string>();
        return digits[0] == '-' ? T(std::stoll(digits)) : T(std::stoull(digits));
    } else if constexpr (std::is_same_v<T, Char16>) {
        return in.get<Uint16>();
    } else if constexpr (std::is_same_v<T, CIMObjectPath>) {
        return path(in);
    } else if constexpr (std::is_constructible_v<T, CIMInstance>) {
        return T(instance(in));
    } else {
        return in.is_null() ? T() : T(text(in));
    }
}

/// Text, null (default constructed), or {"usec", "interval"}.
CIMDateTime time(const Json& in)
{
    if (!in.is_object()) return element<CIMDateTime>(in);
    return CIMDateTime(element<Uint64>(in["usec"]), isSet(in, "interval"));
}

#if EMBEDDED_LIBRARY
// Classes have no setters: the object manager's own structures make them.
cimom::Qualifiers qualifiers(const Json& in)
{
    std::vector<cimom::Qualifier> list;
    for (const Json& x : member(in, "qualifiers"))
        list.push_back({name(x["name"]), value(x["value"]), {}, false});
    return cimom::Qualifiers(list);
}

CIMClass classOf(const Json& in)
{
    const auto result = std::make_shared<cimom::Class>();
    result->path = path(in.value("path", in["name"]));
    result->superClassName = name(member(in, "super"));
    result->qualifiers = qualifiers(in);
    for (const Json& x : member(in, "properties")) {
        const CIMProperty made = property(x);
        made.object().qualifiers = qualifiers(x);
        result->properties.push_back(made.shared());
    }
    return CIMClass(result);
}
#else
template <class Owner>
Owner qualified(Owner owner, const Json& in)
{
    for (const Json& x : member(in, "qualifiers"))
        owner.addQualifier(CIMQualifier(name(x["name"]), value(x["value"])));
    return owner;
}

CIMClass classOf(const Json& in)
{
    CIMClass result = qualified(CIMClass(name(in["name"]), name(member(in, "super"))), in);
    if (in.contains("path")) result.setPath(path(in["path"]));
    for (const Json& x : member(in, "properties"))
        result.addProperty(qualified(property(x), x));
    return result;
}
#endif

CIMPropertyList propertyList(const Json& in)
{
    Array<CIMName> names;
    for (const Json& x : in)
        names.append(name(x));
    return in.is_null() ? CIMPropertyList() : CIMPropertyList(names);
}

CIMParamValue paramValue(const Json& in)
{
    if (isSet(in, "uninitialized")) return CIMParamValue();
    return CIMParamValue(text(in["name"]), value(in["value"]), in.value("isTyped", true));
}

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

/// The units, for text that JSON does not hold.
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
    const Array<CIMKeyBinding> bindings = x.getKeyBindings();
    return {{"host", describe(x.getHost())},
            {"namespace", describeName(x.getNameSpace())},
            {"class", describeName(x.getClassName())},
            {"keys", listOf(bindings.size(), [&](Uint32 i) { return describe(bindings[i]); })},
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
    if (x.isUninitialized()) return {{"uninitialized", true}};
    return {{"class", describeName(x.getClassName())},
            {"path", describe(x.getPath())},
            {"properties", propertiesOf(x)}};
}

Json describe(const CIMClass& x)
{
    Array<CIMName> keyNames(1, CIMName("Stale"));
    x.getKeyNames(keyNames);
    return {
        {"name", describeName(x.getClassName())},
        {"super", describeName(x.getSuperClassName())},
        {"path", describe(x.getPath())},
        {"isAssociation", x.isAssociation()},
        {"isAbstract", x.isAbstract()},
        {"keyNames", listOf(keyNames.size(), [&](Uint32 i) { return describeName(keyNames[i]); })},
        {"properties", propertiesOf(x)}};
}

Json describe(const CIMPropertyList& x)
{
    return {{"isNull", x.isNull()},
            {"size", x.size()},
            {"names", listOf(x.size(), [&](Uint32 i) { return describeName(x[i]); })}};
}

Json describe(const CIMParamValue& x)
{
    if (x.isUninitialized()) return {{"uninitialized", true}};
    return {{"name", describe(x.getParameterName())},
            {"isTyped", x.isTyped()},
            {"value", describe(x.getValue())}};
}

Json position(Uint32 index)
{
    return index == PEG_NOT_FOUND ? Json("NOT_FOUND") : Json(index);
}

/// The result of the call ({} for none), or {"throws"} when it throws.
template <class Call>
Json orThrows(Call call)
{
    try {
        if constexpr (!std::is_void_v<decltype(call())>) return call();
        if constexpr (std::is_void_v<decltype(call())>) return call(), Json::object();
    } catch (const Exception& exception) {
        return {{"throws", describe(exception)}};
    }
}

// ---- operations

std::string bytes(const std::string& hex)
{
    std::string result;
    for (size_t i = 0; i < hex.size(); i += 2)
        result += char(std::stoi(hex.substr(i, 2), nullptr, 16));
    return result;
}

std::string hexOf(const std::string& bytes)
{
    std::string result;
    for (const unsigned char c : bytes)
        result += {"0123456789abcdef"[c / 16], "0123456789abcdef"[c % 16]};
    return result;
}

Json readUtf8(const Json& in)
{
    const std::string utf8 = bytes(in["hex"]);
    const String x(utf8.data(), in.value("n", Uint32(utf8.size())));
    return {{"size", x.size()}, {"utf16", unitsOf(x)}};
}

/// The path, and whether its text reads back as the same.
Json roundTrip(const CIMObjectPath& x)
{
    Json out = describe(x);
    const Json again = orThrows([&] {
        const CIMObjectPath path(x.toString());
        return Json{{"reparse_identical", path.identical(x)},
                    {"reparse_same_text", path.toString() == x.toString()}};
    });
    if (again.contains("throws")) out["reparse_throws"] = again["throws"];
    if (!again.contains("throws")) out.update(again);
    return out;
}

/// Makes a name from text in the given way: constructed from a String, or from characters, or
/// assigned.
template <class Name>
Json makeName(const Json& in)
{
    const String from = text(in["text"]);
    Json out = {{"legal", Name::legal(from)}};
    out.update(orThrows([&] {
        Name made;
        if (in["via"] == "string") made = Name(from);
        if (in["via"] == "cstr") made = Name(from.getCString());
        if (in["via"] == "assign") made = from;
        return Json{{"getString", describe(made.getString())}, {"isNull", made.isNull()}};
    }));
    return out;
}

template <class Name>
Json compareNames(const Json& in)
{
    const auto a = name<Name>(in["a"]);
    const auto b = name<Name>(in["b"]);
    return {{"equal", a.equal(b)}, {"eq", a == b}, {"ne", a != b}};
}

template <class Name>
Json assignName(const Json& in)
{
    Name target(text(in["start"]));
    Json out = orThrows([&] { target = text(in["text"]); });
    out["after"] = describe(target.getString());
    return out;
}

Json comparePaths(const Json& in)
{
    const CIMObjectPath a = path(in["a"]);
    const CIMObjectPath b = path(in["b"]);
    return {{"identical", a.identical(b)},
            {"reverse", b.identical(a)},
            {"eq", a == b},
            {"ne", a != b},
            {"same_text", a.toString() == b.toString()}};
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

template <class T>
Json readInto(const CIMValue& from, T variable)
{
    Json out = orThrows([&] { from.get(variable); });
    out["variable"] = describeVariable(variable);
    return out;
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
    const CIMValue from = value(in["value"]);
    return cimom::visitType(type(in["as"]), [&](auto sample) {
        using Element = decltype(sample);
        const auto before = element<Element>(held.value(in["as"].get<std::string>(), Json(77)));
        return isSet(in, "asArray") ? readInto(from, Array<Element>(1, before))
                                    : readInto(from, before);
    });
}

Json setNull(const Json& in)
{
    CIMValue changed = value(in["value"]);
    const CIMValue copy(changed);
    changed.setNullValue(type(in["type"]), isSet(in, "array"), in.value("arraySize", Uint32(0)));
    return {{"value", describe(changed)}, {"copy_made_before", describe(copy)}};
}

Json compareValues(const Json& in)
{
    const CIMValue a = value(in["a"]);
    const CIMValue b = value(in["b"]);
    return {{"equal", a.equal(b)},
            {"eq", a == b},
            {"ne", a != b},
            {"typeCompatible", a.typeCompatible(b)}};
}

Json compareTimes(const Json& in)
{
    const CIMDateTime a = time(in["a"]);
    const CIMDateTime b = time(in["b"]);
    return {{"equal", orThrows([&] { return Json(a.equal(b)); })},
            {"==", orThrows([&] { return Json(a == b); })}};
}

Json setValue(const Json& in)
{
    CIMProperty p = property(in["property"]);
    Json out = orThrows([&] { p.setValue(value(in["value"])); });
    out["after"] = describe(p);
    return out;
}

/// The position, or the exception, under "index".
Json find(const Json& in)
{
    const CIMInstance i = instance(in["instance"]);
    return {{"index", orThrows([&] { return position(i.findProperty(name(in["name"]))); })}};
}

Json build(const Json& in)
{
    return describe(classOf(in["class"])
                        .buildInstance(in["includeQualifiers"], in["includeClassOrigin"],
                                       propertyList(in["propertyList"])));
}

using S = const Json&;

const std::map<std::string, std::function<Json(S)>> operations = {
    {"str_from_utf8", readUtf8},
    {"str_to_utf8",
     [](S in) {
         return Json{{"hex", hexOf(std::string(text(in["s"]).getCString()))}};
     }},
    {"name", makeName<CIMName>},
    {"namespace", makeName<CIMNamespaceName>},
    {"name_pair", compareNames<CIMName>},
    {"namespace_pair", compareNames<CIMNamespaceName>},
    {"name_assign_keeps",
     [](S in) {
         return isSet(in, "namespace") ? assignName<CIMNamespaceName>(in) : assignName<CIMName>(in);
     }},
    {"path_parse", [](S in) { return roundTrip(CIMObjectPath(text(in["text"]))); }},
    {"path_build", [](S in) { return orThrows([&] { return roundTrip(path(in)); }); }},
    {"path_pair", comparePaths},
    {"keybinding_from_value",
     [](S in) { return describe(CIMKeyBinding(name(in["name"]), value(in["value"]))); }},
    {"type_text", [](S in) { return Json(cimTypeToString(type(in["type"]))); }},
    {"value", [](S in) { return describe(value(in["value"])); }},
    {"value_get", readValue},
    {"value_setnull", setNull},
    {"value_pair", compareValues},
    {"dt_parse", [](S in) { return describe(CIMDateTime(text(in["text"]))); }},
    {"dt_usec", [](S in) { return describe(time(in)); }},
    {"dt_default", [](S) { return describe(CIMDateTime()); }},
    {"dt_pair", compareTimes},
    {"property", [](S in) { return describe(property(in["property"])); }},
    {"property_set", setValue},
    {"find_property", find},
    {"instance", [](S in) { return describe(instance(in["instance"])); }},
    {"class", [](S in) { return describe(classOf(in["class"])); }},
    {"build_path",
     [](S in) { return describe(instance(in["instance"]).buildPath(classOf(in["class"]))); }},
    {"build_instance", build},
    {"property_identical",
     [](S in) { return Json(property(in["a"]).identical(property(in["b"]))); }},
    {"instance_identical",
     [](S in) { return Json(instance(in["a"]).identical(instance(in["b"]))); }},
};

// ---- scripts

/// The variables of a script; each type has its own names.
class Registers
{
public:
    /// Default constructed at first use.
    template <class T>
    T& get(const Json& name)
    {
        std::any& held = _held[typeid(T).name() + (' ' + name.get<std::string>())];
        if (!held.has_value()) held = T();
        return *std::any_cast<T>(&held);
    }

private:
    std::map<std::string, std::any> _held;
};

using R = Registers&;

/// Calls the function with the register of type T that the step names, the step and all registers.
/// A function without result gives null.
template <class T, class Call>
std::function<Json(R, S)> on(Call call)
{
    return [call](R r, S s) -> Json {
        T& x = r.get<T>(s[1]);
        if constexpr (!std::is_void_v<decltype(call(x, s, r))>) return call(x, s, r);
        if constexpr (std::is_void_v<decltype(call(x, s, r))>) return call(x, s, r), nullptr;
    };
}

template <class T>
const auto copying = on<T>([](T& x, S s, R r) { x = r.get<T>(s[2]); });
template <class T>
const auto cloning = on<T>([](T& x, S s, R r) { x = r.get<T>(s[2]).clone(); });
template <class T>
const auto dumping = on<T>([](T& x, S, R) { return describe(x); });

using Path = CIMObjectPath;
using Prop = CIMProperty;
using Inst = CIMInstance;
using List = CIMPropertyList;
using Param = CIMParamValue;

const std::map<std::string, std::function<Json(R, S)>> verbs = {
    {"path.new", on<Path>([](Path& x, S s, R) { x = path(s[2]); })},
    {"path.copy", copying<Path>},
    {"path.dump", dumping<Path>},
    {"path.text", on<Path>([](Path& x, S, R) { return describe(x.toString()); })},
    {"path.setHost", on<Path>([](Path& x, S s, R) { x.setHost(text(s[2])); })},
    {"path.setNameSpace",
     on<Path>([](Path& x, S s, R) { x.setNameSpace(name<CIMNamespaceName>(s[2])); })},
    {"path.setClassName", on<Path>([](Path& x, S s, R) { x.setClassName(name(s[2])); })},
    {"path.setKeys", on<Path>([](Path& x, S s, R) { x.setKeyBindings(keys(s[2])); })},
    {"prop.new", on<Prop>([](Prop& x, S s, R) { x = property(s[2]); })},
    {"prop.copy", copying<Prop>},
    {"prop.clone", cloning<Prop>},
    {"prop.value", on<Prop>([](Prop& x, S, R) { return describe(x.getValue()); })},
    {"prop.set", on<Prop>([](Prop& x, S s, R) { x.setValue(value(s[2])); })},
    {"inst.new", on<Inst>([](Inst& x, S s, R) { x = instance(s[2]); })},
    {"inst.clone", cloning<Inst>},
    {"inst.dump", dumping<Inst>},
    {"inst.setPath", on<Inst>([](Inst& x, S s, R) { x.setPath(path(s[2])); })},
    {"inst.setPathReg", on<Inst>([](Inst& x, S s, R r) { x.setPath(r.get<Path>(s[2])); })},
    {"inst.path", on<Inst>([](Inst& x, S, R) { return describe(x.getPath()); })},
    {"inst.class", on<Inst>([](Inst& x, S, R) { return describeName(x.getClassName()); })},
    {"inst.add", on<Inst>([](Inst& x, S s, R r) {
         x.addProperty(s[2].is_string() ? r.get<Prop>(s[2]) : property(s[2]));
     })},
    {"inst.get", on<Inst>([](Inst& x, S s, R r) { r.get<Prop>(s[2]) = x.getProperty(s[3]); })},
    {"pv.new", on<Param>([](Param& x, S s, R) { x = paramValue(s[2]); })},
    {"pv.dump", dumping<Param>},
    {"pl.new", on<List>([](List& x, S s, R) { x = propertyList(s[2]); })},
    {"pl.copy", copying<List>},
    {"pl.dump", dumping<List>},
    {"pl.contains", on<List>([](List& x, S s, R) { return x.contains(name(s[2])); })},
    {"pl.use", on<List>([](List& x, S s, R) { return x.useThisProperty(name(s[2])); })},
    {"pl.text", on<List>([](List& x, S, R) { return describe(x.toString()); })},
    {"pl.at", on<List>([](List& x, S s, R) { return describeName(std::as_const(x)[s[2]]); })},
};

template <class Table>
const auto& find(const Table& table, const Json& name)
{
    const auto found = table.find(name);
    if (found == table.end()) throw std::runtime_error("nothing replays " + name.dump());
    return found->second;
}

Json runScript(const Json& steps)
{
    Registers registers;
    Json out = Json::array();
    for (const Json& step : steps) {
        const auto& verb = find(verbs, step[0]);
        out.push_back(orThrows([&] { return verb(registers, step); }));
    }
    return out;
}

// ---- the test

/// {"out"} or {"throws"}, as recorded.
Json run(const Json& in)
{
    return orThrows([&] {
        if (in["op"] == "script") return Json{{"out", runScript(in["steps"])}};
        return Json{{"out", find(operations, in["op"])(in)}};
    });
}

/// Takes out what was recorded of members that the embedded library does not offer.
void prune(Json& recorded)
{
    for (const char* untold :
         {"id", "in", "tags", "catchable_as", "caller_keys_after", "same_hash", "hasKeys",
          "methods", "qualifiers", "nameArraySize", "!=", "<", "<=", ">", ">=", "getDifference"})
        if (recorded.is_object()) recorded.erase(untold);
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
            Json got;
            try {
                got = run(recorded["in"]);
            } catch (const std::exception& fault) {
                got = {{"cannot be replayed", fault.what()}};
            }
            EXPECT_EQ(expected, got) << recorded["id"] << " in: " << recorded["in"].dump();
        }
    }
}

}  // namespace
