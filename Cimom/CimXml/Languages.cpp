#include "CimXml/Languages.h"

#include "CimXml/Decode.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <string_view>
#include <vector>

PEGASUS_USING_PEGASUS;

namespace cimom
{

namespace
{

/// The parts of a text between separators, without blanks around them and without empty ones.
std::vector<std::string> split(const std::string& text, char separator)
{
    std::vector<std::string> parts;
    for (std::size_t start = 0; start <= text.size();) {
        const std::size_t end = std::min(text.find(separator, start), text.size());
        const std::string part = text.substr(start, end - start);
        const std::size_t first = part.find_first_not_of(" \t");
        if (first != std::string::npos)
            parts.push_back(part.substr(first, part.find_last_not_of(" \t") + 1 - first));
        start = end + 1;
    }
    return parts;
}

/// Letters and digits in groups of 1 to 8, joined by hyphens; the first group letters only.
bool isLanguageTag(const std::string& tag)
{
    std::size_t group = 0;
    bool first = true;
    for (const char c : tag) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '-') {
            if (group == 0) return false;
            group = 0;
            first = false;
        } else if (!(first ? std::isalpha(byte) : std::isalnum(byte)) || ++group > 8) {
            return false;
        }
    }
    return group > 0;
}

LanguageTag toTag(const std::string& tag, const std::string& header)
{
    if (isLanguageTag(tag)) return LanguageTag(String(tag.data(), static_cast<Uint32>(tag.size())));
    throw RequestError(400, "request-not-valid",
                       "invalid " + header + " header: Malformed language tag:" + tag);
}

/// The value of a "q=0.5" parameter; 1 when there is none.
Real32 quality(const std::vector<std::string>& parts)
{
    if (parts.size() < 2) return 1;
    const std::string& text = parts[1];
    Real32 value = -1;
    const char* end = text.data() + text.size();
    if (parts.size() == 2 && text.compare(0, 2, "q=") == 0 &&
        std::from_chars(text.data() + 2, end, value, std::chars_format::fixed).ptr == end &&
        value >= 0 && value <= 1) {
        return value;
    }
    throw RequestError(400, "request-not-valid",
                       "invalid acceptlanguage header: Malformed quality value:" + text);
}

}  // namespace

AcceptLanguageList parseAcceptLanguage(const std::string& header)
{
    AcceptLanguageList languages;
    for (const std::string& item : split(header, ',')) {
        const std::vector<std::string> parts = split(item, ';');
        const std::string tag = parts.empty() ? item : parts[0];
        languages.insert(tag == "*" ? LanguageTag("*") : toTag(tag, "acceptlanguage"),
                         quality(parts));
    }
    return languages;
}

ContentLanguageList parseContentLanguage(const std::string& header)
{
    ContentLanguageList languages;
    for (const std::string& tag : split(header, ','))
        languages.append(toTag(tag, "contentlanguage"));
    return languages;
}

}  // namespace cimom
