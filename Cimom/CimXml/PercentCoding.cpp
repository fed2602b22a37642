#include "CimXml/PercentCoding.h"

#include <charconv>
#include <cstring>

namespace cimom
{

std::string percentEncode(const std::string& text)
{
    static const char* const digits = "0123456789ABCDEF";
    static const std::string kept =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_.~";
    std::string result;
    for (const char c : text) {
        if (kept.find(c) != std::string::npos) {
            result += c;
        } else {
            const auto byte = static_cast<unsigned char>(c);
            result += {'%', digits[byte >> 4], digits[byte & 15]};
        }
    }
    return result;
}

std::string percentDecode(const std::string& text)
{
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        unsigned byte = 0;
        const char* code = text.data() + i + 1;
        if (text[i] == '%' && i + 2 < text.size() &&
            std::from_chars(code, code + 2, byte, 16).ptr == code + 2) {
            result += static_cast<char>(byte);
            i += 2;
        } else {
            result += text[i];
        }
    }
    return result;
}

}  // namespace cimom
