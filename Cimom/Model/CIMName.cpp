#include <Pegasus/Common/CIMName.h>
#include <Pegasus/Common/CIMPropertyList.h>

#include "Model/Names.h"

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

CIMName::CIMName(const String& name)
{
    if (!legal(name)) throw InvalidNameException(name);
    _name = name;
}

Boolean CIMName::legal(const String& name)
{
    const Char16* const begin = name.getChar16Data();
    return isName(begin, begin + name.size());
}

CIMNamespaceName::CIMNamespaceName(const String& name)
{
    *this = name;
}

CIMNamespaceName& CIMNamespaceName::operator=(const String& name)
{
    _name = name;
    if (!legal(name)) throw InvalidNamespaceNameException(name);
    if (name[0] == '/') _name.remove(0, 1);
    return *this;
}

Boolean CIMNamespaceName::legal(const String& name)
{
    const Char16* begin = name.getChar16Data();
    const Char16* const end = begin + name.size();
    if (begin != end && *begin == '/') ++begin;
    for (;;) {
        const Char16* const slash = std::find(begin, end, '/');
        if (!isName(begin, slash)) return false;
        if (slash == end) return true;
        begin = slash + 1;
    }
}

CIMPropertyList::CIMPropertyList(const Array<CIMName>& propertyNames)
    : _names(propertyNames), _isNull(false)
{
    constexpr Uint32 shortList = 32;
    const CIMName* const first = _names.getData();
    if (std::any_of(first, first + size(), [](const CIMName& name) { return name.isNull(); }))
        throw UninitializedObjectException();
    if (size() <= shortList) return;
    auto sorted = std::make_shared<std::vector<CIMName>>(first, first + size());
    std::sort(sorted->begin(), sorted->end(), cimom::NoCaseLess());
    _sorted = sorted;
}

Boolean CIMPropertyList::contains(const CIMName& name) const
{
    if (_sorted)
        return std::binary_search(_sorted->begin(), _sorted->end(), name, cimom::NoCaseLess());
    const CIMName* const first = _names.getData();
    return std::find(first, first + size(), name) != first + size();
}

String CIMPropertyList::toString() const
{
    if (_isNull) return "NULL";
    if (size() == 0) return "EMPTY";
    String text = _names[0].getString();
    for (Uint32 i = 1; i < size(); ++i)
        text.append(", ").append(_names[i].getString());
    return text;
}

}  // namespace Pegasus
