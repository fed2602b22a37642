#include <Pegasus/Common/CIMName.h>

#include <algorithm>

namespace Pegasus
{

namespace
{

bool isNameStart(Uint16 c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' ||
           (c >= 0x80 && c <= 0xFFEF);
}

/// True when the units are a name.
bool isName(const Char16* begin, const Char16* end)
{
    if (begin == end || !isNameStart(*begin)) return false;
    return std::all_of(begin, end,
                       [](Uint16 c) { return isNameStart(c) || (c >= '0' && c <= '9'); });
}

}  // namespace

CIMName::CIMName() = default;

CIMName::CIMName(const String& name)
{
    *this = name;
}

CIMName::CIMName(const char* name)
{
    *this = String(name);
}

CIMName& CIMName::operator=(const CIMName& name) = default;

CIMName& CIMName::operator=(const String& name)
{
    if (!legal(name)) throw InvalidNameException(name);
    _name = name;
    return *this;
}

Boolean CIMName::equal(const CIMName& name) const
{
    return String::equalNoCase(_name, name._name);
}

Boolean CIMName::legal(const String& name)
{
    const Char16* const begin = name.getChar16Data();
    return isName(begin, begin + name.size());
}

Boolean operator==(const CIMName& name1, const CIMName& name2)
{
    return name1.equal(name2);
}

Boolean operator!=(const CIMName& name1, const CIMName& name2)
{
    return !name1.equal(name2);
}

CIMNamespaceName::CIMNamespaceName() = default;

CIMNamespaceName::CIMNamespaceName(const String& name)
{
    *this = name;
}

CIMNamespaceName::CIMNamespaceName(const char* name)
{
    *this = String(name);
}

CIMNamespaceName& CIMNamespaceName::operator=(const CIMNamespaceName& name) = default;

CIMNamespaceName& CIMNamespaceName::operator=(const String& name)
{
    _name = name;
    if (!legal(name)) throw InvalidNamespaceNameException(name);
    if (name[0] == '/') _name.remove(0, 1);
    return *this;
}

Boolean CIMNamespaceName::equal(const CIMNamespaceName& name) const
{
    return String::equalNoCase(_name, name._name);
}

Boolean CIMNamespaceName::legal(const String& name)
{
    const Char16* begin = name.getChar16Data();
    const Char16* const end = begin + name.size();
    if (begin != end && *begin == '/') ++begin;
    for (;;) {
        const Char16* const slash = std::find(begin, end, Char16('/'));
        if (!isName(begin, slash)) return false;
        if (slash == end) return true;
        begin = slash + 1;
    }
}

Boolean operator==(const CIMNamespaceName& name1, const CIMNamespaceName& name2)
{
    return name1.equal(name2);
}

Boolean operator!=(const CIMNamespaceName& name1, const CIMNamespaceName& name2)
{
    return !name1.equal(name2);
}

}  // namespace Pegasus
