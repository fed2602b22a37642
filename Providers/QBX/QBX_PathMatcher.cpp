#include "QBX_PathMatcher.h"

namespace Pegasus
{

namespace
{

/// Makes the binding a reference without a host. False when its text reads as no object path: then
/// it stays as it is.
bool dropHost(CIMKeyBinding& key)
{
    try {
        const CIMObjectPath read(key.getValue());
        const CIMObjectPath bare(String(), read.getNameSpace(), read.getClassName(),
                                 read.getKeyBindings());
        key = CIMKeyBinding(key.getName(), bare.toString(), CIMKeyBinding::REFERENCE);
        return true;
    } catch (...) {
        return false;
    }
}

/// The binding as it is compared: text that reads as an object path is a reference without a host.
CIMKeyBinding withoutHost(CIMKeyBinding key)
{
    if (key.getType() == CIMKeyBinding::REFERENCE || key.getType() == CIMKeyBinding::STRING)
        dropHost(key);
    return key;
}

/// False for a text that is certainly no object path, since neither a host nor a namespace nor a
/// class name stands before its first point. To read it would cost an exception.
bool couldBePath(const String& text)
{
    const Uint32 point = text.find(Char16('.'));
    const String start = point == PEG_NOT_FOUND ? text : text.subString(0, point);
    return CIMName::legal(start) || start.find(Char16(':')) != PEG_NOT_FOUND ||
           text[0] == Char16('/') || text.find(Char16(0)) != PEG_NOT_FOUND;
}

/// The text of a reference without its host, when all its keys are quoted and none holds an escape:
/// it denotes what the same text denotes, letter case aside, and nothing else. Empty for others.
String plainReference(const String& text)
{
    const Char16* const at = text.getChar16Data();
    const Uint32 size = text.size();
    for (Uint32 i = 0; i < size; ++i) {
        if (at[i] == '\\' || (at[i] == '=' && at[i + 1] != '"')) return String();
    }
    const bool hasHost = at[0] == '/' && at[1] == '/';
    return hasHost ? text.subString(text.find(2, '/') + 1) : text;
}

}  // namespace

/// A key with all that is to be known of it, so that most others can be told from it unread.
struct QBX_PathMatcher::Key
{
    explicit Key(const CIMKeyBinding& key)
        : given(key),
          isName(CIMName::legal(key.getValue())),
          mayBePath(couldBePath(key.getValue())),
          plain(plainReference(key.getValue())),
          bare(key)
    {
        const bool isReference = key.getType() == CIMKeyBinding::REFERENCE;
        if (isReference || (key.getType() == CIMKeyBinding::STRING && mayBePath))
            isMalformed = !dropHost(bare) && isReference;
    }

    /// True when the keys are the same, hosts aside.
    bool isSame(const CIMKeyBinding& other) const;

    const CIMKeyBinding given;
    const bool isName;  // reads as a class
    const bool mayBePath;
    const String plain;
    CIMKeyBinding bare;
    bool isMalformed = false;  // a reference that is no object path, which denotes nothing
};

bool QBX_PathMatcher::Key::isSame(const CIMKeyBinding& other) const
{
    if (isMalformed || given.getName() != other.getName()) return false;
    if (given.getType() == other.getType()) {
        const String& text = other.getValue();
        const bool isText = other.getType() == CIMKeyBinding::STRING;
        if (given.getValue() == text) return true;
        if (isText && !(mayBePath && couldBePath(text))) return false;
        if (isText && isName && CIMName::legal(text) &&
            !String::equalNoCase(given.getValue(), text)) {
            return false;
        }
        if (other.getType() == CIMKeyBinding::REFERENCE &&
            !String::equalNoCase(plain, plainReference(text))) {
            return false;
        }
    }
    return bare == withoutHost(other);
}

QBX_PathMatcher::QBX_PathMatcher(const CIMObjectPath& path) : _path(path)
{
    const Array<CIMKeyBinding>& keys = path.getKeyBindings();
    for (Uint32 i = 0; i < keys.size(); ++i)
        _keys.emplace_back(keys[i]);
}

QBX_PathMatcher::~QBX_PathMatcher() = default;

bool QBX_PathMatcher::matches(const CIMObjectPath& other) const
{
    const Array<CIMKeyBinding>& keys = other.getKeyBindings();
    if (keys.size() != _keys.size() || other.getNameSpace() != _path.getNameSpace() ||
        other.getClassName() != _path.getClassName()) {
        return false;
    }
    try {
        for (Uint32 i = 0; i < keys.size(); ++i) {
            if (!_keys[i].isSame(keys[i])) return false;
        }
        return true;
    } catch (const Exception&) {
        return false;  // a reference key that is no object path denotes nothing
    }
}

}  // namespace Pegasus
