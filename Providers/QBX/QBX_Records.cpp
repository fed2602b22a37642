#include "QBX_Records.h"

#include <algorithm>
#include <cstring>
#include <string>

namespace Pegasus
{
namespace QBX_Records
{
namespace
{

bool isBetween(unsigned char byte, unsigned char low, unsigned char high)
{
    return byte >= low && byte <= high;
}

/// True for a character of one byte that may stand as it is and needs no second look.
bool isPlain(char byte)
{
    return isBetween(static_cast<unsigned char>(byte), 0x20, 0x7F);
}

/// Length of the well-formed UTF-8 sequence at `bytes`, of which `left` may be read; 0 for none,
/// and for a character that no reply can carry.
std::size_t sequenceLength(const unsigned char* bytes, std::size_t left)
{
    const unsigned char lead = bytes[0];
    if (lead < 0x80) return isForbidden(lead) ? 0 : 1;
    const std::size_t length = isBetween(lead, 0xC2, 0xDF)   ? 2
                               : isBetween(lead, 0xE0, 0xEF) ? 3
                               : isBetween(lead, 0xF0, 0xF4) ? 4
                                                             : 0;
    if (length == 0 || length > left) return 0;
    // The second byte's range excludes overlong forms, surrogates and what lies above U+10FFFF.
    const unsigned char low = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
    const unsigned char high = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
    if (!isBetween(bytes[1], low, high)) return 0;
    const bool wellFormed = std::all_of(
        bytes + 2, bytes + length, [](unsigned char byte) { return isBetween(byte, 0x80, 0xBF); });
    // U+FFFE and U+FFFF are no characters, for XML neither.
    const bool isNoCharacter = lead == 0xEF && bytes[1] == 0xBF && bytes[2] >= 0xBE;
    return wellFormed && !isNoCharacter ? length : 0;
}

}  // namespace

bool isForbidden(unsigned char code)
{
    return code < 0x20 && code != '\t' && code != '\n' && code != '\r';
}

String text(const char* bytes, std::size_t size)
{
    const std::size_t given = strnlen(bytes, size);
    if (std::all_of(bytes, bytes + given, isPlain)) return String(bytes, Uint32(given));
    const auto* at = reinterpret_cast<const unsigned char*>(bytes);
    const auto* const end = at + given;
    std::string clean;
    while (at != end) {
        const std::size_t length = sequenceLength(at, static_cast<std::size_t>(end - at));
        if (length == 0) {
            clean += "\xEF\xBF\xBD";
            ++at;
            continue;
        }
        clean.append(reinterpret_cast<const char*>(at), length);
        at += length;
    }
    return String(clean.data(), static_cast<Uint32>(clean.size()));
}

}  // namespace QBX_Records
}  // namespace Pegasus
