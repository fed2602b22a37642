#include <Pegasus/Common/CIMPropertyList.h>

#include "Model/Names.h"

#include <algorithm>

namespace Pegasus
{

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
