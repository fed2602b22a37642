#include <Pegasus/Common/CIMObjectPath.h>

#include "Model/Text.h"

#include <Pegasus/Common/CIMValue.h>

#include <algorithm>

namespace Pegasus
{

namespace
{

/// The same text for all numbers that count as equal; of what is no number the text as it is.
std::string canonicalNumber(const String& value)
{
    std::string text = cimom::toUtf8(value);
    if (value[0] == '+' && value[1] != '-') text.erase(0, 1);
    if (const auto number = cimom::readInteger<Sint64>(text)) return std::to_string(*number);
    if (const auto number = cimom::readInteger<Uint64>(text)) return std::to_string(*number);
    return cimom::toUtf8(value);
}

bool isSameReference(const String& x, const String& y)
{
    try {
        return CIMObjectPath(x).identical(CIMObjectPath(y));
    } catch (const MalformedObjectNameException&) {
        return false;
    }
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

bool nameIsLess(const CIMKeyBinding& x, const CIMKeyBinding& y)
{
    return String::compareNoCase(x.getName().getString(), y.getName().getString()) < 0;
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

Boolean operator==(const CIMKeyBinding& x, const CIMKeyBinding& y)
{
    if (x.getType() != y.getType() || x.getName() != y.getName()) return false;
    const String& a = x.getValue();
    const String& b = y.getValue();
    if (a == b) return true;
    switch (x.getType()) {
        case CIMKeyBinding::BOOLEAN:
            return String::equalNoCase(a, b);
        case CIMKeyBinding::NUMERIC:
            return canonicalNumber(a) == canonicalNumber(b);
        case CIMKeyBinding::REFERENCE:
            return isSameReference(a, b);
        default:
            return false;
    }
}

CIMObjectPath::CIMObjectPath(const String& host, const CIMNamespaceName& nameSpace,
                             const CIMName& className, const Array<CIMKeyBinding>& keyBindings)
    : _nameSpace(nameSpace), _className(className)
{
    setHost(host);
    setKeyBindings(keyBindings);
}

void CIMObjectPath::setKeyBindings(const Array<CIMKeyBinding>& keyBindings)
{
    Array<CIMKeyBinding> keys(keyBindings);  // shares the storage until something is to be changed
    for (Uint32 i = 0; i < keyBindings.size(); ++i) {
        const CIMKeyBinding& key = keyBindings[i];
        if (key.getType() != CIMKeyBinding::REFERENCE) continue;
        const String value = CIMObjectPath(key.getValue()).toString();
        if (value != key.getValue()) keys[i] = CIMKeyBinding(key.getName(), value, key.getType());
    }
    _keyBindings = keys;
    sortKeys();
}

void CIMObjectPath::sortKeys()
{
    const Uint32 count = _keyBindings.size();
    const CIMKeyBinding* const first = _keyBindings.getData();
    if (!std::is_sorted(first, first + count, nameIsLess))
        std::stable_sort(&_keyBindings[0], &_keyBindings[0] + count, nameIsLess);
}

String CIMObjectPath::toString() const
{
    String text;
    if (_host.size() > 0) text.append("//").append(_host).append("/");
    if (_host.size() > 0 || !_nameSpace.isNull()) text.append(_nameSpace.getString()).append(":");
    text.append(_className.getString());
    for (Uint32 i = 0; i < _keyBindings.size(); ++i) {
        const CIMKeyBinding& key = _keyBindings[i];
        const String& value = key.getValue();
        const bool hasQuotes =
            key.getType() == CIMKeyBinding::STRING || key.getType() == CIMKeyBinding::REFERENCE;
        text.append(i == 0 ? "." : ",").append(key.getName().getString());
        text.append(hasQuotes ? "=\"" : "=");
        for (Uint32 c = 0; c < value.size(); ++c) {
            if (value[c] == '"' || value[c] == '\\') text.append(Char16('\\'));
            text.append(value[c]);
        }
        if (hasQuotes) text.append(Char16('"'));
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

}  // namespace Pegasus
