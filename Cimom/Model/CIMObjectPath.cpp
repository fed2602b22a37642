#include <Pegasus/Common/CIMObjectPath.h>

#include "Model/Text.h"

#include <Pegasus/Common/CIMValue.h>

#include <algorithm>
#include <mutex>
#include <vector>

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

CIMObjectPath referenceOf(const CIMKeyBinding& key)
{
    return key.reference() ? *key.reference() : CIMObjectPath(key.getValue());
}

bool isSameReference(const CIMKeyBinding& x, const CIMKeyBinding& y)
{
    try {
        return referenceOf(x).identical(referenceOf(y));
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

/// Whether a path's text certainly reads as that path: it names all that a host needs, and has only
/// keys that are no references, and are not taken for such.
bool readsAsItself(const CIMObjectPath& path)
{
    const Array<CIMKeyBinding>& keys = path.getKeyBindings();
    const CIMKeyBinding* const first = keys.getData();
    return !path.getNameSpace().isNull() && !path.getClassName().isNull() &&
           std::all_of(first, first + keys.size(), [](const CIMKeyBinding& key) {
               return key.getType() == CIMKeyBinding::STRING &&
                      key.getValue().find(Char16('=')) == PEG_NOT_FOUND &&
                      key.getValue().find(Char16(0)) == PEG_NOT_FOUND;
           });
}

/// A text that is put together.
class Writer
{
public:
    Writer() { _units.reserve(200); }
    Writer& operator<<(const char* ascii)
    {
        for (; *ascii != 0; ++ascii)
            _units.push_back(static_cast<Uint16>(*ascii));
        return *this;
    }
    Writer& operator<<(const String& text)
    {
        const Char16* const units = text.getChar16Data();
        _units.insert(_units.end(), units, units + text.size());
        return *this;
    }
    /// Puts a backslash before each quote and each backslash.
    void escaped(const String& text)
    {
        const Char16* const units = text.getChar16Data();
        std::for_each(units, units + text.size(), [this](Uint16 unit) {
            if (unit == '"' || unit == '\\') _units.push_back('\\');
            _units.push_back(unit);
        });
    }
    String text() const { return String(_units.data(), Uint32(_units.size())); }

private:
    std::vector<Char16> _units;
};

}  // namespace

/// A path with its text, which is made when it is first asked for.
struct CIMKeyBinding::Reference
{
    explicit Reference(const CIMObjectPath& x) : path(x) {}
    const CIMObjectPath path;
    mutable std::once_flag isTextMade;
    mutable String text;
};

CIMKeyBinding::CIMKeyBinding(const CIMName& name, const String& value, Type type)
    : _name(name), _value(value), _type(type)
{
}

CIMKeyBinding::CIMKeyBinding(const CIMName& name, const CIMValue& value)
    : _name(name), _type(keyTypeOf(value))
{
    CIMObjectPath path;
    if (_type == REFERENCE) value.get(path);
    if (readsAsItself(path)) {
        _reference = std::make_shared<const Reference>(path);
    } else {
        _value = value.toString();
    }
}

CIMKeyBinding CIMKeyBinding::ofReference(const CIMName& name, const CIMObjectPath& reference)
{
    CIMKeyBinding key(name, String(), REFERENCE);
    key._reference = std::make_shared<const Reference>(reference);
    return key;
}

const String& CIMKeyBinding::getValue() const
{
    if (!_reference) return _value;
    const Reference& reference = *_reference;
    std::call_once(reference.isTextMade,
                   [&reference] { reference.text = CIMValue(reference.path).toString(); });
    return reference.text;
}

const CIMObjectPath* CIMKeyBinding::reference() const
{
    return _reference ? &_reference->path : nullptr;
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
            return isSameReference(x, y);
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
        if (key.getType() != CIMKeyBinding::REFERENCE || key.reference()) continue;
        keys[i] = CIMKeyBinding::ofReference(key.getName(), CIMObjectPath(key.getValue()));
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
    Writer text;
    if (_host.size() > 0) text << "//" << _host << "/";
    if (_host.size() > 0 || !_nameSpace.isNull()) text << _nameSpace.getString() << ":";
    text << _className.getString();
    const CIMKeyBinding* const first = _keyBindings.getData();
    for (const CIMKeyBinding* key = first; key != first + _keyBindings.size(); ++key) {
        const bool isQuoted =
            key->getType() == CIMKeyBinding::STRING || key->getType() == CIMKeyBinding::REFERENCE;
        text << (key == first ? "." : ",") << key->getName().getString();
        text << (isQuoted ? "=\"" : "=");
        text.escaped(key->getValue());
        if (isQuoted) text << "\"";
    }
    return text.text();
}

Boolean CIMObjectPath::identical(const CIMObjectPath& x) const
{
    const CIMKeyBinding* const keys = _keyBindings.getData();
    return String::equalNoCase(_host, x._host) && _nameSpace == x._nameSpace &&
           _className == x._className && _keyBindings.size() == x._keyBindings.size() &&
           std::equal(keys, keys + _keyBindings.size(), x._keyBindings.getData());
}

}  // namespace Pegasus
