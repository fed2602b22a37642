// Values read from text.
#pragma once

#include "Model/Text.h"
#include "Model/VisitType.h"

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

}  // namespace cimom
