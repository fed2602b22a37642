#include "Mof/MofValue.h"

#include <Pegasus/Common/Array.h>
#include <Pegasus/Common/CIMDateTime.h>
#include <Pegasus/Common/Char16.h>
#include <Pegasus/Common/Exception.h>

#include <charconv>
#include <cstring>
#include <limits>
#include <type_traits>

PEGASUS_USING_PEGASUS;

namespace cimom
{
namespace
{

std::string describe(const MofLiteral& literal)
{
    switch (literal.kind) {
        case MofLiteral::Null:
            return "NULL";
        case MofLiteral::String:
            return "string \"" + literal.text + "\"";
        case MofLiteral::Char:
            return "character '" + literal.text + "'";
        case MofLiteral::Alias:
            return "alias $" + literal.text;
        default:
            return literal.text;
    }
}

[[noreturn]] void wrongKind(const MofLiteral& literal, const std::string& expected)
{
    throw MofFault{literal.at, "expected " + expected + ", found " + describe(literal)};
}

Boolean toBoolean(const MofLiteral& literal)
{
    if (literal.kind != MofLiteral::Boolean) wrongKind(literal, "TRUE or FALSE");
    return (literal.text[0] | 0x20) == 't';
}

template <class T>
T toIntegerOf(const MofLiteral& literal)
{
    using Limits = std::numeric_limits<T>;
    const std::string type =
        (std::is_signed_v<T> ? "sint" : "uint") + std::to_string(sizeof(T) * 8);
    if (literal.kind != MofLiteral::Integer) wrongKind(literal, "an integer of type " + type);
    const MofInteger value = toInteger(literal.text, literal.at);
    const Uint64 limit = value.negative ? (std::is_signed_v<T> ? Uint64(Limits::max()) + 1 : 0)
                                        : Uint64(Limits::max());
    if (value.magnitude > limit)
        throw MofFault{literal.at, literal.text + " does not fit into " + type + ", expected " +
                                       std::to_string(Limits::min()) + " to " +
                                       std::to_string(Limits::max())};
    return static_cast<T>(value.negative ? Uint64(0) - value.magnitude : value.magnitude);
}

template <class T>
T toReal(const MofLiteral& literal)
{
    if (literal.kind != MofLiteral::Real && literal.kind != MofLiteral::Integer)
        wrongKind(literal, "a number");
    const char* const end = literal.text.data() + literal.text.size();
    const char* const begin = literal.text.data() + (literal.text[0] == '+' ? 1 : 0);
    T value{};
    const auto [stop, error] = std::from_chars(begin, end, value);
    if (error == std::errc::result_out_of_range)
        throw MofFault{literal.at,
                       literal.text + " does not fit into real" + std::to_string(sizeof(T) * 8)};
    if (error != std::errc() || stop != end)
        throw MofFault{literal.at,
                       "expected a decimal number such as -1.5e3, found " + literal.text};
    return value;
}

String toText(const MofLiteral& literal)
{
    if (literal.kind != MofLiteral::String) wrongKind(literal, "a string in double quotes");
    return toString(literal.text, literal.at);
}

Char16 toCharacter(const MofLiteral& literal)
{
    if (literal.kind != MofLiteral::Char && literal.kind != MofLiteral::String)
        wrongKind(literal, "a character in single quotes");
    const String text = toString(literal.text, literal.at);
    if (text.size() != 1) wrongKind(literal, "exactly one 16-bit character");
    return text[0];
}

CIMDateTime toDateTime(const MofLiteral& literal)
{
    const String text = toText(literal);
    try {
        return CIMDateTime(text);
    } catch (const Exception&) {
        wrongKind(
            literal,
            "a datetime, yyyymmddhhmmss.mmmmmmsutc or an interval, ddddddddhhmmss.mmmmmm:000");
    }
}

CIMObjectPath toPath(const MofLiteral& literal)
{
    if (literal.kind != MofLiteral::String)
        wrongKind(literal, "an object path in double quotes or an alias");
    const String text = toString(literal.text, literal.at);
    try {
        return CIMObjectPath(text);
    } catch (const Exception& e) {
        throw MofFault{literal.at, "expected an object path such as Class.Key=\"value\": " +
                                       std::string(e.getMessage().getCString())};
    }
}

// The value made of the items, each through `convert`.
template <class Convert>
CIMValue build(const MofInitializer& initializer, const MofValueType& type, Convert convert)
{
    if (!type.isArray) return CIMValue(convert(initializer.items[0]));
    Array<std::decay_t<decltype(convert(initializer.items[0]))>> values;
    for (const MofLiteral& item : initializer.items)
        values.append(convert(item));
    return CIMValue(values);
}

void checkShape(const MofInitializer& initializer, const MofValueType& type)
{
    if (initializer.isList && !type.isArray)
        throw MofFault{initializer.at, "expected a single value, found a list in braces"};
    if (!initializer.isList && type.isArray)
        throw MofFault{initializer.at,
                       "expected a list in braces, found " + describe(initializer.items[0])};
    if (type.arraySize != 0 && initializer.items.size() != type.arraySize)
        throw MofFault{initializer.at, "expected " + std::to_string(type.arraySize) +
                                           " values for the fixed size of the array, found " +
                                           std::to_string(initializer.items.size())};
}

bool isNull(const MofInitializer& initializer)
{
    return !initializer.isList && initializer.items[0].kind == MofLiteral::Null;
}

}  // namespace

CIMValue toValue(const MofInitializer& initializer, const MofValueType& type,
                 const AliasLookup& aliases)
{
    if (isNull(initializer)) return CIMValue(type.type, type.isArray, type.arraySize);
    checkShape(initializer, type);
    switch (type.type) {
        case CIMTYPE_BOOLEAN:
            return build(initializer, type, toBoolean);
        case CIMTYPE_UINT8:
            return build(initializer, type, toIntegerOf<Uint8>);
        case CIMTYPE_SINT8:
            return build(initializer, type, toIntegerOf<Sint8>);
        case CIMTYPE_UINT16:
            return build(initializer, type, toIntegerOf<Uint16>);
        case CIMTYPE_SINT16:
            return build(initializer, type, toIntegerOf<Sint16>);
        case CIMTYPE_UINT32:
            return build(initializer, type, toIntegerOf<Uint32>);
        case CIMTYPE_SINT32:
            return build(initializer, type, toIntegerOf<Sint32>);
        case CIMTYPE_UINT64:
            return build(initializer, type, toIntegerOf<Uint64>);
        case CIMTYPE_SINT64:
            return build(initializer, type, toIntegerOf<Sint64>);
        case CIMTYPE_REAL32:
            return build(initializer, type, toReal<Real32>);
        case CIMTYPE_REAL64:
            return build(initializer, type, toReal<Real64>);
        case CIMTYPE_CHAR16:
            return build(initializer, type, toCharacter);
        case CIMTYPE_STRING:
            return build(initializer, type, toText);
        case CIMTYPE_DATETIME:
            return build(initializer, type, toDateTime);
        case CIMTYPE_REFERENCE:
            return build(initializer, type, [&](const MofLiteral& item) {
                return item.kind == MofLiteral::Alias ? aliases(item) : toPath(item);
            });
        default:
            throw MofFault{initializer.at, "a value of this type cannot be written in MOF"};
    }
}

String toString(const std::string& text, const MofPosition& at)
{
    try {
        return String(text.data(), static_cast<Uint32>(text.size()));
    } catch (const Exception& e) {
        throw MofFault{at, "expected UTF-8: " + std::string(e.getMessage().getCString())};
    }
}

MofInteger toInteger(const std::string& text, const MofPosition& at)
{
    const bool sign = text[0] == '-' || text[0] == '+';
    const char* begin = text.data() + (sign ? 1 : 0);
    const char* end = text.data() + text.size();
    int base = 10;
    if (end - begin > 2 && begin[0] == '0' && (begin[1] | 0x20) == 'x') {
        base = 16;
        begin += 2;
    } else if (end - begin > 1 && (end[-1] | 0x20) == 'b') {
        base = 2;
        --end;
    } else if (end - begin > 1 && begin[0] == '0') {
        base = 8;
    }
    MofInteger value{text[0] == '-', 0};
    const auto [stop, error] = std::from_chars(begin, end, value.magnitude, base);
    if (error == std::errc::result_out_of_range)
        throw MofFault{at, text + " does not fit into 64 bits"};
    if (error != std::errc() || stop != end)
        throw MofFault{at,
                       "expected a number (decimal, octal with a leading 0, hexadecimal with "
                       "0x or binary with a trailing b), found " +
                           text};
    return value;
}

}  // namespace cimom
