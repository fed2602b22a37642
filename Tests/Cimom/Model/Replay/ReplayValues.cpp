// Operations on values, dates and times.
#include "Conversions.h"

#include <cstdio>

using namespace Pegasus;

namespace replay
{

namespace
{

/// What a variable holds before a value is read into it, to see whether it is touched.
template <class T>
T sentinel()
{
    if constexpr (std::is_same_v<T, Boolean>) {
        return true;
    } else if constexpr (std::is_arithmetic_v<T>) {
        return T(77);
    } else if constexpr (std::is_same_v<T, Char16>) {
        return Char16(Uint16(77));
    } else if constexpr (std::is_same_v<T, CIMDateTime>) {
        return CIMDateTime(String("20000101000000.000000+000"));
    } else if constexpr (std::is_same_v<T, CIMObjectPath>) {
        return CIMObjectPath(String("Sentinel.k=1"));
    } else if constexpr (std::is_same_v<T, String>) {
        return String("sentinel");
    } else {
        return T(CIMInstance(CIMName("Sentinel")));
    }
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
    } else if constexpr (std::is_same_v<T, CIMDateTime> || std::is_same_v<T, CIMObjectPath>) {
        return describe(x.toString());
    } else if constexpr (std::is_same_v<T, CIMObject>) {
        if (x.isUninitialized()) return {{"uninitialized", true}};
        return x.isInstance() ? Json{{"instance", describe(CIMInstance(x))}}
                              : Json{{"classdef", describe(CIMClass(x))}};
    } else {
        return describe(x);
    }
}

template <class T>
Json describeVariable(const Array<T>& x)
{
    return listOf(x, x.size(),
                  [](const Array<T>& a, Uint32 i) { return describeVariable<T>(a[i]); });
}

template <class T>
Json readInto(const CIMValue& from, T variable)
{
    Json out = attempt([&] { from.get(variable); });
    out["variable"] = describeVariable(variable);
    return out;
}

Json readValue(const Json& in)
{
    const CIMValue from = value(in["value"]);
    return withElementType(type(in["as"]), [&](auto sample) {
        using Element = decltype(sample);
        return isSet(in, "asArray") ? readInto(from, Array<Element>(1, sentinel<Element>()))
                                    : readInto(from, sentinel<Element>());
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

/// Expressions whose meaning hangs on which of many conversions the compiler picks.
Json literal(const Json& in)
{
    enum Unscoped
    {
        one = 1
    };
    const char* const pointer = "text";
    const char* const nullPointer = nullptr;
    using Expression = std::function<Json()>;
    const std::map<std::string, Expression> expressions = {
        {"char_array", [] { return describe(CIMValue("text")); }},
        {"const_char_ptr", [&] { return describe(CIMValue(pointer)); }},
        {"null_char_ptr", [&] { return describe(CIMValue(nullPointer)); }},
        {"int", [] { return describe(CIMValue(1)); }},
        {"unsigned", [] { return describe(CIMValue(1U)); }},
        {"long_long", [] { return describe(CIMValue(1LL)); }},
        {"unsigned_long_long", [] { return describe(CIMValue(1ULL)); }},
        {"short", [] { return describe(CIMValue(short(1))); }},
        {"signed_char", [] { return describe(CIMValue(Sint8(1))); }},
        {"unsigned_char", [] { return describe(CIMValue(Uint8(65))); }},
        {"bool", [] { return describe(CIMValue(true)); }},
        {"float", [] { return describe(CIMValue(1.5F)); }},
        {"double", [] { return describe(CIMValue(1.5)); }},
        {"string_object", [] { return describe(CIMValue(String("text"))); }},
        {"char16_object", [] { return describe(CIMValue(Char16('A'))); }},
        {"property_literal", [] { return describe(CIMProperty(CIMName("P"), "text")); }},
        {"keybinding_literal", [] { return describe(CIMKeyBinding(CIMName("K"), "text")); }},
        {"keybinding_string", [] { return describe(CIMKeyBinding(CIMName("K"), String("text"))); }},
        {"keybinding_string_typed",
         [] { return describe(CIMKeyBinding(CIMName("K"), "text", CIMKeyBinding::STRING)); }},
        {"param_literal", [] { return describe(CIMParamValue("P", "text")); }},
        {"param_string", [] { return describe(CIMParamValue("P", String("text"))); }},
        {"qualifier_literal", [] { return describe(CIMQualifier(CIMName("Q"), "text")); }},
        {"enum", [] { return describe(CIMValue(one)); }},
        {"path_eq_literal", [] { return Json(CIMObjectPath(String("A.k=1")) == "A.k=1"); }},
        {"path_eq_string", [] { return Json(CIMObjectPath(String("A.k=1")) == String("A.k=1")); }},
        {"instance_eq_instance",
         [] { return Json(CIMInstance(CIMName("X")) == CIMInstance(CIMName("x"))); }},
        {"instance_eq_uninitialized",
         [] { return Json(CIMInstance(CIMName("X")) == CIMInstance()); }},
        {"array_eq_array", [] { return Json(Array<Uint32>(2, 5) == Array<Uint32>(2, 5)); }},
        {"uint32_value_eq_Uint32", [] { return Json(CIMValue(Uint32(1)) == Uint32(1)); }},
        {"uint32_value_eq_int_literal", [] { return Json(CIMValue(Uint32(1)) == 1); }},
        {"string_value_eq_literal", [] { return Json(CIMValue(String("x")) == "x"); }},
        {"string_value_eq_String", [] { return Json(CIMValue(String("x")) == String("x")); }},
        {"uint32_array_braces",
         [] {
             return describe(CIMValue(Array<Uint32>{1, 2}));
         }},
    };
    return expressions.at(in["kind"].get<std::string>())();
}

// ---------------------------------------------------------------- dates and times

/// Text, null (default constructed), or {"usec", "interval"}.
CIMDateTime time(const Json& in)
{
    if (in.is_null()) return CIMDateTime();
    if (in.is_string()) return CIMDateTime(text(in));
    return CIMDateTime(element<Uint64>(in["usec"]), isSet(in, "interval"));
}

Json describeTime(const CIMDateTime& x)
{
    return {{"toString", describe(x.toString())},
            {"isInterval", x.isInterval()},
            {"microSeconds", std::to_string(x.toMicroSeconds())}};
}

Json setTime(const Json& in)
{
    CIMDateTime target = time(in["start"]);
    const CIMDateTime copy(target);
    Json out = attempt([&] { target.set(text(in["text"])); });
    out["after"] = describeTime(target);
    out["copy_made_before"] = describeTime(copy);
    return out;
}

Json compareTimes(const Json& in)
{
    const CIMDateTime a = time(in["a"]);
    const CIMDateTime b = time(in["b"]);
    return {{"equal", orThrows([&] { return Json(a.equal(b)); })},
            {"==", orThrows([&] { return Json(a == b); })},
            {"!=", orThrows([&] { return Json(a != b); })},
            {"<", orThrows([&] { return Json(a < b); })},
            {"<=", orThrows([&] { return Json(a <= b); })},
            {">", orThrows([&] { return Json(a > b); })},
            {">=", orThrows([&] { return Json(a >= b); })},
            {"getDifference",
             orThrows([&] { return Json(std::to_string(CIMDateTime::getDifference(a, b))); })}};
}

Json calculate(const Json& in)
{
    const std::string sign = in["operator"];
    CIMDateTime a = time(in["a"]);
    if (sign == "*") return describeTime(a * in["n"].get<Uint64>());
    if (sign == "/") return describeTime(a / in["n"].get<Uint64>());
    const CIMDateTime b = time(in["b"]);
    if (sign == "+") return describeTime(a + b);
    if (sign == "-") return describeTime(a - b);
    if (sign == "+=") return describeTime(a += b);
    if (sign == "-=") return describeTime(a -= b);
    if (sign == "/dt") return std::to_string(a / b);
    throw std::runtime_error("unknown operator " + sign);
}

Json describeNow(const Json&)
{
    const CIMDateTime now = CIMDateTime::getCurrentDateTime();
    const String digits = now.toString();
    return {{"isInterval", now.isInterval()},
            {"length", digits.size()},
            {"dot_at_14", digits[14] == '.'},
            {"sign_at_21_is_plus_or_minus", digits[21] == '+' || digits[21] == '-'}};
}

}  // namespace

Part values()
{
    using Value = CIMValue;
    using Strings = Array<String>;
    using Instance = CIMInstance;
    using Object = CIMObject;
    Part part;
    part.topics = {"values", "datetime"};
    part.operations = {
        {"type_text", [](const Json& in) { return Json(cimTypeToString(type(in["type"]))); }},
        {"value", [](const Json& in) { return describe(value(in["value"])); }},
        {"value_get", readValue},
        {"value_setnull", setNull},
        {"value_pair", compareValues},
        {"value_literal", literal},
        {"dt_parse", [](const Json& in) { return describeTime(CIMDateTime(text(in["text"]))); }},
        {"dt_usec", [](const Json& in) { return describeTime(time(in)); }},
        {"dt_default", [](const Json&) { return describeTime(CIMDateTime()); }},
        {"dt_set", setTime},
        {"dt_clear",
         [](const Json& in) {
             CIMDateTime target = time(in["a"]);
             target.clear();
             return describeTime(target);
         }},
        {"dt_pair", compareTimes},
        {"dt_arith", calculate},
        {"dt_now_shape", describeNow},
    };
    part.verbs = {
        {"val.new", on<Value>([](Value& x, const Json& s) { x = value(s[2]); })},
        {"val.copy", copying<Value>()},
        {"val.dump", on<Value>([](Value& x) { return describe(x); })},
        {"val.assign",
         on<Value>([](Value& x, const Json& s, Registers& r) { x.assign(r.get<Value>(s[2])); })},
        {"val.clear", on<Value>([](Value& x) { x.clear(); })},
        {"val.equal", on<Value>([](Value& x, const Json& s, Registers& r) {
             return x.equal(r.get<Value>(s[2]));
         })},
        {"val.setNull",
         on<Value>([](Value& x, const Json& s) { x.setNullValue(type(s[2]), s[3].get<bool>()); })},
        {"val.setString", on<Value>([](Value& x, const Json& s) { x.set(text(s[2])); })},
        {"val.setUint32", on<Value>([](Value& x, const Json& s) { x.set(s[2].get<Uint32>()); })},
        {"val.setBoolean", on<Value>([](Value& x, const Json& s) { x.set(s[2].get<bool>()); })},
        {"val.setStringArray",
         on<Value>([](Value& x, const Json& s, Registers& r) { x.set(r.get<Strings>(s[2])); })},
        {"val.setInst",
         on<Value>([](Value& x, const Json& s, Registers& r) { x.set(r.get<Instance>(s[2])); })},
        {"val.getInst",
         on<Value>([](Value& x, const Json& s, Registers& r) { x.get(r.get<Instance>(s[2])); })},
        {"val.setObj",
         on<Value>([](Value& x, const Json& s, Registers& r) { x.set(r.get<Object>(s[2])); })},
        {"strs.new", on<Strings>([](Strings& x, const Json& s) {
             x.clear();
             for (size_t i = 2; i < s.size(); ++i)
                 x.append(text(s[i]));
         })},
        {"strs.put",
         on<Strings>([](Strings& x, const Json& s) { x[s[2].get<Uint32>()] = text(s[3]); })},
    };
    return part;
}

}  // namespace replay
