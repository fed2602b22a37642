// What OpenPegasus does, recorded, and asked of the library that this build is for. Built against
// OpenPegasus, the test proves the records.
//
// Each line of a file in vectors/ is a test of its own, here ObjectPaths/.../ParsePath_0031:
//     {"id":"0031","use":"ParsePath","in":"A.b=1,a=2","out":{"class":"A", ...}}
// "use" is the name of a function at the end of this file. It is given "in" and has to return
// "out", or to throw what "throws" says. The library's objects are written as their properties; a
// null or absent member is a null name or a default-constructed object. Text with lone surrogates
// is {"utf16": [units]}, bytes are hexadecimal digits, reals are texts, as JSON has no infinity.
#include <Pegasus/Common/CIMClass.h>
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/CIMPropertyList.h>
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
#include <fstream>
#include <locale>
#include <map>
#include <regex>
#include <string>
#include <vector>

using Json = nlohmann::json;

using namespace Pegasus;

namespace
{

// Not by way of the library: what it does with text is what is tested.
using Utf16 = std::wstring_convert<std::codecvt_utf8_utf16<char16_t>, char16_t>;

const std::vector<std::string> keyTypes = {"BOOLEAN", "STRING", "NUMERIC", "REFERENCE"};

// ---- Library objects from JSON

/// The object that the JSON describes; a default-constructed one for null.
template <class T>
T as(const Json& in);

template <class T>
T member(const Json& in, const char* name)
{
    return as<T>(in.value(name, Json()));
}

CIMValue valueFrom(const Json& in);

struct Reader
{
    template <class Integer>
    static void read(const Json& in, Integer& out)
    {
        out = in.get<Integer>();
    }

    template <class T>
    static void read(const Json& in, Array<T>& out)
    {
        for (const Json& element : in)
            out.append(as<T>(element));
    }

    static void read(const Json& in, Real32& out) { out = Real32(as<Real64>(in)); }
    static void read(const Json& in, Real64& out)
    {
        out = std::atof(in.get<std::string>().c_str());
    }
    static void read(const Json& in, Char16& out) { out = Char16(in.get<Uint16>()); }
    static void read(const Json& in, CIMName& out) { out = CIMName(as<String>(in)); }
    static void read(const Json& in, CIMNamespaceName& out) { out = as<String>(in); }
    static void read(const Json& in, CIMPropertyList& out) { out = as<Array<CIMName>>(in); }
    static void read(const Json& in, CIMObject& out) { out = as<CIMInstance>(in); }
    static void read(const Json& in, CIMValue& out) { out = valueFrom(in); }

    static void read(const Json& in, String& out)
    {
        if (in.is_object())
            for (const Json& unit : in.at("utf16"))
                out.append(as<Char16>(unit));
        else
            for (const char16_t unit : Utf16().from_bytes(in.get<std::string>()))
                out.append(Char16(unit));
    }

    static void read(const Json& in, CIMType& out)
    {
        for (int type = CIMTYPE_BOOLEAN; type <= CIMTYPE_INSTANCE; ++type)
            if (in == cimTypeToString(CIMType(type))) return void(out = CIMType(type));
        throw std::runtime_error("unknown type " + in.dump());
    }

    static void read(const Json& in, CIMDateTime& out)
    {
        out = in.is_string() ? CIMDateTime(as<String>(in))
                             : CIMDateTime(member<Uint64>(in, "microSeconds"), in.at("isInterval"));
    }

    static void read(const Json& in, CIMKeyBinding::Type& out)
    {
        const auto found = std::find(keyTypes.begin(), keyTypes.end(), in);
        out = CIMKeyBinding::Type(found - keyTypes.begin());
    }

    static void read(const Json& in, CIMKeyBinding& out)
    {
        const CIMName name = member<CIMName>(in, "name");
        if (in.contains("type"))
            out = CIMKeyBinding(name, member<String>(in, "value"),
                                member<CIMKeyBinding::Type>(in, "type"));
        else
            out = CIMKeyBinding(name, member<CIMValue>(in, "value"));
    }

    static void read(const Json& in, CIMObjectPath& out)
    {
        out = in.is_string()
                  ? CIMObjectPath(as<String>(in))
                  : CIMObjectPath(
                        member<String>(in, "host"), member<CIMNamespaceName>(in, "namespace"),
                        member<CIMName>(in, "class"), member<Array<CIMKeyBinding>>(in, "keys"));
    }

    static void read(const Json& in, CIMProperty& out)
    {
        out = CIMProperty(member<CIMName>(in, "name"), member<CIMValue>(in, "value"),
                          member<Uint32>(in, "arraySize"), member<CIMName>(in, "refClass"),
                          member<CIMName>(in, "origin"), member<bool>(in, "propagated"));
    }

    static void read(const Json& in, CIMInstance& out)
    {
        out = CIMInstance(member<CIMName>(in, "class"));
        if (in.contains("path")) out.setPath(as<CIMObjectPath>(in["path"]));
        for (const Json& property : in.value("properties", Json()))
            out.addProperty(as<CIMProperty>(property));
    }

#if EMBEDDED_LIBRARY

    // Its classes have no public constructors: they are made of the object manager's structures.
    static cimom::Qualifiers qualifiersOf(const Json& owner)
    {
        std::vector<cimom::Qualifier> list;
        for (const Json& each : owner.value("qualifiers", Json()))
            list.push_back({as<CIMName>(each["name"]), as<CIMValue>(each["value"]), {}, false});
        return cimom::Qualifiers(list);
    }

    static void read(const Json& in, CIMClass& out)
    {
        cimom::Class made{as<CIMObjectPath>(in.contains("path") ? in["path"] : in["name"]),
                          member<CIMName>(in, "super"),
                          qualifiersOf(in),
                          {},
                          {}};
        for (const Json& each : in.value("properties", Json())) {
            const CIMProperty property = as<CIMProperty>(each);
            property.object().qualifiers = qualifiersOf(each);
            made.properties.push_back(property.shared());
        }
        out = CIMClass(std::make_shared<const cimom::Class>(made));
    }

#else

    template <class Owner>
    static void addQualifiers(Owner& owner, const Json& in)
    {
        for (const Json& each : in.value("qualifiers", Json()))
            owner.addQualifier(
                CIMQualifier(as<CIMName>(each["name"]), as<CIMValue>(each["value"])));
    }

    static void read(const Json& in, CIMClass& out)
    {
        out = CIMClass(member<CIMName>(in, "name"), member<CIMName>(in, "super"));
        if (in.contains("path")) out.setPath(as<CIMObjectPath>(in["path"]));
        for (const Json& each : in.value("properties", Json())) {
            CIMProperty property = as<CIMProperty>(each);
            addQualifiers(property, each);
            out.addProperty(property);
        }
        addQualifiers(out, in);
    }

#endif
};

template <class T>
T as(const Json& in)
{
    T out = T();
    if (!in.is_null()) Reader::read(in, out);
    return out;
}

// ---- JSON from library objects

std::u16string unitsOf(const String& text)
{
    return {text.getChar16Data(), text.getChar16Data() + text.size()};
}

struct Writer
{
    template <class Number>
    static std::enable_if_t<std::is_arithmetic_v<Number>, Json> show(Number number)
    {
        return number;
    }

    template <class T>
    static Json show(const Array<T>& array)
    {
        return listOf(array.size(), [&](Uint32 i) { return show(array[i]); });
    }

    static Json show(const Char16& unit) { return Uint16(unit); }
    template <class Name, class = decltype(&Name::legal)>  // CIMName or CIMNamespaceName
    static Json show(const Name& name)
    {
        return name.isNull() ? Json() : show(name.getString());
    }
    static Json show(const CIMProperty& property) { return show(CIMConstProperty(property)); }
    static Json show(const CIMObject& object) { return {{"instance", show(CIMInstance(object))}}; }

    static Json show(const String& text)
    {
        try {
            return Utf16().to_bytes(unitsOf(text));
        } catch (const std::range_error&) {
            return {{"utf16", unitsOf(text)}};
        }
    }

    static Json show(const Exception& exception)
    {
        static const std::regex mangled("N7Pegasus[0-9]+(.*)E");
        return {{"type", std::regex_replace(typeid(exception).name(), mangled, "$1")},
                {"message", show(exception.getMessage())}};
    }

    static Json show(const CIMKeyBinding& key)
    {
        return {{"name", show(key.getName().getString())},
                {"type", keyTypes.at(key.getType())},
                {"value", show(key.getValue())}};
    }

    static Json show(const CIMObjectPath& path)
    {
        return {{"host", show(path.getHost())},
                {"namespace", show(path.getNameSpace())},
                {"class", show(path.getClassName())},
                {"keys", show(path.getKeyBindings())},
                {"toString", show(path.toString())}};
    }

    static Json show(const CIMDateTime& time)
    {
        return {{"toString", show(time.toString())},
                {"isInterval", time.isInterval()},
                {"microSeconds", time.toMicroSeconds()}};
    }

    static Json show(const CIMValue& value)
    {
        return {{"type", cimTypeToString(value.getType())},
                {"isArray", value.isArray()},
                {"isNull", value.isNull()},
                {"arraySize", value.getArraySize()},
                {"toString", show(value.toString())}};
    }

    static Json show(const CIMConstProperty& property)
    {
        return {{"name", show(property.getName())},
                {"value", show(property.getValue())},
                {"arraySize", property.getArraySize()},
                {"refClass", show(property.getReferenceClassName())},
                {"origin", show(property.getClassOrigin())},
                {"propagated", property.getPropagated()}};
    }

    static Json show(const CIMInstance& instance)
    {
        return {{"class", show(instance.getClassName())},
                {"path", show(instance.getPath())},
                {"properties", listOf(instance.getPropertyCount(),
                                      [&](Uint32 i) { return show(instance.getProperty(i)); })}};
    }

    static Json show(const CIMClass& cimClass)
    {
        Array<CIMName> keys(1, CIMName("Stale"));
        cimClass.getKeyNames(keys);
        return {{"name", show(cimClass.getClassName())},
                {"super", show(cimClass.getSuperClassName())},
                {"path", show(cimClass.getPath())},
                {"isAssociation", cimClass.isAssociation()},
                {"isAbstract", cimClass.isAbstract()},
                {"keyNames", show(keys)},
                {"properties", listOf(cimClass.getPropertyCount(),
                                      [&](Uint32 i) { return show(cimClass.getProperty(i)); })}};
    }

    template <class At>
    static Json listOf(Uint32 size, At at)
    {
        Json list = Json::array();
        for (Uint32 i = 0; i < size; ++i)
            list.push_back(at(i));
        return list;
    }
};

template <class T>
Json show(const T& x)
{
    return Writer::show(x);
}

/// What the call returns, or {"throws"} what it throws.
template <class Call>
Json orThrows(Call call)
{
    try {
        return call();
    } catch (const Exception& exception) {
        return {{"throws", show(exception)}};
    }
}

// ---- Values by the type of their elements

template <class T>
CIMValue makeValue(const Json& in)
{
    return member<bool>(in, "array") ? CIMValue(member<Array<T>>(in, "value"))
                                     : CIMValue(member<T>(in, "value"));
}

template <class Variable>
Json readValue(const CIMValue& value, Variable variable)
{
    Json out = orThrows([&] { return value.get(variable), Json::object(); });
    // Of dates and references, the text alone is recorded.
    const Json shown = show(variable);
    out["variable"] = shown.contains("toString") ? shown["toString"] : shown;
    return out;
}

/// Reads the value into a variable that holds something, to see whether it is touched.
template <class T>
Json readValueOver(const CIMValue& value, const Json& before)
{
    return before.is_array() ? readValue(value, as<Array<T>>(before))
                             : readValue(value, as<T>(before));
}

struct ValueFunctions
{
    CIMValue (*make)(const Json& in);
    Json (*readOver)(const CIMValue& value, const Json& before);
};

template <class T>
constexpr ValueFunctions of{makeValue<T>, readValueOver<T>};

/// By CIM type, from CIMTYPE_BOOLEAN to CIMTYPE_INSTANCE.
const ValueFunctions valueFunctions[] = {
    of<Boolean>, of<Uint8>,       of<Sint8>,         of<Uint16>,    of<Sint16>,     of<Uint32>,
    of<Sint32>,  of<Uint64>,      of<Sint64>,        of<Real32>,    of<Real64>,     of<Char16>,
    of<String>,  of<CIMDateTime>, of<CIMObjectPath>, of<CIMObject>, of<CIMInstance>};

CIMValue valueFrom(const Json& in)
{
    const CIMType type = member<CIMType>(in, "type");
    if (!member<bool>(in, "null")) return valueFunctions[type].make(in);
    return CIMValue(type, member<bool>(in, "array"), member<Uint32>(in, "arraySize"));
}

// ---- The uses of the library

template <class T>
Json make(const Json& in)
{
    return show(as<T>(in));
}

template <class T>
Json compare(const Json& in)
{
    const T a = member<T>(in, "a");
    const T b = member<T>(in, "b");
    return {{"eq", a == b}, {"ne", a != b}};
}

template <class T>
Json identical(const Json& in)
{
    return member<T>(in, "a").identical(member<T>(in, "b"));
}

Json stringFromUtf8(const Json& in)
{
    const std::string hex = in.at("hex");
    std::string bytes;
    for (size_t i = 0; i < hex.size(); i += 2)
        bytes += char(std::stoi(hex.substr(i, 2), nullptr, 16));
    const String text(bytes.data(), in.value("size", Uint32(bytes.size())));
    return {{"size", text.size()}, {"utf16", unitsOf(text)}};
}

Json stringToUtf8(const Json& in)
{
    std::string hex;
    for (const unsigned char c : std::string(member<String>(in, "text").getCString()))
        hex += {"0123456789abcdef"[c / 16], "0123456789abcdef"[c % 16]};
    return {{"hex", hex}};
}

/// A name made of a String or of characters, or assigned; and whether the text is legal.
template <class Name>
Json makeName(const Json& in)
{
    const String text = member<String>(in, "text");
    Json out = orThrows([&] {
        Name name;
        if (in["from"] == "String") name = Name(text);
        if (in["from"] == "characters") name = Name(text.getCString());
        if (in["from"] == "assignment") name = text;
        return Json{{"name", show(name)}};
    });
    out["legal"] = Name::legal(text);
    return out;
}

Json setNullValue(const Json& in)
{
    CIMValue changed = member<CIMValue>(in, "value");
    const CIMValue copy(changed);
    changed.setNullValue(member<CIMType>(in, "type"), in["array"], member<Uint32>(in, "arraySize"));
    return {{"value", show(changed)}, {"copyMadeBefore", show(copy)}};
}

Json setPropertyValue(const Json& in)
{
    CIMProperty property = member<CIMProperty>(in, "property");
    const CIMValue value = member<CIMValue>(in, "value");
    Json out = orThrows([&] { return property.setValue(value), Json::object(); });
    out["after"] = show(property);
    return out;
}

using Use = Json (*)(const Json& in);

const std::map<std::string, Use> uses = {
    {"StringFromUtf8", stringFromUtf8},
    {"StringToUtf8", stringToUtf8},
    {"MakeName", makeName<CIMName>},
    {"MakeNamespaceName", makeName<CIMNamespaceName>},
    {"CompareNames", compare<CIMName>},
    {"CompareNamespaceNames", compare<CIMNamespaceName>},
    {"ParsePath", make<CIMObjectPath>},
    {"MakePath", make<CIMObjectPath>},
    {"ComparePaths", compare<CIMObjectPath>},
    {"MakeKey", make<CIMKeyBinding>},
    {"CompareKeys",
     [](const Json& in) -> Json {
         return member<CIMKeyBinding>(in, "a") == member<CIMKeyBinding>(in, "b");
     }},
    {"ParseDateTime", make<CIMDateTime>},
    {"MakeDateTime", make<CIMDateTime>},
    {"CompareDateTimes",
     [](const Json& in) -> Json {
         return member<CIMDateTime>(in, "a").equal(member<CIMDateTime>(in, "b"));
     }},
    {"MakeValue", make<CIMValue>},
    {"GetValue",
     [](const Json& in) -> Json {
         const ValueFunctions& functions = valueFunctions[member<CIMType>(in, "as")];
         return functions.readOver(member<CIMValue>(in, "value"), in["variable"]);
     }},
    {"SetNullValue", setNullValue},
    {"CompareValues", compare<CIMValue>},
    {"MakeProperty", make<CIMProperty>},
    {"SetPropertyValue", setPropertyValue},
    {"FindProperty",
     [](const Json& in) -> Json {
         const CIMInstance instance = member<CIMInstance>(in, "instance");
         const Uint32 position = instance.findProperty(member<CIMName>(in, "name"));
         return position == PEG_NOT_FOUND ? Json("PEG_NOT_FOUND") : Json(position);
     }},
    {"CompareProperties", identical<CIMProperty>},
    {"MakeInstance", make<CIMInstance>},
    {"CompareInstances", identical<CIMInstance>},
    {"BuildPath",
     [](const Json& in) -> Json {
         return show(member<CIMInstance>(in, "instance").buildPath(member<CIMClass>(in, "class")));
     }},
    {"MakeClass", make<CIMClass>},
    {"BuildInstance",
     [](const Json& in) -> Json {
         return show(member<CIMClass>(in, "class")
                         .buildInstance(in["includeQualifiers"], in["includeClassOrigin"],
                                        member<CIMPropertyList>(in, "propertyList")));
     }},
};

// ---- The test

struct Record
{
    std::string file;
    int line;
    Json content;
};

/// What a list of the tests shows of each: its input, as far as there is room.
void PrintTo(const Record& record, std::ostream* out)
{
    *out << record.content["in"].dump(-1, ' ', true).substr(0, 80);
}

std::string nameOf(const testing::TestParamInfo<Record>& test)
{
    const Json& content = test.param.content;
    return content["use"].get<std::string>() + "_" + content["id"].get<std::string>();
}

auto recordsIn(const std::string& name)
{
    const std::string file = VECTORS "/" + name;
    std::ifstream stream(file);
    std::vector<Record> records;
    for (std::string line; std::getline(stream, line);)
        records.push_back({file, int(records.size()) + 1, Json::parse(line)});
    if (records.empty()) throw std::runtime_error("no records in " + file);
    return testing::ValuesIn(records);
}

class Recorded : public testing::TestWithParam<Record>
{
};

TEST_P(Recorded, BehavesLikeOpenPegasus)
{
    const auto& [file, line, record] = GetParam();
    Json expected = record;
    for (const char* const other : {"id", "use", "in"})
        expected.erase(other);
    const Json actual = orThrows([use = uses.at(record["use"]), &in = record["in"]] {
        return Json{{"out", use(in)}};
    });
    if (actual == expected) return;
    std::string differences;
    for (const Json& each : Json::diff(expected, actual))
        differences += "\n  " + each.dump();
    ADD_FAILURE_AT(file.c_str(), line)
        << "Input:\n  " << record["in"] << "\nExpected:\n  " << expected << "\nActual:\n  "
        << actual << "\nFrom expected to actual:" << differences;
}

INSTANTIATE_TEST_SUITE_P(Strings, Recorded, recordsIn("Strings.jsonl"), nameOf);
INSTANTIATE_TEST_SUITE_P(Names, Recorded, recordsIn("Names.jsonl"), nameOf);
INSTANTIATE_TEST_SUITE_P(DateTimes, Recorded, recordsIn("DateTimes.jsonl"), nameOf);
INSTANTIATE_TEST_SUITE_P(ObjectPaths, Recorded, recordsIn("ObjectPaths.jsonl"), nameOf);
INSTANTIATE_TEST_SUITE_P(PathIdentity, Recorded, recordsIn("PathIdentity.jsonl"), nameOf);
INSTANTIATE_TEST_SUITE_P(Values, Recorded, recordsIn("Values.jsonl"), nameOf);
INSTANTIATE_TEST_SUITE_P(Objects, Recorded, recordsIn("Objects.jsonl"), nameOf);

}  // namespace
