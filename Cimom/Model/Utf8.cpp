#include "Utf8.h"

#include <Pegasus/Common/Exception.h>

#include <algorithm>
#include <cstdio>

namespace cimom
{

using Pegasus::Char16;
using Pegasus::Uint16;

namespace
{

struct Character
{
    char32_t code;
    size_t length;  // in bytes; 0: not UTF-8
};

/// The character at the start of non-empty text.
Character decodeFirst(std::string_view text)
{
    const auto byte = [&](size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char lead = byte(0);
    if (lead < 0x80) return {lead, 1};
    const size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || text.size() < length) return {0, 0};
    char32_t code = lead & (0x7F >> length);
    for (size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80) return {0, 0};
        code = code << 6 | (byte(i) & 0x3F);
    }
    const bool tooLong = (length == 3 && code < 0x800) || (length == 4 && code < 0x10000);
    if (tooLong || code > 0x10FFFF) return {0, 0};
    return {code, length};
}

bool isSurrogate(char32_t code)
{
    return code >= 0xD800 && code <= 0xDFFF;
}

/// The bytes around the fault: those before as text, those from there on in hexadecimal.
[[noreturn]] void throwNotUtf8(std::string_view text, size_t at)
{
    constexpr size_t bytesBefore = 40;
    constexpr size_t bytesAfter = 11;
    size_t begin = at > bytesBefore ? at - bytesBefore : 0;
    while (begin < at && (text[begin] & 0xC0) == 0x80)
        ++begin;
    std::string message = "The byte sequence starting at index " + std::to_string(at) +
                          " is not valid UTF-8 encoding: ";
    message += text.substr(begin, at - begin);
    for (const char c : text.substr(at, bytesAfter)) {
        char hex[8];
        std::snprintf(hex, sizeof hex, " 0x%02X", static_cast<unsigned char>(c));
        message += hex;
    }
    throw Pegasus::Exception(Pegasus::String(message.data(), Pegasus::Uint32(message.size())));
}

}  // namespace

void appendUtf16(std::string_view utf8, std::vector<Char16>& units)
{
    units.reserve(units.size() + utf8.size() + 1);
    for (size_t at = 0; at < utf8.size();) {
        const auto [code, length] = decodeFirst(utf8.substr(at));
        if (length == 0) throwNotUtf8(utf8, at);
        if (code >= 0x10000) {
            units.emplace_back(static_cast<Uint16>(0xD800 + ((code - 0x10000) >> 10)));
            units.emplace_back(static_cast<Uint16>(0xDC00 + (code & 0x3FF)));
        } else {
            const bool replace = isSurrogate(code) || code >= 0xFFFE;
            units.emplace_back(static_cast<Uint16>(replace ? 0xFFFD : code));
        }
        at += length;
    }
}

std::string toUtf8(const Char16* units, size_t count)
{
    std::string text;
    text.reserve(count);
    const auto tail = [&](char32_t code, int shift) {
        text += static_cast<char>(0x80 | ((code >> shift) & 0x3F));
    };
    for (size_t i = 0; i < count; ++i) {
        char32_t code = units[i];
        const bool isPair = code >= 0xD800 && code < 0xDC00 && i + 1 < count &&
                            units[i + 1] >= 0xDC00 && units[i + 1] <= 0xDFFF;
        if (isPair) {
            code = 0x10000 + ((code & 0x3FF) << 10) + (units[++i] & 0x3FF);
        }
        if (code < 0x80) {
            text += static_cast<char>(code);
        } else if (code < 0x800) {
            text += static_cast<char>(0xC0 | code >> 6);
            tail(code, 0);
        } else if (code < 0x10000) {
            text += static_cast<char>(0xE0 | code >> 12);
            tail(code, 6);
            tail(code, 0);
        } else {
            text += static_cast<char>(0xF0 | code >> 18);
            tail(code, 12);
            tail(code, 6);
            tail(code, 0);
        }
    }
    return text;
}

}  // namespace cimom
