// What OpenPegasus does, recorded, and asked of the library that this build is for. Built against
// OpenPegasus, the test proves the records.
//
// Each line of a file in vectors/ is a test of its own, here ObjectPaths/.../ParsePath_0031:
//     {"id":"0031","use":"ParsePath","in":"A.b=1,a=2","out":{"class":"A", ...}}
// "use" is the name of a function at the end of this file. It is given "in" and has to return
// "out", or to throw what "throws" says. The library's objects are written as their properties; a
// null or absent member is a null name or a default-constructed object. Text with lone surrogates
// is {"utf16": [units]}, bytes are hexadecimal digits, reals are texts, as JSON has no infinity.
#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObject.h>

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
        for (int type = CIMTYPE_BOOLEAN; type <= CIMTYPE_REFERENCE; ++type)
            if (in == cimTypeToString(CIMType(type))) return void(out = CIMType(type));
        throw std::runtime_error("unknown type " + in.dump());
    }

    static void read(const Json& in, CIMDateTime& out) { out = as<String>(in); }

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

    static Json show(const CIMDateTime& time) { return {{"toString", show(time.toString())}}; }

    static Json show(const CIMValue& value)
    {
        return {{"type", cimTypeToString(value.getType())},
                {"isArray", value.isArray()},
                {"isNull", value.isNull()},
                {"arraySize", value.getArraySize()},
                {"toString", show(value.toString())}};
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

/// By CIM type, from CIMTYPE_BOOLEAN to CIMTYPE_REFERENCE.
CIMValue (*const makers[])(const Json& in) = {
    makeValue<Boolean>, makeValue<Uint8>,       makeValue<Sint8>,        makeValue<Uint16>,
    makeValue<Sint16>,  makeValue<Uint32>,      makeValue<Sint32>,       makeValue<Uint64>,
    makeValue<Sint64>,  makeValue<Real32>,      makeValue<Real64>,       makeValue<Char16>,
    makeValue<String>,  makeValue<CIMDateTime>, makeValue<CIMObjectPath>};

CIMValue valueFrom(const Json& in)
{
    const CIMType type = member<CIMType>(in, "type");
    if (!member<bool>(in, "null")) return makers[type](in);
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
    {"MakeValue", make<CIMValue>},
    {"CompareValues", compare<CIMValue>},
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

}  // namespace
