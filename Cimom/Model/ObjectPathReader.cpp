// Reads the text of object paths, and checks their hosts.
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

constexpr unsigned mostReferenceLevels = 8;  // each level doubles the escapes of the one inside

String malformed(const String& text, const String& reason)
{
    return text + ", reason:\"" + reason + "\"";
}

[[noreturn]] void throwMalformed(const String& text, const String& reason)
{
    throw MalformedObjectNameException(malformed(text, reason));
}

/// Thrown for references nested too deeply. Other errors in a text in quotes only mean that it is a
/// string; this one refuses the whole path.
class NestedTooDeeply : public MalformedObjectNameException
{
public:
    using MalformedObjectNameException::MalformedObjectNameException;
};

bool isIPv4(const std::string& text)
{
    in_addr address{};
    return inet_pton(AF_INET, text.c_str(), &address) == 1;
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
    return isLetter(unit) || isDigit(unit) || unit == '_' || unit == '-';
}

/// Labels separated by points, none of which starts with a hyphen; the last is not a number.
bool isHostName(const Char16* begin, const Char16* end)
{
    for (const Char16* label = begin;;) {
        const Char16* const labelEnd = std::find_if_not(label, end, isLabelUnit);
        if (labelEnd == label || *label == '-') return false;
        if (labelEnd == end) {
            return !std::all_of(label, end, isDigit<Uint16>);
        }
        if (*labelEnd != '.') return false;
        label = labelEnd + 1;
    }
}

/// A number up to 65535, which may be missing.
bool isPort(const std::string& text)
{
    return std::all_of(text.begin(), text.end(), isDigit<char>) &&
           (text.empty() || (text.size() < 10 && std::stoi(text) <= 65535));
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

/// Reads the text of one object path.
class ObjectPathReader
{
public:
    /// `level`: the number of references that contain this text.
    explicit ObjectPathReader(const String& text, unsigned level = 0)
        : whole_(text), text_(text.getChar16Data()), level_(level)
    {
        if (text_.size() <= longestObjectPath) return;
        throwMalformed(
            text_.subString(0, 100) + "...",
            toString("longer than " + std::to_string(longestObjectPath) + " characters"));
    }

    CIMObjectPath path()
    {
        CIMObjectPath path;
        path.host_ = host();
        path.nameSpace_ = nameSpace(path.host_.size() > 0);
        path.className_ = className();
        while (at_ < text_.size())
            path.keyBindings_.append(key());
        path.sortKeys();
        return path;
    }

private:
    [[noreturn]] void fail(const String& reason) const { throwMalformed(whole_, reason); }
    [[noreturn]] void failKey(const String& reason) const
    {
        fail("invalid key-value pair, " + reason);
    }

    bool isAt(char c) const { return text_[at_] == c; }

    /// Where the character comes next, or PEG_NOT_FOUND.
    Uint32 next(char c) const { return text_.find(at_, Char16(c)); }

    /// The text up to the character, or all that is left; goes behind the character.
    String take(char end)
    {
        const Uint32 stop = std::min(next(end), text_.size());
        String part = text_.subString(at_, stop - at_);
        at_ = std::min(stop + 1, text_.size());
        return part;
    }

    /// Stays at the slash after the host, which begins the namespace.
    String host()
    {
        if (text_[0] != '/' || text_[1] != '/') return String();
        at_ = 2;
        if (next('/') == PEG_NOT_FOUND) fail("missing slash after hostname");
        String host = take('/');
        if (!isHost(host)) fail("invalid hostname");
        --at_;
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
        const Char16* const text = text_.getChar16Data();  // ends with a zero
        for (++at_; text[at_] != '"'; ++at_) {
            if (at_ == text_.size()) failKey("missing quote in key value");
            if (text[at_] == '\\') {
                ++at_;
                if (text[at_] != '\\' && text[at_] != '"') failKey("malformed value");
            }
            units.push_back(text[at_]);
        }
        const String value(units.data(), Uint32(units.size()));
        ++at_;
        if (at_ < text_.size() && !isAt(',')) {
            failKey("next key-value pair has to start with comma");
        }
        at_ = std::min(at_ + 1, text_.size());
        if (const auto reference = this->reference(value))
            return CIMKeyBinding::ofReference(name, *reference);
        return {name, value, CIMKeyBinding::STRING};
    }

    /// The reference, if the text in quotes reads as a path with keys; nothing for any other text,
    /// which is a string.
    std::optional<CIMObjectPath> reference(const String& value) const
    {
        if (value.find(Char16('=')) == PEG_NOT_FOUND) return std::nullopt;
        try {
            const CIMObjectPath path = ObjectPathReader(value, level_ + 1).path();
            if (path.getKeyBindings().size() == 0) return std::nullopt;
            if (level_ < mostReferenceLevels) return path;
        } catch (const NestedTooDeeply&) {
            throw;
        } catch (const MalformedObjectNameException&) {
            return std::nullopt;
        }
        throw NestedTooDeeply(
            malformed(whole_.subString(0, 100) + "...",
                      toString("more than " + std::to_string(mostReferenceLevels) +
                               " references inside one another")));
    }

    const String whole_;
    const String text_;  // up to the first zero unit
    const unsigned level_;
    Uint32 at_ = 0;
};

CIMObjectPath::CIMObjectPath(const String& objectName)
    : CIMObjectPath(ObjectPathReader(objectName).path())
{
}

void CIMObjectPath::setHost(const String& host)
{
    if (host.size() > 0 && !isHost(host)) throwMalformed(host, "invalid hostname");
    host_ = host;
}

}  // namespace Pegasus
