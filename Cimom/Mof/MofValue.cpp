#include "Mof/MofValue.h"

#include "Model/ValueText.h"

#include <limits>
#include <type_traits>

PEGASUS_USING_PEGASUS;

namespace cimom
{
namespace
{

// What a literal of the type has to be.
template <class T>
std::string expected()
{
    using Limits = std::numeric_limits<T>;
    const std::string bits = std::to_string(sizeof(T) * 8);
    if constexpr (std::is_same_v<T, Boolean>)
        return "TRUE or FALSE";
    else if constexpr (std::is_floating_point_v<T>)
        return "real" + bits + ", a decimal number in its range such as -1.5e3";
    else if constexpr (std::is_integral_v<T>)
        return (Limits::is_signed ? "sint" : "uint") + bits + ", decimal or hexadecimal, " +
               std::to_string(Limits::min()) + " to " + std::to_string(Limits::max());
    else if constexpr (std::is_same_v<T, Char16>)
        return "one 16-bit character in single quotes";
    else if constexpr (std::is_same_v<T, String>)
        return "a string in double quotes";
    else if constexpr (std::is_same_v<T, CIMDateTime>)
        return "a datetime in double quotes, yyyymmddhhmmss.mmmmmmsutc or an interval, "
               "ddddddddhhmmss.mmmmmm:000";
    else if constexpr (std::is_same_v<T, CIMObjectPath>)
        return "an object path in double quotes, Class.Key=\"value\"";
    else
        return "a type whose values can be written in MOF";
}

template <class T>
constexpr MofToken::Kind kindOf = std::is_same_v<T, Boolean>  ? MofToken::Identifier
                                  : std::is_arithmetic_v<T>   ? MofToken::Number
                                  : std::is_same_v<T, Char16> ? MofToken::Char
                                                              : MofToken::String;

template <class T>
T read(const MofToken& literal)
{
    std::string text = literal.text;
    // In MOF, numbers without a sign may have a plus, too.
    if (std::is_unsigned_v<T> && text.substr(0, 1) == "+") text.erase(0, 1);
    const auto value = literal.kind == kindOf<T> ? readValue<T>(text) : std::nullopt;
    if (!value) unexpected(literal, expected<T>());
    return *value;
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
