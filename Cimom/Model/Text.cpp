#include "Model/Text.h"

#include <Pegasus/Common/Exception.h>

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

struct Character
{
    char32_t code;
    size_t length;  // in bytes; 0: not UTF-8
};

/// The character at the start of non-empty text; surrogates are let through.
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
    const bool isOverlong = (length == 3 && code < 0x800) || (length == 4 && code < 0x10000);
    if (isOverlong || code > 0x10FFFF) return {0, 0};
    return {code, length};
}

bool isSurrogate(char32_t code)
{
    return code >= 0xD800 && code <= 0xDFFF;
}

void appendCharacter(std::string& text, char32_t code)
{
    const auto tail = [&](int shift) {
        text += static_cast<char>(0x80 | ((code >> shift) & 0x3F));
    };
    if (code < 0x80) {
        text += static_cast<char>(code);
        return;
    }
    if (code < 0x800) {
        text += static_cast<char>(0xC0 | code >> 6);
    } else {
        if (code < 0x10000) {
            text += static_cast<char>(0xE0 | code >> 12);
        } else {
            text += static_cast<char>(0xF0 | code >> 18);
            tail(12);
        }
        tail(6);
    }
    tail(0);
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
    return units;
}

std::string toUtf8(const String& string, LoneSurrogate lone)
{
    std::string text;
    appendUtf8(text, string, lone);
    return text;
}

void appendUtf8(std::string& out, const String& string, LoneSurrogate lone)
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
        } else if (isSurrogate(code) && lone == LoneSurrogate::Replace) {
            code = 0xFFFD;
        }
        appendCharacter(out, code);
    }
}

String toString(std::string_view utf8)
{
    return String(utf8.data() ? utf8.data() : "", static_cast<Uint32>(utf8.size()));
}

bool isUtf8(std::string_view text)
{
    while (!text.empty()) {
        const auto [code, length] = decodeFirst(text);
        if (length == 0 || isSurrogate(code)) return false;
        text.remove_prefix(length);
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
