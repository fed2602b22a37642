#include "ObjectPathParser.h"

#include "HostName.h"
#include "KeyNumber.h"

#include <algorithm>

namespace cimom
{

using namespace Pegasus;

namespace
{

class Parser
{
public:
    explicit Parser(const String& text) : _whole(text), _text(text.getChar16Data()) {}

    void parse(const ObjectPathParts& parts)
    {
        const bool hasHost = startsWith("//");
        if (hasHost) parts.host = host();
        nameSpace(hasHost, parts.nameSpace);
        parts.className = className();
        while (_at < _text.size())
            parts.keys.append(key());
    }

private:
    [[noreturn]] void fail(const String& reason) const { throwMalformed(_whole, reason); }
    [[noreturn]] void failKey(const String& reason) const
    {
        fail(String("invalid key-value pair, ") + reason);
    }

    bool isAt(char c) const { return _text[_at] == c; }
    bool startsWith(const char* start) const { return _text.find(String(start)) == 0; }

    /// Where the character comes next, or PEG_NOT_FOUND.
    Uint32 next(char c) const { return _text.find(_at, Char16(c)); }

    /// The text up to there.
    String upTo(Uint32 end) const { return _text.subString(_at, end - _at); }

    /// The text up to the character, or all that is left; goes behind the character.
    String take(char end)
    {
        const Uint32 stop = std::min(next(end), _text.size());
        String part = upTo(stop);
        _at = std::min(stop + 1, _text.size());
        return part;
    }

    /// Stays at the slash after the host, which begins the namespace.
    String host()
    {
        _at = 2;
        const Uint32 slash = next('/');
        if (slash == PEG_NOT_FOUND) fail("missing slash after hostname");
        String host = upTo(slash);
        if (!isHostWithPort(host)) fail("invalid hostname");
        _at = slash;
        return host;
    }

    void nameSpace(bool hasHost, CIMNamespaceName& result)
    {
        // A colon after the first point belongs to a key.
        const Uint32 colon = next(':');
        if (colon == PEG_NOT_FOUND || next('.') < colon) {
            if (hasHost) fail("host specified, missing namespace");
            return;
        }
        const String name = take(':');
        if (!CIMNamespaceName::legal(name)) fail("invalid namespace name");
        result = name;
    }

    CIMName className()
    {
        const String name = take('.');
        if (!CIMName::legal(name)) {
            fail(String("class name ") + name + String(" not a legal CIM name"));
        }
        return name;
    }

    /// Goes behind the comma after the key.
    CIMKeyBinding key()
    {
        if (next('=') == PEG_NOT_FOUND) failKey("missing equal sign");
        const String name = take('=');
        if (!CIMName::legal(name)) failKey(String("invalid key name:") + name);
        return isAt('"') ? quoted(name) : unquoted(name);
    }

    CIMKeyBinding unquoted(const CIMName& name)
    {
        const bool isBoolean = isAt('t') || isAt('T') || isAt('f') || isAt('F');
        const bool isNegative = isAt('-');
        const String value = take(',');
        if (isBoolean) {
            for (const char* word : {"TRUE", "FALSE"})
                if (String::equalNoCase(value, word)) return {name, word, CIMKeyBinding::BOOLEAN};
            failKey("value should be TRUE or FALSE");
        }
        if (!readInteger(value)) {
            failKey(
                String(isNegative ? "invalid negative number value " : "invalid number value ") +
                value);
        }
        return {name, value, CIMKeyBinding::NUMERIC};
    }

    CIMKeyBinding quoted(const CIMName& name)
    {
        String value;
        for (++_at; !isAt('"'); ++_at) {
            if (_at == _text.size()) failKey("missing quote in key value");
            if (isAt('\\')) {
                ++_at;
                if (!isAt('\\') && !isAt('"')) failKey("malformed value");
            }
            value.append(_text[_at]);
        }
        ++_at;
        if (_at < _text.size() && !isAt(',')) {
            failKey("next key-value pair has to start with comma");
        }
        _at = std::min(_at + 1, _text.size());
        CIMObjectPath path;
        if (isInstancePath(value, path)) return {name, path.toString(), CIMKeyBinding::REFERENCE};
        return {name, value, CIMKeyBinding::STRING};
    }

    /// Text in quotes may be a string or a reference; a reference it is if it reads as one that
    /// has keys.
    static bool isInstancePath(const String& value, CIMObjectPath& path)
    {
        if (value.find(Char16('=')) == PEG_NOT_FOUND) return false;
        try {
            path.set(value);
        } catch (const MalformedObjectNameException&) {
            return false;
        }
        return path.getKeyBindings().size() > 0;
    }

    const String _whole;
    const String _text;  // up to the first zero unit
    Uint32 _at = 0;
};

}  // namespace

void throwMalformed(const String& text, const String& reason)
{
    throw MalformedObjectNameException(text + String(", reason:\"") + reason + String("\""));
}

void parseObjectPath(const String& text, const ObjectPathParts& parts)
{
    Parser(text).parse(parts);
}

}  // namespace cimom
