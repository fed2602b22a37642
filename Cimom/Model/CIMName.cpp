#include <Pegasus/Common/CIMName.h>

#include "Model/Text.h"

#include <algorithm>

namespace Pegasus
{

namespace
{

bool isNameStart(Uint16 c)
{
    return cimom::isLetter(c) || c == '_' || (c >= 0x80 && c <= 0xFFEF);
}

/// True when the units are a name.
bool isName(const Char16* begin, const Char16* end)
{
    if (begin == end || !isNameStart(*begin)) return false;
    return std::all_of(begin, end, [](Uint16 c) { return isNameStart(c) || cimom::isDigit(c); });
}

}  // namespace

CIMName::CIMName(const String& name)
{
    if (!legal(name)) throw InvalidNameException(name);
    name_ = name;
}

Boolean CIMName::legal(const String& name)
{
    const Char16* const begin = name.getChar16Data();
    return isName(begin, begin + name.size());
}

CIMNamespaceName& CIMNamespaceName::operator=(const String& name)
{
    if (!legal(name)) throw InvalidNamespaceNameException(name);
    name_ = name[0] == '/' ? name.subString(1) : name;
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

}  // namespace Pegasus
