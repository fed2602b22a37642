#include <Pegasus/Common/CIMObjectPath.h>

#include <Pegasus/Common/CIMValue.h>

#include "HostName.h"
#include "KeyNumber.h"
#include "ObjectPathParser.h"

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <string>

namespace Pegasus
{

namespace
{

String lowered(String text)
{
    text.toLower();
    return text;
}

bool hasQuotes(CIMKeyBinding::Type type)
{
    return type == CIMKeyBinding::STRING || type == CIMKeyBinding::REFERENCE;
}

void appendKey(String& text, const String& name, const String& value, bool quote)
{
    text.append(name).append(Char16('='));
    if (quote) text.append(Char16('"'));
    for (Uint32 i = 0; i < value.size(); ++i) {
        if (value[i] == '"' || value[i] == '\\') text.append(Char16('\\'));
        text.append(value[i]);
    }
    if (quote) text.append(Char16('"'));
}

String textOf(const String& host, const String& nameSpace, const String& className)
{
    String text;
    if (host.size() > 0) text.append(String("//")).append(host).append(Char16('/'));
    if (host.size() > 0 || nameSpace.size() > 0) text.append(nameSpace).append(Char16(':'));
    return text.append(className);
}

String canonicalPath(const CIMObjectPath& path);

/// The same text for all values of the key's type that count as equal, and for these only.
String canonicalValue(const CIMKeyBinding& key)
{
    const String& value = key.getValue();
    switch (key.getType()) {
        case CIMKeyBinding::BOOLEAN:
            return lowered(value);
        case CIMKeyBinding::NUMERIC: {
            const bool hasPlus = value[0] == '+' && value.size() > 1 && value[1] != '-';
            const auto number = cimom::readInteger(hasPlus ? value.subString(1) : value);
            if (!number) return value;
            String text(number->isNegative ? "-" : "");
            text.appendPrintf("%llu", number->magnitude);
            return text;
        }
        case CIMKeyBinding::REFERENCE:
            try {
                return canonicalPath(value);
            } catch (const MalformedObjectNameException&) {
                return value;
            }
        case CIMKeyBinding::STRING:
            break;
    }
    return value;
}

/// The same text for identical paths, and for these only.
String canonicalPath(const CIMObjectPath& path)
{
    String text = textOf(lowered(path.getHost()), lowered(path.getNameSpace().getString()),
                         lowered(path.getClassName().getString()));
    const Array<CIMKeyBinding>& keys = path.getKeyBindings();
    for (Uint32 i = 0; i < keys.size(); ++i) {
        text.append(Char16(Uint16('0' + keys[i].getType())));
        appendKey(text, lowered(keys[i].getName().getString()), canonicalValue(keys[i]), true);
    }
    return text;
}

CIMKeyBinding::Type keyTypeOf(const CIMValue& value)
{
    if (value.isArray()) throw TypeMismatchException();
    switch (value.getType()) {
        case CIMTYPE_BOOLEAN:
            return CIMKeyBinding::BOOLEAN;
        case CIMTYPE_CHAR16:
        case CIMTYPE_STRING:
        case CIMTYPE_DATETIME:
            return CIMKeyBinding::STRING;
        case CIMTYPE_REFERENCE:
            return CIMKeyBinding::REFERENCE;
        case CIMTYPE_OBJECT:
        case CIMTYPE_INSTANCE:
            throw TypeMismatchException();
        default:
            return CIMKeyBinding::NUMERIC;
    }
}

template <class T>
T valueAs(const CIMValue& value)
{
    T x;
    value.get(x);
    return x;
}

/// A number with a decimal point, perhaps an exponent, and nothing else.
std::optional<Real64> readReal(const String& value)
{
    const std::string text(value.getCString());
    const bool isReal = text.find('.') != std::string::npos &&
                        text.find_first_not_of("+-.0123456789eE") == std::string::npos;
    char* end = nullptr;
    const Real64 number = std::strtod(text.c_str(), &end);
    return isReal && *end == '\0' ? std::optional(number) : std::nullopt;
}

bool isTime(const String& text, const CIMDateTime& time)
{
    CIMDateTime other;
    try {
        other.set(text);
    } catch (const InvalidDateTimeFormatException&) {
        return false;
    } catch (const DateTimeOutOfRangeException&) {
        return false;
    }
    return other == time;
}

bool nameIsLess(const CIMKeyBinding& x, const CIMKeyBinding& y)
{
    return String::compareNoCase(x.getName().getString(), y.getName().getString()) < 0;
}

/// Brings references into their canonical form and sorts, in the storage that this array shares
/// with others; without writing when all is in order, so that arrays that threads share stay
/// readable.
void normalize(const Array<CIMKeyBinding>& keys)
{
    auto* const begin = const_cast<CIMKeyBinding*>(keys.getData());
    auto* const end = begin + keys.size();
    for (CIMKeyBinding* key = begin; key != end; ++key) {
        if (key->getType() != CIMKeyBinding::REFERENCE) continue;
        const String value = CIMObjectPath(key->getValue()).toString();
        if (value != key->getValue()) key->setValue(value);
    }
    if (!std::is_sorted(begin, end, nameIsLess)) std::stable_sort(begin, end, nameIsLess);
}

void checkHost(const String& host)
{
    if (host.size() > 0 && !cimom::isHostWithPort(host)) {
        cimom::throwMalformed(host, String("invalid hostname"));
    }
}

}  // namespace

CIMKeyBinding::CIMKeyBinding(const CIMName& name, const String& value, Type type)
    : _name(name), _value(value), _type(type)
{
}

CIMKeyBinding::CIMKeyBinding(const CIMName& name, const CIMValue& value)
    : _name(name), _value(value.toString()), _type(keyTypeOf(value))
{
}

Boolean CIMKeyBinding::equal(CIMValue value)
{
    const CIMType type = value.getType();
    if (value.isNull() || value.isArray() || type == CIMTYPE_OBJECT || type == CIMTYPE_INSTANCE) {
        return false;
    }
    const CIMKeyBinding other(_name, value);
    if (other._type != _type) return false;
    switch (type) {
        case CIMTYPE_CHAR16:
            return _value[0] == valueAs<Char16>(value);
        case CIMTYPE_DATETIME:
            return isTime(_value, valueAs<CIMDateTime>(value));
        case CIMTYPE_REAL32: {
            const auto number = readReal(_value);
            return number && Real32(*number) == valueAs<Real32>(value);
        }
        case CIMTYPE_REAL64:
            return readReal(_value) == valueAs<Real64>(value);
        default:
            return other == *this;
    }
}

Boolean operator==(const CIMKeyBinding& x, const CIMKeyBinding& y)
{
    return x.getType() == y.getType() && x.getName() == y.getName() &&
           (x.getValue() == y.getValue() || canonicalValue(x) == canonicalValue(y));
}

CIMObjectPath::CIMObjectPath() = default;

CIMObjectPath::CIMObjectPath(const String& objectName)
{
    set(objectName);
}

CIMObjectPath::CIMObjectPath(const String& host, const CIMNamespaceName& nameSpace,
                             const CIMName& className, const Array<CIMKeyBinding>& keyBindings)
{
    set(host, nameSpace, className, keyBindings);
}

void CIMObjectPath::clear()
{
    *this = CIMObjectPath();
}

void CIMObjectPath::set(const String& host, const CIMNamespaceName& nameSpace,
                        const CIMName& className, const Array<CIMKeyBinding>& keyBindings)
{
    setHost(host);
    _nameSpace = nameSpace;
    _className = className;
    setKeyBindings(keyBindings);
}

void CIMObjectPath::set(const String& objectName)
{
    const String text(objectName);  // it may be a part of this path
    clear();
    cimom::parseObjectPath(text, {_host, _nameSpace, _className, _keyBindings});
    normalize(_keyBindings);
}

CIMObjectPath& CIMObjectPath::operator=(const String& objectName)
{
    set(objectName);
    return *this;
}

void CIMObjectPath::setHost(const String& host)
{
    checkHost(host);
    _host = host;
}

void CIMObjectPath::setKeyBindings(const Array<CIMKeyBinding>& keyBindings)
{
    _keyBindings = keyBindings;
    normalize(_keyBindings);
}

String CIMObjectPath::toString() const
{
    String text = textOf(_host, _nameSpace.getString(), _className.getString());
    for (Uint32 i = 0; i < _keyBindings.size(); ++i) {
        const CIMKeyBinding& key = _keyBindings[i];
        text.append(Char16(i == 0 ? '.' : ','));
        appendKey(text, key.getName().getString(), key.getValue(), hasQuotes(key.getType()));
    }
    return text;
}

Boolean CIMObjectPath::identical(const CIMObjectPath& x) const
{
    const CIMKeyBinding* const keys = _keyBindings.getData();
    return String::equalNoCase(_host, x._host) && _nameSpace == x._nameSpace &&
           _className == x._className && _keyBindings.size() == x._keyBindings.size() &&
           std::equal(keys, keys + _keyBindings.size(), x._keyBindings.getData());
}

Uint32 CIMObjectPath::makeHashCode() const
{
    const String text = canonicalPath(*this);
    Uint32 hash = 2166136261u;  // FNV-1a
    for (Uint32 i = 0; i < text.size(); ++i)
        hash = (hash ^ Uint16(text[i])) * 16777619u;
    return hash;
}

Boolean operator==(const CIMObjectPath& x, const CIMObjectPath& y)
{
    return x.identical(y);
}

Boolean operator!=(const CIMObjectPath& x, const CIMObjectPath& y)
{
    return !x.identical(y);
}

}  // namespace Pegasus
