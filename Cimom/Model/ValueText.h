// Values read from text.
#pragma once

#include "Model/Text.h"

#include <Pegasus/Common/CIMInstance.h>
#include <Pegasus/Common/CIMObject.h>
#include <Pegasus/Common/CIMValue.h>

#include <optional>
#include <string>
#include <type_traits>

namespace cimom
{

/// The value of type T that the UTF-8 text denotes: TRUE or FALSE in any case, a number as of
/// readNumber(), one character of 16 bits, or what the constructor of the type reads. Returns
/// nothing for other text, and for the types object and instance.
template <class T>
std::optional<T> readValue(const std::string& text)
{
    using namespace Pegasus;
    if constexpr (std::is_same_v<T, Boolean>) {
        const bool isTrue = equalNoCase(text, "TRUE");
        if (isTrue || equalNoCase(text, "FALSE")) return isTrue;
    } else if constexpr (std::is_arithmetic_v<T>) {
        return readNumber<T>(text);
    } else if constexpr (std::is_same_v<T, Char16>) {
        const String characters = toString(text);
        if (characters.size() == 1) return characters[0];
    } else if constexpr (!std::is_base_of_v<detail::InstanceHandle, T>) {
        try {
            return T(toString(text));
        } catch (const Exception&) {
            // Nothing, then.
        }
    }
    return std::nullopt;
}

/// The value of that type made of items, of which there is exactly one unless it is an array.
/// `read(item, T())` returns the item's value for the C++ type T that holds values of the CIM type.
/// Throws TypeMismatchException for what is no type.
template <class Items, class Read>
Pegasus::CIMValue readItems(const Items& items, Pegasus::CIMType type, bool isArray, Read read)
{
    using namespace Pegasus;
    const auto valueOf = [&](const auto& sample) {
        if (!isArray) return CIMValue(read(items[0], sample));
        Array<std::decay_t<decltype(sample)>> values;
        for (const auto& item : items)
            values.append(read(item, sample));
        return CIMValue(values);
    };
    switch (type) {
#define CIMOM_VALUE_OF(NAME, TEXT, T) \
    case CIMTYPE_##NAME:              \
        return valueOf(T());
        PEGASUS_CIM_TYPES(CIMOM_VALUE_OF)
#undef CIMOM_VALUE_OF
    }
    throw TypeMismatchException();
}

}  // namespace cimom
