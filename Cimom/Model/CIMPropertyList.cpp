#include <Pegasus/Common/CIMPropertyList.h>

#include "Model/NoCase.h"

#include <algorithm>

namespace Pegasus
{

CIMPropertyList::CIMPropertyList(const Array<CIMName>& propertyNames)
    : names_(propertyNames), isNull_(false)
{
    const CIMName* const first = names_.getData();
    if (std::any_of(first, first + size(), [](const CIMName& name) { return name.isNull(); }))
        throw UninitializedObjectException();
    auto sorted = std::make_shared<std::vector<CIMName>>(first, first + size());
    std::sort(sorted->begin(), sorted->end(), cimom::NoCaseLess());
    sorted_ = sorted;
}

Boolean CIMPropertyList::contains(const CIMName& name) const
{
    return sorted_ &&
           std::binary_search(sorted_->begin(), sorted_->end(), name, cimom::NoCaseLess());
}

}  // namespace Pegasus
