// Texts: UTF-8 and UTF-16, comparison without case, numbers read from text, files.
#pragma once

#include <Pegasus/Common/String.h>

#include <charconv>
#include <filesystem>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace cimom
{

/// The greatest length of an object path's text, the same as that of a request's header: the time
/// to read a path grows with its length.
constexpr Pegasus::Uint32 longestObjectPath = 65536;

/// The UTF-16 form of the text. Surrogates that are encoded in it, U+FFFE and U+FFFF become U+FFFD.
/// Throws Pegasus::Exception that names the place when the text is not UTF-8.
std::vector<Pegasus::Char16> toUtf16(std::string_view utf8);

/// The UTF-8 form, in which U+FFFD stands for a lone surrogate.
std::string toUtf8(const Pegasus::String& text);
/// Appends the UTF-8 form to a text.
void appendUtf8(std::string& out, const Pegasus::String& text);

/// As toUtf16; zeros stay.
Pegasus::String toString(std::string_view utf8);

/// True for text of ASCII characters only.
inline bool isAscii(std::string_view text)
{
    unsigned char all = 0;
    for (const char c : text)
        all |= static_cast<unsigned char>(c);
    return all < 0x80;
}

/// True for well-formed UTF-8: neither overlong nor beyond U+10FFFF, no surrogates.
bool isUtf8(std::string_view text);

/// The text as a String; of a text that is not UTF-8 (a library's own messages may hold any bytes)
/// the bytes beyond ASCII become question marks.
Pegasus::String printable(std::string text);

// Of a byte of UTF-8, or of a UTF-16 unit; letters are those of ASCII.
template <class Unit>
Unit toLower(Unit c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<Unit>(c + ('a' - 'A')) : c;
}

template <class Unit>
bool isDigit(Unit c)
{
    return c >= '0' && c <= '9';
}

template <class Unit>
bool isLetter(Unit c)
{
    const Unit lower = toLower(c);
    return lower >= 'a' && lower <= 'z';
}

/// Equality without ASCII case.
bool equalNoCase(std::string_view a, std::string_view b);

/// The bytes of a regular file of at most 16 MB. Throws std::runtime_error ("cannot read the WHAT
/// file FILE: why").
std::string readFile(const std::filesystem::path& file, const std::string& what);

/// Reads a decimal number without leading zeros, or a hexadecimal one after 0x; numbers of a signed
/// type may have a minus sign. Returns nothing for other text and for numbers beyond the type.
template <class Integer>
std::optional<Integer> readInteger(std::string_view text)
{
    const bool isNegative = std::is_signed_v<Integer> && !text.empty() && text[0] == '-';
    if (isNegative) text.remove_prefix(1);
    const bool hasZero = text.size() > 1 && text[0] == '0';
    const bool isHex = hasZero && toLower(text[1]) == 'x';
    if (isHex) text.remove_prefix(2);
    if (text.empty() || (hasZero && !isHex)) return std::nullopt;
    Pegasus::Uint64 magnitude = 0;
    const char* const last = text.data() + text.size();
    const auto [end, error] = std::from_chars(text.data(), last, magnitude, isHex ? 16 : 10);
    if (error != std::errc() || end != last) return std::nullopt;
    constexpr Pegasus::Uint64 greatest = std::numeric_limits<Integer>::max();
    if (magnitude > greatest + (isNegative ? 1 : 0)) return std::nullopt;
    return static_cast<Integer>(isNegative ? 0 - magnitude : magnitude);
}

/// Reads an integer as readInteger() does, or a decimal number in the range of a real type. Numbers
/// of signed and real types may have a plus sign. Returns nothing for other text.
template <class Number>
std::optional<Number> readNumber(std::string_view text)
{
    if (std::is_signed_v<Number> && text.size() > 1 && text[0] == '+' && text[1] != '-')
        text.remove_prefix(1);
    if constexpr (std::is_integral_v<Number>) {
        return readInteger<Number>(text);
    } else {
        Number value = 0;
        const char* const last = text.data() + text.size();
        const auto [end, error] = std::from_chars(text.data(), last, value);
        return error == std::errc() && end == last ? std::optional(value) : std::nullopt;
    }
}

}  // namespace cimom
