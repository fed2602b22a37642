#include "Model/Text.h"

#include <Pegasus/Common/Exception.h>

#include <boost/locale/utf.hpp>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace cimom
{

using Pegasus::Char16;
using Pegasus::Exception;
using Pegasus::String;
using Pegasus::Uint16;
using Pegasus::Uint32;

namespace
{

namespace utf = boost::locale::utf;
using Utf8 = utf::utf_traits<char>;
using Utf16 = utf::utf_traits<char16_t>;

/// Whether the text begins with a surrogate that is encoded as if it were a character.
bool isEncodedSurrogate(std::string_view text)
{
    return text.size() >= 3 && text[0] == '\xED' && (text[1] & 0xE0) == 0xA0 &&
           (text[2] & 0xC0) == 0x80;
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
    throw Exception(toString(message));
}

}  // namespace

std::vector<Char16> toUtf16(std::string_view utf8)
{
    std::vector<Char16> units;
    units.reserve(utf8.size());
    const char* const begin = utf8.data();
    const char* const end = begin + utf8.size();
    for (const char* at = begin; at != end;) {
        const std::size_t start = std::size_t(at - begin);
        utf::code_point code = Utf8::decode(at, end);
        if (!utf::is_valid_codepoint(code)) {
            if (!isEncodedSurrogate(utf8.substr(start))) throwNotUtf8(utf8, start);
            at = begin + start + 3;
            code = 0xFFFD;
        }
        if (code == 0xFFFE || code == 0xFFFF) code = 0xFFFD;
        Utf16::encode(code, std::back_inserter(units));
    }
    return units;
}

std::string toUtf8(const String& string)
{
    std::string text;
    appendUtf8(text, string);
    return text;
}

void appendUtf8(std::string& out, const String& string)
{
    const Char16* const units = string.getChar16Data();
    const Uint32 size = string.size();
    Uint32 done = 0;
    // Nearly all texts are ASCII alone: those are copied unit by unit.
    for (char block[256]; done < size;) {
        const Uint32 count = std::min<Uint32>(size - done, sizeof(block));
        unsigned all = 0;
        for (Uint32 i = 0; i < count; ++i) {
            all |= units[done + i];
            block[i] = static_cast<char>(units[done + i]);
        }
        if (all >= 0x80) break;
        out.append(block, count);
        done += count;
    }
    for (Uint32 i = done; i < size; ++i) {
        char32_t code = units[i];
        if (code >= 0xD800 && code < 0xDC00 && units[i + 1] >= 0xDC00 && units[i + 1] <= 0xDFFF) {
            code = 0x10000 + ((code & 0x3FF) << 10) + (units[++i] & 0x3FF);
        } else if (isSurrogate(code)) {
            code = 0xFFFD;
        }
        Utf8::encode(code, std::back_inserter(out));
    }
}

String toString(std::string_view utf8)
{
    return String(utf8.data() ? utf8.data() : "", static_cast<Uint32>(utf8.size()));
}

bool isUtf8(std::string_view text)
{
    if (isAscii(text)) return true;
    const char* at = text.data();
    const char* const end = at + text.size();
    while (at != end) {
        if (!utf::is_valid_codepoint(Utf8::decode(at, end))) return false;
    }
    return true;
}

String printable(std::string text)
{
    if (!isUtf8(text)) {
        std::replace_if(
            text.begin(), text.end(), [](unsigned char c) { return c > 0x7F; }, '?');
    }
    return toString(text);
}

bool equalNoCase(std::string_view a, std::string_view b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return toLower(x) == toLower(y); });
}

std::string readFile(const std::filesystem::path& file, const std::string& what)
{
    constexpr std::uintmax_t most = 16 * 1024 * 1024;
    const auto fail = [&](const std::string& why) {
        throw std::runtime_error("cannot read the " + what + " file " + file.string() + ": " + why);
    };
    std::error_code error;
    // Looked at before it is opened, for which a FIFO would wait.
    const auto status = std::filesystem::status(file, error);
    if (std::filesystem::is_directory(status)) fail("it is a folder");
    if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status))
        fail("it is no regular file");
    std::ifstream in(file, std::ios::binary);
    if (!in) fail(std::strerror(errno));
    if (std::filesystem::file_size(file, error) > most) fail("it is larger than 16 MB");
    return {std::istreambuf_iterator<char>(in), {}};
}

}  // namespace cimom
