#include "Mof/MofValue.h"

#include "Model/ValueText.h"

#include <type_traits>

PEGASUS_USING_PEGASUS;

namespace cimom
{
namespace
{

template <class T>
constexpr MofToken::Kind kindOf = std::is_same_v<T, Boolean>  ? MofToken::Identifier
                                  : std::is_arithmetic_v<T>   ? MofToken::Number
                                  : std::is_same_v<T, Char16> ? MofToken::Char
                                                              : MofToken::String;

template <class T>
T read(const MofToken& literal, CIMType type)
{
    std::string text = literal.text;
    // In MOF, numbers without a sign may have a plus, too.
    if (std::is_unsigned_v<T> && text.substr(0, 1) == "+") text.erase(0, 1);
    const auto value = literal.kind == kindOf<T> ? readValue<T>(text) : std::nullopt;
    if (!value) unexpected(literal, std::string("a value of type ") + cimTypeToString(type));
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
    const auto readLiteral = [&](const MofToken& literal, const auto& sample) {
        return read<std::decay_t<decltype(sample)>>(literal, type.type);
    };
    return readItems(initializer.items, type.type, type.isArray, readLiteral);
}

}  // namespace cimom
