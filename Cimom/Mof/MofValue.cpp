#include "Mof/MofValue.h"

#include "Model/Text.h"
#include "Model/Types.h"

#include <Pegasus/Common/Exception.h>

#include <limits>
#include <type_traits>

PEGASUS_USING_PEGASUS;

namespace cimom
{
namespace
{

Boolean readBoolean(const MofToken& literal)
{
    if (!literal.is("true") && !literal.is("false")) unexpected(literal, "TRUE or FALSE");
    return literal.is("true");
}

template <class T>
T readNumber(const MofToken& literal)
{
    std::string_view text = literal.text;
    // In MOF, numbers without a sign may have a plus, too.
    if (!std::is_signed_v<T> && text.substr(0, 1) == "+") text.remove_prefix(1);
    const auto value = cimom::readNumber<T>(text);
    if (literal.kind == MofToken::Number && value) return *value;
    using Limits = std::numeric_limits<T>;
    const std::string bits = std::to_string(sizeof(T) * 8);
    if (std::is_floating_point_v<T>)
        unexpected(literal, "real" + bits + ", a decimal number in its range such as -1.5e3");
    unexpected(literal, (Limits::is_signed ? "sint" : "uint") + bits +
                            ", decimal or hexadecimal, " + std::to_string(Limits::min()) + " to " +
                            std::to_string(Limits::max()));
}

Char16 readCharacter(const MofToken& literal)
{
    const String text = toString(literal.text);
    if (literal.kind != MofToken::Char || text.size() != 1)
        unexpected(literal, "one 16-bit character in single quotes");
    return text[0];
}

template <class T>
T readText(const MofToken& literal, const char* expected)
{
    try {
        if (literal.kind == MofToken::String) return T(toString(literal.text));
    } catch (const Exception&) {
        // The text does not have the form that the type asks for.
    }
    unexpected(literal, expected);
}

template <class T>
T read(const MofToken& literal)
{
    if constexpr (std::is_same_v<T, Boolean>)
        return readBoolean(literal);
    else if constexpr (std::is_arithmetic_v<T>)
        return readNumber<T>(literal);
    else if constexpr (std::is_same_v<T, Char16>)
        return readCharacter(literal);
    else if constexpr (std::is_same_v<T, String>)
        return readText<T>(literal, "a string in double quotes");
    else if constexpr (std::is_same_v<T, CIMDateTime>)
        return readText<T>(literal,
                           "a datetime in double quotes, yyyymmddhhmmss.mmmmmmsutc or an interval, "
                           "ddddddddhhmmss.mmmmmm:000");
    else if constexpr (std::is_same_v<T, CIMObjectPath>)
        return readText<T>(literal, "an object path in double quotes, Class.Key=\"value\"");
    else
        unexpected(literal, "a type whose values can be written in MOF");
}

void checkShape(const MofInitializer& initializer, const MofType& type)
{
    if (initializer.isList && !type.isArray)
        throw MofFault{initializer.at, "expected a single value, found a list in braces"};
    if (!initializer.isList && type.isArray) unexpected(initializer.items[0], "a list in braces");
    if (type.arraySize != 0 && initializer.items.size() != type.arraySize)
        throw MofFault{initializer.at, "expected " + std::to_string(type.arraySize) +
                                           " values for the fixed size of the array, found " +
                                           std::to_string(initializer.items.size())};
}

}  // namespace

CIMValue toValue(const MofInitializer& initializer, const MofType& type)
{
    if (initializer.isNull()) return type.null();
    checkShape(initializer, type);
    return visitType(type.type, [&](const auto& sample) {
        using T = std::decay_t<decltype(sample)>;
        if (!type.isArray) return CIMValue(read<T>(initializer.items[0]));
        Array<T> values;
        for (const MofToken& item : initializer.items)
            values.append(read<T>(item));
        return CIMValue(values);
    });
}

}  // namespace cimom
