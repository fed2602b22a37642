#include "Broker/ValueText.h"

#include "Broker/Text.h"

#include <Pegasus/Common/CIMDateTime.h>
#include <Pegasus/Common/CIMMethod.h>
#include <Pegasus/Common/CIMParameter.h>
#include <Pegasus/Common/Exception.h>

#include <charconv>
#include <limits>
#include <stdexcept>
#include <string_view>
#include <type_traits>

PEGASUS_USING_PEGASUS;

namespace cimom
{
namespace
{

[[noreturn]] void refuse()
{
    throw std::invalid_argument("not a value of the type");
}

void parse(const std::string& text, Boolean& value)
{
    const std::string word = folded(String(text.c_str()));
    value = word == "true";
    if (!value && word != "false") refuse();
}

template <class Integer>
std::enable_if_t<std::is_integral_v<Integer>> parse(const std::string& text, Integer& value)
{
    std::string_view digits = text;
    const bool isNegative = std::is_signed_v<Integer> && digits.substr(0, 1) == "-";
    if (std::is_signed_v<Integer> && (isNegative || digits.substr(0, 1) == "+")) {
        digits.remove_prefix(1);
    }
    const bool isHex = digits.substr(0, 2) == "0x" || digits.substr(0, 2) == "0X";
    if (isHex) digits.remove_prefix(2);
    if (!isHex && digits.size() > 1 && digits.front() == '0') refuse();

    Uint64 magnitude = 0;
    const char* const end = digits.data() + digits.size();
    const auto result = std::from_chars(digits.data(), end, magnitude, isHex ? 16 : 10);
    const Uint64 limit =
        static_cast<Uint64>(std::numeric_limits<Integer>::max()) + (isNegative ? 1 : 0);
    if (result.ec != std::errc() || result.ptr != end || magnitude > limit) refuse();
    value = static_cast<Integer>(isNegative ? 0 - magnitude : magnitude);
}

template <class Real>
std::enable_if_t<std::is_floating_point_v<Real>> parse(const std::string& text, Real& value)
{
    std::string_view digits = text;
    if (digits.substr(0, 1) == "+" && digits.substr(1, 1) != "-") digits.remove_prefix(1);
    const char* const end = digits.data() + digits.size();
    const auto result = std::from_chars(digits.data(), end, value);
    if (result.ec != std::errc() || result.ptr != end) refuse();
}

void parse(const std::string& text, Char16& value)
{
    const String characters(text.c_str());
    if (characters.size() != 1) refuse();
    value = characters[0];
}

void parse(const std::string& text, String& value)
{
    value = String(text.c_str(), static_cast<Uint32>(text.size()));
}

template <class FromString>
FromString parsedByLibrary(const std::string& text)
{
    try {
        return FromString(String(text.c_str()));
    } catch (const Exception&) {
        refuse();
    }
}

void parse(const std::string& text, CIMDateTime& value)
{
    value = parsedByLibrary<CIMDateTime>(text);
}

void parse(const std::string& text, CIMObjectPath& value)
{
    value = parsedByLibrary<CIMObjectPath>(text);
}

template <class T>
CIMValue valueOf(const std::vector<std::string>& texts, bool isArray)
{
    Array<T> items;
    for (const std::string& text : texts) {
        T item{};
        parse(text, item);
        items.append(item);
    }
    return isArray ? CIMValue(items) : CIMValue(items[0]);
}

std::vector<std::string> textsOf(const CIMValue& value)
{
    Array<String> strings;
    if (value.isArray()) {
        value.get(strings);
    } else {
        String string;
        value.get(string);
        strings.append(string);
    }
    std::vector<std::string> texts;
    for (Uint32 i = 0; i < strings.size(); ++i)
        texts.push_back(utf8(strings[i]));
    return texts;
}

[[noreturn]] void refuseParameter(const std::string& text)
{
    throw CIMException(CIM_ERR_INVALID_PARAMETER, printable(text));
}

}  // namespace

CIMValue valueFromTexts(const std::vector<std::string>& texts, CIMType type, bool isArray)
{
    switch (type) {
        case CIMTYPE_BOOLEAN:
            return valueOf<Boolean>(texts, isArray);
        case CIMTYPE_UINT8:
            return valueOf<Uint8>(texts, isArray);
        case CIMTYPE_SINT8:
            return valueOf<Sint8>(texts, isArray);
        case CIMTYPE_UINT16:
            return valueOf<Uint16>(texts, isArray);
        case CIMTYPE_SINT16:
            return valueOf<Sint16>(texts, isArray);
        case CIMTYPE_UINT32:
            return valueOf<Uint32>(texts, isArray);
        case CIMTYPE_SINT32:
            return valueOf<Sint32>(texts, isArray);
        case CIMTYPE_UINT64:
            return valueOf<Uint64>(texts, isArray);
        case CIMTYPE_SINT64:
            return valueOf<Sint64>(texts, isArray);
        case CIMTYPE_REAL32:
            return valueOf<Real32>(texts, isArray);
        case CIMTYPE_REAL64:
            return valueOf<Real64>(texts, isArray);
        case CIMTYPE_CHAR16:
            return valueOf<Char16>(texts, isArray);
        case CIMTYPE_STRING:
            return valueOf<String>(texts, isArray);
        case CIMTYPE_DATETIME:
            return valueOf<CIMDateTime>(texts, isArray);
        case CIMTYPE_REFERENCE:
            return valueOf<CIMObjectPath>(texts, isArray);
        case CIMTYPE_OBJECT:
        case CIMTYPE_INSTANCE:
            break;
    }
    refuse();
}

CIMValue declaredValue(const CIMValue& value, CIMType type, bool isArray)
{
    const bool isText = value.getType() == CIMTYPE_STRING;
    if (value.isNull() && (isText || value.getType() == CIMTYPE_BOOLEAN)) {
        return CIMValue(type, isArray);
    }
    if (!isText || (type == CIMTYPE_STRING && value.isArray() == isArray)) return value;
    const std::string typeName = cimTypeToString(type);
    if (value.isArray() != isArray) {
        refuseParameter(isArray ? "A single value is given for an array of " + typeName
                                : "An array is given for a single " + typeName);
    }
    try {
        return valueFromTexts(textsOf(value), type, isArray);
    } catch (const std::invalid_argument&) {
        refuseParameter("Malformed " + typeName + " value");
    }
}

Array<CIMParamValue> typedParameters(const Array<CIMParamValue>& parameters,
                                     const CIMConstClass& cimClass, const CIMName& methodName)
{
    Array<CIMParamValue> result;
    for (Uint32 i = 0; i < parameters.size(); ++i) {
        const CIMParamValue& given = parameters[i];
        if (given.isTyped()) {
            result.append(given);
            continue;
        }
        const Uint32 position = cimClass.findMethod(methodName);
        if (position == PEG_NOT_FOUND) throw CIMException(CIM_ERR_METHOD_NOT_FOUND);
        const CIMConstMethod method = cimClass.getMethod(position);
        const String name = given.getParameterName();
        const Uint32 declared =
            CIMName::legal(name) ? method.findParameter(CIMName(name)) : PEG_NOT_FOUND;
        if (declared == PEG_NOT_FOUND) {
            result.append(given);
            continue;
        }
        const CIMConstParameter parameter = method.getParameter(declared);
        result.append(CIMParamValue(
            name, declaredValue(given.getValue(), parameter.getType(), parameter.isArray())));
    }
    return result;
}

}  // namespace cimom
