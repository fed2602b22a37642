#include "HostName.h"

#include <arpa/inet.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>

namespace cimom
{

namespace
{

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

bool isAllDigits(const std::string& text)
{
    return std::all_of(text.begin(), text.end(), isDigit);
}

/// The text with `separator` in it cut into parts; empty ones stay.
template <class Check>
bool everyPart(const std::string& text, char separator, Check check)
{
    for (size_t begin = 0;;) {
        const size_t end = text.find(separator, begin);
        if (!check(text.substr(begin, end - begin))) return false;
        if (end == std::string::npos) return true;
        begin = end + 1;
    }
}

/// A number of any length, modulo 2^32.
uint32_t number(const std::string& digits)
{
    uint32_t value = 0;
    for (const char c : digits)
        value = value * 10 + uint32_t(c - '0');
    return value;
}

bool isIPv4(const std::string& text)
{
    return std::count(text.begin(), text.end(), '.') == 3 &&
           everyPart(text, '.', [](const std::string& part) {
               return !part.empty() && part.size() <= 3 && isAllDigits(part) && number(part) <= 255;
           });
}

bool isLabel(const std::string& text)
{
    const auto isStart = [](char c) {
        return isDigit(c) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
    };
    return !text.empty() && isStart(text[0]) &&
           std::all_of(text.begin(), text.end(), [&](char c) { return isStart(c) || c == '-'; });
}

/// Labels separated by points, of which the last must not look like a number.
bool isHostName(const std::string& text)
{
    return everyPart(text, '.', isLabel) && !isAllDigits(text.substr(text.rfind('.') + 1));
}

bool isIPv6(const std::string& text)
{
    const size_t percent = text.find('%');
    in6_addr address{};
    if (inet_pton(AF_INET6, text.substr(0, percent).c_str(), &address) != 1) return false;
    const bool hasZone = percent != std::string::npos && percent + 1 < text.size();
    const bool isLinkLocal = address.s6_addr[0] == 0xFE && address.s6_addr[1] == 0x80;
    return isLinkLocal ? hasZone : percent == std::string::npos;
}

}  // namespace

bool isHostWithPort(const Pegasus::String& locator)
{
    const std::string text(locator.getCString());
    const bool isBracketed = !text.empty() && text[0] == '[';
    const size_t bracket = isBracketed ? text.find(']') : 0;
    if (bracket == std::string::npos) return false;
    const size_t hostEnd = isBracketed ? bracket + 1 : std::min(text.find(':'), text.size());
    const std::string host = text.substr(0, hostEnd);
    const bool isHost =
        isBracketed ? isIPv6(host.substr(1, host.size() - 2)) : isIPv4(host) || isHostName(host);
    if (!isHost || hostEnd == text.size()) return isHost;
    const std::string port = text.substr(hostEnd + 1);
    return text[hostEnd] == ':' && isAllDigits(port) && number(port) <= 65535;
}

}  // namespace cimom
