// Reading object paths and their hosts.
#include "Model/Text.h"

#include <Pegasus/Common/CIMObjectPath.h>

#include <arpa/inet.h>

#include <algorithm>
#include <optional>

namespace Pegasus
{

using namespace cimom;

namespace
{

constexpr unsigned mostReferenceLevels = 8;  // each doubles the escapes of the one inside

String malformed(const String& text, const String& reason)
{
    return text + ", reason:\"" + reason + "\"";
}

[[noreturn]] void throwMalformed(const String& text, const String& reason)
{
    throw MalformedObjectNameException(malformed(text, reason));
}

/// Unlike other faults of a text in quotes, this one does not make it a string.
class NestedTooDeeply : public MalformedObjectNameException
{
public:
    using MalformedObjectNameException::MalformedObjectNameException;
};

/// Four numbers up to 255, of at most three digits each, separated by points.
bool isIPv4(const std::string& text)
{
    size_t begin = 0;
    for (int part = 1; part <= 4; ++part) {
        const size_t end = part < 4 ? text.find('.', begin) : text.size();
        const std::string digits = text.substr(begin, end - begin);
        if (end == std::string::npos || digits.empty() || digits.size() > 3 ||
            !std::all_of(digits.begin(), digits.end(), isDigit) || std::stoi(digits) > 255)
            return false;
        begin = end + 1;
    }
    return true;
}

/// Link-local addresses have a zone, others none.
bool isIPv6(const std::string& text)
{
    const size_t percent = text.find('%');
    in6_addr address{};
    if (inet_pton(AF_INET6, text.substr(0, percent).c_str(), &address) != 1) return false;
    const bool hasZone = percent != std::string::npos && percent + 1 < text.size();
    return IN6_IS_ADDR_LINKLOCAL(&address) ? hasZone : percent == std::string::npos;
}

bool isLabelUnit(Uint16 unit)
{
    const char c = static_cast<char>(unit);
    return unit < 0x80 && (isLetter(c) || isDigit(c) || c == '_' || c == '-');
}

/// Labels separated by points, none of which starts with a hyphen; the last is not a number.
bool isHostName(const Char16* begin, const Char16* end)
{
    for (const Char16* label = begin;;) {
        const Char16* const labelEnd = std::find_if_not(label, end, isLabelUnit);
        if (labelEnd == label || *label == '-') return false;
        if (labelEnd == end) {
            return !std::all_of(label, end, [](Uint16 unit) { return isDigit(char(unit)); });
        }
        if (*labelEnd != '.') return false;
        label = labelEnd + 1;
    }
}

/// The number may have any length and counts modulo 2^32, or be missing.
bool isPort(const std::string& text)
{
    Uint32 port = 0;
    for (const char c : text) {
        if (!isDigit(c)) return false;
        port = port * 10 + Uint32(c - '0');
    }
    return port <= 65535;
}

/// A host name, an IPv4 address or an IPv6 address in brackets, each with an optional port.
bool isHost(const String& locator)
{
    // Nearly all hosts are names without a port, which need no copy.
    const Char16* const units = locator.getChar16Data();
    if (isHostName(units, units + locator.size())) return true;
    const std::string text = toUtf8(locator);
    if (!isAscii(text)) return false;
    const bool isBracketed = text[0] == '[';
    const size_t hostEnd = std::min(isBracketed ? text.find(']') + 1 : text.find(':'), text.size());
    const std::string host = text.substr(0, hostEnd);
    const std::string rest = text.substr(hostEnd);
    if (isBracketed ? hostEnd < 2 || !isIPv6(host.substr(1, hostEnd - 2))
                    : !isIPv4(host) && !isHostName(units, units + hostEnd)) {
        return false;
    }
    return rest.empty() || (rest[0] == ':' && isPort(rest.substr(1)));
}

}  // namespace

/// Reads one text.
class ObjectPathReader
{
public:
    /// `level`: how many references this text stands in.
    explicit ObjectPathReader(const String& text, unsigned level = 0)
        : _whole(text), _text(text.getChar16Data()), _level(level)
    {
        if (_text.size() <= longestObjectPath) return;
        throwMalformed(
            _text.subString(0, 100) + "...",
            toString("longer than " + std::to_string(longestObjectPath) + " characters"));
    }

    CIMObjectPath path()
    {
        CIMObjectPath path;
        path._host = host();
        path._nameSpace = nameSpace(path._host.size() > 0);
        path._className = className();
        while (_at < _text.size())
            path._keyBindings.append(key());
        path.sortKeys();
        return path;
    }

private:
    [[noreturn]] void fail(const String& reason) const { throwMalformed(_whole, reason); }
    [[noreturn]] void failKey(const String& reason) const
    {
        fail("invalid key-value pair, " + reason);
    }

    bool isAt(char c) const { return _text[_at] == c; }

    /// Where the character comes next, or PEG_NOT_FOUND.
    Uint32 next(char c) const { return _text.find(_at, Char16(c)); }

    /// The text up to the character, or all that is left; goes behind the character.
    String take(char end)
    {
        const Uint32 stop = std::min(next(end), _text.size());
        String part = _text.subString(_at, stop - _at);
        _at = std::min(stop + 1, _text.size());
        return part;
    }

    /// Stays at the slash after the host, which begins the namespace.
    String host()
    {
        if (_text[0] != '/' || _text[1] != '/') return String();
        _at = 2;
        if (next('/') == PEG_NOT_FOUND) fail("missing slash after hostname");
        String host = take('/');
        if (!isHost(host)) fail("invalid hostname");
        --_at;
        return host;
    }

    CIMNamespaceName nameSpace(bool hasHost)
    {
        // A colon after the first point belongs to a key.
        const Uint32 colon = next(':');
        if (colon == PEG_NOT_FOUND || next('.') < colon) {
            if (hasHost) fail("host specified, missing namespace");
            return CIMNamespaceName();
        }
        const String name = take(':');
        if (!CIMNamespaceName::legal(name)) fail("invalid namespace name");
        return name;
    }

    CIMName className()
    {
        const String name = take('.');
        if (!CIMName::legal(name)) fail("class name " + name + " not a legal CIM name");
        return name;
    }

    /// Goes behind the comma after the key.
    CIMKeyBinding key()
    {
        if (next('=') == PEG_NOT_FOUND) failKey("missing equal sign");
        const String name = take('=');
        if (!CIMName::legal(name)) failKey("invalid key name:" + name);
        return isAt('"') ? quoted(name) : unquoted(name);
    }

    CIMKeyBinding unquoted(const CIMName& name)
    {
        const bool isBoolean = isAt('t') || isAt('T') || isAt('f') || isAt('F');
        const String value = take(',');
        if (isBoolean) {
            for (const char* word : {"TRUE", "FALSE"})
                if (String::equalNoCase(value, word)) return {name, word, CIMKeyBinding::BOOLEAN};
            failKey("value should be TRUE or FALSE");
        }
        const std::string number = toUtf8(value);
        if (!readInteger<Sint64>(number) && !readInteger<Uint64>(number)) {
            failKey(String(value[0] == '-' ? "invalid negative number value "
                                           : "invalid number value ") +
                    value);
        }
        return {name, value, CIMKeyBinding::NUMERIC};
    }

    CIMKeyBinding quoted(const CIMName& name)
    {
        std::vector<Char16> units;
        const Char16* const text = _text.getChar16Data();  // ends with a zero
        for (++_at; text[_at] != '"'; ++_at) {
            if (_at == _text.size()) failKey("missing quote in key value");
            if (text[_at] == '\\') {
                ++_at;
                if (text[_at] != '\\' && text[_at] != '"') failKey("malformed value");
            }
            units.push_back(text[_at]);
        }
        const String value(units.data(), Uint32(units.size()));
        ++_at;
        if (_at < _text.size() && !isAt(',')) {
            failKey("next key-value pair has to start with comma");
        }
        _at = std::min(_at + 1, _text.size());
        if (const auto reference = this->reference(value))
            return CIMKeyBinding::ofReference(name, *reference);
        return {name, value, CIMKeyBinding::STRING};
    }

    /// Text in quotes may be a string or a reference; a reference it is if it reads as one that
    /// has keys. Nothing for a string.
    std::optional<CIMObjectPath> reference(const String& value) const
    {
        if (value.find(Char16('=')) == PEG_NOT_FOUND) return std::nullopt;
        try {
            const CIMObjectPath path = ObjectPathReader(value, _level + 1).path();
            if (path.getKeyBindings().size() == 0) return std::nullopt;
            if (_level < mostReferenceLevels) return path;
        } catch (const NestedTooDeeply&) {
            throw;
        } catch (const MalformedObjectNameException&) {
            return std::nullopt;
        }
        throw NestedTooDeeply(
            malformed(_whole.subString(0, 100) + "...",
                      toString("more than " + std::to_string(mostReferenceLevels) +
                               " references inside one another")));
    }

    const String _whole;
    const String _text;  // up to the first zero unit
    const unsigned _level;
    Uint32 _at = 0;
};

CIMObjectPath::CIMObjectPath(const String& objectName)
    : CIMObjectPath(ObjectPathReader(objectName).path())
{
}

void CIMObjectPath::setHost(const String& host)
{
    if (host.size() > 0 && !isHost(host)) throwMalformed(host, "invalid hostname");
    _host = host;
}

}  // namespace Pegasus
