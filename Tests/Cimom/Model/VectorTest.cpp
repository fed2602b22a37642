// Replays recorded uses of the library and compares what comes out. The files under vectors/ list
// cases {"id", "in": {"op", ...}, "out" or "throws"}. Text with lone surrogates is written
// {"utf16": [units]}, bytes in hexadecimal, numbers of 64 bits and reals as strings; a null name or
// path is null.
#include "Model/VisitType.h"

#include <Pegasus/Common/CIMClass.h>
#if EMBEDDED_LIBRARY
#include "Model/Elements.h"
#else
#include <Pegasus/Common/CIMQualifier.h>
#endif

#include <nlohmann/json.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <codecvt>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <locale>
#include <map>
#include <regex>

using namespace Pegasus;

namespace
{

using Json = nlohmann::json;
// Not by way of the library: what it does with text is what is tested.
using Utf16 = std::wstring_convert<std::codecvt_utf8_utf16<char16_t>, char16_t>;

const char* const keyTypes[] = {"BOOLEAN", "STRING", "NUMERIC", "REFERENCE"};

template <class T, class... Types>
constexpr bool isOneOf = (std::is_same_v<T, Types> || ...);

// ---- library objects from JSON

/// What JSON describes: converts to any library object, array of such, or number.
struct Given
{
    Json json;

    /// The member; throws std::exception when there is none.
    Given operator[](const char* member) const { return {json.at(member)}; }
    /// The member, or null, which is false, zero or a default constructed object.
    Given get(const char* member) const { return {json.value(member, Json())}; }
    bool has(const char* member) const { return json.contains(member); }
    std::string string() const { return json.get<std::string>(); }

    template <class T>
    T as() const
    {
        return *this;
    }

    template <class T>
    operator Array<T>() const
    {
        Array<T> array;
        for (const Json& element : json)
            array.append(Given{element}.as<T>());
        return array;
    }

    template <class T>
    operator T() const
    {
        const Given& in = *this;
        if (json.is_null() || has("uninitialized") || has("default")) return T();
        if constexpr (isOneOf<T, Char16>) {
            return T(as<Uint16>());
        } else if constexpr (isOneOf<T, String>) {
            T text;
            for (const char16_t unit : Utf16().from_bytes(json.is_string() ? string() : ""))
                text.append(Char16(unit));
            for (const Json& unit : json.is_object() ? json["utf16"] : Json())
                text.append(Char16(unit.get<Uint16>()));
            return text;
        } else if constexpr (isOneOf<T, CIMName, CIMNamespaceName>) {
            return T(as<String>());
        } else if constexpr (isOneOf<T, CIMPropertyList>) {
            return T(as<Array<CIMName>>());
        } else if constexpr (isOneOf<T, CIMDateTime>) {
            return json.is_string() ? T(as<String>()) : T(in["usec"], in.get("interval"));
        } else if constexpr (isOneOf<T, CIMType>) {
            for (int i = CIMTYPE_BOOLEAN; i <= CIMTYPE_INSTANCE; ++i)
                if (json == cimTypeToString(T(i))) return T(i);
            throw std::runtime_error("unknown type " + json.dump());
        } else if constexpr (isOneOf<T, CIMKeyBinding::Type>) {
            return T(std::find(keyTypes, std::end(keyTypes), json) - keyTypes);
        } else if constexpr (isOneOf<T, CIMKeyBinding>) {
            if (has("type")) return T(in["name"], in["value"], in["type"]);
            return T(in["name"], in[has("cimvalue") ? "cimvalue" : "value"].as<CIMValue>());
        } else if constexpr (isOneOf<T, CIMObjectPath>) {
            if (json.is_string()) return T(as<String>());
            return T(in.get("host"), in.get("namespace"), in.get("class"), in.get("keys"));
        } else if constexpr (isOneOf<T, CIMProperty>) {
            return T(in["name"], in["value"], in.get("arraySize"), in.get("refClass"),
                     in.get("origin"), in.get("propagated"));
        } else if constexpr (isOneOf<T, CIMInstance, CIMObject>) {
            CIMInstance instance(in["class"].as<CIMName>());
            if (has("path")) instance.setPath(in["path"]);
            for (const Json& property : in.get("properties").json)
                instance.addProperty(Given{property});
            return instance;
        } else if constexpr (isOneOf<T, CIMValue>) {
            const Given value = in.get("value");
            if (in.get("null")) return T(in["type"], in.get("array"), in.get("arraySize"));
            return cimom::visitType(in["type"], [&](auto sample) {
                using Element = decltype(sample);
                return in.get("array") ? T(value.as<Array<Element>>()) : T(value.as<Element>());
            });
#if EMBEDDED_LIBRARY
            // Classes have no setters: the object manager's own structures make them.
        } else if constexpr (isOneOf<T, cimom::Qualifiers>) {
            std::vector<cimom::Qualifier> list;
            for (const Json& x : json)
                list.push_back({Given{x}["name"], Given{x}["value"], {}, false});
            return T(list);
        } else if constexpr (isOneOf<T, CIMClass>) {
            cimom::Class object{
                in[has("path") ? "path" : "name"], in.get("super"), in.get("qualifiers"), {}, {}};
            for (const Json& x : in.get("properties").json) {
                const CIMProperty property = Given{x};
                property.object().qualifiers = Given{x}.get("qualifiers").as<cimom::Qualifiers>();
                object.properties.push_back(property.shared());
            }
            return T(std::make_shared<cimom::Class>(object));
#else
        } else if constexpr (isOneOf<T, CIMClass>) {
            const auto qualify = [](auto& owner, const Given& description) {
                for (const Json& x : description.get("qualifiers").json)
                    owner.addQualifier(CIMQualifier(Given{x}["name"], Given{x}["value"]));
            };
            T result(in["name"], in.get("super"));
            if (has("path")) result.setPath(in["path"]);
            for (const Json& x : in.get("properties").json) {
                CIMProperty property = Given{x};
                qualify(property, {x});
                result.addProperty(property);
            }
            qualify(result, in);
            return result;
#endif
        } else {
            // A number: a long double holds all of them exactly.
            return json.is_string() ? T(std::strtold(string().c_str(), nullptr)) : json.get<T>();
        }
    }
};

// ---- JSON from library objects

/// A list of what is at each position.
template <class At>
Json listOf(Uint32 size, At at)
{
    Json list = Json::array();
    for (Uint32 i = 0; i < size; ++i)
        list.push_back(at(i));
    return list;
}

std::u16string unitsOf(const String& x)
{
    return {x.getChar16Data(), x.getChar16Data() + x.size()};
}

/// What is to be seen of the object.
template <class T>
Json show(const T& x)
{
    if constexpr (std::is_floating_point_v<T>) {
        char digits[40];
        std::snprintf(digits, sizeof digits, "%.17g", double(x));
        return digits;
    } else if constexpr (std::is_arithmetic_v<T>) {
        return x;
    } else if constexpr (isOneOf<T, Char16>) {
        return Uint16(x);
    } else if constexpr (isOneOf<T, String>) {
        try {
            return Utf16().to_bytes(unitsOf(x));
        } catch (const std::range_error&) {
            return {{"utf16", unitsOf(x)}};
        }
    } else if constexpr (isOneOf<T, Exception>) {
        static const std::regex mangled("N7Pegasus[0-9]+(.*)E");
        return {{"type", std::regex_replace(typeid(x).name(), mangled, "$1")},
                {"message", show(x.getMessage())}};
    } else if constexpr (isOneOf<T, CIMName, CIMNamespaceName>) {
        return x.isNull() ? Json() : show(x.getString());
    } else if constexpr (isOneOf<T, CIMKeyBinding>) {
        return {{"name", show(x.getName().getString())},
                {"type", keyTypes[x.getType()]},
                {"value", show(x.getValue())}};
    } else if constexpr (isOneOf<T, CIMObjectPath>) {
        return {{"host", show(x.getHost())},
                {"namespace", show(x.getNameSpace())},
                {"class", show(x.getClassName())},
                {"keys", show(x.getKeyBindings())},
                {"toString", show(x.toString())}};
    } else if constexpr (isOneOf<T, CIMDateTime>) {
        return {{"toString", show(x.toString())},
                {"isInterval", x.isInterval()},
                {"microSeconds", std::to_string(x.toMicroSeconds())}};
    } else if constexpr (isOneOf<T, CIMValue>) {
        return {{"type", cimTypeToString(x.getType())},
                {"isArray", x.isArray()},
                {"isNull", x.isNull()},
                {"arraySize", x.getArraySize()},
                {"toString", show(x.toString())}};
    } else if constexpr (isOneOf<T, CIMProperty, CIMConstProperty>) {
        return {{"name", show(x.getName())},          {"value", show(x.getValue())},
                {"arraySize", x.getArraySize()},      {"refClass", show(x.getReferenceClassName())},
                {"origin", show(x.getClassOrigin())}, {"propagated", x.getPropagated()}};
    } else if constexpr (isOneOf<T, CIMInstance>) {
        return {{"class", show(x.getClassName())},
                {"path", show(x.getPath())},
                {"properties",
                 listOf(x.getPropertyCount(), [&](Uint32 i) { return show(x.getProperty(i)); })}};
    } else if constexpr (isOneOf<T, CIMObject>) {
        return {{"instance", show(CIMInstance(x))}};
    } else if constexpr (isOneOf<T, CIMClass>) {
        Array<CIMName> keys(1, CIMName("Stale"));
        x.getKeyNames(keys);
        return {{"name", show(x.getClassName())},
                {"super", show(x.getSuperClassName())},
                {"path", show(x.getPath())},
                {"isAssociation", x.isAssociation()},
                {"isAbstract", x.isAbstract()},
                {"keyNames", show(keys)},
                {"properties",
                 listOf(x.getPropertyCount(), [&](Uint32 i) { return show(x.getProperty(i)); })}};
    } else {
        return listOf(x.size(), [&](Uint32 i) { return show(x[i]); });
    }
}

/// Dates and references that were read from values are recorded by their text alone.
Json shorten(Json shown)
{
    if (shown.is_array()) std::transform(shown.begin(), shown.end(), shown.begin(), shorten);
    return shown.contains("toString") ? shown["toString"] : shown;
}

// ---- operations

/// The result of the call, or {"throws"} when it throws.
template <class Call>
Json orThrows(Call call)
{
    try {
        return call();
    } catch (const Exception& exception) {
        return {{"throws", show(exception)}};
    } catch (const std::exception& fault) {
        return {{"cannot be replayed", fault.what()}};
    }
}

/// What a change leaves of its target, as the member, and {"throws"} when it throws.
template <class Target, class Change>
Json leaves(const char* member, Target target, Change change)
{
    Json out = orThrows([&] { return change(target), Json::object(); });
    out[member] = show(target);
    return out;
}

using In = const Given&;

/// Shows what is made of the member "text", or of the one that is called like the operation, or of
/// the input as a whole.
template <class T>
Json made(In in)
{
    const Json whole = in.json.value(in["op"].string(), in.json);
    return show(Given{in.json.value("text", whole)}.as<T>());
}

Json readUtf8(In in)
{
    const std::string hex = in["hex"].string();
    std::string bytes;
    for (size_t i = 0; i < hex.size(); i += 2)
        bytes += char(std::stoi(hex.substr(i, 2), nullptr, 16));
    const String x(bytes.data(), in.json.value("n", Uint32(bytes.size())));
    return {{"size", x.size()}, {"utf16", unitsOf(x)}};
}

Json writeUtf8(In in)
{
    std::string hex;
    for (const unsigned char c : std::string(in["s"].as<String>().getCString()))
        hex += {"0123456789abcdef"[c / 16], "0123456789abcdef"[c % 16]};
    return {{"hex", hex}};
}

/// Makes a name from text in the given way: constructed from a String, or from characters, or
/// assigned.
template <class Name>
Json makeName(In in)
{
    const String text = in["text"];
    Json out = orThrows([&] {
        Name name;
        if (in["via"].json == "string") name = Name(text);
        if (in["via"].json == "cstr") name = Name(text.getCString());
        if (in["via"].json == "assign") name = text;
        return Json{{"getString", show(name.getString())}, {"isNull", name.isNull()}};
    });
    out["legal"] = Name::legal(text);
    return out;
}

template <class Name>
Json assignName(In in)
{
    Name target = in["start"];
    Json out = orThrows([&] { return target = in["text"].as<String>(), Json::object(); });
    out["after"] = show(target.getString());
    return out;
}

/// Reads a value into a variable that holds something, to see whether it is touched.
Json readValue(In in)
{
    static const Json held = Json::parse(R"({
        "boolean": true, "string": "sentinel", "datetime": "20000101000000.000000+000",
        "reference": "Sentinel.k=1", "object": {"class": "Sentinel"},
        "instance": {"class": "Sentinel"}})");
    const CIMValue value = in["value"];
    Json out = cimom::visitType(in["as"], [&](auto sample) {
        using T = decltype(sample);
        const T before = Given{held.value(in["as"].string(), Json(77))};
        const auto read = [&](auto& variable) { value.get(variable); };
        return in.get("asArray") ? leaves("variable", Array<T>(1, before), read)
                                 : leaves("variable", before, read);
    });
    out["variable"] = shorten(out["variable"]);
    return out;
}

Json setNull(In in)
{
    CIMValue changed = in["value"];
    const CIMValue copy(changed);
    changed.setNullValue(in["type"], in.get("array"), in.get("arraySize"));
    return {{"value", show(changed)}, {"copy_made_before", show(copy)}};
}

Json findProperty(In in)
{
    const CIMInstance instance = in["instance"];
    return {{"index", orThrows([&] {
                 const Uint32 index = instance.findProperty(in["name"]);
                 return index == PEG_NOT_FOUND ? Json("NOT_FOUND") : Json(index);
             })}};
}

template <class T>
Json compare(In in)
{
    const T a = in["a"];
    const T b = in["b"];
    return {{"eq", a == b}, {"ne", a != b}};
}

template <class T>
Json identical(In in)
{
    return in["a"].as<T>().identical(in["b"].as<T>());
}

const std::map<std::string, Json (*)(In)> operations = {
    {"str_from_utf8", readUtf8},
    {"str_to_utf8", writeUtf8},
    {"name", makeName<CIMName>},
    {"namespace", makeName<CIMNamespaceName>},
    {"name_pair", compare<CIMName>},
    {"namespace_pair", compare<CIMNamespaceName>},
    {"name_assign_keeps",
     [](In in) {
         return in.get("namespace") ? assignName<CIMNamespaceName>(in) : assignName<CIMName>(in);
     }},
    {"path_parse", made<CIMObjectPath>},
    {"path_build", [](In in) { return orThrows([&] { return made<CIMObjectPath>(in); }); }},
    {"path_pair", compare<CIMObjectPath>},
    {"keybinding_eq",
     [](In in) { return Json(in["a"].as<CIMKeyBinding>() == in["b"].as<CIMKeyBinding>()); }},
    {"keybinding_from_value", made<CIMKeyBinding>},
    {"type_text", [](In in) { return Json(cimTypeToString(in["type"])); }},
    {"value", made<CIMValue>},
    {"value_get", readValue},
    {"value_setnull", setNull},
    {"value_pair", compare<CIMValue>},
    {"dt_parse", made<CIMDateTime>},
    {"dt_usec", made<CIMDateTime>},
    {"dt_default", [](In) { return show(CIMDateTime()); }},
    {"dt_pair",
     [](In in) {
         return Json{{"equal", orThrows([&] { return in["a"].as<CIMDateTime>().equal(in["b"]); })}};
     }},
    {"property", made<CIMProperty>},
    {"property_set",
     [](In in) {
         return leaves("after", in["property"].as<CIMProperty>(),
                       [&](CIMProperty& x) { x.setValue(in["value"]); });
     }},
    {"property_identical", identical<CIMProperty>},
    {"instance", made<CIMInstance>},
    {"instance_identical", identical<CIMInstance>},
    {"find_property", findProperty},
    {"class", made<CIMClass>},
    {"build_path",
     [](In in) {
         return show(in["instance"].as<CIMInstance>().buildPath(in["class"].as<CIMClass>()));
     }},
    {"build_instance",
     [](In in) {
         return show(in["class"].as<CIMClass>().buildInstance(
             in["includeQualifiers"], in["includeClassOrigin"], in["propertyList"]));
     }},
};

// ---- the test

/// Takes out what is not asked: what it repeats, and members that only the real library has.
void prune(Json& recorded)
{
    static const std::regex unasked(
        "id|in|tags|catchable_as|caller_keys_after|same_hash|same_text|reparse_.*|typeCompatible|"
        "identical|reverse|hasKeys|methods|qualifiers|[=!]=|[<>]=?|getDifference");
    if (recorded.contains("eq")) recorded.erase("equal");
    for (auto member = recorded.begin(); recorded.is_object() && member != recorded.end();)
        member =
            std::regex_match(member.key(), unasked) ? recorded.erase(member) : std::next(member);
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
            const Given in{recorded["in"]};
            Json expected = recorded;
            prune(expected);
            EXPECT_EQ(expected, orThrows([&] {
                          return Json{{"out", operations.at(in["op"].string())(in)}};
                      }))
                << recorded["id"] << " in: " << in.json.dump();
        }
    }
}

}  // namespace
