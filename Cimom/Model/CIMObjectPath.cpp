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

/// Whether the text of a path surely reads as the same path: it has the namespace and class that a
/// host requires, and its keys are strings that cannot be mistaken for references.
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

/// The text with a backslash before each quote and each backslash.
String escaped(const String& text)
{
    std::vector<Char16> units;
    const Char16* const begin = text.getChar16Data();
    std::for_each(begin, begin + text.size(), [&units](Uint16 unit) {
        if (unit == '"' || unit == '\\') units.push_back('\\');
        units.push_back(unit);
    });
    return String(units.data(), Uint32(units.size()));
}

}  // namespace

/// A path with its text, which is made at the first call of getValue().
struct CIMKeyBinding::Reference
{
    explicit Reference(const CIMObjectPath& x) : path(x) {}
    const CIMObjectPath path;
    mutable std::once_flag isTextMade;
    mutable String text;
};

CIMKeyBinding::CIMKeyBinding(const CIMName& name, const String& value, Type type)
    : name_(name), value_(value), type_(type)
{
}

CIMKeyBinding::CIMKeyBinding(const CIMName& name, const CIMValue& value)
    : name_(name), type_(keyTypeOf(value))
{
    CIMObjectPath path;
    if (type_ == REFERENCE) value.get(path);
    if (readsAsItself(path)) {
        reference_ = std::make_shared<const Reference>(path);
    } else {
        value_ = value.toString();
    }
}

CIMKeyBinding CIMKeyBinding::ofReference(const CIMName& name, const CIMObjectPath& reference)
{
    CIMKeyBinding key(name, String(), REFERENCE);
    key.reference_ = std::make_shared<const Reference>(reference);
    return key;
}

const String& CIMKeyBinding::getValue() const
{
    if (!reference_) return value_;
    const Reference& reference = *reference_;
    std::call_once(reference.isTextMade,
                   [&reference] { reference.text = CIMValue(reference.path).toString(); });
    return reference.text;
}

const CIMObjectPath* CIMKeyBinding::reference() const
{
    return reference_ ? &reference_->path : nullptr;
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
    : nameSpace_(nameSpace), className_(className)
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
    keyBindings_ = keys;
    sortKeys();
}

void CIMObjectPath::sortKeys()
{
    const Uint32 count = keyBindings_.size();
    const CIMKeyBinding* const first = keyBindings_.getData();
    if (!std::is_sorted(first, first + count, nameIsLess))
        std::stable_sort(&keyBindings_[0], &keyBindings_[0] + count, nameIsLess);
}

String CIMObjectPath::toString() const
{
    String text;
    if (host_.size() > 0) text.append("//").append(host_).append(Char16('/'));
    if (host_.size() > 0 || !nameSpace_.isNull())
        text.append(nameSpace_.getString()).append(Char16(':'));
    text.append(className_.getString());
    const CIMKeyBinding* const first = keyBindings_.getData();
    for (const CIMKeyBinding* key = first; key != first + keyBindings_.size(); ++key) {
        const bool isQuoted =
            key->getType() == CIMKeyBinding::STRING || key->getType() == CIMKeyBinding::REFERENCE;
        text.append(Char16(key == first ? '.' : ',')).append(key->getName().getString());
        text.append(isQuoted ? "=\"" : "=").append(escaped(key->getValue()));
        if (isQuoted) text.append(Char16('"'));
    }
    return text;
}

Boolean CIMObjectPath::identical(const CIMObjectPath& x) const
{
    const CIMKeyBinding* const keys = keyBindings_.getData();
    return String::equalNoCase(host_, x.host_) && nameSpace_ == x.nameSpace_ &&
           className_ == x.className_ && keyBindings_.size() == x.keyBindings_.size() &&
           std::equal(keys, keys + keyBindings_.size(), x.keyBindings_.getData());
}

}  // namespace Pegasus
